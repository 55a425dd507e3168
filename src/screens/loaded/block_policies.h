// The rules of the block-offset diffusion screens: serpentine two-neighbour
// diffusion whose pixels are biased by a 16 x 16 tile chosen by grey value, in
// 16-bit and double precision, and the random-split member that shares their
// frame. One policy of the band engine each; the export table runs them.
#pragma once
#include <cstdint>
#include <type_traits>

#include "frame/band_engine.h"
#include "frame/compiler.h"
#include "frame/pixel_rules.h"
#include "frame/tone_curves.h"

namespace halftone::loaded {

using engine::Dir;
using engine::Pixel;
using engine::Role;

// What the three screens share: the lines hold error only (the carry is
// copied straight into the first row, each row below is overwritten by its
// share), a left-to-right last row's downward shares are lost so that only a
// right-to-left last row reaches the next band, and the generator is reseeded
// on a first band only.
template <class T>
struct BlockFrame : engine::PolicyBase<T> {
  using Acc = typename engine::PolicyBase<T>::Acc;
  static constexpr bool kValueLines = false;
  static constexpr bool kCarryOnlyAfterRtl = true;
  static constexpr engine::Reseed kReseed = engine::Reseed::FirstBand;

  // At most 128 is a dot and passes itself on; otherwise t - 255 goes on.
  static std::int32_t quantise(std::int32_t t, std::uint32_t x, engine::RowOut<1>& out) {
    const bool dot = t <= 128;
    out.put(x, dot);
    return dot ? t : t - 255;
  }
  template <class V, class Out>
  static V quantise(V t, std::uint32_t x, Out& out) {
    return engine::quantise_double(t, x, out);
  }

  // Block v, tile row y mod 16, tile column x mod 16.
  static std::uint32_t offset_index(Pixel px) {
    return px.s * 256u + (px.y & 15u) * 16u + (px.x & 15u);
  }
};

inline constexpr std::int32_t halve(std::int32_t t) { return t / 2; }
inline constexpr double halve(double t) { return t * 0.5; }
#if defined(HALFTONE_VECTORS)
inline DoubleLanes halve(DoubleLanes t) { return t * 0.5; }
#endif

// Offset by grey and tile position, then half along and the rest down. The
// double-precision screen's own offset table is never filled by any loader:
// every offset is 0, and adding 0.0 changes no value, so it adds none.
//
// The double screen's values are doubles all through, so its planes may run
// in lanes (frame/lanes.h); the 16-bit one sums in 32 bits and may not.
template <class T>
struct BlockHalfSplit : BlockFrame<T> {
  using Acc = typename BlockFrame<T>::Acc;
  static constexpr bool kOffsets = !std::is_floating_point_v<T>;
  static constexpr bool kLaneRule = !kOffsets;
  static constexpr engine::DrawCount kDraws{0, 0, 0, 0};
  T const* offsets = nullptr;

  template <Dir D, Role R, class V, class Px, class Out, class Rng>
  engine::Shares<V> pixel(V v, Px const& px, Out& out, Rng&) {
    V t = v + static_cast<V>(px.s);
    if constexpr (kOffsets) t += static_cast<V>(offsets[this->offset_index(px)]);
    t = this->quantise(t, px.x, out);
    const V h = halve(t);
    return {h, t - h};
  }
};

// The share down for a pixel of grey s with (biased) error t and draw r.
// The draw picks a case from a table rather than a branch: its bits are noise.
template <Dir D>
inline std::int32_t random_down(std::int32_t t, std::uint32_t s, std::uint32_t r) {
  const std::int32_t third = engine::third(t), rest = t - third;
  if (s >= 176) {
    const std::int32_t cases[2] = {rest, third};
    return cases[r & 1u];
  }
  if (s >= 141) {
    const std::int32_t cases[4] = {third, rest, engine::half(t), 0};
    return cases[r & 3u];
  }
  // Light-to-mid greys exchange cases 1 and 2 between the directions.
  const std::int32_t cases[4] = {third, D == Dir::Ltr ? third : t, D == Dir::Ltr ? t : third, 0};
  return cases[r & 3u];
}

// No offsets: the error, biased by the curves (second curve at even columns
// going right, first curve at odd columns going left; the dot is already
// set), is split on one full draw a pixel.
struct BlockRandomSplit : BlockFrame<std::int16_t> {
  static constexpr engine::DrawCount kDraws{1, 1, 1, 1};
  ActiveToneCurves curves = active_curves();

  template <Dir D, Role R, class Rng>
  engine::Shares<Acc> pixel(std::int16_t v, Pixel px, engine::RowOut<1>& out, Rng& rng) {
    std::int32_t t = quantise(std::int32_t{v} + static_cast<std::int32_t>(px.s), px.x, out);
    if constexpr (D == Dir::Ltr) {
      if (!(px.x & 1u)) t += curves.b[px.s];
    } else {
      if (px.x & 1u) t += curves.a[px.s];
    }
    const std::int32_t down = random_down<D>(t, px.s, rng.draw());
    return {t - down, down};
  }
};

}  // namespace halftone::loaded
