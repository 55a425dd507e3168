// The rules of the error-diffusion screens, one policy of the band engine
// each; the export table runs them on the engine.
#pragma once
#include <cstdint>
#include <type_traits>
#include <vector>

#include "frame/band_engine.h"
#include "frame/compiler.h"
#include "frame/pixel_rules.h"
#include "frame/state.h"
#include "frame/tone_curves.h"

namespace halftone::diffusion {

using engine::Dir;
using engine::pick;
using engine::Pixel;
using engine::quantise;
using engine::quantise_inverted;
using engine::Role;
using engine::third;
using engine::two_thirds;
using Shares = engine::Shares<std::int32_t>;
using Out = engine::RowOut<1>;

// The rules are templates over the value: int32_t for one plane, Lanes for
// planes side by side (frame/lanes.h); `kLaneRule` lets the engine use the latter.

// One plane, one call: a 1 sends the error below, a 0 ahead; row ends drop it
// on a 0. The last row keeps it in the row on a 1 and drops it on a 0, and its
// final pixel draws nothing. The working lines live for the call only.
struct RandomDirectionPage : engine::PolicyBase<std::int16_t> {
  static constexpr engine::DrawCount kDraws{1, 1, 1, 0};
  template <Dir D, Role R, class V, class Px, class Out, class Rng>
  engine::Shares<V> pixel(V v, Px const& px, Out& out, Rng& rng) {
    const V e = quantise<false>(v, px, out);
    if constexpr (R == Role::LastEnd) return {V{}, V{}};
    const V keep = ones_if(rng.bit());  // all ones on a 1
    if constexpr (R == Role::LastInner) return {e & keep, V{}};
    return {e & ~keep, e & keep};
  }
};

// Banded random direction: the sense is reversed (1 ahead, 0 below). Row ends
// draw, ignore the bit and send two thirds below; the last row sends a 1 into
// the carry.
struct RandomDirection : engine::PolicyBase<std::int16_t> {
  static constexpr engine::DrawCount kDraws{1, 1, 1, 0};
  static constexpr bool kLaneRule = true;
  static constexpr bool kUnwrappedRows = true;
  template <Dir D, Role R, class V, class Px, class Out, class Rng>
  engine::Shares<V> pixel(V v, Px const& px, Out& out, Rng& rng) {
    const V e = quantise<false>(v, px, out);
    if constexpr (R == Role::LastEnd) return {V{}, V{}};
    const V one = ones_if(rng.bit());
    if constexpr (R == Role::RowEnd) return {V{}, two_thirds(e)};
    if constexpr (R == Role::LastInner) return {e & ~one, e & one};
    return {e & one, e & ~one};
  }
};

// What one of a rule's four cases sends each way: a Part of the error, or a
// count of quarters.
template <class Share>
struct SplitCase {
  Share ahead, below;
};

// Any number of planes: every case's share is worked out (`value` of a
// case's Share, from constant tables) and r picks one.
template <class V, class R, class Share, class Value>
engine::Shares<V> pick_case(SplitCase<Share> const* c, R r, Value value) {
  return {pick(r, value(c[0].ahead), value(c[1].ahead), value(c[2].ahead), value(c[3].ahead)),
          pick(r, value(c[0].below), value(c[1].below), value(c[2].below), value(c[3].below))};
}

// Thirds on r2 (two random bits): the part of the error (none, a third, two
// thirds, all) each side gets. Ordinary rows: 3 all ahead, 1 all below, 2
// and 0 split in thirds, mirrored between the directions. The last row
// exchanges 3 and 1 (3 sends everything into the carry) and splits as a
// right-to-left row does, in both directions.
using ThirdsCase = SplitCase<engine::Part>;
template <Dir D, Role R>
inline constexpr ThirdsCase kThirdsCases[4] = {};
template <>
inline constexpr ThirdsCase kThirdsCases<Dir::Ltr, Role::Inner>[4] = {
    {engine::kThird, engine::kTwoThirds},
    {engine::kNone, engine::kAll},
    {engine::kTwoThirds, engine::kThird},
    {engine::kAll, engine::kNone}};
template <>
inline constexpr ThirdsCase kThirdsCases<Dir::Rtl, Role::Inner>[4] = {
    {engine::kTwoThirds, engine::kThird},
    {engine::kNone, engine::kAll},
    {engine::kThird, engine::kTwoThirds},
    {engine::kAll, engine::kNone}};
template <Dir D>
inline constexpr ThirdsCase kThirdsCases<D, Role::LastInner>[4] = {
    {engine::kTwoThirds, engine::kThird},
    {engine::kAll, engine::kNone},
    {engine::kThird, engine::kTwoThirds},
    {engine::kNone, engine::kAll}};

// The part of e that `p` names, from e's thirds worked out beforehand.
template <class V>
constexpr V part_value(engine::Part p, V e, V t, V tt) {
  return p.mul == engine::kAll.mul         ? e
         : p.mul == engine::kTwoThirds.mul ? tt
         : p.mul == engine::kThird.mul     ? t
                                           : V{};
}

template <Dir D, Role R, class V, class R2>
engine::Shares<V> split_thirds(V e, R2 r2) {
  const V t = third(e), tt = two_thirds(e);
  return pick_case<V>(kThirdsCases<D, R>, r2,
                      [&](engine::Part p) { return part_value(p, e, t, tt); });
}

#if defined(HALFTONE_VECTORS)
// Lanes: each side's part is picked for each lane from r2 as a multiplier
// and a mask (engine::part_of for lanes), before e is known.
template <Dir D, Role R>
engine::Shares<Lanes> split_thirds(Lanes e, Lanes r2) {
  ThirdsCase const* c = kThirdsCases<D, R>;
  const auto pick_of = [&](auto field) {
    return engine::pick(r2, splat<Lanes>(field(c[0])), splat<Lanes>(field(c[1])),
                        splat<Lanes>(field(c[2])), splat<Lanes>(field(c[3])));
  };
  const auto side = [&](auto part) {
    return engine::part_of(e, pick_of([&](ThirdsCase const& k) { return engine::mul16(part(k)); }),
                           pick_of([&](ThirdsCase const& k) { return engine::all16(part(k)); }));
  };
  return {side([](ThirdsCase const& k) { return k.ahead; }),
          side([](ThirdsCase const& k) { return k.below; })};
}
#endif

// One plane, whose chain is what counts. The dot test gives one of two
// errors, the value (at most 128) or the value - 255, pushed by `push`
// (0-255, so that neither leaves the 16-bit range), and r2 names each side's
// part as a multiply-high (engine::part_of), with no select between the
// cases on the way. The share ahead comes in two parts (a policy using this
// sets kAheadInParts). Row ends send two thirds below, drawing (and
// ignoring) r2 where kRowEndDraws.
template <Dir D, Role R, bool kRowEndDraws, class Rng>
engine::Shares<std::int32_t> split_thirds_one_plane(std::int32_t v, std::int32_t push, Rng& rng) {
  const std::int32_t e = select_at_most(v, 128, v + push, v + (push - 255));
  if constexpr (R == Role::RowEnd) {
    if constexpr (kRowEndDraws) (void)rng.two_bits();
    return {0, two_thirds(e)};
  }
  ThirdsCase const& c = kThirdsCases<D, R>[rng.two_bits()];
  const engine::Parted ahead = engine::parted(e, c.ahead);
  return {ahead.high, engine::part_of(e, c.below), ahead.less};
}

// Thirds with the tone push: white pixels are never inked, the error is
// pushed by the active curves, and row ends send two thirds below without
// drawing.
struct TonePush : engine::PolicyBase<std::int16_t> {
  static constexpr engine::DrawCount kDraws{1, 0, 1, 0};
  static constexpr bool kLaneRule = true;
  static constexpr bool kUnwrappedRows = true;
  static constexpr bool kAheadInParts = true;  // split_thirds_one_plane
  ActiveToneCurves curves = active_curves();

  template <Dir D, Role R, class V, class Px, class Out, class Rng>
  engine::Shares<V> pixel(V v, Px const& px, Out& out, Rng& rng) {
    V e = quantise<true>(v, px, out);
    if constexpr (R == Role::LastEnd) return {V{}, V{}};
    if constexpr (std::is_same_v<V, std::int32_t>) {
      // The push alone: the push of an error of 0.
      const std::int32_t push = engine::tone_push<D>(std::int32_t{0}, px, curves);
      return split_thirds_one_plane<D, R, false>(v, push, rng);
    } else {
      // The push is added to both errors the dot test chooses between,
      // which keeps it off the chain from the value to the error.
      const V push = engine::tone_push<D>(V{}, px, curves);
      e = select_at_most(v, 128, add16(v, push), add16(v, sub16(push, splat<V>(255))));
      if constexpr (R == Role::RowEnd) return {V{}, two_thirds(e)};
      return split_thirds<D, R>(e, rng.two_bits());
    }
  }
};

// Inverted thirds: a set bit is paper (white sources always paper); no push.
// Row ends make one draw, ignore it and send two thirds below.
struct InvertedThirds : engine::PolicyBase<std::int16_t> {
  static constexpr engine::DrawCount kDraws{1, 1, 1, 0};
  static constexpr bool kLaneRule = true;
  static constexpr bool kUnwrappedRows = true;
  static constexpr bool kAheadInParts = true;  // split_thirds_one_plane
  template <Dir D, Role R, class V, class Px, class Out, class Rng>
  engine::Shares<V> pixel(V v, Px const& px, Out& out, Rng& rng) {
    const V e = quantise_inverted<true>(v, px, out);
    if constexpr (R == Role::LastEnd) return {V{}, V{}};
    if constexpr (std::is_same_v<V, std::int32_t>) {
      return split_thirds_one_plane<D, R, true>(v, 0, rng);
    } else {
      const auto r2 = rng.two_bits();
      if constexpr (R == Role::RowEnd) return {V{}, two_thirds(e)};
      return split_thirds<D, R>(e, r2);
    }
  }
};

// Inverted quarters, a table for each direction; the source grey plays no
// part. Left to right, cases 0 and 2 alike keep three quarters in the row, 1
// all ahead, 3 all below; right to left, 0 all ahead, 2 all below, 1 and 3
// split. The last row: 3 all into the carry, 1 all ahead. Row ends draw,
// ignore it and send two thirds below.
//
// Each case names the quarters (0, 1, 3 or 4) each side gets. Lanes pick
// among the parts worked out; one plane takes a side's share as (e *
// quarters + bias) >> 2, the bias 3 for a negative e: the division
// truncated toward zero, with no select between the cases.
using QuartersCase = SplitCase<std::int32_t>;
template <Dir D, Role R>
inline constexpr QuartersCase kQuartersCases[4] = {};
template <>
inline constexpr QuartersCase kQuartersCases<Dir::Ltr, Role::Inner>[4] = {
    {3, 1}, {4, 0}, {3, 1}, {0, 4}};
template <>
inline constexpr QuartersCase kQuartersCases<Dir::Rtl, Role::Inner>[4] = {
    {4, 0}, {1, 3}, {0, 4}, {3, 1}};
template <Dir D>
inline constexpr QuartersCase kQuartersCases<D, Role::LastInner>[4] = {
    {3, 1}, {4, 0}, {1, 3}, {0, 4}};

struct InvertedQuarters : engine::PolicyBase<std::int16_t> {
  static constexpr engine::DrawCount kDraws{1, 1, 1, 0};
  static constexpr bool kLaneRule = true;
  static constexpr bool kUnwrappedRows = true;
  template <Dir D, Role R, class V, class Px, class Out, class Rng>
  engine::Shares<V> pixel(V v, Px const& px, Out& out, Rng& rng) {
    const V e = quantise_inverted<false>(v, px, out);
    if constexpr (R == Role::LastEnd) return {V{}, V{}};
    const auto r = rng.two_bits();
    if constexpr (R == Role::RowEnd) return {V{}, two_thirds(e)};
    if constexpr (std::is_same_v<V, std::int32_t>) {
      QuartersCase const& c = kQuartersCases<D, R>[r];
      const std::int32_t bias = (e >> 31) & 3;
      return {(e * c.ahead + bias) >> 2, (e * c.below + bias) >> 2};
    } else {
      const V q = engine::quarter(e), tq = engine::three_quarters(e);
      return pick_case<V>(kQuartersCases<D, R>, r, [&](std::int32_t quarters) {
        return quarters == 4 ? e : quarters == 3 ? tq : quarters == 1 ? q : V{};
      });
    }
  }
};

// Conserving split: one random bit a pixel, reseeded on first bands only. A 1
// sends everything ahead, a 0 a third ahead and the rest below. Row ends: a 1
// drops the error, a 0 sends two thirds below. The last row reverses the
// sense: a 1 sends everything into the carry, a 0 a third ahead and the rest
// into the carry. White pixels are never inked.
//
// One plane: what goes ahead is a part of e that the bit picks (a third or
// all; on the last row a third or none) and the rest goes below, so only the
// part is worked out, as a multiply-high with no select, handed on in two
// parts.
template <Role R>
inline constexpr engine::Part kConservingAhead[2] = {engine::kThird, engine::kAll};
template <>
inline constexpr engine::Part kConservingAhead<Role::LastInner>[2] = {engine::kThird,
                                                                      engine::kNone};

struct Conserving : engine::PolicyBase<std::int16_t> {
  static constexpr engine::DrawCount kDraws{1, 1, 1, 0};
  static constexpr engine::Reseed kReseed = engine::Reseed::FirstBand;
  static constexpr bool kLaneRule = true;
  static constexpr bool kUnwrappedRows = true;
  static constexpr bool kAheadInParts = true;

  template <Dir D, Role R, class V, class Px, class Out, class Rng>
  engine::Shares<V> pixel(V v, Px const& px, Out& out, Rng& rng) {
    const V e = quantise<true>(v, px, out);
    if constexpr (R == Role::LastEnd) return {V{}, V{}};
    if constexpr (R == Role::RowEnd) {
      return {V{}, two_thirds(e) & ~ones_if(rng.bit())};
    } else if constexpr (std::is_same_v<V, std::int32_t>) {
      const engine::Parted ahead = engine::parted(e, kConservingAhead<R>[rng.bit()]);
      return {ahead.high, e - (ahead.high - ahead.less), ahead.less};
    } else {
      // The same, the part picked lane by lane from the bit.
      const V one = ones_if(rng.bit());
      constexpr engine::Part k0 = kConservingAhead<R>[0], k1 = kConservingAhead<R>[1];
      const V ahead =
          engine::part_of(e, blend(one, splat<V>(engine::mul16(k1)), splat<V>(engine::mul16(k0))),
                          blend(one, splat<V>(engine::all16(k1)), splat<V>(engine::all16(k0))));
      return {ahead, e - ahead};
    }
  }
};

// Counter-driven split: a 13-state cycle a plane decides where each pixel's
// whole error goes, and each plane's scan direction runs on from band to band
// (one cycle a plane, any number of planes, cleared on a first band).
// Ordinary pixels send ahead on 7-12 and below on 0-6; a row end keeps its
// error (below) only on 0-5; the last row carries on 0-5 and sends ahead on
// 6-12, and its final pixel does not step the counter.
struct CounterDriven : engine::PolicyBase<std::int16_t> {
  static constexpr engine::DrawCount kDraws{0, 0, 0, 0};  // each plane its own cycle
  // The plane's cycle is stepped here, in the policy, and handed back to the
  // screen state after the plane: planes screened at once on several threads
  // then never write to one cache line pixel by pixel.
  PlaneCycle cycle{};

  static std::vector<PlaneCycle>& cycles() { return state().cycles; }

  void begin_band(ScreenControl control) {
    if (control.first_band()) cycles().clear();
    if (cycles().size() < control.planes) cycles().resize(control.planes);
  }

  void begin_plane(std::uint32_t plane) { cycle = cycles()[plane]; }
  void end_plane(std::uint32_t plane) { cycles()[plane] = cycle; }

  Dir begin_row(std::uint32_t, std::uint32_t) {
    if (cycle.counter > 12) cycle.counter = 0;
    const Dir dir = cycle.right_to_left ? Dir::Rtl : Dir::Ltr;
    cycle.right_to_left = !cycle.right_to_left;
    return dir;
  }

  template <Dir D, Role R>
  Shares pixel(std::int16_t v, Pixel px, Out& out, FeedbackRandom&) {
    const std::int32_t e = quantise<false>(v, px, out);
    if constexpr (R == Role::LastEnd) return {0, 0};
    std::int32_t c = cycle.counter + 1;
    c = c > 12 ? 0 : c;
    cycle.counter = c;
    if constexpr (R == Role::RowEnd) return {0, c < 6 ? e : 0};
    if constexpr (R == Role::LastInner) return {c < 6 ? 0 : e, c < 6 ? e : 0};
    return {c > 6 ? e : 0, c > 6 ? 0 : e};
  }
};

}  // namespace halftone::diffusion
