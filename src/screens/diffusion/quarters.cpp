// Inverted-output diffusion splitting in quarters, with a different table for
// each direction.
#include "frame/band_engine.h"
#include "screens/diffusion/rules.h"
#include "screens/diffusion/screens.h"

namespace halftone::diffusion {
namespace {

using engine::quarter;
using engine::three_quarters;

// A set bit is paper; the source grey plays no part. Left to right, cases 0
// and 2 alike keep three quarters in the row, 1 all ahead, 3 all below; right
// to left, 0 all ahead, 2 all below, 1 and 3 split. The last row: 3 all into
// the carry, 1 all ahead. Row ends draw, ignore it and send two thirds below.
struct InvertedQuarters : engine::PolicyBase<std::int16_t> {
  template <Dir D, Role R>
  Shares pixel(std::int16_t v, Pixel px, Out& out, FeedbackRandom& rng) {
    const std::int32_t e = quantise_inverted<false>(v, px, out);
    if constexpr (R == Role::LastEnd) return {0, 0};
    const std::uint32_t r = rng.two_bits();
    if constexpr (R == Role::RowEnd) return {0, engine::two_thirds(e)};
    const std::int32_t q = quarter(e), tq = three_quarters(e);
    if constexpr (R == Role::LastInner) return {pick(r, tq, e, q, 0), pick(r, q, 0, tq, e)};
    if constexpr (D == Dir::Ltr) return {pick(r, tq, e, tq, 0), pick(r, q, 0, q, e)};
    return {pick(r, e, q, 0, tq), pick(r, 0, tq, e, q)};
  }
};

}  // namespace

int inverted_quarters(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                      std::uint32_t height, std::uint32_t control) {
  InvertedQuarters policy;
  return engine::screen(policy, shared_lines(), source, dots, width, height, control);
}

}  // namespace halftone::diffusion
