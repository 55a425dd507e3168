// One-bit threshold screens over the planes of a call: every row of every
// plane packed against a threshold row, the planes cut into runs on the
// threads the call is worth.
#pragma once
#include <cstdint>

#include "frame/layout.h"
#include "frame/plane_threads.h"
#include "frame/state.h"
#include "frame/threshold_pack.h"

namespace halftone {

// The threshold row a pixel row is packed against, and its shift.
struct ThresholdRow {
  ThresholdRing const* ring;
  std::uint32_t shift;
};

// Writes every byte of every output row of `call` (`stride` bytes a row). A
// run goes row after row across its planes, so the source is read in the
// order it is stored. `make_rows()` is called once a run, and what it
// returns is called as rows(p, y) for plane p's row y, giving its
// ThresholdRow; a run may keep a ring of its own in it.
template <class MakeRows>
void threshold_planes(PlaneCall const& call, std::uint32_t width, std::uint32_t height,
                      std::uint32_t stride, DotTest test, MakeRows make_rows) {
  if (width == 0) return;
  const auto planes = static_cast<std::uint32_t>(call.planes);
  const unsigned threads =
      threads_worth(state().threads, std::uint64_t{width} * height * planes, kThresholdPixelsARun);
  for_plane_runs(planes, threads, [&](std::uint32_t first, std::uint32_t end) {
    auto rows = make_rows();
    for (std::uint32_t y = 0; y < height; ++y)
      for (std::uint32_t p = first; p < end; ++p) {
        const ThresholdRow row = rows(p, y);
        threshold_pack_whole_row(call.src.row(p, y), call.out.row(p, y), width, stride, *row.ring,
                                 row.shift, test);
      }
  });
}

}  // namespace halftone
