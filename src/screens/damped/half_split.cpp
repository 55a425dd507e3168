// Half-split diffusion in doubles: each pixel's error, damped by 0.985, goes
// half to the next pixel along the row and half below; the last row's downward
// halves wait in the carry row for the next band's first row.
#include "screens/damped/rules.h"
#include "screens/damped/screens.h"

namespace halftone::damped {
namespace {

using Shares = engine::Shares<double>;

constexpr double kDamping = 0.985;
constexpr double kHalf = 0.5;

// Every pixel but the final one of the band's last row advances the generator
// by one unused draw. Row ends keep only the downward half; the final pixel of
// the last row passes nothing on.
struct HalfSplit : engine::PolicyBase<double> {
  template <Dir D, Role R>
  Shares pixel(double v, Pixel px, Out& out, FeedbackRandom& rng) {
    const double e = quantise(v, px.x, out);
    if constexpr (R == Role::LastEnd) return {0.0, 0.0};
    (void)rng.draw();
    const double h = e * kDamping * kHalf;
    if constexpr (R == Role::RowEnd) return {0.0, h};
    return {h, h};
  }
};

}  // namespace

int half_split(unsigned char const* source, unsigned char* dots, std::uint32_t width,
               std::uint32_t height, std::uint32_t control) {
  HalfSplit policy;
  return engine::screen(policy, damped_lines(), source, dots, width, height, control);
}

}  // namespace halftone::damped
