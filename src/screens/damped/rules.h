// Pieces shared by the damped and noise-table screens.
#pragma once
#include <cstdint>

#include "frame/band_engine.h"

namespace halftone::damped {

using engine::Dir;
using engine::Pixel;
using engine::Role;

// Sets bit x of a one-bit row when `on`, without a branch on the decision.
inline void put_dot(unsigned char* row, std::uint32_t x, bool on) {
  row[x >> 3] |= static_cast<unsigned char>(static_cast<unsigned>(on) << (7u - (x & 7u)));
}

// The double-precision dot test: a value of at most 128.0 is a dot and passes
// itself on; a lighter value passes on value - 255.0.
inline double quantise(double v, std::uint32_t x, unsigned char* out) {
  const bool dot = v <= 128.0;
  put_dot(out, x, dot);
  return dot ? v : v - 255.0;
}

}  // namespace halftone::damped
