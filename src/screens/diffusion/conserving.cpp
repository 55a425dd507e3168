// Conserving-split diffusion: one random bit a pixel, the third's remainder
// goes below, and the random sequence runs on across the bands of a job.
#include "frame/band_engine.h"
#include "screens/diffusion/rules.h"
#include "screens/diffusion/screens.h"

namespace halftone::diffusion {
namespace {

// A 1 sends everything ahead, a 0 a third ahead and the rest below. Row ends:
// a 1 drops the error, a 0 sends two thirds below. The last row reverses the
// sense: a 1 sends everything into the carry, a 0 a third ahead and the rest
// into the carry. White pixels are never inked.
struct Conserving : engine::PolicyBase<std::int16_t> {
  static constexpr engine::Reseed kReseed = engine::Reseed::FirstBand;

  template <Dir D, Role R>
  Shares pixel(std::int16_t v, Pixel px, Out& out, FeedbackRandom& rng) {
    const std::int32_t e = quantise<true>(v, px, out);
    if constexpr (R == Role::LastEnd) return {0, 0};
    const std::int32_t one = -static_cast<std::int32_t>(rng.bit());
    const std::int32_t t = engine::third(e), rest = e - t;
    if constexpr (R == Role::RowEnd) return {0, engine::two_thirds(e) & ~one};
    if constexpr (R == Role::LastInner) return {t & ~one, (e & one) | (rest & ~one)};
    return {(e & one) | (t & ~one), rest & ~one};
  }
};

}  // namespace

int conserving(unsigned char const* source, unsigned char* dots, std::uint32_t width,
               std::uint32_t height, std::uint32_t control) {
  Conserving policy;
  return engine::screen(policy, shared_lines(), source, dots, width, height, control);
}

}  // namespace halftone::diffusion
