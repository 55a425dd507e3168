// The benchmark's page: A4 at 600 dpi (4960 x 7016) of line-interleaved
// planes screened in 64-row bands unless the command line asks for a
// shorter page; rates in megapixels a second, all planes counted.
#pragma once
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace halftone::bench {

struct PageSize {
  std::uint32_t width = 4960;
  std::uint32_t height = 7016;
  std::uint32_t planes = 4;  // of the banded screens; whole-page screens take one
  std::uint32_t band_height = 64;
  std::uint32_t threads = 1;  // the jobs' "threads" option
  bool cpu_time = false;      // rates over the process's CPU time, not the wall clock
};

// The size every benchmark of this run uses (set from the command line).
PageSize& page_size();

// Bytes of a row of `width` pixels at `bits` a pixel, padded to 32 bits.
constexpr std::size_t packed_row(std::uint32_t width, unsigned bits) {
  return ((std::size_t{width} * bits + 31u) >> 3) & ~std::size_t{3};
}

// The test page of `planes` line-interleaved planes at page_size(): smooth
// ramps with some texture, the kind of content a screen meets in print.
// Built once a plane count and kept.
std::vector<unsigned char> const& test_page(std::uint32_t planes);

// Seconds since it was made: of the wall clock, or of the process's CPU
// time with page_size().cpu_time (a fairer measure on a machine others load,
// for jobs that run in one thread).
class Stopwatch {
 public:
  Stopwatch();
  double seconds() const;

 private:
  double start_;
};

// Reports MP/s, all planes counted, over the `seconds` of wall time that
// the state's iterations took, and its share in percent of the yardstick
// rate `yardstick` (0: none). Returns the rate.
double report_megapixels(benchmark::State& state, std::uint64_t pixels_per_iteration,
                         double seconds, double yardstick = 0);

// Registration, in the order of the run: the yardsticks first, so that every
// screen's share is taken against a rate of this run.
void register_yardsticks();
void register_screens();

}  // namespace halftone::bench
