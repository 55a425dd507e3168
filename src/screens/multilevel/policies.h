// The rules of the multi-level screens: a dot-code decision (frame/cascades.h),
// an optional tone push and an error spread, composed into one policy of the
// band engine; the export table runs them on the engine.
#pragma once
#include <cstdint>

#include "frame/band_engine.h"
#include "frame/cascades.h"
#include "frame/pixel_rules.h"
#include "frame/tone_curves.h"

namespace halftone::multilevel {

using engine::Dir;
using engine::half;
using engine::pick;
using engine::Pixel;
using engine::Role;
using engine::third;
using engine::two_thirds;
using Shares = engine::Shares<std::int32_t>;

// Output cells: four two-bit codes a byte, or two four-bit codes a byte.
struct TwoBitCells {
  static constexpr unsigned kBits = 2;
};
struct FourBitCells {
  static constexpr unsigned kBits = 4;
};

// The tone push of the active curves (see frame/pixel_rules.h).
struct ToneBias {
  ActiveToneCurves curves = active_curves();

  template <Dir D, class V, class Px>
  V apply(V e, Px const& px) const {
    return engine::tone_push<D>(e, px, curves);
  }
};
struct NoBias {
  template <Dir D, class V, class Px>
  V apply(V e, Px const&) const {
    return e;
  }
};

// Two random bits: 3 sends everything ahead, 1 everything below, 0 and 2 half
// each way (the odd unit is lost). A row's end draws, ignores the draw and
// sends two thirds below. The band's last row splits between the next pixel
// and the carry line by thirds; its final pixel is coded and nothing more.
struct HalvesSpread {
  static constexpr bool kCarryOnlyAfterRtl = false;
  static constexpr engine::DrawCount kDraws{1, 1, 1, 0};
  template <Role R>
  static constexpr bool kSilent = R == Role::LastEnd;

  template <Dir D, Role R, class V, class Rng>
  static engine::Shares<V> spread(V e, Rng& rng) {
    const auto r = rng.two_bits();
    const V none{};
    if constexpr (R == Role::RowEnd) return {none, two_thirds(e)};
    if constexpr (R == Role::LastInner) {
      const V t = third(e), tt = two_thirds(e);
      return {pick(r, tt, e, t, none), pick(r, t, none, tt, e)};
    }
    // pick(r, h, none, h, e) and pick(r, h, e, h, none), with the half, the
    // last value to be ready, chosen last.
    const V h = half(e);
    const V odd = ones_if(r & 1), high = ones_if((r >> 1) & 1);
    return {blend(odd, e & high, h), blend(odd, e & ~high, h)};
  }
};

// One random bit, the same rule at every pixel: a third one way and the rest
// the other. Shares that would leave the row are lost; the last row's
// downward shares reach the carry line only when that row runs right to left.
struct ThirdSplit {
  static constexpr bool kCarryOnlyAfterRtl = true;
  static constexpr engine::DrawCount kDraws{1, 1, 1, 1};
  template <Role R>
  static constexpr bool kSilent = false;

  template <Dir D, Role R, class V, class Rng>
  static engine::Shares<V> spread(V e, Rng& rng) {
    const V t = third(e), rest = e - t;
    const V one = ones_if(rng.bit());  // a noise bit: masks, no branch
    return {blend(one, rest, t), blend(one, t, rest)};
  }
};

// A decision, a push and a spread; written over the value type, so the
// planes run in lanes wherever the decision can.
template <class Decide, class Bias, class Spread, class Cells>
struct CodeScreen : engine::PolicyBase<std::int16_t> {
  static constexpr bool kCarryOnlyAfterRtl = Spread::kCarryOnlyAfterRtl;
  static constexpr engine::DrawCount kDraws = Spread::kDraws;
  static constexpr unsigned kBits = Cells::kBits;
  static constexpr bool kLaneRule = Decide::kLaneRule;

  Decide decision{};
  Bias bias{};

  template <Dir D, Role R, class V, class Px, class Out, class Rng>
  engine::Shares<V> pixel(V v, Px const& px, Out& out, Rng& rng) {
    const DecisionOf<V> d = decision.decide_any(v, static_cast<V>(px.s));
    out.put(px.x, d.code);
    if constexpr (Spread::template kSilent<R>) return {V{}, V{}};
    return Spread::template spread<D, R>(bias.template apply<D>(d.e, px), rng);
  }
};

// The six screens.
using BracketedFour = CodeScreen<BracketedFourLevel, ToneBias, HalvesSpread, TwoBitCells>;
using FixedFour = CodeScreen<FixedFourLevel, ToneBias, HalvesSpread, TwoBitCells>;
using TwoLevelCodes = CodeScreen<TwoLevel, ToneBias, HalvesSpread, TwoBitCells>;
using BracketedFourThirds = CodeScreen<BracketedFourLevel, ToneBias, ThirdSplit, TwoBitCells>;
using BracketedEight = CodeScreen<BracketedEightLevel, NoBias, HalvesSpread, FourBitCells>;
using FixedEight = CodeScreen<FixedEightLevel, NoBias, HalvesSpread, FourBitCells>;

}  // namespace halftone::multilevel
