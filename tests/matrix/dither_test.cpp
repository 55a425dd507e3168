// The built-in dither matrix and the plain ordered dither.
#include <gtest/gtest.h>

#include "halftone/matrix.h"
#include "screens/matrix/ordered_dither.h"
#include "support/offset_reference.h"

namespace halftone::test {
namespace {

using Bytes = std::vector<unsigned char>;

// The recursive matrix in closed form.
int bayer(int r, int c) {
  static const int digit[2][2] = {{0, 2}, {3, 1}};
  int v = 0;
  for (int b = 0; b < 4; ++b) v += digit[(r >> b) & 1][(c >> b) & 1] << (2 * (3 - b));
  return v;
}

Bytes dither(Bytes& src, std::uint32_t w, std::uint32_t h, std::uint32_t planes) {
  Output out(std::size_t{dot_stride(w)} * h * planes);
  EXPECT_EQ(Kaocosyx(src.data(), out.data(), w, h, make_control(planes, 2) | 0x77), 0);
  EXPECT_TRUE(out.guard_intact());
  return out.body();
}

TEST(OrderedDither, MatrixIsTheRecursivePermutation) {
  Bytes src = make_source(20, 5, 2, Fill::Noise);  // blank before the matrix is built
  EXPECT_EQ(dither(src, 20, 5, 2), Bytes(dot_stride(20) * 10, 0));
  EXPECT_EQ(SincesKai(), 0);
  for (int i = 0; i < 256; ++i) EXPECT_EQ(matrix::dither_matrix()[i], bayer(i / 16, i % 16)) << i;
}

TEST(OrderedDither, MatchesThePlainModelOnRandomPages) {
  SincesKai();
  std::mt19937 gen(41);
  for (int i = 0; i < 300; ++i) {
    const std::uint32_t w = 1 + gen() % 70, h = 1 + gen() % 20, planes = 1 + gen() % 4;
    Bytes src = make_source(w, h, planes, static_cast<Fill>(gen() % 5), gen(),
                            static_cast<unsigned char>(gen()));
    const Bytes out = dither(src, w, h, planes);
    ASSERT_EQ(out, threshold_model(src, w, h, planes,
                                   [](unsigned v, auto x, auto y, auto) {
                                     return static_cast<int>(v) < bayer(y % 16, x % 16);
                                   }))
        << w << "x" << h;
    EXPECT_TRUE(padding_clear(out, w, h * planes));
  }
}

TEST(OrderedDither, BandsRestartTheMatrix) {
  SincesKai();
  // Two bands of 8 rows each start at matrix row 0.
  Bytes page = make_source(24, 16, 3, Fill::RampX);
  Bytes top(page.begin(), page.begin() + static_cast<std::ptrdiff_t>(page.size() / 2));
  Bytes bottom(page.begin() + static_cast<std::ptrdiff_t>(page.size() / 2), page.end());
  EXPECT_EQ(dither(top, 24, 8, 3), dither(bottom, 24, 8, 3));
  // No planes: nothing written.
  Output out(8);
  EXPECT_EQ(Kaocosyx(page.data(), out.data(), 24, 16, 0), 0);
  EXPECT_EQ(out.body(), Bytes(8, 0x5A));
}

}  // namespace
}  // namespace halftone::test
