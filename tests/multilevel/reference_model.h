// A plain model of the multi-level screens, written straight from their rules
// with ordinary per-pixel loops, its own generator and its own carry line. The
// library must agree with it byte for byte.
#pragma once
#include <cstdint>
#include <vector>

#include "frame/tone_curves.h"

namespace halftone::test {

enum class Code { Bracketed4, Fixed4, Two1, Two2, Two3, Thirds4, Bracketed8, Fixed8 };

inline std::int32_t w16(std::int32_t v) {
  return static_cast<std::int16_t>(static_cast<std::uint16_t>(v & 0xFFFF));
}

// The 31-word additive generator, seeded as the screens seed theirs.
struct ModelRandom {
  std::uint32_t t[31];
  int f = 3, r = 0;
  void seed(std::uint32_t s) {
    t[0] = s;
    for (int i = 1; i < 31; ++i) t[i] = t[i - 1] * 1103515145u + 12345u;
    f = 3, r = 0;
    for (int i = 0; i < 310; ++i) draw();
  }
  std::uint32_t draw() {
    t[f] += t[r];
    const std::uint32_t out = t[f] >> 1;
    f = (f + 1) % 31, r = (r + 1) % 31;
    return out;
  }
};

// Code and level for value v and source s, each table read top to bottom.
inline void model_decide(Code k, std::uint8_t const* B, std::int32_t v, std::int32_t s,
                         std::int32_t& code, std::int32_t& level) {
  if (k == Code::Bracketed4 || k == Code::Thirds4) {
    const int m32 = (B[0] + B[1]) >> 1, m21 = (B[1] + B[2]) >> 1, m10 = (B[2] + B[3]) >> 1;
    if (v > m10)
      code = s <= B[1] ? 2 : (s <= B[2] ? 1 : 0);
    else if (v > m21)
      code = s <= B[1] ? 2 : 1;
    else if (v > m32)
      code = s <= B[2] ? 2 : 1;
    else
      code = s <= B[1] ? 3 : (s <= B[2] ? 2 : 1);
    level = B[3 - code];
  } else if (k == Code::Fixed4) {
    const int levels[4] = {255, 170, 85, 0};
    code = v > 192 ? 0 : v > 128 ? 1 : v > 64 ? 2 : 3;
    level = levels[code];
  } else if (k == Code::Bracketed8) {
    auto M = [&](int hi) { return (B[hi - 1] + B[hi]) >> 1; };  // M10 = M(7) ... M76 = M(1)
    if (v > M(7))
      code = s > B[6] ? 0 : 1;
    else if (v > M(6))
      code = s > B[5] ? 1 : 2;
    else if (v > M(5))
      code = s > B[6] ? 1 : s > B[4] ? 2 : 3;
    else if (v > M(4))
      code = s > B[6] ? 1 : s > B[5] ? 2 : s > B[3] ? 3 : 4;
    else if (v > M(3))
      code = s > B[5] ? 1 : s > B[4] ? 3 : s > B[2] ? 4 : 5;
    else if (v > M(2))
      code = s > B[3] ? 4 : s > B[1] ? 5 : 6;
    else if (v > M(1))
      code = s > B[2] ? 5 : 6;
    else
      code = s > B[1] ? 6 : 7;
    level = B[7 - code];
  } else if (k == Code::Fixed8) {
    const int levels[8] = {255, 218, 182, 145, 109, 72, 36, 0};
    code = v > 224   ? 0
           : v > 192 ? 1
           : v > 160 ? 2
           : v > 128 ? 3
           : v > 96  ? 4
           : v > 64  ? 5
           : v > 32  ? 6
                     : 7;
    level = levels[code];
  } else {
    code = v <= 128 ? static_cast<int>(k) - static_cast<int>(Code::Two1) + 1 : 0;
    level = v <= 128 ? 0 : 255;
  }
}

struct MultilevelModel {
  std::vector<std::int16_t> carry;
  std::uint32_t seconds = 0;

  void call(Code k, unsigned char const* src, unsigned char* out, std::uint32_t W, std::uint32_t H,
            std::uint32_t control) {
    const std::uint32_t P = (control >> 8) & 255, band = (control >> 16) & 255;
    const bool four_bit = k == Code::Bracketed8 || k == Code::Fixed8;
    const bool biased = !four_bit, thirds = k == Code::Thirds4;
    const std::size_t S = (W + 3) / 4 * 4,
                      D = four_bit ? (W * 4 + 31) / 32 * 4 : (W * 2 + 31) / 32 * 4;
    if (band == 1 || carry.size() < P * W) carry.assign(P * W, 0);
    for (std::size_t i = 0; i < P * D * H; ++i) out[i] = 0;
    std::uint8_t B[9];
    for (int i = 0; i < 9; ++i) B[i] = ScreenParameterBytes()[i];
    const ActiveToneCurves tone = active_curves();
    ModelRandom rng;
    rng.seed(seconds);
    for (std::uint32_t p = 0; p < P && W > 0 && H > 0; ++p) {
      std::vector<std::int32_t> A(W), Bl(W);
      std::int16_t* c = &carry[p * W];
      for (std::uint32_t x = 0; x < W; ++x) A[x] = w16(src[p * S + x] + c[x]), c[x] = 0;
      for (std::uint32_t r = 0; r < H; ++r) {
        const unsigned char* srow = src + (r * P + p) * S;
        const unsigned char* snext = r + 1 < H ? src + ((r + 1) * P + p) * S : nullptr;
        unsigned char* orow = out + (r * P + p) * D;
        const bool ltr = r % 2 == 0, last = r + 1 == H;
        std::vector<std::int32_t>& cur = ltr ? A : Bl;
        std::vector<std::int32_t>& below = ltr ? Bl : A;
        for (std::uint32_t i = 0; i < W; ++i) {
          const std::uint32_t x = ltr ? i : W - 1 - i, next = ltr ? x + 1 : x - 1;
          const bool end = i + 1 == W;
          std::int32_t code, level, s = srow[x];
          model_decide(k, B, cur[x], s, code, level);
          const std::uint32_t shift = four_bit ? (x % 2 == 0 ? 4 : 0) : 6 - 2 * (x % 4);
          orow[four_bit ? x / 2 : x / 4] |= static_cast<unsigned char>(code << shift);
          std::int32_t e = w16(cur[x] - level);
          if (last && end && !thirds) continue;  // the band's final pixel: code only
          if (biased && ltr && x % 2 == 1) e = w16(e + tone.a[s]);
          if (biased && !ltr && x % 2 == 0) e = w16(e + tone.b[s]);
          if (!last) below[x] = snext[x];
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
            const std::int32_t along = r2 == 3 ? e : r2 == 1 ? 0 : h;
            const std::int32_t down = r2 == 3 ? 0 : r2 == 1 ? e : h;
            cur[next] = w16(cur[next] + along);
            below[x] = w16(below[x] + down);
          } else {
            const std::int32_t along[4] = {(2 * e) / 3, e, e / 3, 0};
            const std::int32_t set[4] = {e / 3, 0, (2 * e) / 3, e};
            cur[next] = w16(cur[next] + along[r2]);
            c[x] = static_cast<std::int16_t>(set[r2]);
          }
        }
      }
    }
    if (band == 3) carry.clear();
  }
};

}  // namespace halftone::test
