// Plain models of the single-plane utilities: the generators written out
// again, the diffusion on a whole-image grid, and renderers of each output
// orientation from the unturned dots.
#pragma once
#include <cstdint>
#include <vector>

#include "frame/feedback_random.h"
#include "frame/layout.h"

namespace halftone::test {

// The lagged-Fibonacci rule with plain modulo indexing.
struct RefLagged {
  std::uint32_t s[31];
  int f = 3, r = 0;

  static RefLagged copy_of(FeedbackRandom const& g) {
    RefLagged m;
    for (int i = 0; i < 31; ++i) m.s[i] = g.word(i);
    m.f = g.front();
    m.r = g.rear();
    return m;
  }
  static RefLagged seeded(std::uint32_t seed) {
    RefLagged m;
    m.s[0] = seed;
    for (int i = 1; i < 31; ++i) m.s[i] = m.s[i - 1] * 1103515145u + 12345u;
    for (int i = 0; i < 310; ++i) m.bit();
    return m;
  }
  std::uint32_t bit() {
    s[f] += s[r];
    const std::uint32_t result = s[f] >> 1;
    f = (f + 1) % 31;
    r = (r + 1) % 31;
    return result & 1u;
  }
  bool same_as(FeedbackRandom const& g) const {
    for (int i = 0; i < 31; ++i)
      if (s[i] != g.word(i)) return false;
    return f == g.front() && r == g.rear();
  }
};

// Working values of the whole image, errors added in place (wrapping).
struct Grid {
  std::uint32_t w, h;
  std::vector<std::uint32_t> v;
  std::vector<unsigned char> dot;

  template <class Table>
  Grid(unsigned char const* src, std::uint32_t width, std::uint32_t height, Table const* tone)
      : w(width), h(height), v(std::size_t{width} * height), dot(std::size_t{width} * height) {
    for (std::uint32_t y = 0; y < h; ++y)
      for (std::uint32_t x = 0; x < w; ++x)
        at(x, y) = static_cast<std::uint32_t>(tone[src[y * source_stride(w) + x]]);
  }
  std::uint32_t& at(std::uint32_t x, std::uint32_t y) { return v[std::size_t{y} * w + x]; }
};

// Tone-table noise: `reseeded` is the variant whose last row draws from the
// screening generator seeded with `seconds` and tests v < 129.
inline std::vector<unsigned char> ref_noise(unsigned char const* src, std::uint32_t w,
                                            std::uint32_t h, unsigned char const* tone,
                                            RefLagged& rows, std::uint32_t seconds, bool reseeded) {
  Grid g(src, w, h, tone);
  RefLagged screening = RefLagged::seeded(seconds);
  const std::uint32_t stride = dot_stride(w);
  std::vector<unsigned char> out(std::size_t{stride} * h, 0);
  for (std::uint32_t y = 0; y < h; ++y) {
    const bool ltr = y % 2 == 0, last = y == h - 1;
    for (std::uint32_t i = 0; i < w; ++i) {
      const std::uint32_t x = ltr ? i : w - 1 - i, ahead = ltr ? x + 1 : x - 1;
      const bool final = i == w - 1;
      const auto v = static_cast<std::int32_t>(g.at(x, y));
      bool dot = v < ((last && reseeded) ? 129 : 128);
      if (last && final && !reseeded) dot = v > 127;
      if (dot) out[y * stride + x / 8] |= static_cast<unsigned char>(0x80 >> (x % 8));
      if (last && final) break;
      const std::uint32_t e = dot ? g.at(x, y) : g.at(x, y) - 255u;
      const std::uint32_t bit = (last && reseeded) ? screening.bit() : rows.bit();
      if (!last && bit) g.at(x, y + 1) += e;
      if (!bit && !final) g.at(ahead, y) += e;
    }
  }
  return out;
}

// Oriented diffusion with `n` neighbours; returns the unturned dots (0/1 a pixel).
inline std::vector<unsigned char> ref_oriented(unsigned char const* src, std::uint32_t w,
                                               std::uint32_t h, int const* tone, int n,
                                               std::uint32_t seconds) {
  Grid g(src, w, h, tone);
  std::uint32_t state = seconds;
  for (std::uint32_t y = 0; y < h; ++y) {
    const bool ltr = y % 2 == 0, last = y == h - 1;
    for (std::uint32_t i = 0; i < w; ++i) {
      const std::uint32_t x = ltr ? i : w - 1 - i, ahead = ltr ? x + 1 : x - 1;
      const std::uint32_t behind = ltr ? x - 1 : x + 1;
      const bool final = i == w - 1;
      const bool dot = static_cast<std::int32_t>(g.at(x, y)) < 129;
      g.dot[std::size_t{y} * w + x] = dot;
      const std::uint32_t e = dot ? g.at(x, y) : g.at(x, y) - 255u;
      state = state * 214013u + 2531011u;
      int r = static_cast<int>((state >> 16) & 0x7FFF) % n;
      if (n == 2 && r == 1) r = 2;  // two neighbours: ahead or below
      if (r == 0 && !final) g.at(ahead, y) += e;
      if (r == 1 && !final && !last) g.at(ahead, y + 1) += e;
      if (r == 2 && !last) g.at(x, y + 1) += e;
      if (r == 3 && i > 0 && !last) g.at(behind, y + 1) += e;
    }
  }
  return g.dot;
}

enum class Turn { Same, Transposed, UpsideDown, PartialHalf, AntiTransposed, Clockwise };

inline std::uint32_t out_rows(Turn t, std::uint32_t w, std::uint32_t h) {
  return t == Turn::Same || t == Turn::UpsideDown || t == Turn::PartialHalf ? h : w;
}
inline std::uint32_t out_stride(Turn t, std::uint32_t w, std::uint32_t h) {
  return dot_stride(out_rows(t, w, h) == h ? w : h);
}

// Renders unturned dots into the output bytes of an orientation.
inline std::vector<unsigned char> render(std::vector<unsigned char> const& dots, Turn t,
                                         std::uint32_t w, std::uint32_t h) {
  const std::uint32_t stride = out_stride(t, w, h);
  std::vector<unsigned char> out(std::size_t{stride} * out_rows(t, w, h), 0);
  auto set = [&](std::uint32_t row, std::uint32_t col) {
    out[row * stride + col / 8] |= static_cast<unsigned char>(0x80 >> (col % 8));
  };
  for (std::uint32_t y = 0; y < h; ++y)
    for (std::uint32_t x = 0; x < w; ++x) {
      if (!dots[std::size_t{y} * w + x]) continue;
      const bool ltr = y % 2 == 0, last = y == h - 1;
      const int lsb_bit = static_cast<int>((x + 8 - h % 8) % 8);
      switch (t) {
        case Turn::Same:
          set(y, x);
          break;
        case Turn::Transposed:
          set(x, y);
          break;
        case Turn::UpsideDown:
          set(h - 1 - y, x);
          break;
        case Turn::AntiTransposed:
          set(w - 1 - x, h - 1 - y);
          break;
        case Turn::Clockwise:
          set(x, h - 1 - y);
          break;
        case Turn::PartialHalf:
          if (ltr && !last)
            set(y, x);
          else if (!ltr)
            out[(h - 1 - y) * stride + (w - 1 - x) / 8] |= static_cast<unsigned char>(1 << lsb_bit);
          else
            out[(w - 1) / 8] |= static_cast<unsigned char>(1 << lsb_bit);
          break;
      }
    }
  return out;
}

}  // namespace halftone::test
