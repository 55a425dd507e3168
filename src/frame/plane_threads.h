// Planes of one call screened on several threads at once.
//
// The planes are cut into `threads` runs of neighbouring planes, as even as
// they go; the calling thread screens the first run and one worker thread
// each of the others, all with the calling thread's screen state in force.
// Each run is screened in plane order. A worker that cannot be started
// leaves its run to the calling thread, so the call always completes.
#pragma once
#include <cstdint>
#include <exception>
#include <system_error>
#include <thread>
#include <vector>

#include "frame/state.h"

namespace halftone {

// How many runs `threads` threads cut `planes` planes into: at least one, at
// most one a plane.
constexpr std::uint32_t plane_runs(std::uint32_t planes, unsigned threads) {
  return threads < 1 ? 1u : (threads > planes ? planes : threads);
}

// First plane of run `k` of `runs` over `planes` planes.
constexpr std::uint32_t plane_run_start(std::uint32_t planes, std::uint32_t runs, std::uint32_t k) {
  return static_cast<std::uint32_t>(std::uint64_t{planes} * k / runs);
}

// The threads a call of `pixels` pixels (planes counted) is worth, of the
// `threads` allowed, where a run needs `pixels_a_run` pixels to pay for its
// thread: starting and joining one costs some 50-100 microseconds, as much
// as the threshold screens take for a 64-row band of four A4 planes.
constexpr unsigned threads_worth(unsigned threads, std::uint64_t pixels,
                                 std::uint64_t pixels_a_run) {
  const std::uint64_t runs = pixels / pixels_a_run;
  return runs >= threads ? threads : runs < 1 ? 1u : static_cast<unsigned>(runs);
}

// Pixels a run of a threshold screen (some 30 000 MP/s) needs to pay for a
// thread: about a millisecond of work.
inline constexpr std::uint64_t kThresholdPixelsARun = std::uint64_t{32} << 20;

// Calls screen_run(first, end) for every run [first, end) of planes. The
// first exception any run throws is rethrown once every run has ended.
template <class ScreenRun>
void for_plane_runs(std::uint32_t planes, unsigned threads, ScreenRun screen_run) {
  const std::uint32_t runs = plane_runs(planes, threads);
  if (runs <= 1) {
    screen_run(0u, planes);
    return;
  }
  ScreenState& shared = state();
  std::vector<std::exception_ptr> failures(runs);
  std::vector<std::thread> workers;
  std::vector<std::uint32_t> left_over;
  workers.reserve(runs - 1);
  for (std::uint32_t k = 1; k < runs; ++k) {
    const std::uint32_t first = plane_run_start(planes, runs, k);
    const std::uint32_t end = plane_run_start(planes, runs, k + 1);
    try {
      workers.emplace_back([&shared, &failures, &screen_run, k, first, end] {
        try {
          ActiveState active(shared);
          screen_run(first, end);
        } catch (...) {
          failures[k] = std::current_exception();
        }
      });
    } catch (std::system_error const&) {
      left_over.push_back(k);  // no thread to be had: screened here below
    }
  }
  try {
    screen_run(0u, plane_run_start(planes, runs, 1));
    for (std::uint32_t k : left_over)
      screen_run(plane_run_start(planes, runs, k), plane_run_start(planes, runs, k + 1));
  } catch (...) {
    failures[0] = std::current_exception();
  }
  for (std::thread& w : workers) w.join();
  for (std::exception_ptr const& f : failures)
    if (f) std::rethrow_exception(f);
}

}  // namespace halftone
