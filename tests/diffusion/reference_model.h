// A plain model of the error-diffusion screens, written from their rule
// tables with ordinary loops, its own generator and its own carried lines.
// Each table entry names a share of the error e by the draw's value r:
// '0' nothing, 'e' all, 't' e / 3, 'T' (2e) / 3, 'R' e - e / 3, 'q' e / 4,
// 'Q' (3e) / 4 (all truncating toward zero).
#pragma once
#include <cstdint>
#include <vector>

#include "frame/layout.h"
#include "frame/tone_curves.h"
#include "support/ref_random.h"

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

inline Rules rules_of(Kind k) {
  switch (k) {
    case Kind::Page:
      return {1, "e0", "0e", "e0", "0e", "0e", true, "0e", "00", false, false, false};
    case Kind::Random:
      return {1, "0e", "e0", "0e", "e0", "TT", true, "e0", "0e", false, false, false};
    case Kind::TonePush:
      return {2, "t0Te", "Tet0", "T0te", "teT0", "TTTT", false, "Tet0", "t0Te", true, false, true};
    case Kind::Conserving:
      return {1, "te", "R0", "te", "R0", "T0", true, "t0", "Re", true, false, false};
    case Kind::InvertedThirds:
      return {2, "t0Te", "Tet0", "T0te", "teT0", "TTTT", true, "Tet0", "t0Te", true, true, false};
    case Kind::InvertedQuarters:
      return {2, "QeQ0", "q0qe", "eq0Q", "0Qeq", "TTTT", true, "Qeq0", "q0Qe", false, true, false};
    case Kind::Counter:
      break;
  }
  return {0, "", "", "", "", "", false, "", "", false, false, false};
}

inline std::int32_t share(char c, std::int32_t e) {
  switch (c) {
    case 'e':
      return e;
    case 't':
      return e / 3;
    case 'T':
      return (2 * e) / 3;
    case 'R':
      return e - e / 3;
    case 'q':
      return e / 4;
    case 'Q':
      return (3 * e) / 4;
    default:
      return 0;
  }
}

struct DiffusionModel {
  std::vector<std::int16_t> carry;
  std::vector<int> counter, flag;  // the counter-driven screen's state, one a plane
  RefRandom rng;
  std::uint32_t seconds = 0;

  void call(Kind kind, unsigned char const* src, unsigned char* out, std::uint32_t W,
            std::uint32_t H, std::uint32_t control) {
    const Rules rl = rules_of(kind);
    const std::uint32_t P = kind == Kind::Page ? 1 : (control >> 8) & 255;
    const std::uint32_t band = kind == Kind::Page ? 1 : (control >> 16) & 255;
    const std::uint32_t S = source_stride(W), D = dot_stride(W);
    if (band == 1 || carry.size() < std::size_t{P} * W) carry.assign(std::size_t{P} * W, 0);
    if (kind == Kind::Counter && band == 1) counter.clear(), flag.clear();
    if (counter.size() < P) counter.resize(P), flag.resize(P);
    for (std::size_t i = 0; i < std::size_t{P} * D * H; ++i) out[i] = 0;
    if (kind != Kind::Conserving || band == 1) rng.seed(seconds);
    if (W == 0 || H == 0) return;
    const ActiveToneCurves curves = active_curves();
    for (std::uint32_t p = 0; p < P; ++p) {
      std::vector<std::int16_t> line[2] = {std::vector<std::int16_t>(W),
                                           std::vector<std::int16_t>(W)};
      std::int16_t* c = carry.data() + std::size_t{p} * W;
      for (std::uint32_t x = 0; x < W; ++x) line[0][x] = wrap16(src[p * S + x] + c[x]), c[x] = 0;
      for (std::uint32_t r = 0; r < H; ++r) {
        unsigned char const* s_row = src + (std::size_t{r} * P + p) * S;
        unsigned char const* s_next = src + (std::size_t{r + 1} * P + p) * S;
        unsigned char* o = out + (std::size_t{r} * P + p) * D;
        std::vector<std::int16_t>&cur = line[r & 1], &nxt = line[(r + 1) & 1];
        bool rtl = r & 1;
        if (kind == Kind::Counter) {
          if (counter[p] > 12) counter[p] = 0;
          rtl = flag[p] != 0;
          flag[p] = !flag[p];
        }
        const bool last = r + 1 == H;
        for (std::uint32_t i = 0; i < W; ++i) {
          const std::uint32_t x = rtl ? W - 1 - i : i, s = s_row[x];
          const bool final = i + 1 == W;
          const std::int32_t v = cur[x];
          const bool dot = v <= 128;
          const bool bit = rl.inverted ? !dot || (rl.white_rule && s == 255)
                                       : dot && !(rl.white_rule && s == 255);
          if (bit) o[x >> 3] |= static_cast<unsigned char>(0x80 >> (x & 7));
          std::int32_t e = wrap16(dot ? v : v - 255);
          if (last && final) continue;  // the band's last pixel only decides
          if (rl.push && !rtl && (x & 1)) e = wrap16(e + curves.a[s]);
          if (rl.push && rtl && !(x & 1)) e = wrap16(e + curves.b[s]);
          std::int32_t ahead = 0, down = 0;  // down: below, or into the carry on the last row
          if (kind == Kind::Counter) {
            int& k = counter[p];
            k = k + 1 > 12 ? 0 : k + 1;
            if (last)
              (k < 6 ? down : ahead) = e;
            else if (final)
              down = k < 6 ? e : 0;
            else
              (k > 6 ? ahead : down) = e;
          } else {
            const bool draws = !final || rl.end_draws;
            const int rv = draws ? static_cast<int>(rng.draw() & (rl.bits == 2 ? 3u : 1u)) : 0;
            if (final) {
              down = share(rl.end_below[rv], e);
            } else if (last) {
              ahead = share(rl.last_ahead[rv], e), down = share(rl.last_carry[rv], e);
            } else {
              ahead = share((rtl ? rl.rtl_ahead : rl.ltr_ahead)[rv], e);
              down = share((rtl ? rl.rtl_below : rl.ltr_below)[rv], e);
            }
          }
          if (!final) cur[rtl ? x - 1 : x + 1] = wrap16(cur[rtl ? x - 1 : x + 1] + ahead);
          if (last)
            c[x] = wrap16(down);
          else
            nxt[x] = wrap16(s_next[x] + down);
        }
      }
    }
    if (band == 3) carry.clear();
  }
};

}  // namespace halftone::test
