// Dot decisions shared by the error-diffusion screens.
#pragma once
#include <cstdint>

#include "frame/band_engine.h"

namespace halftone::diffusion {

using engine::Dir;
using engine::Pixel;
using engine::Role;
using Shares = engine::Shares<std::int32_t>;
using Out = engine::RowOut<1>;

// Value at most 128: a dot, passing on the value; otherwise paper, passing on
// value - 255. With the white-pixel rule a source of 255 is never inked.
template <bool kWhiteRule>
inline std::int32_t quantise(std::int16_t v, Pixel px, Out& out) {
  const bool dot = v <= 128;
  out.put(px.x, kWhiteRule ? dot && px.s < 255 : dot);
  return wrap16(dot ? v : v - 255);
}

// The inverted screens: a set bit is paper.
template <bool kWhiteRule>
inline std::int32_t quantise_inverted(std::int16_t v, Pixel px, Out& out) {
  const bool paper = v > 128;
  out.put(px.x, kWhiteRule ? paper || px.s == 255 : paper);
  return wrap16(paper ? v - 255 : v);
}

// Picks entry r (0-3) of a four-case rule table with masks, no branch and no
// memory round trip.
inline std::int32_t pick(std::uint32_t r, std::int32_t c0, std::int32_t c1, std::int32_t c2,
                         std::int32_t c3) {
  const std::int32_t odd = -static_cast<std::int32_t>(r & 1u);
  const std::int32_t high = -static_cast<std::int32_t>((r >> 1) & 1u);
  const std::int32_t low_pair = (c0 & ~odd) | (c1 & odd);
  const std::int32_t high_pair = (c2 & ~odd) | (c3 & odd);
  return (low_pair & ~high) | (high_pair & high);
}

}  // namespace halftone::diffusion
