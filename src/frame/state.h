// Everything a screen reads or keeps besides its arguments: the generator,
// the carried lines of each family, the tone curves and parameter bytes, the
// loaded stores, per-plane counters, the built dither matrix, the data folder
// and a pinned seed time.
//
// The host entry points use one process-wide state, as the host contract
// says. A job owns a state of its own and makes it the one in force on its
// thread for the length of each call (ActiveState), so jobs of any screens can
// run side by side and in different threads at once.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "frame/band_lines.h"
#include "frame/feedback_random.h"
#include "frame/stores.h"
#include "frame/tone_curves.h"

namespace halftone {

// The per-plane cycle of the counter-driven screen.
struct PlaneCycle {
  std::int32_t counter = 0;
  std::uint32_t right_to_left = 0;
};

struct ToneState {
  std::uint8_t bank[kCurveCount][256];
  int curve_a = 0;
  int curve_b = 0;
  std::uint8_t parameters[kParameterBytes] = {};
  ToneState();
};

// Whether a band's planes run faster in vector lanes on one thread or on
// several threads two at a time: the engine times a few bands each way and
// keeps the faster (both give the same bytes). Nanoseconds a pixel, the
// least of each way's timed bands.
struct PlaneSplitTiming {
  static constexpr unsigned kTimedBands = 2;  // a way
  double lanes = 0, threads = 0;
  unsigned lanes_bands = 0, threads_bands = 0;
  bool done() const { return lanes_bands >= kTimedBands && threads_bands >= kTimedBands; }
  // The way the next band takes while timing: each in turn, lanes first.
  bool next_in_lanes() const { return done() ? lanes <= threads : lanes_bands <= threads_bands; }
  void record(bool in_lanes, double ns_per_pixel) {
    double& best = in_lanes ? lanes : threads;
    unsigned& bands = in_lanes ? lanes_bands : threads_bands;
    if (bands == 0 || ns_per_pixel < best) best = ns_per_pixel;
    ++bands;
  }
};

struct ScreenState {
  // A state with its own zeroed stores (a job's), or with `shared` ones.
  ScreenState();
  explicit ScreenState(LoadedStores* shared);
  ~ScreenState();
  ScreenState(ScreenState const&) = delete;
  ScreenState& operator=(ScreenState const&) = delete;

  FeedbackRandom random;
  bool seed_pinned = false;  // a job's own seed time; otherwise the process's rule
  std::uint32_t seed_time = 0;
  BandLines<std::int16_t> lines;
  BandLines<double> damped_lines;
  BandLines<double> block_double_lines;
  ToneState tone;
  LoadedStores* stores;
  std::vector<PlaneCycle> cycles;
  std::vector<std::uint32_t> row_counters;
  std::uint8_t dither_matrix[256] = {};
  bool has_data_folder = false;  // otherwise the process's data folder
  std::string data_folder;       // with a trailing separator
  // Planes of a band screened at once (a job's "threads"; the process's
  // entry points screen one plane after the other).
  unsigned threads = 1;
  PlaneSplitTiming plane_split;

 private:
  bool owns_stores_;
};

// The state in force on this thread: a job's during its calls, else the process's.
ScreenState& state();

// Makes `s` the state in force on this thread until the scope ends.
class ActiveState {
 public:
  explicit ActiveState(ScreenState& s);
  ~ActiveState();
  ActiveState(ActiveState const&) = delete;
  ActiveState& operator=(ActiveState const&) = delete;

 private:
  ScreenState* previous_;
};

}  // namespace halftone
