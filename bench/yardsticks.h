// Yardsticks: plain loops of the benchmark's own that bound what a screen of
// each kind can reach on this machine, measured in the same run as the
// screens so that every screen's row can report its share.
#pragma once
#include <cstddef>
#include <cstdint>

namespace halftone::bench {

enum class Yardstick {
  Diffusion,       // serial serpentine diffusion, one random bit a pixel, 16-bit lines
  Threshold,       // threshold tile compare and bit packing, widest vectors available
  ThresholdPlain,  // the same without vector instructions
};

// The tightest serial one-plane serpentine loop: 16-bit lines, the dot test
// at 128, one draw of the 31-word additive generator a pixel whose bit picks
// a branchless split of the error (all ahead, or half ahead and half below).
// `width` must be a multiple of 8. Writes one-bit rows of `out_stride` bytes.
void diffusion_loop(unsigned char const* source, std::size_t source_stride, unsigned char* out,
                    std::size_t out_stride, std::uint32_t width, std::uint32_t height,
                    std::uint32_t seed);

// Every row of a page of line-interleaved rows compared with a 16-row
// threshold tile (one full row of thresholds per tile row) and packed into
// one-bit rows: a dot where the grey is below the threshold. `width` must be
// a multiple of 32. `vector` picks the AVX2 loop where the CPU has it.
void threshold_loop(unsigned char const* source, std::size_t source_stride, unsigned char* out,
                    std::size_t out_stride, std::uint32_t width, std::uint32_t rows,
                    unsigned char const* tile, bool vector);

// True when threshold_loop(..., true) runs with vector instructions.
bool threshold_loop_has_vectors();

// Runs the yardstick once over the test page (every plane of it); returns
// the pixels it screened.
std::uint64_t run_yardstick(Yardstick kind);

// The yardstick's best rate in megapixels a second in this run, measuring it
// on the page now if its own benchmark has not run (it is filtered out).
double yardstick_rate(Yardstick kind);
// Records a measured rate; the best of the run is kept.
void record_yardstick(Yardstick kind, double megapixels_per_second);

}  // namespace halftone::bench
