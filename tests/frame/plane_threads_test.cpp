// Plane runs: every plane screened once, in order within its run, with the
// caller's state in force on every thread.
#include "frame/plane_threads.h"

#include <gtest/gtest.h>

#include <mutex>
#include <new>
#include <stdexcept>
#include <vector>

namespace halftone {
namespace {

TEST(PlaneThreads, EveryPlaneOnceWithTheCallersState) {
  struct Case {
    std::uint32_t planes;
    unsigned threads;
    std::uint32_t runs;
  };
  for (Case c : {Case{4, 3, 3}, Case{3, 8, 3}, Case{5, 0, 1}, Case{0, 4, 0}}) {
    SCOPED_TRACE(testing::Message() << c.planes << " planes, " << c.threads << " threads");
    ScreenState job;
    ActiveState active(job);
    std::mutex m;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> runs;
    std::vector<int> seen(c.planes, 0);
    bool same_state = true;
    for_plane_runs(c.planes, c.threads, [&](std::uint32_t first, std::uint32_t end) {
      std::lock_guard<std::mutex> lock(m);
      same_state = same_state && &state() == &job;
      if (end > first) runs.emplace_back(first, end);
      for (std::uint32_t p = first; p < end; ++p) ++seen[p];
    });
    EXPECT_TRUE(same_state);
    EXPECT_EQ(runs.size(), c.runs);
    for (int n : seen) EXPECT_EQ(n, 1);
  }
}

// A thread only where its run has the pixels to pay for it; never fewer
// than one run, never more than allowed.
TEST(PlaneThreads, ThreadsOnlyWhereTheWorkPaysForThem) {
  struct Case {
    unsigned threads;
    std::uint64_t pixels, pixels_a_run;
    unsigned worth;
  };
  for (Case c : {Case{2, 1000, 1000, 1}, Case{2, 1999, 1000, 1}, Case{2, 2000, 1000, 2},
                 Case{4, 3000, 1000, 3}, Case{2, 0, 1000, 1}, Case{1, 1u << 30, 1, 1},
                 Case{0, 1u << 30, 1, 0}})
    EXPECT_EQ(threads_worth(c.threads, c.pixels, c.pixels_a_run), c.worth)
        << c.threads << " threads, " << c.pixels << " pixels";
}

TEST(PlaneThreads, AFailureInAnyRunReachesTheCaller) {
  for (std::uint32_t failing : {0u, 2u}) {
    auto run = [&](std::uint32_t first, std::uint32_t) {
      if (first == failing) throw std::bad_alloc();
    };
    EXPECT_THROW(for_plane_runs(3, 3, run), std::bad_alloc);
  }
}

// The bands are timed each way in turn, lanes first, and once both ways have
// their bands the faster (by its least time) is kept.
TEST(PlaneSplitTiming, TimesEachWayInTurnThenKeepsTheFaster) {
  struct Case {
    std::vector<double> lanes, threads;  // ns a pixel of the timed bands
    bool keeps_lanes;
  };
  for (Case const& c : {Case{{3.0, 2.0}, {2.5, 2.4}, true}, Case{{3.0, 2.6}, {2.5, 9.0}, false},
                        Case{{1.0, 1.0}, {1.0, 1.0}, true}}) {
    PlaneSplitTiming timing;
    for (std::size_t k = 0; k < c.lanes.size(); ++k) {
      EXPECT_FALSE(timing.done());
      ASSERT_TRUE(timing.next_in_lanes());
      timing.record(true, c.lanes[k]);
      ASSERT_FALSE(timing.next_in_lanes());
      timing.record(false, c.threads[k]);
    }
    EXPECT_TRUE(timing.done());
    EXPECT_EQ(timing.next_in_lanes(), c.keeps_lanes);
  }
}

}  // namespace
}  // namespace halftone
