// How the screens treat calls outside the band protocol and the supported sizes.
#include <gtest/gtest.h>

#include <fstream>

#include "damped/reference.h"
#include "damped/screens.h"
#include "halftone/setup.h"
#include "support/images.h"

namespace halftone::test {
namespace {

class Choices : public ::testing::TestWithParam<DampedScreen> {};

TEST_P(Choices, EmptySizesTouchNothing) {
  const DampedScreen s = GetParam();
  std::vector<unsigned char> src(64, 9);
  struct Case {
    std::uint32_t w, h, planes;
  } const cases[] = {{0, 5, 1}, {7, 0, 2}, {7, 3, 0}, {0, 0, 0}};
  for (Case const& c : cases)
    for (std::uint32_t band : {1u, 2u, 3u}) {
      Output out(0);
      EXPECT_EQ(s.fn(src.data(), out.data(), c.w, c.h, make_control(c.planes, band)), 0);
      EXPECT_TRUE(out.guard_intact());
    }
}

// Bands that find no lines, or lines too narrow, allocate them as a first band
// would but keep the generator running; a first band of height 0 still primes
// the carry and reseeds.
TEST_P(Choices, StrayBandsAllocateWithoutReseeding) {
  const DampedScreen s = GetParam();
  struct Call {
    std::uint32_t band, w, h;
  } const calls[] = {{1, 10, 4}, {3, 10, 3}, {2, 12, 2}, {0, 30, 5},
                     {2, 20, 4}, {3, 5, 6},  {1, 9, 0},  {3, 9, 3}};
  Reference model;
  pin_seed_time(4242);
  model.pin_seconds(4242);
  std::uint32_t n = 0;
  for (Call const& c : calls) {
    auto src = make_source(c.w, c.h, 2, Fill::Noise, ++n);
    Output got(static_cast<std::size_t>(dot_stride(c.w)) * c.h * 2), want(got.size);
    s.fn(src.data(), got.data(), c.w, c.h, make_control(2, c.band));
    model.screen(s.model, src.data(), want.data(), c.w, c.h, make_control(2, c.band));
    EXPECT_EQ(got.bytes, want.bytes) << "call " << n;
  }
  unpin_seed_time();
}

bool huge_allocations_fail() {
#if defined(__SANITIZE_ADDRESS__)
  return false;  // the sanitizer's allocator aborts instead
#elif defined(__linux__)
  std::ifstream f("/proc/sys/vm/overcommit_memory");
  int mode = 1;
  return f >> mode && mode != 1;
#else
  return false;
#endif
}

TEST_P(Choices, LinesThatCannotBeAllocatedReportNoMemory) {
  if (!huge_allocations_fail()) GTEST_SKIP() << "terabyte allocations may succeed here";
  const DampedScreen s = GetParam();
  unsigned char byte = 0;
  Output out(0);
  EXPECT_EQ(s.fn(&byte, out.data(), 0xFFFFFFFFu, 0, make_control(255, 1)), ERR_NO_MEMORY);
  EXPECT_TRUE(out.guard_intact());
  // Nothing is held afterwards: a middle band allocates afresh and screens.
  auto src = make_source(6, 2, 1, Fill::Flat, 1, 0);
  Output dots(dot_stride(6) * 2);
  EXPECT_EQ(s.fn(src.data(), dots.data(), 6, 2, make_control(1, 2)), 0);
  EXPECT_EQ(dots.body(), (std::vector<unsigned char>{0xFC, 0, 0, 0, 0xFC, 0, 0, 0}));
}

INSTANTIATE_TEST_SUITE_P(Damped, Choices, ::testing::ValuesIn(kDampedScreens),
                         [](auto const& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace halftone::test
