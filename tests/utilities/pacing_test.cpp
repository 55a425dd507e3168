// Job pacing: bounded waits on the two events, and the constant entries.
#include "utilities/pacing.h"

#include <gtest/gtest.h>

#include <chrono>

#include "halftone/utilities.h"

namespace {

using halftone::pacing::Event;
using halftone::pacing::signal;

// Fresh events: the done event never comes (50 waits, result 1) while the
// ready event was signalled at creation; then neither comes (50 + 30 waits,
// result 2). Signals end the waits, and a successful wait resets its event.
// Without events a wait returns 0 at once; closing returns 1.
TEST(Pacing, WaitsOnTheEvents) {
  struct Case {
    char const* before;  // c: create the events, d/r: signal done/ready, x: close
    unsigned timeout;
    int result;
    double at_least_ms, below_ms;
  } const cases[] = {
      {"c", 1, 1, 50, 1000}, {"", 1, 2, 80, 1500}, {"c", 0, 1, 0, 40},
      {"", 0, 2, 0, 40},     {"cd", 1, 0, 0, 40},  {"d", 0, 2, 0, 40},
      {"r", 0, 1, 0, 40},    {"x", 1, 0, 0, 40},   {"x", 0, 0, 0, 40},
  };
  for (auto const& c : cases) {
    for (char const* a = c.before; *a; ++a) {
      if (*a == 'c') khjhusecx();
      ASSERT_TRUE((*a != 'd' && *a != 'r') || signal(*a == 'd' ? Event::Done : Event::Ready));
      ASSERT_TRUE(*a != 'x' || giwncwcg7w() == 1);
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(sinxcdke34i(c.timeout), c.result) << c.before << " " << c.timeout;
    const std::chrono::duration<double, std::milli> ms = std::chrono::steady_clock::now() - start;
    EXPECT_GE(ms.count(), c.at_least_ms);
    EXPECT_LT(ms.count(), c.below_ms);
  }
  EXPECT_FALSE(signal(Event::Done));
}

}  // namespace
