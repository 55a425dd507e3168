// A plain model of the multi-level screens on the shared serpentine.
#pragma once
#include <array>
#include <cstdint>
#include <vector>

#include "frame/tone_curves.h"
#include "support/cascade_model.h"
#include "support/serpentine_model.h"

namespace halftone::test {

enum class Code { Bracketed4, Fixed4, Two1, Two2, Two3, Thirds4, Bracketed8, Fixed8 };

// The code for value v and source s, each table read top to bottom, and its level.
inline std::int32_t model_code(Code k, std::uint8_t const* B, std::int32_t v, std::int32_t s) {
  if (k == Code::Bracketed4 || k == Code::Thirds4) return four_level_code(B, v, s);
  if (k == Code::Bracketed8) {
    auto M = [&](int hi) { return (B[hi - 1] + B[hi]) >> 1; };  // M10 = M(7) ... M76 = M(1)
    if (v > M(7)) return s > B[6] ? 0 : 1;
    if (v > M(6)) return s > B[5] ? 1 : 2;
    if (v > M(5)) return s > B[6] ? 1 : s > B[4] ? 2 : 3;
    if (v > M(4)) return s > B[6] ? 1 : s > B[5] ? 2 : s > B[3] ? 3 : 4;
    if (v > M(3)) return s > B[5] ? 1 : s > B[4] ? 3 : s > B[2] ? 4 : 5;
    if (v > M(2)) return s > B[3] ? 4 : s > B[1] ? 5 : 6;
    if (v > M(1)) return s > B[2] ? 5 : 6;
    return s > B[1] ? 6 : 7;
  }
  if (k == Code::Fixed4) return v > 192 ? 0 : v > 128 ? 1 : v > 64 ? 2 : 3;
  if (k == Code::Fixed8) {
    for (int code = 0; code < 7; ++code)
      if (v > 224 - 32 * code) return code;
    return 7;
  }
  return v <= 128 ? static_cast<int>(k) - static_cast<int>(Code::Two1) + 1 : 0;
}

inline std::int32_t model_level(Code k, std::uint8_t const* B, std::int32_t code) {
  if (k == Code::Bracketed4 || k == Code::Thirds4) return four_level_grey(B, code);
  if (k == Code::Bracketed8) return B[7 - code];
  if (k == Code::Fixed4) return std::array{255, 170, 85, 0}[code];
  if (k == Code::Fixed8) return std::array{255, 218, 182, 145, 109, 72, 36, 0}[code];
  return code ? 0 : 255;
}

// The errors, less the tone-curve bias at alternate columns but for the eight-
// level screens, split by two random bits; the thirds screen splits e / 3 and
// e - e / 3 by one bit, also at a row's end, and hands on only a right-to-left
// last row's error.
struct MultilevelModel : SerpentineModel {
  Code k;

  void operator()(unsigned char const* src, unsigned char* out, std::uint32_t w, std::uint32_t h,
                  std::uint32_t planes, std::uint32_t band, std::uint32_t at) {
    seconds = at;
    const bool four_bit = k == Code::Bracketed8 || k == Code::Fixed8, thirds = k == Code::Thirds4;
    bits = four_bit ? 4 : 2, carry_after_rtl = thirds;
    std::uint8_t const* B = ScreenParameterBytes();
    const ActiveToneCurves tone = active_curves();
    auto rule = [&](Pixel const& px, std::int32_t v) -> Outcome<std::int32_t> {
      const std::uint32_t s = px.s, code = model_code(k, B, v, s);
      std::int32_t e = w16(v - model_level(k, B, code));
      if (px.role == Role::LastEnd && !thirds) return {code, 0, 0};  // the band's final pixel
      if (!four_bit && px.x % 2 == (px.ltr ? 1u : 0u)) e = w16(e + (px.ltr ? tone.a : tone.b)[s]);
      if (thirds) {
        const std::int32_t t = e / 3, b = rng.draw() & 1;
        return {code, b ? e - t : t, b ? t : e - t};
      }
      const std::uint32_t r = rng.draw() & 3;
      if (px.row_end()) return {code, 0, (2 * e) / 3};
      if (px.last_row())
        return {code, std::array{(2 * e) / 3, e, e / 3, 0}[r],
                std::array{e / 3, 0, (2 * e) / 3, e}[r]};
      return {code, r == 3 ? e : r == 1 ? 0 : e / 2, r == 3 ? 0 : r == 1 ? e : e / 2};
    };
    run<std::int32_t>(src, out, w, h, planes, band, rule);
  }
};

}  // namespace halftone::test
