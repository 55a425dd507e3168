// A plain model of the damped and noise-table screens on the shared serpentine.
#pragma once
#include <algorithm>
#include <cstdint>

#include "support/serpentine_model.h"

namespace halftone::test {

enum class Model { Runs, HalfSplit, Amplitude31, Band31, FiveBand, Halves };

// Random runs and the half split on double lines of grey plus error; the
// tone-banded screens on 16-bit lines of error alone, primed for two of them,
// handing on only a right-to-left last row's error.
class Reference : public SerpentineModel {
 public:
  explicit Reference(Model model) : m(model) {}

  void operator()(unsigned char const* src, unsigned char* dots, std::uint32_t w, std::uint32_t h,
                  std::uint32_t planes, std::uint32_t band, std::uint32_t at) {
    seconds = at;
    const bool doubles = m == Model::Runs || m == Model::HalfSplit;
    value_lines = reseed_each_call = doubles, carry_after_rtl = !doubles;
    carry_start = m == Model::Amplitude31 ? -35 : m == Model::Band31 ? -25 : 0;
    if (doubles)
      run<double>(
          src, dots, w, h, planes, band,
          [&](Pixel const& px, double v) { return runs(m == Model::HalfSplit, px, v); },
          [this](std::uint32_t, std::uint32_t y) {
            if (y == 0) left_ = index_ = repeats_ = along_ = 0;  // each plane afresh
            return y % 2 == 0;
          });
    else
      run<std::int32_t>(src, dots, w, h, planes, band, [&](Pixel const& px, std::int32_t cell) {
        const std::int32_t v = cell + static_cast<std::int32_t>(px.s);
        const std::int32_t e = (v <= 128 ? v : v - 255) + noise(m, px.ltr, px.s, px.x);
        const std::int32_t n = along(m, px.ltr, e, px.s, px.x);
        return Outcome<std::int32_t>{v <= 128, n, e - n};
      });
  }

 private:
  Model m;

  // Every pixel makes an unused draw. Random runs: a run's whole error, damped
  // by 0.97 but on the last row, goes along or below, alternating run by run;
  // its length is 11 or 10 by a drawn index, which a third draw in a row of the
  // same index replaces. The half split: 0.985 of it, half along, half below.
  int left_ = 0, index_ = 0, repeats_ = 0, along_ = 0;
  Outcome<double> runs(bool half_split, Pixel const& px, double v) {
    const bool dot = v <= 128.0;
    const double e = dot ? v : v - 255.0;
    if (px.role == Role::LastEnd) return {dot, 0, 0};
    rng.draw();
    if (half_split) return {dot, e * 0.985 * 0.5, e * 0.985 * 0.5};
    if (left_ == 0) {
      const int d = static_cast<int>(rng.draw() % 4);
      if (d != index_)
        index_ = d, repeats_ = 0;
      else if (++repeats_ == 2)
        index_ = d == 0 ? 1 : 0, repeats_ = 0;
      left_ = index_ % 2 == 0 ? 11 : 10;
      along_ = 1 - along_;
    }
    --left_;
    const double moved = px.last_row() ? e : e * 0.97;
    return {dot, along_ ? moved : 0, along_ || px.last_row() ? 0 : moved};
  }

  // The noise term at alternate columns.
  static std::int32_t noise(Model m, bool ltr, std::uint32_t s, std::uint32_t x) {
    const int t = static_cast<int>(s);
    if (m == Model::Amplitude31 && !ltr && x % 2 == 1) return std::min({t, 31, 255 - t});
    if (m == Model::Band31 && ltr == (x % 2 == 0))
      return t < 105 ? 0 : t <= 127 ? t - 96 : t <= 223 ? 31 : t <= 254 ? 254 - t : 0;
    if (m == Model::FiveBand && ltr == (x % 2 == 0)) return std::min({t, 8, 255 - t});
    return 0;
  }

  // The share along the row of the four 16-bit screens; the rest goes below.
  std::int32_t along(Model m, bool ltr, std::int32_t e, std::uint32_t s, std::uint32_t x) {
    const bool even = x % 2 == 0;
    const std::int32_t two_thirds = 2 * e / 3;
    auto bit = [&] { return (rng.draw() & 1) != 0; };
    if (m == Model::Amplitude31 || m == Model::Band31) {
      const bool a = m == Model::Amplitude31;
      const std::int32_t lesser = a ? e >> 1 : (3 * e) >> 2;  // shifts: rounded down
      if (s >= (ltr ? 216u : 213u)) return even ? two_thirds : lesser;
      if (s >= (ltr ? 166u : a ? 179u : 185u)) return bit() ? lesser : two_thirds;
      return bit() ? e : e >> 1;
    }
    if (m == Model::FiveBand) {
      if (s > 240) return two_thirds;
      if (s >= 229) return ltr ? e / 2 : two_thirds;
      if (s >= 203) return even == ltr ? two_thirds : e / 2;
      if (s >= 176) return bit() ? two_thirds : e / 2;
      return bit() ? e : e / 2;
    }
    return e / 2;
  }
};

}  // namespace halftone::test
