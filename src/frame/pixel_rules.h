// Per-pixel rules several families share: the one-bit dot test (plain and
// inverted), the four-case pick and the tone push.
#pragma once
#include <cstdint>

#include "frame/band_engine.h"
#include "frame/select.h"
#include "frame/tone_curves.h"

namespace halftone::engine {

// Value at most 128: a dot, passing on the value; otherwise paper, passing on
// value - 255. With the white-pixel rule a source of 255 is never inked.
template <bool kWhiteRule>
inline std::int32_t quantise(std::int16_t v, Pixel px, RowOut<1>& out) {
  const bool dot = v <= 128;
  out.put(px.x, kWhiteRule ? dot && px.s < 255 : dot);
  return wrap16(select_at_most(v, 128, v, v - 255));
}

// The inverted screens: a set bit is paper.
template <bool kWhiteRule>
inline std::int32_t quantise_inverted(std::int16_t v, Pixel px, RowOut<1>& out) {
  const bool paper = v > 128;
  out.put(px.x, kWhiteRule ? paper || px.s == 255 : paper);
  return wrap16(select_at_most(v, 128, v, v - 255));
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

// The tone push: every second pixel's error is pushed by the active curves,
// curve A at odd columns going right, curve B at even columns going left.
template <Dir D>
inline std::int16_t tone_push(std::int16_t e, Pixel px, ActiveToneCurves const& curves) {
  if constexpr (D == Dir::Ltr)
    return (px.x & 1u) ? wrap16(e + curves.a[px.s]) : e;
  else
    return (px.x & 1u) ? e : wrap16(e + curves.b[px.s]);
}

}  // namespace halftone::engine
