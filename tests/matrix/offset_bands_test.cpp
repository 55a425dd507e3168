// Band hand-over, lines missing or too small, and empty sizes, for the
// offset-matrix and block-offset screens alike.
#include <gtest/gtest.h>

#include <cstring>

#include "frame/band_lines.h"
#include "frame/feedback_random.h"
#include "halftone/loaded.h"
#include "halftone/matrix.h"
#include "screens/loaded/stores.h"
#include "support/offset_reference.h"

namespace halftone::test {
namespace {

struct Screen {
  char const* name;
  ScreenFn run;
  bool double_lines;
};

const Screen kScreens[] = {
    {"Kaocosyx1",
     [](unsigned char* s, unsigned char* d, std::uint32_t w, std::uint32_t h, std::uint32_t c) {
       return Kaocosyx1(s, d, static_cast<int>(w), static_cast<int>(h), c);
     },
     false},
    {"Kaocosyx10", Kaocosyx10, false},
    {"CrisixOut", CrisixOut, false},
    {"CrisixOut_double", CrisixOut_double, true},
    {"CrisixOut31",
     [](unsigned char* s, unsigned char* d, std::uint32_t w, std::uint32_t h, std::uint32_t c) {
       return CrisixOut31(s, d, static_cast<int>(w), static_cast<int>(h), c);
     },
     false},
};

class BandsTest : public ::testing::TestWithParam<Screen> {
 protected:
  void SetUp() override {
    Itsdiufiavs(4, "");
    std::mt19937 gen(5);
    for (auto& row : ThresholdOffsetMatrix)
      for (auto& v : row) v = static_cast<std::int16_t>(gen() % 102) - 50;
    for (auto& v : ThresholdBlockStack) v = static_cast<std::int16_t>(gen() % 201) - 100;
    pin_seed_time(4242);
  }
  void TearDown() override {
    unpin_seed_time();
    Itsdiufiavs(0, "");
    std::memset(ThresholdOffsetMatrix, 0, sizeof ThresholdOffsetMatrix);
    std::memset(ThresholdBlockStack, 0, sizeof ThresholdBlockStack);
  }

  // One call; the generator is reseeded first, so that a screen whose random
  // sequence runs on across bands draws as it would on a first band.
  std::vector<unsigned char> call(std::vector<unsigned char>& src, std::uint32_t w, std::uint32_t h,
                                  std::uint32_t planes, std::uint32_t band) {
    reseed_screening();
    Output out(std::size_t{dot_stride(w)} * h * planes);
    EXPECT_EQ(GetParam().run(src.data(), out.data(), w, h, make_control(planes, band)), 0);
    EXPECT_TRUE(out.guard_intact());
    return out.body();
  }
  bool carry_clear(std::uint32_t w, std::uint32_t planes) {
    for (std::uint32_t i = 0; i < w * planes; ++i)
      if (GetParam().double_lines ? block_offset_double_lines().CarryLine(0, w)[i] != 0.0
                                  : shared_lines().CarryLine(0, w)[i] != 0)
        return false;
    return true;
  }
};

TEST_P(BandsTest, OnlyAnEvenBandHandsErrorToTheNextBand) {
  for (std::uint32_t h : {8u, 9u}) {
    auto first = make_source(37, h, 2, Fill::Noise, 3);
    auto second = make_source(37, 6, 2, Fill::RampX);
    call(first, 37, h, 2, 1);
    EXPECT_EQ(carry_clear(37, 2), h % 2 == 1) << "height " << h;
    const auto next = call(second, 37, 6, 2, 2);
    const auto fresh = call(second, 37, 6, 2, 1);
    EXPECT_EQ(next == fresh, h % 2 == 1) << "height " << h;
  }
}

TEST_P(BandsTest, MissingOrSmallLinesStartAsAFreshJob) {
  auto small = make_source(8, 2, 1, Fill::Noise, 4);
  auto page = make_source(300, 7, 4, Fill::Noise, 5);
  const auto fresh = call(page, 300, 7, 4, 1);
  call(small, 8, 2, 1, 3);  // a last band: no lines held afterwards
  EXPECT_EQ(call(page, 300, 7, 4, 2), fresh) << "middle band without a first band";
  call(small, 8, 2, 1, 1);
  EXPECT_EQ(call(page, 300, 7, 4, 0), fresh) << "wider band with more planes";
  call(small, 8, 2, 1, 3);
}

TEST_P(BandsTest, EmptySizesScreenNothing) {
  auto src = make_source(8, 4, 1, Fill::Flat, 1, 0);
  struct Size {
    std::uint32_t w, h, planes;
  };
  // -5 reaches the signed screens as a negative size and the unsigned ones as
  // a huge one, so only zero sizes and zero planes are common to all.
  for (Size s : {Size{0, 4, 1}, Size{8, 0, 1}, Size{8, 4, 0}}) {
    Output out(0);
    EXPECT_EQ(GetParam().run(src.data(), out.data(), s.w, s.h, make_control(s.planes, 1)), 0);
    EXPECT_TRUE(out.guard_intact());
  }
}

INSTANTIATE_TEST_SUITE_P(Screens, BandsTest, ::testing::ValuesIn(kScreens),
                         [](auto const& info) { return std::string(info.param.name); });

TEST(OffsetSizes, NegativeSizesScreenNothing) {
  unsigned char src[16] = {};
  Output out(0);
  EXPECT_EQ(Kaocosyx1(src, out.data(), -4, 4, make_control(1, 1)), 0);
  EXPECT_EQ(Kaocosyx1(src, out.data(), 4, -1, make_control(1, 1)), 0);
  EXPECT_EQ(CrisixOut31(src, out.data(), -1, 4, make_control(1, 1)), 0);
  EXPECT_EQ(CrisixOut31(src, out.data(), 4, -7, make_control(1, 3)), 0);
  EXPECT_TRUE(out.guard_intact());
}

}  // namespace
}  // namespace halftone::test
