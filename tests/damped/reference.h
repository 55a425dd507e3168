// A plain model of the damped and noise-table screens, written from their
// rules with per-pixel loops, its own generator and its own carried rows. The
// tests compare the library with it byte for byte.
#pragma once
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "support/ref_random.h"

namespace halftone::test {

enum class Model { Runs, HalfSplit, Amplitude31, Band31, FiveBand, Halves };

class Reference {
 public:
  std::uint32_t seconds = 0;  // what every reseed uses, as halftone::pin_seed_time
  RefRandom rng;

  // One call, with the arguments of the exported screen.
  void screen(Model m, unsigned char const* src, unsigned char* dots, std::uint32_t w,
              std::uint32_t h, std::uint32_t control) {
    const std::uint32_t planes = (control >> 8) & 0xFF, band = (control >> 16) & 0xFF;
    const bool doubles = m == Model::Runs || m == Model::HalfSplit;
    std::int64_t& width = held_width_[doubles];  // -1: no lines held
    std::size_t& size = held_size_[doubles];
    // Lines are allocated on a first band, or when none (or too few) are held.
    if (band == 1 || w > width || std::size_t{planes} * w > size) {
      width = w, size = std::size_t{planes} * w;
      if (doubles)
        double_carry_.assign(size, 0.0);
      else
        int_carry_.assign(size, m == Model::Amplitude31 ? -35 : m == Model::Band31 ? -25 : 0);
    }
    std::memset(dots, 0, std::size_t{planes} * out_stride(w) * h);
    if (doubles || band == 1) rng.seed(seconds);
    for (std::uint32_t p = 0; p < planes && w != 0 && h != 0; ++p) {
      auto row = [&](std::uint32_t y) { return std::size_t{y} * planes + p; };
      auto source = [&](std::uint32_t y, std::uint32_t x) {
        return src[row(y) * src_stride(w) + x];
      };
      auto dot = [&](std::uint32_t y, std::uint32_t x, bool on) {
        if (on) dots[row(y) * out_stride(w) + x / 8] |= 0x80 >> (x % 8);
        return on;
      };
      if (doubles)
        runs(m == Model::HalfSplit, source, dot, w, h, &double_carry_[std::size_t{p} * w]);
      else
        tone_banded(m, source, dot, w, h, &int_carry_[std::size_t{p} * w]);
    }
    if (band == 3) width = -1;
  }

 private:
  static std::uint32_t src_stride(std::uint32_t w) { return (w + 3) / 4 * 4; }
  static std::uint32_t out_stride(std::uint32_t w) { return (w + 31) / 32 * 4; }
  static std::int16_t low16(std::int32_t v) { return static_cast<std::int16_t>(v & 0xFFFF); }
  // Division by 2^k rounded toward minus infinity, as a signed shift gives.
  static int floor_div(int a, int b) { return a / b - (a % b != 0 && a < 0); }

  // Random runs (0.97, the whole error to one side) or the half split (0.985,
  // half along and half below), in doubles.
  template <class Source, class Dot>
  void runs(bool half_split, Source source, Dot dot, std::uint32_t w, std::uint32_t h,
            double* carry) {
    std::vector<double> rows[2] = {std::vector<double>(w), std::vector<double>(w)};
    for (std::uint32_t x = 0; x < w; ++x) rows[0][x] = source(0, x) + carry[x], carry[x] = 0;
    const int lengths[4] = {11, 10, 11, 10};
    int left = 0, index = 0, repeats = 0, along = 0;
    for (std::uint32_t y = 0; y < h; ++y) {
      const bool ltr = y % 2 == 0, last = y == h - 1;
      std::vector<double>&cur = rows[y % 2], &below = rows[1 - y % 2];
      for (std::uint32_t i = 0; i < w; ++i) {
        const std::uint32_t x = ltr ? i : w - 1 - i, next = ltr ? x + 1 : x - 1;
        const bool end = i == w - 1;
        const double e = dot(y, x, cur[x] <= 128.0) ? cur[x] : cur[x] - 255.0;
        if (last && end) break;
        if (!last) below[x] = source(y + 1, x);
        rng.draw();  // every pixel's unused draw
        if (half_split) {
          const double half = e * 0.985 * 0.5;
          if (!end) cur[next] += half;
          (last ? carry[x] : below[x]) += half;
          continue;
        }
        if (left == 0) {
          const int d = static_cast<int>(rng.draw() % 4);
          if (d != index)
            index = d, repeats = 0;
          else if (++repeats == 2)
            index = d == 0 ? 1 : 0, repeats = 0;
          left = lengths[index];
          along = 1 - along;
        }
        --left;
        const double moved = last ? e : e * 0.97;
        if (along && !end)
          cur[next] += moved;
        else if (!along && !last)
          below[x] += moved;
      }
    }
  }

  // The share along the row of the four 16-bit screens; the rest goes below.
  std::int32_t along(Model m, bool ltr, std::int32_t e, std::uint32_t s, std::uint32_t x) {
    const bool even = x % 2 == 0;
    const std::int32_t two_thirds = 2 * e / 3;
    auto bit = [&] { return (rng.draw() & 1) != 0; };
    if (m == Model::Amplitude31 || m == Model::Band31) {
      const bool a = m == Model::Amplitude31;
      const std::int32_t lesser = a ? floor_div(e, 2) : floor_div(3 * e, 4);
      if (s >= (ltr ? 216u : 213u)) return even ? two_thirds : lesser;
      if (s >= (ltr ? 166u : a ? 179u : 185u)) return bit() ? lesser : two_thirds;
      return bit() ? e : floor_div(e, 2);
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

  // Error rows overwritten from above; the noise term at alternate columns.
  template <class Source, class Dot>
  void tone_banded(Model m, Source source, Dot dot, std::uint32_t w, std::uint32_t h,
                   std::int16_t* carry) {
    std::vector<std::int16_t> rows[2] = {{carry, carry + w}, std::vector<std::int16_t>(w)};
    std::fill(carry, carry + w, 0);
    for (std::uint32_t y = 0; y < h; ++y) {
      const bool ltr = y % 2 == 0;
      std::vector<std::int16_t>&cur = rows[y % 2], &below = rows[1 - y % 2];
      for (std::uint32_t i = 0; i < w; ++i) {
        const std::uint32_t x = ltr ? i : w - 1 - i, s = source(y, x);
        const std::int32_t v = cur[x] + static_cast<std::int32_t>(s);
        std::int32_t e = dot(y, x, v <= 128) ? v : v - 255;
        const int t = static_cast<int>(s);
        if (m == Model::Amplitude31 && !ltr && x % 2 == 1) e += std::min({t, 31, 255 - t});
        if (m == Model::Band31 && ltr == (x % 2 == 0))
          e += t < 105 ? 0 : t <= 127 ? t - 96 : t <= 223 ? 31 : t <= 254 ? 254 - t : 0;
        if (m == Model::FiveBand && ltr == (x % 2 == 0)) e += std::min({t, 8, 255 - t});
        const std::int32_t n = along(m, ltr, e, s, x);
        const std::uint32_t next = ltr ? x + 1 : x - 1;
        if (ltr ? x + 1 < w : x > 0) cur[next] = low16(cur[next] + n);
        (y == h - 1 && !ltr ? carry[x] : below[x]) = low16(e - n);
      }
    }
  }

  std::int64_t held_width_[2] = {-1, -1};
  std::size_t held_size_[2] = {};
  std::vector<double> double_carry_;
  std::vector<std::int16_t> int_carry_;
};

}  // namespace halftone::test
