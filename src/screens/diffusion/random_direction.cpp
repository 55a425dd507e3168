// Random-direction diffusion: each pixel's whole error goes ahead or below.
#include "frame/band_engine.h"
#include "screens/diffusion/rules.h"
#include "screens/diffusion/screens.h"

namespace halftone::diffusion {
namespace {

// One plane, one call: a 1 sends the error below, a 0 ahead; row ends drop it
// on a 0. The last row keeps it in the row on a 1 and drops it on a 0, and its
// final pixel draws nothing.
struct PagePolicy : engine::PolicyBase<std::int16_t> {
  template <Dir D, Role R>
  Shares pixel(std::int16_t v, Pixel px, Out& out, FeedbackRandom& rng) {
    const std::int32_t e = quantise<false>(v, px, out);
    if constexpr (R == Role::LastEnd) return {0, 0};
    const std::int32_t keep = -static_cast<std::int32_t>(rng.bit());  // all ones on a 1
    if constexpr (R == Role::LastInner) return {e & keep, 0};
    return {e & ~keep, e & keep};
  }
};

// Banded: the sense is reversed (1 ahead, 0 below). Row ends draw, ignore the
// bit and send two thirds below; the last row sends a 1 into the carry.
struct BandPolicy : engine::PolicyBase<std::int16_t> {
  template <Dir D, Role R>
  Shares pixel(std::int16_t v, Pixel px, Out& out, FeedbackRandom& rng) {
    const std::int32_t e = quantise<false>(v, px, out);
    if constexpr (R == Role::LastEnd) return {0, 0};
    const std::int32_t one = -static_cast<std::int32_t>(rng.bit());
    if constexpr (R == Role::RowEnd) return {0, engine::two_thirds(e)};
    if constexpr (R == Role::LastInner) return {e & ~one, e & one};
    return {e & one, e & ~one};
  }
};

}  // namespace

int random_direction_page(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                          std::uint32_t height) {
  // The working lines live for this call only.
  BandLines<std::int16_t> lines;
  PagePolicy policy;
  return engine::screen(policy, lines, source, dots, width, height, make_control(1, 1));
}

int random_direction(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                     std::uint32_t height, std::uint32_t control) {
  BandPolicy policy;
  return engine::screen(policy, shared_lines(), source, dots, width, height, control);
}

}  // namespace halftone::diffusion
