// Plain models of the single-plane utilities: both diffusions on a whole-image
// grid, and renderers of each output orientation from the unturned dots.
#pragma once
#include <cstdint>
#include <vector>

#include "frame/layout.h"
#include "support/ref_random.h"

namespace halftone::test {

enum class Target { Ahead, BelowAhead, Below, BelowBehind, Drop };

// Serpentine diffusion of tone[src] over the whole image, errors added in place
// (wrapping). `dot(v, last, final)` and `pick(last, final)` give the rules of
// each pixel; returns the dots, one byte a pixel, unturned.
template <class Table, class Dot, class Pick>
std::vector<unsigned char> serpentine(unsigned char const* src, std::uint32_t w, std::uint32_t h,
                                      Table const* tone, Dot dot, Pick pick) {
  std::vector<std::uint32_t> v(std::size_t{w} * h);
  std::vector<unsigned char> dots(v.size());
  auto at = [&](std::uint32_t x, std::uint32_t y) -> std::uint32_t& {
    return v[std::size_t{y} * w + x];
  };
  for (std::uint32_t y = 0; y < h; ++y)
    for (std::uint32_t x = 0; x < w; ++x)
      at(x, y) = static_cast<std::uint32_t>(tone[src[y * source_stride(w) + x]]);
  for (std::uint32_t y = 0; y < h; ++y) {
    const bool ltr = y % 2 == 0, last = y == h - 1;
    for (std::uint32_t i = 0; i < w; ++i) {
      const std::uint32_t x = ltr ? i : w - 1 - i, ahead = ltr ? x + 1 : x - 1;
      const bool final = i == w - 1;
      const bool on = dot(static_cast<std::int32_t>(at(x, y)), last, final);
      dots[std::size_t{y} * w + x] = on;
      const std::uint32_t e = on ? at(x, y) : at(x, y) - 255u;
      const Target t = pick(last, final);
      if (t == Target::Ahead && !final) at(ahead, y) += e;
      if (last) continue;
      if (t == Target::BelowAhead && !final) at(ahead, y + 1) += e;
      if (t == Target::Below) at(x, y + 1) += e;
      if (t == Target::BelowBehind && i > 0) at(ltr ? x - 1 : x + 1, y + 1) += e;
    }
  }
  return dots;
}

// Tone-table noise, its bits from `rows`: a dot below 128, a 1 sends the error
// below, a 0 ahead; the last row's final pixel is inverted (above 127) and
// draws nothing. The `reseeded` variant tests below 129 throughout the last row
// and draws it from the screening generator seeded with `seconds`.
inline std::vector<unsigned char> ref_noise(unsigned char const* src, std::uint32_t w,
                                            std::uint32_t h, unsigned char const* tone,
                                            RefRandom& rows, std::uint32_t seconds, bool reseeded) {
  RefRandom screening;
  screening.seed(seconds);
  return serpentine(
      src, w, h, tone,
      [&](std::int32_t v, bool last, bool final) {
        return last && reseeded ? v < 129 : last && final ? v > 127 : v < 128;
      },
      [&](bool last, bool final) {
        if (last && final) return Target::Drop;
        const std::uint32_t bit = (last && reseeded ? screening : rows).draw() & 1;
        return bit ? Target::Below : Target::Ahead;
      });
}

// Oriented diffusion: a dot below 129; the C library's rand() seeded with
// `seconds` picks one of `n` neighbours (two: ahead or below).
inline std::vector<unsigned char> ref_oriented(unsigned char const* src, std::uint32_t w,
                                               std::uint32_t h, int const* tone, int n,
                                               std::uint32_t seconds) {
  std::uint32_t state = seconds;
  return serpentine(
      src, w, h, tone, [](std::int32_t v, bool, bool) { return v < 129; },
      [&](bool, bool) {
        state = state * 214013u + 2531011u;
        const int r = static_cast<int>((state >> 16) & 0x7FFF) % n;
        return n == 2 && r == 1 ? Target::Below : static_cast<Target>(r);
      });
}

enum class Turn { Same, Transposed, UpsideDown, PartialHalf, AntiTransposed, Clockwise };

// Renders unturned dots into the output bytes of an orientation.
inline std::vector<unsigned char> render(std::vector<unsigned char> const& dots, Turn t,
                                         std::uint32_t w, std::uint32_t h) {
  const bool rows_as_source = t == Turn::Same || t == Turn::UpsideDown || t == Turn::PartialHalf;
  const std::uint32_t stride = dot_stride(rows_as_source ? w : h);
  std::vector<unsigned char> out(std::size_t{stride} * (rows_as_source ? h : w), 0);
  auto set = [&](std::uint32_t row, std::uint32_t col) {
    out[row * stride + col / 8] |= 0x80 >> (col % 8);
  };
  for (std::uint32_t y = 0; y < h; ++y)
    for (std::uint32_t x = 0; x < w; ++x) {
      if (!dots[std::size_t{y} * w + x]) continue;
      const bool ltr = y % 2 == 0, last = y == h - 1;
      // Turned rows of the partial half turn count bits from the least
      // significant end, aligned by the height.
      const auto lsb = static_cast<unsigned char>(1 << (x + 8 - h % 8) % 8);
      if (t == Turn::Same || (t == Turn::PartialHalf && ltr && !last)) set(y, x);
      if (t == Turn::Transposed) set(x, y);
      if (t == Turn::UpsideDown) set(h - 1 - y, x);
      if (t == Turn::AntiTransposed) set(w - 1 - x, h - 1 - y);
      if (t == Turn::Clockwise) set(x, h - 1 - y);
      if (t == Turn::PartialHalf && !ltr) out[(h - 1 - y) * stride + (w - 1 - x) / 8] |= lsb;
      if (t == Turn::PartialHalf && ltr && last) out[(w - 1) / 8] |= lsb;
    }
  return out;
}

}  // namespace halftone::test
