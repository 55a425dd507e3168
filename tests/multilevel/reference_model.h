// A plain model of the multi-level screens, written from their rules with
// per-pixel loops, its own generator and its own carry line. The library must
// agree with it byte for byte.
#pragma once
#include <array>
#include <cstdint>
#include <vector>

#include "frame/tone_curves.h"
#include "support/ref_random.h"

namespace halftone::test {

enum class Code { Bracketed4, Fixed4, Two1, Two2, Two3, Thirds4, Bracketed8, Fixed8 };

inline std::int32_t w16(std::int32_t v) { return static_cast<std::int16_t>(v & 0xFFFF); }

// The code for value v and source s, each table read top to bottom, and its level.
inline std::int32_t model_code(Code k, std::uint8_t const* B, std::int32_t v, std::int32_t s) {
  if (k == Code::Bracketed4 || k == Code::Thirds4) {
    if (v > (B[2] + B[3]) >> 1) return s <= B[1] ? 2 : (s <= B[2] ? 1 : 0);
    if (v > (B[1] + B[2]) >> 1) return s <= B[1] ? 2 : 1;
    if (v > (B[0] + B[1]) >> 1) return s <= B[2] ? 2 : 1;
    return s <= B[1] ? 3 : (s <= B[2] ? 2 : 1);
  }
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
  if (k == Code::Bracketed4 || k == Code::Thirds4) return B[3 - code];
  if (k == Code::Bracketed8) return B[7 - code];
  if (k == Code::Fixed4) return std::array{255, 170, 85, 0}[code];
  if (k == Code::Fixed8) return std::array{255, 218, 182, 145, 109, 72, 36, 0}[code];
  return code ? 0 : 255;
}

struct MultilevelModel {
  std::vector<std::int16_t> carry;
  std::int64_t held_width = -1;  // -1: no lines held
  std::uint32_t seconds = 0;

  void call(Code k, unsigned char const* src, unsigned char* out, std::uint32_t W, std::uint32_t H,
            std::uint32_t control) {
    const std::uint32_t P = (control >> 8) & 255, band = (control >> 16) & 255;
    const bool four_bit = k == Code::Bracketed8 || k == Code::Fixed8;
    const bool biased = !four_bit, thirds = k == Code::Thirds4;
    const std::size_t S = (W + 3) / 4 * 4, D = ((four_bit ? 4 : 2) * W + 31) / 32 * 4;
    // Lines are allocated on a first band, or when none (or too few) are held.
    if (band == 1 || W > held_width || carry.size() < P * W) carry.assign(P * W, 0), held_width = W;
    for (std::size_t i = 0; i < P * D * H; ++i) out[i] = 0;
    std::uint8_t const* B = ScreenParameterBytes();
    const ActiveToneCurves tone = active_curves();
    RefRandom rng;
    rng.seed(seconds);
    for (std::uint32_t p = 0; p < P && W > 0 && H > 0; ++p) {
      std::vector<std::int32_t> rows[2] = {std::vector<std::int32_t>(W),
                                           std::vector<std::int32_t>(W)};
      std::int16_t* c = &carry[p * W];
      for (std::uint32_t x = 0; x < W; ++x) rows[0][x] = w16(src[p * S + x] + c[x]), c[x] = 0;
      for (std::uint32_t r = 0; r < H; ++r) {
        const unsigned char* srow = src + (r * P + p) * S;
        unsigned char* orow = out + (r * P + p) * D;
        const bool ltr = r % 2 == 0, last = r + 1 == H;
        std::vector<std::int32_t>&cur = rows[r % 2], &below = rows[1 - r % 2];
        for (std::uint32_t i = 0; i < W; ++i) {
          const std::uint32_t x = ltr ? i : W - 1 - i, next = ltr ? x + 1 : x - 1;
          const bool end = i + 1 == W;
          const std::int32_t s = srow[x], code = model_code(k, B, cur[x], s);
          const std::uint32_t shift = four_bit ? (x % 2 == 0 ? 4 : 0) : 6 - 2 * (x % 4);
          orow[four_bit ? x / 2 : x / 4] |= static_cast<unsigned char>(code << shift);
          std::int32_t e = w16(cur[x] - model_level(k, B, code));
          if (last && end && !thirds) continue;  // the band's final pixel: code only
          if (biased && ltr && x % 2 == 1) e = w16(e + tone.a[s]);
          if (biased && !ltr && x % 2 == 0) e = w16(e + tone.b[s]);
          if (!last) below[x] = srow[P * S + x];  // the next row of this plane
          if (thirds) {
            const std::int32_t t = e / 3, b = rng.draw() & 1;
            const std::int32_t along = b ? e - t : t, down = b ? t : e - t;
            if (!end) cur[next] = w16(cur[next] + along);
            if (!last)
              below[x] = w16(below[x] + down);
            else if (!ltr)
              c[x] = static_cast<std::int16_t>(down);
            continue;
          }
          const std::uint32_t r2 = rng.draw() & 3;
          if (end) {
            below[x] = w16(below[x] + (2 * e) / 3);
          } else if (!last) {
            const std::int32_t h = e / 2;
            cur[next] = w16(cur[next] + (r2 == 3 ? e : r2 == 1 ? 0 : h));
            below[x] = w16(below[x] + (r2 == 3 ? 0 : r2 == 1 ? e : h));
          } else {
            const std::int32_t along[4] = {(2 * e) / 3, e, e / 3, 0};
            const std::int32_t set[4] = {e / 3, 0, (2 * e) / 3, e};
            cur[next] = w16(cur[next] + along[r2]);
            c[x] = static_cast<std::int16_t>(set[r2]);
          }
        }
      }
    }
    if (band == 3) carry.clear(), held_width = -1;
  }
};

}  // namespace halftone::test
