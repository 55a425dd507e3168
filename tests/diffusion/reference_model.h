// A plain model of the error-diffusion screens: their rule tables on the
// shared serpentine. Each table entry names a share of the error e by the draw's value r:
// '0' nothing, 'e' all, 't' e / 3, 'T' (2e) / 3, 'R' e - e / 3, 'q' e / 4,
// 'Q' (3e) / 4 (all truncating toward zero).
#pragma once
#include <cstdint>
#include <vector>

#include "frame/tone_curves.h"
#include "support/serpentine_model.h"

namespace halftone::test {

enum class Kind { Page, Random, TonePush, Conserving, Counter, InvertedThirds, InvertedQuarters };

struct Rules {
  int bits;  // random bits drawn a pixel (1 or 2; 0: the counter)
  char const *ltr_ahead, *ltr_below, *rtl_ahead, *rtl_below;  // ordinary rows
  char const* end_below;                                      // a row's last pixel
  bool end_draws;                       // ... makes a draw (its value picks end_below's entry)
  char const *last_ahead, *last_carry;  // the band's last row
  bool white_rule, inverted, push;
};

constexpr Rules kRules[] = {
    {1, "e0", "0e", "e0", "0e", "0e", true, "0e", "00", false, false, false},
    {1, "0e", "e0", "0e", "e0", "TT", true, "e0", "0e", false, false, false},
    {2, "t0Te", "Tet0", "T0te", "teT0", "TTTT", false, "Tet0", "t0Te", true, false, true},
    {1, "te", "R0", "te", "R0", "T0", true, "t0", "Re", true, false, false},
    {0, "", "", "", "", "", false, "", "", false, false, false},
    {2, "t0Te", "Tet0", "T0te", "teT0", "TTTT", true, "Tet0", "t0Te", true, true, false},
    {2, "QeQ0", "q0qe", "eq0Q", "0Qeq", "TTTT", true, "Qeq0", "q0Qe", false, true, false},
};

inline std::int32_t share(char c, std::int32_t e) {
  return c == 'e'   ? e
         : c == 't' ? e / 3
         : c == 'T' ? (2 * e) / 3
         : c == 'R' ? e - e / 3
         : c == 'q' ? e / 4
         : c == 'Q' ? (3 * e) / 4
                    : 0;
}

// The counter-driven screen keeps a counter and a row direction a plane
// across the bands of a job.
struct DiffusionModel : SerpentineModel {
  Kind kind;
  std::vector<int> counter, flag;

  void operator()(unsigned char const* src, unsigned char* out, std::uint32_t w, std::uint32_t h,
                  std::uint32_t planes, std::uint32_t band, std::uint32_t at) {
    const Rules rl = kRules[static_cast<int>(kind)];
    seconds = at;
    if (kind == Kind::Counter && band == 1) counter.clear(), flag.clear();
    if (counter.size() < planes) counter.resize(planes), flag.resize(planes);
    reseed_each_call = kind != Kind::Conserving;
    const ActiveToneCurves curves = active_curves();
    auto rule = [&](Pixel const& px, std::int32_t v) -> Outcome<std::int32_t> {
      const bool dot = v <= 128, white = rl.white_rule && px.s == 255;
      const std::uint32_t bit = rl.inverted ? !dot || white : dot && !white;
      std::int32_t e = w16(dot ? v : v - 255);
      if (px.role == Role::LastEnd) return {bit, 0, 0};  // the band's last pixel only decides
      if (rl.push && px.ltr && (px.x & 1)) e = w16(e + curves.a[px.s]);
      if (rl.push && !px.ltr && !(px.x & 1)) e = w16(e + curves.b[px.s]);
      if (kind == Kind::Counter) {
        int& k = counter[px.plane];
        k = k + 1 > 12 ? 0 : k + 1;
        const bool along = px.last_row() ? k >= 6 : !px.row_end() && k > 6;
        return {bit, along ? e : 0, along || (px.row_end() && k >= 6) ? 0 : e};
      }
      const bool draws = !px.row_end() || rl.end_draws;
      const int r = draws ? static_cast<int>(rng.draw() & (rl.bits == 2 ? 3u : 1u)) : 0;
      if (px.row_end()) return {bit, 0, share(rl.end_below[r], e)};
      if (px.last_row()) return {bit, share(rl.last_ahead[r], e), share(rl.last_carry[r], e)};
      return {bit, share((px.ltr ? rl.ltr_ahead : rl.rtl_ahead)[r], e),
              share((px.ltr ? rl.ltr_below : rl.rtl_below)[r], e)};
    };
    auto row = [&](std::uint32_t p, std::uint32_t y) {
      if (kind != Kind::Counter) return y % 2 == 0;
      if (counter[p] > 12) counter[p] = 0;
      return (flag[p] = !flag[p]) != 0;
    };
    run<std::int32_t>(src, out, w, h, planes, band, rule, row);
  }
};

}  // namespace halftone::test
