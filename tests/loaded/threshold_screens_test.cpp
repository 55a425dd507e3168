// The threshold screens against plain per-pixel models.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>

#include "frame/band_lines.h"
#include "halftone/loaded.h"
#include "loaded/reference_models.h"
#include "loaded/support.h"
#include "screens/loaded/screens.h"
#include "screens/loaded/stores.h"

namespace halftone::test {
namespace {

using loaded::ClusterMatrixA;
using loaded::ClusterMatrixB;

Bytes screen(int (*fn)(unsigned char*, unsigned char*, int, int, unsigned), Page& page,
             std::uint32_t band = 1) {
  Output out(static_cast<std::size_t>(dot_stride(page.width)) * page.height * page.planes);
  EXPECT_EQ(fn(page.source.data(), out.data(), static_cast<int>(page.width),
               static_cast<int>(page.height), make_control(page.planes, band)),
            0);
  EXPECT_TRUE(out.guard_intact());
  return out.body();
}

int window_text_am1(unsigned char* s, unsigned char* d, int w, int h, unsigned c) {
  return WindowTextAM1(s, d, static_cast<unsigned>(w), static_cast<unsigned>(h), c);
}

bool below_cluster(std::uint8_t const* m, unsigned v, std::uint32_t x, std::uint32_t y) {
  return static_cast<int>(v) < 2 * m[(y % 16) * 16 + x % 16] - 1;
}

TEST(ThresholdScreens, MatchPlainThresholdsOnRandomPages) {
  std::mt19937 gen(31);
  for (std::size_t i = 0; i < sizeof ThresholdMatrix8; ++i)
    (&ThresholdMatrix8[0][0])[i] = static_cast<std::uint8_t>(gen());
  for (int i = 0; i < 300; ++i) {
    Page page = random_page(gen);
    // 17 planes: the shift of plane 16 wraps back to 0.
    if (i % 10 == 0)
      page = Page{page.width, 3, 17, make_source(page.width, 3, 17, Fill::Noise, gen())};
    SCOPED_TRACE(std::to_string(page.width) + "x" + std::to_string(page.height) + "x" +
                 std::to_string(page.planes));
    EXPECT_EQ(screen(WindowText, page),
              ref::threshold_pixels(
                  page.source, page.width, page.height, page.planes,
                  [](unsigned v, std::uint32_t x, std::uint32_t y, std::uint32_t p) {
                    return v <= ThresholdMatrix8[(y + 16 * p) % 256][(x + 16 * p) % 256];
                  }));
    auto against = [](std::uint8_t const* m) {
      return [m](unsigned v, std::uint32_t x, std::uint32_t y, std::uint32_t) {
        return below_cluster(m, v, x, y);
      };
    };
    EXPECT_EQ(screen(window_text_am1, page),
              ref::threshold_pixels(page.source, page.width, page.height, page.planes,
                                    against(ClusterMatrixA)));
    // One band, or a job of bands on the shared lines.
    const Bytes plain = ref::threshold_pixels(page.source, page.width, page.height, page.planes,
                                              against(ClusterMatrixB));
    EXPECT_EQ(screen(WindowTextAM, page, 1 + gen() % 3), plain);
  }
  shared_lines().release();
}

TEST(ThresholdScreens, BuiltInMatrices) {
  for (std::uint8_t const* m : {ClusterMatrixA, ClusterMatrixB}) {
    int seen[129] = {};
    for (int i = 0; i < 256; ++i) ++seen[m[i]];
    EXPECT_EQ(seen[0], 0);
    for (int v = 1; v <= 128; ++v) EXPECT_EQ(seen[v], 2) << v;
  }
  for (int y = 0; y < 8; ++y)
    for (int x = 0; x < 16; ++x)
      EXPECT_EQ(ClusterMatrixA[(y + 8) * 16 + x], ClusterMatrixA[y * 16 + (x ^ 8)]);
  EXPECT_EQ(ClusterMatrixA[4 * 16 + 3], 1);
  EXPECT_EQ(ClusterMatrixB[1 * 16 + 2], 115);
  EXPECT_EQ(ClusterMatrixB[15 * 16 + 15], 62);
}

TEST(ThresholdScreens, HandWorkedCases) {
  std::memset(ThresholdMatrix8, 128, sizeof ThresholdMatrix8);
  ThresholdMatrix8[16][16] = 0;
  struct Case {
    int (*fn)(unsigned char*, unsigned char*, int, int, unsigned);
    unsigned char grey;
    std::uint32_t planes;
    std::size_t dots;  // in a 16 x 16 tile of each plane
  };
  const Case cases[] = {
      {WindowText, 128, 1, 256},    {WindowText, 129, 1, 0},      {WindowText, 128, 2, 511},
      {window_text_am1, 0, 1, 256}, {window_text_am1, 255, 1, 0}, {window_text_am1, 1, 1, 254},
      {WindowTextAM, 0, 3, 768},    {WindowTextAM, 255, 1, 0},
  };
  for (Case const& c : cases) {
    Page page{16, 16, c.planes, make_source(16, 16, c.planes, Fill::Flat, 0, c.grey)};
    std::size_t dots = 0;
    for (unsigned char b : screen(c.fn, page)) dots += static_cast<std::size_t>(std::popcount(b));
    EXPECT_EQ(dots, c.dots) << int(c.grey) << " " << c.planes;
  }
}

// The clustered screens count the rows of each plane, any number of planes.
TEST(ThresholdScreens, RowCountersGrowWithThePlanes) {
  const std::uint32_t before0 = loaded::row_counter(0), before200 = loaded::row_counter(200);
  Page page{5, 7, 201, make_source(5, 7, 201, Fill::Noise, 3)};
  screen(window_text_am1, page);
  screen(WindowTextAM, page, 0);  // no first band: lines taken on demand
  EXPECT_EQ(loaded::row_counter(0), before0 + 14);
  EXPECT_EQ(loaded::row_counter(200), before200 + 14);
  EXPECT_EQ(loaded::row_counter(201), 0u);
  screen(WindowTextAM, page, 3);
  EXPECT_FALSE(shared_lines().held());
}

// A carry left in the shared lines by a one-band job of another screen is
// added to the first row of the next middle band.
TEST(ThresholdScreens, FirstRowPicksUpTheSharedCarry) {
  shared_lines().begin(ScreenControl(make_control(1, 1)), 8);
  shared_lines().CarryLine(0, 8)[2] = 200;
  Page page{8, 2, 1, make_source(8, 2, 1, Fill::Flat, 0, 0)};
  const Bytes out = screen(WindowTextAM, page, 2);
  EXPECT_EQ(out[0], 0xDF);  // 0 + 200 is not below 2 x 51 - 1
  EXPECT_EQ(out[4], 0xFF);
  EXPECT_EQ(screen(WindowTextAM, page, 3)[0], 0xFF);  // the carry was used up
}

}  // namespace
}  // namespace halftone::test
