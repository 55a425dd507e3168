// Band hand-over, lines missing or too small, and empty sizes, for the
// offset-matrix and block-offset screens alike.
#include <gtest/gtest.h>

#include <cstring>
#include <span>

#include "frame/band_lines.h"
#include "frame/feedback_random.h"
#include "frame/state.h"
#include "halftone/loaded.h"
#include "halftone/matrix.h"
#include "support/offset_reference.h"

namespace halftone::test {
namespace {

struct Screen {
  char const* name;
  ScreenFn run;
  bool double_lines;
};

class BandsTest : public ::testing::TestWithParam<Screen> {
 protected:
  void SetUp() override {
    Itsdiufiavs(4, "");
    std::mt19937 gen(5);
    for (auto& v : std::span(&stores().ThresholdOffsetMatrix[0][0], 256 * 256))
      v = static_cast<std::int16_t>(gen() % 102) - 50;
    for (auto& v : stores().ThresholdBlockStack) v = static_cast<std::int16_t>(gen() % 201) - 100;
    pin_seed_time(4242);
  }
  void TearDown() override {
    unpin_seed_time();
    Itsdiufiavs(0, "");
    std::memset(stores().ThresholdOffsetMatrix, 0, sizeof stores().ThresholdOffsetMatrix);
    std::memset(stores().ThresholdBlockStack, 0, sizeof stores().ThresholdBlockStack);
  }
  // One call, the generator reseeded first so that every band draws alike.
  std::vector<unsigned char> call(std::uint32_t w, std::uint32_t h, std::uint32_t planes,
                                  std::uint32_t band, Fill fill = Fill::Noise) {
    auto src = make_source(w, h, planes, fill, w + h);
    reseed_screening();
    Output out(std::size_t{dot_stride(w)} * h * planes);
    EXPECT_EQ(GetParam().run(src.data(), out.data(), w, h, make_control(planes, band)), 0);
    EXPECT_TRUE(out.guard_intact());
    return out.body();
  }
};

// Only a band of even height (its last row right to left) hands error on.
TEST_P(BandsTest, OnlyAnEvenBandHandsErrorToTheNextBand) {
  for (std::uint32_t h : {8u, 9u}) {
    call(37, h, 2, 1);
    bool clear = true;
    for (std::uint32_t i = 0; i < 74; ++i)
      clear &= GetParam().double_lines ? block_offset_double_lines().CarryLine(0, 37)[i] == 0.0
                                       : shared_lines().CarryLine(0, 37)[i] == 0;
    EXPECT_EQ(clear, h % 2 == 1) << "height " << h;
    const auto next = call(37, 6, 2, 2, Fill::RampX);
    EXPECT_EQ(next == call(37, 6, 2, 1, Fill::RampX), h % 2 == 1) << "height " << h;
  }
}

// A middle band without a first band, or wider and with more planes than the
// lines held, starts as a fresh job; zero sizes and planes screen nothing.
TEST_P(BandsTest, MissingOrSmallLinesAndEmptySizes) {
  const auto fresh = call(300, 7, 4, 1);
  call(8, 2, 1, 3);  // a last band: no lines held afterwards
  EXPECT_EQ(call(300, 7, 4, 2), fresh) << "middle band without a first band";
  call(8, 2, 1, 1);
  EXPECT_EQ(call(300, 7, 4, 0), fresh) << "wider band with more planes";
  call(8, 2, 1, 3);
  for (auto [w, h, planes] : {std::array<std::uint32_t, 3>{0, 4, 1}, {8, 0, 1}, {8, 4, 0}})
    EXPECT_TRUE(call(w, h, planes, 1).empty());
}

INSTANTIATE_TEST_SUITE_P(Screens, BandsTest,
                         ::testing::Values(Screen{"Kaocosyx1", Kaocosyx1, false},
                                           Screen{"Kaocosyx10", Kaocosyx10, false},
                                           Screen{"CrisixOut", CrisixOut, false},
                                           Screen{"CrisixOut_double", CrisixOut_double, true},
                                           Screen{"CrisixOut31", CrisixOut31, false}),
                         [](auto const& info) { return std::string(info.param.name); });

// Negative sizes reach the signed screens only.
TEST(OffsetSizes, NegativeSizesScreenNothing) {
  unsigned char src[16] = {};
  Output out(0);
  for (ScreenFn fn : {ScreenFn(Kaocosyx1), ScreenFn(CrisixOut31)})
    for (auto [w, h] : {std::pair{-4, 4}, {4, -7}})
      EXPECT_EQ(fn(src, out.data(), w, h, make_control(1, 1 + (h < 0) * 2)), 0);
  EXPECT_TRUE(out.guard_intact());
}

}  // namespace
}  // namespace halftone::test
