// Random-run diffusion in doubles: each pixel's damped error goes whole to one
// neighbour, the next pixel along the row or the pixel below, and the choice
// switches after runs of 10 or 11 pixels whose lengths are drawn at random.
#include "screens/damped/rules.h"
#include "screens/damped/screens.h"

namespace halftone::damped {
namespace {

using Shares = engine::Shares<double>;

constexpr std::uint16_t kRunLengths[4] = {11, 10, 11, 10};
constexpr double kDamping = 0.97;

// No error ever reaches the carry row, so every band starts from its source
// alone; the run state and the scan direction restart at every plane.
struct RandomRuns : engine::PolicyBase<double> {
  std::uint16_t left = 0;    // pixels left in the run; 0 starts a new one
  std::int16_t index = 0;    // run-length index last chosen
  std::int16_t repeats = 0;  // times in a row the drawn index equalled it
  std::uint32_t along = 0;   // 1: error to the next pixel; 0: below

  void begin_plane(std::uint32_t) { left = 0, index = 0, repeats = 0, along = 0; }

  // Every pixel makes a draw it does not use. A pixel that finds no run under
  // way draws the next run's length index. A drawn index equal to the current
  // one counts as a repeat (the index starts at 0 in every plane); the second
  // repeat in a row is replaced, by 1 if it was 0 and by 0 otherwise. Each run
  // flips where the error goes.
  void advance(FeedbackRandom& rng) {
    (void)rng.draw();
    if (left == 0) {
      const auto d = static_cast<std::int16_t>(rng.draw() & 3u);
      if (d == index) {
        if (++repeats == 2) {
          index = d == 0 ? 1 : 0;
          repeats = 0;
        }
      } else {
        index = d;
        repeats = 0;
      }
      left = kRunLengths[index];
      along ^= 1u;
    }
    left = static_cast<std::uint16_t>(left - 1u);
  }

  // Ordinary rows damp the error; a row end can only send it down, so the run
  // under way carries on into the next row. The band's last row sends the
  // error undamped along the row or drops it, and its final pixel only
  // decides its dot.
  template <Dir D, Role R>
  Shares pixel(double v, Pixel px, Out& out, FeedbackRandom& rng) {
    const double e = quantise(v, px.x, out);
    if constexpr (R == Role::LastEnd) return {0.0, 0.0};
    advance(rng);
    if constexpr (R == Role::LastInner) return {along ? e : 0.0, 0.0};
    const double damped = e * kDamping;
    if constexpr (R == Role::RowEnd) return {0.0, along ? 0.0 : damped};
    return {along ? damped : 0.0, along ? 0.0 : damped};
  }
};

}  // namespace

int random_runs(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                std::uint32_t height, std::uint32_t control) {
  RandomRuns policy;
  return engine::screen(policy, damped_lines(), source, dots, width, height, control);
}

}  // namespace halftone::damped
