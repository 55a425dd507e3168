// The built-in dither matrix and the plain ordered dither.
#include <gtest/gtest.h>

#include <bit>
#include <random>

#include "halftone/matrix.h"
#include "screens/matrix/ordered_dither.h"
#include "support/images.h"

namespace halftone::test {
namespace {

using Bytes = std::vector<unsigned char>;
using matrix::DitherMatrix16;

// The recursive matrix in closed form: bit b of the row and column picks the
// quadrant digit (0, 2 / 3, 1) of weight 4^(3 - b).
int bayer(int r, int c) {
  static const int digit[2][2] = {{0, 2}, {3, 1}};
  int v = 0;
  for (int b = 0; b < 4; ++b) v += digit[(r >> b) & 1][(c >> b) & 1] << (2 * (3 - b));
  return v;
}

Bytes dither(Bytes& src, std::uint32_t w, std::uint32_t h, std::uint32_t planes) {
  Output out(static_cast<std::size_t>(dot_stride(w)) * h * planes);
  EXPECT_EQ(Kaocosyx(src.data(), out.data(), w, h, make_control(planes, 2) | 0x77), 0);
  EXPECT_TRUE(out.guard_intact());
  return out.body();
}

Bytes reference(Bytes const& src, std::uint32_t w, std::uint32_t h, std::uint32_t planes) {
  Bytes out(static_cast<std::size_t>(dot_stride(w)) * h * planes, 0);
  for (std::uint32_t p = 0; p < planes; ++p)
    for (std::uint32_t y = 0; y < h; ++y)
      for (std::uint32_t x = 0; x < w; ++x)
        if (src[(y * planes + p) * source_stride(w) + x] < bayer(y % 16, x % 16))
          out[(y * planes + p) * dot_stride(w) + x / 8] |=
              static_cast<unsigned char>(0x80 >> (x % 8));
  return out;
}

TEST(OrderedDither, BlankBeforeTheMatrixIsBuilt) {
  Bytes src = make_source(20, 5, 2, Fill::Noise);
  EXPECT_EQ(dither(src, 20, 5, 2), Bytes(dot_stride(20) * 10, 0));
}

TEST(OrderedDither, MatrixIsTheRecursivePermutation) {
  EXPECT_EQ(SincesKai(), 0);
  EXPECT_EQ(SincesKai(), 0);
  int seen[256] = {};
  for (int i = 0; i < 256; ++i) {
    EXPECT_EQ(DitherMatrix16[i], bayer(i / 16, i % 16)) << i;
    ++seen[DitherMatrix16[i]];
  }
  for (int n : seen) EXPECT_EQ(n, 1);
  const int row8[16] = {3, 131, 35, 163, 11, 139, 43, 171, 1, 129, 33, 161, 9, 137, 41, 169};
  for (int c = 0; c < 16; ++c) EXPECT_EQ(DitherMatrix16[128 + c], row8[c]);
  EXPECT_EQ(DitherMatrix16[1], 128);
  EXPECT_EQ(DitherMatrix16[16], 192);
  EXPECT_EQ(DitherMatrix16[255], 85);
}

TEST(OrderedDither, MatchesThePlainModelOnRandomPages) {
  SincesKai();
  std::mt19937 gen(41);
  for (int i = 0; i < 300; ++i) {
    const std::uint32_t w = 1 + gen() % 70, h = 1 + gen() % 20, planes = 1 + gen() % 4;
    Bytes src = make_source(w, h, planes, static_cast<Fill>(gen() % 5), gen(),
                            static_cast<unsigned char>(gen()));
    ASSERT_EQ(dither(src, w, h, planes), reference(src, w, h, planes)) << w << "x" << h;
    EXPECT_TRUE(padding_clear(dither(src, w, h, planes), w, h * planes));
  }
}

TEST(OrderedDither, FlatFieldsAndBands) {
  SincesKai();
  struct Case {
    unsigned char grey;
    int dots;  // in a 16 x 16 tile
  };
  for (Case c : {Case{128, 127}, Case{0, 255}, Case{255, 0}, Case{1, 254}}) {
    Bytes src = make_source(16, 16, 1, Fill::Flat, 0, c.grey);
    int dots = 0;
    for (unsigned char b : dither(src, 16, 16, 1)) dots += std::popcount(b);
    EXPECT_EQ(dots, c.dots) << int(c.grey);
  }
  // Two bands of 8 rows each start at matrix row 0.
  Bytes page = make_source(24, 16, 3, Fill::RampX);
  Bytes top(page.begin(), page.begin() + static_cast<std::ptrdiff_t>(page.size() / 2));
  Bytes bottom(page.begin() + static_cast<std::ptrdiff_t>(page.size() / 2), page.end());
  Bytes banded = dither(top, 24, 8, 3);
  const Bytes second = dither(bottom, 24, 8, 3);
  EXPECT_EQ(banded, second);
  banded.insert(banded.end(), second.begin(), second.end());
  EXPECT_NE(banded, dither(page, 24, 16, 3));
  // No planes: nothing written.
  Output out(8);
  EXPECT_EQ(Kaocosyx(page.data(), out.data(), 24, 16, 0), 0);
  EXPECT_EQ(out.body(), Bytes(8, 0x5A));
}

}  // namespace
}  // namespace halftone::test
