// Per-pixel rules several families share: the one-bit dot test (plain and
// inverted), the four-case pick and the tone push.
#pragma once
#include <cstdint>
#include <cstring>

#include "frame/band_engine.h"
#include "frame/compiler.h"
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
  return less_if_above(v, 128, 255);
}

// The inverted screens: a set bit is paper.
template <bool kWhiteRule, class V, class Px, class Out>
inline auto quantise_inverted(V v, Px const& px, Out& out) {
  const auto paper = above(v, 128);
  if constexpr (kWhiteRule)
    out.put(px.x, dot_code(paper | above(px.s, 254)));
  else
    out.put(px.x, dot_code(paper));
  return less_if_above(v, 128, 255);
}

// x where `keep` (0 or 1), else 0.0, without a branch.
inline double keep_if(double x, std::uint32_t keep) {
  std::uint64_t bits;
  std::memcpy(&bits, &x, sizeof bits);
  bits &= -static_cast<std::uint64_t>(keep);
  std::memcpy(&x, &bits, sizeof x);
  return x;
}
inline std::uint32_t flip(std::uint32_t bit) { return bit ^ 1u; }

// The double-precision dot test: a value of at most 128.0 is a dot and passes
// itself on; a lighter value passes on value - 255.0. Without a branch: the
// dots follow the image, so a branch would be mispredicted as often as they
// change.
inline double quantise_double(double v, std::uint32_t x, RowOut<1>& out) {
  const bool dot = v <= 128.0;
  out.put(x, dot);
  return v - keep_if(255.0, !dot);
}

#if defined(HALFTONE_VECTORS)
// The same for four planes of doubles in lanes.
using halftone::keep_if;
template <class LaneOut>
inline DoubleLanes quantise_double(DoubleLanes v, std::uint32_t x, LaneOut& out) {
  const Masks64 dot = v <= 128.0;
  out.put(x, dot & 1);
  return v - keep_if(broadcast(255.0), ~dot);
}
inline Masks64 flip(Masks64 mask) { return ~mask; }
#endif

// Picks entry r (0-3) of a four-case rule table with masks (blend), no
// branch and no memory round trip.
template <class R, class V>
inline V pick(R r, V c0, V c1, V c2, V c3) {
  const V odd = ones_if(r & 1);
  const V high = ones_if((r >> 1) & 1);
  return blend(high, blend(odd, c3, c2), blend(odd, c1, c0));
}

// A part of a 16-bit error (none, a third, two thirds, all), truncated
// toward zero as the screens' integer splits are, as a multiply-high and the
// sign correction of truncating division: exact for any error of 16 bits,
// and the same few steps whichever part it is, so that a part chosen at
// random costs no select.
struct Part {
  std::int32_t mul;  // the fraction in 16.16 fixed point
  std::int32_t fix;  // -1 where negative errors round up (toward zero)
};
inline constexpr Part kNone{0, 0}, kThird{0x5556, -1}, kTwoThirds{0xAAAB, -1}, kAll{0x10000, 0};

// The same part of a 16-bit lane's e as mul_high(e, mul16(p)) + (e &
// all16(p)) - sign(e): mul_high(e, 1) is the sign of e (-1 for a negative
// e), so none is (1, 0) and all (1, -1); a third is (21846, 0) and two
// thirds (-21845, -1), as in third() and two_thirds() for lanes.
constexpr std::int16_t mul16(Part p) {
  return p.mul == kThird.mul ? 21846 : p.mul == kTwoThirds.mul ? -21845 : 1;
}
constexpr std::int16_t all16(Part p) {
  return p.mul == kAll.mul || p.mul == kTwoThirds.mul ? -1 : 0;
}
// The part as its multiply-high and the correction taken off it: the
// correction follows from e's sign, ready before the product.
struct Parted {
  std::int32_t high;
  std::int32_t less;
};
inline Parted parted(std::int32_t e, Part p) {
  // Unsigned, so that a row's unwrapped first run (engine::BandEngine), run
  // again where its values leave the 16-bit range, wraps instead of
  // overflowing on the way.
  const auto product =
      static_cast<std::int32_t>(static_cast<std::uint32_t>(e) * static_cast<std::uint32_t>(p.mul));
  return {product >> 16, (e >> 31) & p.fix};
}
inline std::int32_t part_of(std::int32_t e, Part p) {
  const Parted part = parted(e, p);
  return part.high - part.less;
}

#if defined(HALFTONE_VECTORS)
// The part of each lane's e that the lane's own mul16 and all16 name:
// from e, a multiply-high and two adds, the same few steps whichever part
// each lane has.
inline Lanes part_of(Lanes e, Lanes mul16, Lanes all16) {
  return mul_high(e, mul16) + ((e & all16) - sign_bit(e));
}
#endif

// The tone push: every second pixel's error is pushed by the active curves,
// curve A at odd columns going right, curve B at even columns going left.
template <Dir D, class V, class Px>
inline V tone_push(V e, Px const& px, ActiveToneCurves const& curves) {
  if constexpr (D == Dir::Ltr)
    return (px.x & 1u) ? V(add16(e, lookup(curves.a, px.s))) : e;
  else
    return (px.x & 1u) ? e : V(add16(e, lookup(curves.b, px.s)));
}

}  // namespace halftone::engine
