// The offset-matrix serpentine: diffusion whose every cell of the row below
// starts from an entry of the offset matrix (its top-left 240 x 240 corner
// tiled over the page), with the error of each pixel going two ways, along the
// row and straight down, and the tone curves adding noise at every other
// column.
//
// The rules live here as a policy template so that a screen with another
// per-pixel decision (two-bit codes, say) can run the same serpentine: it
// supplies a quantiser with
//
//   static constexpr unsigned kBits;  // bits a pixel of the output
//   std::int32_t operator()(std::int32_t value, engine::Pixel px, engine::RowOut<kBits>& out);
//
// which puts the pixel's dot or code and returns the error it passes on.
#pragma once
#include <cstdint>
#include <type_traits>

#include "frame/band_engine.h"
#include "frame/cascades.h"
#include "frame/compiler.h"
#include "frame/state.h"
#include "frame/tone_curves.h"

namespace halftone::matrix {

using engine::Dir;
using engine::Pixel;
using engine::Role;

// Rows and columns of the offset matrix that are tiled over the page.
constexpr std::uint32_t kOffsetTile = 240;

// One bit a pixel: a value of at most 128 is a dot and passes itself on; a
// lighter value passes on value - 255. Both are pushed by `push` before the
// dot test picks one, which keeps the push off the chain (the sums are 32-bit
// and never wrap).
struct OneBitDot {
  static constexpr unsigned kBits = 1;
  static constexpr bool kReadsLow16 = false;  // the sums are 32-bit
  template <class V, class Px, class Out>
  V operator()(V v, Px const& px, Out& out, V push) const {
    out.put(px.x, dot_code(at_most(v, 128)));
    return select_at_most(v, 128, v + push, v + (push - 255));
  }
};

// How a pixel's error is split and what seeds the row below.
//  * Matrix: the row below starts from the matrix row of that row; going right
//    a third goes down (e / 3) and the rest along, with curve B noise at even
//    columns; going left two thirds ((2e) / 3) go along and the rest down, with
//    curve A noise at odd columns. No random draws.
//  * Random: the lines start from zero (first row: the carry alone); one draw a
//    pixel whose bit 0 picks thirds (1) or quarters (0): going right the share
//    down is e / 3 or (3e) / 4, going left the share along is (2e) / 3 or
//    e / 4; only the leftward rows take noise (curve A at odd columns).
// The two directions differ on purpose. Every division truncates toward zero.
enum class Splits { Matrix, Random };

template <class Quantiser, Splits kSplits = Splits::Matrix>
struct OffsetSerpentine : engine::PolicyBase<std::int16_t> {
  // The lines hold error only; the source grey is added at each pixel.
  static constexpr bool kValueLines = false;
  // A left-to-right last row leaves its downward shares in the working line,
  // where the next band overwrites them: only a right-to-left last row hands
  // error to the next band.
  static constexpr bool kCarryOnlyAfterRtl = true;
  static constexpr bool kMatrix = kSplits == Splits::Matrix;
  static constexpr engine::DrawCount kDraws =
      kMatrix ? engine::DrawCount{0, 0, 0, 0} : engine::DrawCount{1, 1, 1, 1};

  Quantiser quantise{};
  ActiveToneCurves curves = active_curves();
  // Matrix row of the row below the one being screened: rows count from the
  // call's first row, so the phase restarts with every band and plane.
  std::int16_t const (*offsets)[256] = stores().ThresholdOffsetMatrix;
  std::int16_t const* below_row = offsets[1];

  static constexpr unsigned kBits = Quantiser::kBits;

  Dir begin_row(std::uint32_t /*plane*/, std::uint32_t r) {
    below_row = offsets[(r + 1) % kOffsetTile];
    return (r & 1u) ? Dir::Rtl : Dir::Ltr;
  }
  Acc first_row_base(std::uint32_t x) const {
    if constexpr (kMatrix) return offsets[0][x % kOffsetTile];
    return 0;
  }
  Acc below_base(std::uint32_t x, std::uint32_t /*y*/) const {
    if constexpr (kMatrix) return below_row[x % kOffsetTile];
    return 0;
  }

  // Every pixel runs the same rule; the engine drops the along share at the
  // row's end. Sums are 32-bit; only the lines wrap to 16 bits. The rule is
  // written over the value type, so four planes run in 32-bit lanes.
#if defined(HALFTONE_VECTORS)
  static constexpr bool kLaneRule = true;
  using LaneValue = Lanes32;
  static constexpr bool kLaneSumUnwrapped = Quantiser::kReadsLow16;
#endif
  template <Dir D, Role R, class V, class Px, class Out, class Rng>
  engine::Shares<V> pixel(V v, Px const& px, Out& out, Rng& rng) {
    // The noise: curve B at even columns going right (matrix splits only),
    // curve A at odd columns going left. Where there is none, the push is a
    // plain 0 that the compiler drops.
    const V sum = v + static_cast<V>(px.s);
    const bool pushed = D == Dir::Ltr ? kMatrix && !(px.x & 1u) : (px.x & 1u) != 0;
    const V e = pushed ? quantise(sum, px, out, lookup(D == Dir::Ltr ? curves.b : curves.a, px.s))
                       : quantise(sum, px, out, V{});
    if constexpr (kMatrix) {
      if constexpr (D == Dir::Ltr) {
        const V down = engine::third(e);
        return {e - down, down};
      } else {
        const V along = engine::two_thirds(e);
        return {along, e - along};
      }
    } else {
      // All ones where the split is in thirds; the noise bit picks by mask.
      const V thirds = ones_if(rng.bit());
      if constexpr (D == Dir::Ltr) {
        const V down = blend(thirds, engine::third(e), engine::three_quarters(e));
        return {e - down, down};
      } else {
        const V along = blend(thirds, engine::two_thirds(e), engine::quarter(e));
        return {along, e - along};
      }
    }
  }
};

// Two-bit codes: the bracketed four-level cascade (levels and midpoints from
// parameter bytes 0-3, read once a call), deciding on the pixel's value taken
// as a signed 16-bit value, as every multi-level screen keeps it, and on the
// pixel's own grey.
struct FourLevelCodes {
  BracketedFourLevel cascade{ScreenParameterBytes()};

  static constexpr unsigned kBits = 2;
  // In lanes the decision and the error read the value's low 16 bits only.
  static constexpr bool kReadsLow16 = true;
  template <class V, class Px, class Out>
  V operator()(V v, Px const& px, Out& out, V push) const {
#if defined(HALFTONE_VECTORS)
    if constexpr (std::is_same_v<V, Lanes32>) {
      // The decision reads v as a 16-bit value and its error is one: on the
      // low 16-bit halves of the words, no wrap is needed before it. The
      // high halves decide nothing that is kept (codes are bytes).
      const DecisionOf<Lanes> d =
          cascade.decide_any(reinterpret_cast<Lanes>(v), reinterpret_cast<Lanes>(px.s));
      out.put(px.x, reinterpret_cast<Lanes32>(d.code));
      return wrap16(reinterpret_cast<Lanes32>(d.e)) + push;
    } else
#endif
    {
      const DecisionOf<V> d = cascade.decide_any(V(wrap16(v)), static_cast<V>(px.s));
      out.put(px.x, d.code);
      return d.e + push;
    }
  }
};

}  // namespace halftone::matrix
