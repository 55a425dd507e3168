// The threshold screens against plain per-pixel thresholds.
#include <gtest/gtest.h>

#include <span>

#include "frame/band_lines.h"
#include "frame/state.h"
#include "halftone/loaded.h"
#include "loaded/support.h"
#include "screens/loaded/screens.h"

namespace halftone::test {
namespace {

using loaded::ClusterMatrixA;
using loaded::ClusterMatrixB;

// The loaded matrix shifted 16 rows and columns a plane, or a clustered
// matrix whose grey below 2T - 1 is inked.
bool threshold_dot(std::uint8_t const* cluster, unsigned v, std::uint32_t x, std::uint32_t y,
                   std::uint32_t p) {
  if (!cluster) return v <= stores().ThresholdMatrix8[(y + 16 * p) % 256][(x + 16 * p) % 256];
  return static_cast<int>(v) < 2 * cluster[(y % 16) * 16 + x % 16] - 1;
}

TEST(ThresholdScreens, MatchPlainThresholdsOnRandomPages) {
  std::mt19937 gen(31);
  for (auto& t : std::span(&stores().ThresholdMatrix8[0][0], sizeof stores().ThresholdMatrix8))
    t = gen() & 255;
  const std::pair<ScreenFn, std::uint8_t const*> screens[] = {
      {WindowText, nullptr}, {WindowTextAM1, ClusterMatrixA}, {WindowTextAM, ClusterMatrixB}};
  for (int i = 0; i < 300; ++i) {
    Page page = random_page(gen);
    // 17 planes: the shift of plane 16 wraps back to 0.
    if (i % 10 == 0) page = {page.width, 3, 17, make_source(page.width, 3, 17, Fill::Noise, gen())};
    for (auto const& [fn, cluster] : screens)  // WindowTextAM: one band or a job of bands
      EXPECT_EQ(screen(fn, page, 1, 1 + gen() % 3),
                threshold_model(page.source, page.width, page.height, page.planes,
                                [m = cluster](auto... a) { return threshold_dot(m, a...); }))
          << page.width << "x" << page.height << "x" << page.planes;
  }
  shared_lines().release();
}

// A carry left in the shared lines by a one-band job of another screen is
// added to the first row of the next middle band, and used up.
TEST(ThresholdScreens, FirstRowPicksUpTheSharedCarry) {
  shared_lines().begin(ScreenControl(make_control(1, 1)), 8);
  shared_lines().CarryLine(0, 8)[2] = 200;
  Page page{8, 2, 1, make_source(8, 2, 1, Fill::Flat, 0, 0)};
  const Bytes out = screen(WindowTextAM, page, 1, 2);
  EXPECT_EQ(out[0], 0xDF);  // 0 + 200 is not below 2 x 51 - 1
  EXPECT_EQ(out[4], 0xFF);
  EXPECT_EQ(screen(WindowTextAM, page, 1, 3)[0], 0xFF);
}

}  // namespace
}  // namespace halftone::test
