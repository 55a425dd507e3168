// Counter-driven diffusion: a 13-state cycle a plane decides where each
// pixel's whole error goes, and each plane's scan direction runs on from band
// to band.
#include <vector>

#include "frame/band_engine.h"
#include "frame/state.h"
#include "screens/diffusion/rules.h"
#include "screens/diffusion/screens.h"

namespace halftone::diffusion {
namespace {

using Cycle = PlaneCycle;

// One entry a plane (any number of planes), cleared on a first band and kept
// otherwise.
std::vector<Cycle>& cycles() { return state().cycles; }

// Ordinary pixels send ahead on 7-12 and below on 0-6; a row end keeps its
// error (below) only on 0-5; the last row carries on 0-5 and sends ahead on
// 6-12, and its final pixel does not step the counter.
struct CounterDriven : engine::PolicyBase<std::int16_t> {
  Cycle* cycle = nullptr;

  CounterDriven(ScreenControl control) {
    if (control.first_band()) cycles().clear();
    if (cycles().size() < control.planes) cycles().resize(control.planes);
  }

  void begin_plane(std::uint32_t plane) { cycle = &cycles()[plane]; }

  Dir begin_row(std::uint32_t, std::uint32_t) {
    if (cycle->counter > 12) cycle->counter = 0;
    const Dir dir = cycle->right_to_left ? Dir::Rtl : Dir::Ltr;
    cycle->right_to_left = !cycle->right_to_left;
    return dir;
  }

  template <Dir D, Role R>
  Shares pixel(std::int16_t v, Pixel px, Out& out, FeedbackRandom&) {
    const std::int32_t e = quantise<false>(v, px, out);
    if constexpr (R == Role::LastEnd) return {0, 0};
    std::int32_t c = cycle->counter + 1;
    c = c > 12 ? 0 : c;
    cycle->counter = c;
    if constexpr (R == Role::RowEnd) return {0, c < 6 ? e : 0};
    if constexpr (R == Role::LastInner) return {c < 6 ? 0 : e, c < 6 ? e : 0};
    return {c > 6 ? e : 0, c > 6 ? 0 : e};
  }
};

}  // namespace

int counter_driven(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                   std::uint32_t height, std::uint32_t control) {
  CounterDriven policy{ScreenControl(control)};
  return engine::screen(policy, shared_lines(), source, dots, width, height, control);
}

}  // namespace halftone::diffusion
