// Per-pixel rules several families share: the one-bit dot test (plain and
// inverted), the four-case pick and the tone push.
#pragma once
#include <cstdint>

#include "frame/band_engine.h"
#include "frame/lanes.h"
#include "frame/select.h"
#include "frame/tone_curves.h"

namespace halftone::engine {

// The rules below are templates over the value: a plane's int32_t with its
// Pixel and RowOut, or Lanes with a LanePixel and LaneRowOut (frame/lanes.h).

// Value at most 128: a dot, passing on the value; otherwise paper, passing on
// value - 255 (in the 16-bit range for any 16-bit value). With the
// white-pixel rule a source of 255 is never inked.
template <bool kWhiteRule, class V, class Px, class Out>
inline auto quantise(V v, Px const& px, Out& out) {
  const auto dot = at_most(v, 128);
  if constexpr (kWhiteRule)
    out.put(px.x, dot_code(dot & at_most(px.s, 254)));
  else
    out.put(px.x, dot_code(dot));
  return select_at_most(v, 128, v, v - 255);
}

// The inverted screens: a set bit is paper.
template <bool kWhiteRule, class V, class Px, class Out>
inline auto quantise_inverted(V v, Px const& px, Out& out) {
  const auto paper = above(v, 128);
  if constexpr (kWhiteRule)
    out.put(px.x, dot_code(paper | above(px.s, 254)));
  else
    out.put(px.x, dot_code(paper));
  return select_at_most(v, 128, v, v - 255);
}

// Picks entry r (0-3) of a four-case rule table with masks, no branch and no
// memory round trip.
template <class R, class V>
inline V pick(R r, V c0, V c1, V c2, V c3) {
  const V odd = ones_if(r & 1);
  const V high = ones_if((r >> 1) & 1);
  const V low_pair = (c0 & ~odd) | (c1 & odd);
  const V high_pair = (c2 & ~odd) | (c3 & odd);
  return (low_pair & ~high) | (high_pair & high);
}

// The tone push: every second pixel's error is pushed by the active curves,
// curve A at odd columns going right, curve B at even columns going left.
template <Dir D, class V, class Px>
inline V tone_push(V e, Px const& px, ActiveToneCurves const& curves) {
  if constexpr (D == Dir::Ltr)
    return (px.x & 1u) ? V(wrap16(e + lookup(curves.a, px.s))) : e;
  else
    return (px.x & 1u) ? e : V(wrap16(e + lookup(curves.b, px.s)));
}

}  // namespace halftone::engine
