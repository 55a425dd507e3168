#include "frame/band_lines.h"

#include "frame/state.h"

namespace halftone {

BandLines<std::int16_t>& shared_lines() { return state().lines; }
BandLines<double>& damped_lines() { return state().damped_lines; }
BandLines<double>& block_offset_double_lines() { return state().block_double_lines; }

}  // namespace halftone
