// Pieces shared by the damped and noise-table screens.
#pragma once
#include <cstdint>

#include "frame/band_engine.h"

namespace halftone::damped {

using engine::Dir;
using engine::Pixel;
using engine::Role;

using Out = engine::RowOut<1>;

// The double-precision dot test: a value of at most 128.0 is a dot and passes
// itself on; a lighter value passes on value - 255.0.
inline double quantise(double v, std::uint32_t x, Out& out) {
  const bool dot = v <= 128.0;
  out.put(x, dot);
  return dot ? v : v - 255.0;
}

}  // namespace halftone::damped
