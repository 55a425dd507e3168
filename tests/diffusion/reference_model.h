// A plain model of the error-diffusion screens, written straight from their
// rules with ordinary loops: one function per screen kind, its own generator
// and its own carried lines. The library must agree with it byte for byte.
#pragma once
#include <cstdint>
#include <vector>

#include "frame/feedback_random.h"
#include "frame/layout.h"
#include "frame/tone_curves.h"

namespace halftone::test {

enum class Kind { Page, Random, TonePush, Conserving, Counter, InvertedThirds, InvertedQuarters };

struct DiffusionModel {
  std::vector<std::int16_t> carry;
  std::vector<int> counter, flag;  // counter-driven state, one a plane
  FeedbackRandom rng;
  std::uint32_t seconds = 0;

  static std::int32_t w16(std::int32_t v) { return wrap16(v); }

  void call(Kind kind, unsigned char const* src, unsigned char* out, std::uint32_t W,
            std::uint32_t H, std::uint32_t control) {
    const std::uint32_t P = kind == Kind::Page ? 1 : (control >> 8) & 255;
    const std::uint32_t band = kind == Kind::Page ? 1 : (control >> 16) & 255;
    const std::uint32_t S = source_stride(W), D = dot_stride(W);
    if (band == 1 || carry.size() < static_cast<std::size_t>(P) * W) {
      carry.assign(static_cast<std::size_t>(P) * W, 0);
    }
    if (kind == Kind::Counter && band == 1) counter.clear(), flag.clear();
    if (counter.size() < P) counter.resize(P), flag.resize(P);
    for (std::size_t i = 0; i < static_cast<std::size_t>(P) * D * H; ++i) out[i] = 0;
    if (kind != Kind::Conserving || band == 1) rng.seed(seconds);
    if (W == 0 || H == 0) return;
    ActiveToneCurves curves = active_curves();
    for (std::uint32_t p = 0; p < P; ++p) {
      std::vector<std::int16_t> line[2] = {std::vector<std::int16_t>(W),
                                           std::vector<std::int16_t>(W)};
      std::int16_t* c = carry.data() + static_cast<std::size_t>(p) * W;
      for (std::uint32_t x = 0; x < W; ++x) {
        line[0][x] = static_cast<std::int16_t>(w16(src[p * S + x] + c[x]));
        c[x] = 0;
      }
      for (std::uint32_t r = 0; r < H; ++r) {
        const unsigned char* s_row = src + (static_cast<std::size_t>(r) * P + p) * S;
        const unsigned char* s_next = src + (static_cast<std::size_t>(r + 1) * P + p) * S;
        unsigned char* o = out + (static_cast<std::size_t>(r) * P + p) * D;
        std::vector<std::int16_t>& cur = line[r & 1];
        std::vector<std::int16_t>& nxt = line[(r + 1) & 1];
        bool rtl = r & 1;
        if (kind == Kind::Counter) {
          if (counter[p] > 12) counter[p] = 0;
          rtl = flag[p] != 0;
          flag[p] = !flag[p];
        }
        const bool last = r + 1 == H;
        for (std::uint32_t i = 0; i < W; ++i) {
          const std::uint32_t x = rtl ? W - 1 - i : i;
          const bool final = i + 1 == W;
          const std::uint32_t s = s_row[x];
          const std::int32_t v = cur[x];
          std::int32_t e;
          // Decide.
          bool bit;
          if (kind == Kind::InvertedThirds || kind == Kind::InvertedQuarters) {
            bit = v > 128 || (kind == Kind::InvertedThirds && s == 255);
            e = w16(v > 128 ? v - 255 : v);
          } else {
            const bool white = kind == Kind::TonePush || kind == Kind::Conserving;
            bit = v <= 128 && !(white && s == 255);
            e = w16(v <= 128 ? v : v - 255);
          }
          if (bit) o[x >> 3] |= static_cast<unsigned char>(0x80 >> (x & 7));
          if (last && final) continue;  // the band's final pixel only decides
          if (kind == Kind::TonePush) {
            if (!rtl && (x & 1)) e = w16(e + curves.a[s]);
            if (rtl && !(x & 1)) e = w16(e + curves.b[s]);
          }
          std::int32_t ahead = 0, down = 0;  // down: below, or into the carry on the last row
          const auto draw_bit = [&] { return static_cast<int>(rng.draw() & 1); };
          const auto draw2 = [&] { return static_cast<int>(rng.draw() & 3); };
          const std::int32_t t = e / 3, tt = (2 * e) / 3, q = e / 4, tq = (3 * e) / 4;
          switch (kind) {
            case Kind::Page: {
              const int b = draw_bit();
              if (last)
                ahead = b ? e : 0;
              else if (final)
                down = b ? e : 0;
              else
                (b ? down : ahead) = e;
              break;
            }
            case Kind::Random: {
              const int b = draw_bit();
              if (last)
                (b ? down : ahead) = e;
              else if (final)
                down = tt;
              else
                (b ? ahead : down) = e;
              break;
            }
            case Kind::TonePush:
            case Kind::InvertedThirds: {
              if (final) {
                if (kind == Kind::InvertedThirds) (void)draw2();
                down = tt;
                break;
              }
              const int r2 = draw2();
              if (last) {
                if (r2 == 3) down = e;
                if (r2 == 2) ahead = t, down = tt;
                if (r2 == 1) ahead = e;
                if (r2 == 0) ahead = tt, down = t;
              } else if (!rtl) {
                if (r2 == 3) ahead = e;
                if (r2 == 2) ahead = tt, down = t;
                if (r2 == 1) down = e;
                if (r2 == 0) ahead = t, down = tt;
              } else {
                if (r2 == 3) ahead = e;
                if (r2 == 2) ahead = t, down = tt;
                if (r2 == 1) down = e;
                if (r2 == 0) ahead = tt, down = t;
              }
              break;
            }
            case Kind::Conserving: {
              const int b = draw_bit();
              if (last) {
                if (b)
                  down = e;
                else
                  ahead = t, down = e - t;
              } else if (final) {
                down = b ? 0 : tt;
              } else if (b) {
                ahead = e;
              } else {
                ahead = t, down = e - t;
              }
              break;
            }
            case Kind::Counter: {
              int& k = counter[p];
              k = k + 1 > 12 ? 0 : k + 1;
              if (last)
                (k < 6 ? down : ahead) = e;
              else if (final)
                down = k < 6 ? e : 0;
              else
                (k > 6 ? ahead : down) = e;
              break;
            }
            case Kind::InvertedQuarters: {
              const int r2 = draw2();
              if (final) {
                down = tt;
              } else if (last) {
                if (r2 == 3) down = e;
                if (r2 == 2) ahead = q, down = tq;
                if (r2 == 1) ahead = e;
                if (r2 == 0) ahead = tq, down = q;
              } else if (!rtl) {
                if (r2 == 3) down = e;
                if (r2 == 2 || r2 == 0) ahead = tq, down = q;
                if (r2 == 1) ahead = e;
              } else {
                if (r2 == 3) ahead = tq, down = q;
                if (r2 == 2) down = e;
                if (r2 == 1) ahead = q, down = tq;
                if (r2 == 0) ahead = e;
              }
              break;
            }
          }
          if (!final) {
            const std::uint32_t a = rtl ? x - 1 : x + 1;
            cur[a] = static_cast<std::int16_t>(w16(cur[a] + ahead));
          }
          if (last)
            c[x] = static_cast<std::int16_t>(w16(down));
          else
            nxt[x] = static_cast<std::int16_t>(w16(s_next[x] + down));
        }
      }
    }
    if (band == 3) carry.clear();
  }
};

}  // namespace halftone::test
