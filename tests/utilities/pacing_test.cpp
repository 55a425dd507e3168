// Job pacing: bounded waits on the two events, and the constant entries.
#include "utilities/pacing.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "halftone/utilities.h"

namespace {

using Clock = std::chrono::steady_clock;

// Result and elapsed milliseconds of one wait.
std::pair<int, double> timed_wait(unsigned timeout) {
  const auto start = Clock::now();
  const int result = sinxcdke34i(timeout);
  return {result, std::chrono::duration<double, std::milli>(Clock::now() - start).count()};
}

TEST(Pacing, FreshEventsGiveUpAfter50ThenAfter30Waits) {
  struct Case {
    unsigned timeout;
    int result;
    double at_least_ms, below_ms;
  };
  // 1 ms: the done event never comes (50 waits), the ready event was
  // signalled at creation; then neither comes (50 + 30 waits).
  const Case cases[][2] = {{{1, 1, 50, 1000}, {1, 2, 80, 1500}}, {{0, 1, 0, 40}, {0, 2, 0, 40}}};
  for (auto const& pair : cases) {
    khjhusecx();
    for (Case const& c : pair) {
      const auto [result, ms] = timed_wait(c.timeout);
      EXPECT_EQ(result, c.result) << "timeout " << c.timeout;
      EXPECT_GE(ms, c.at_least_ms);
      EXPECT_LT(ms, c.below_ms);
    }
    EXPECT_EQ(giwncwcg7w(), 1);
  }
}

TEST(Pacing, WithoutEventsReturnsAtOnce) {
  EXPECT_EQ(giwncwcg7w(), 1);
  EXPECT_EQ(giwncwcg7w(), 1);
  const auto [result, ms] = timed_wait(1000);
  EXPECT_EQ(result, 0);
  EXPECT_LT(ms, 100);
  EXPECT_FALSE(halftone::pacing::signal(halftone::pacing::Event::Done));
}

TEST(Pacing, SignalledEventsEndTheWaits) {
  using halftone::pacing::Event;
  using halftone::pacing::signal;
  khjhusecx();
  ASSERT_TRUE(signal(Event::Done));
  EXPECT_EQ(sinxcdke34i(1), 0);  // both came
  ASSERT_TRUE(signal(Event::Done));
  EXPECT_EQ(sinxcdke34i(0), 2);  // the ready event was consumed
  // A signal from another thread ends a wait in progress; auto-reset, so the
  // next call misses the done event again.
  std::thread late([] {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    signal(Event::Done);
    signal(Event::Ready);
  });
  const auto [result, ms] = timed_wait(10);
  late.join();
  EXPECT_EQ(result, 0);
  EXPECT_LT(ms, 400);
  EXPECT_EQ(sinxcdke34i(0), 2);
  giwncwcg7w();
}

TEST(Pacing, ConstantEntriesReturnZero) {
  EXPECT_EQ(DouMaxing(), 0);
  EXPECT_EQ(DuanKougb(), 0);
  EXPECT_EQ(YountTrue(), 0);
}

}  // namespace
