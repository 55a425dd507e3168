// Thirds-splitting diffusion on two random bits: the tone-push screen and its
// inverted-output sibling.
#include "frame/band_engine.h"
#include "frame/tone_curves.h"
#include "screens/diffusion/rules.h"
#include "screens/diffusion/screens.h"

namespace halftone::diffusion {
namespace {

using engine::third;
using engine::two_thirds;

// Distribution on r2 (two random bits). Ordinary rows: 3 all ahead, 1 all
// below, 2 and 0 split in thirds, mirrored between the directions. The last
// row exchanges 3 and 1 (3 sends everything into the carry) and splits as a
// right-to-left row does, in both directions.
template <Dir D, Role R>
Shares split_thirds(std::int32_t e, std::uint32_t r2) {
  const std::int32_t t = third(e), tt = two_thirds(e);
  if constexpr (R == Role::LastInner) return {pick(r2, tt, e, t, 0), pick(r2, t, 0, tt, e)};
  if constexpr (D == Dir::Ltr) return {pick(r2, t, 0, tt, e), pick(r2, tt, e, t, 0)};
  return {pick(r2, tt, 0, t, e), pick(r2, t, e, tt, 0)};
}

// White pixels are never inked; every second pixel's error is pushed by the
// active curves (curve A at odd columns going right, curve B at even columns
// going left). Row ends send two thirds below without drawing.
struct TonePush : engine::PolicyBase<std::int16_t> {
  ActiveToneCurves curves = active_curves();

  template <Dir D, Role R>
  Shares pixel(std::int16_t v, Pixel px, Out& out, FeedbackRandom& rng) {
    std::int32_t e = quantise<true>(v, px, out);
    if constexpr (R == Role::LastEnd) return {0, 0};
    if constexpr (D == Dir::Ltr) {
      if (px.x & 1u) e = wrap16(e + curves.a[px.s]);
    } else {
      if (!(px.x & 1u)) e = wrap16(e + curves.b[px.s]);
    }
    if constexpr (R == Role::RowEnd) return {0, two_thirds(e)};
    return split_thirds<D, R>(e, rng.two_bits());
  }
};

// A set bit is paper (white sources always paper); no push. Row ends make one
// draw, ignore it and send two thirds below.
struct InvertedThirds : engine::PolicyBase<std::int16_t> {
  template <Dir D, Role R>
  Shares pixel(std::int16_t v, Pixel px, Out& out, FeedbackRandom& rng) {
    const std::int32_t e = quantise_inverted<true>(v, px, out);
    if constexpr (R == Role::LastEnd) return {0, 0};
    const std::uint32_t r2 = rng.two_bits();
    if constexpr (R == Role::RowEnd) return {0, two_thirds(e)};
    return split_thirds<D, R>(e, r2);
  }
};

}  // namespace

int tone_push(unsigned char const* source, unsigned char* dots, std::uint32_t width,
              std::uint32_t height, std::uint32_t control) {
  TonePush policy;
  return engine::screen(policy, shared_lines(), source, dots, width, height, control);
}

int inverted_thirds(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                    std::uint32_t height, std::uint32_t control) {
  InvertedThirds policy;
  return engine::screen(policy, shared_lines(), source, dots, width, height, control);
}

}  // namespace halftone::diffusion
