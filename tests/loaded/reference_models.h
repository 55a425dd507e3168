// Plain models of the loaded screens, written pixel by pixel (or, for the
// run walk's byte-level quirks, byte by byte) from the rules, with no code
// shared with the library.
#pragma once
#include <cstdint>
#include <vector>

#include "frame/layout.h"
#include "screens/loaded/stores.h"

namespace halftone::test::ref {

using Bytes = std::vector<unsigned char>;

inline std::size_t at(std::uint32_t y, std::uint32_t p, std::uint32_t planes,
                      std::uint32_t stride) {
  return (static_cast<std::size_t>(y) * planes + p) * stride;
}

// The run walk flushes every pixel but a last one that differs from its left
// neighbour; a row of one pixel flushes nothing.
inline bool flushed(unsigned char const* row, std::uint32_t width, std::uint32_t x) {
  if (width < 2) return false;
  return x + 1 < width || row[width - 1] == row[width - 2];
}

// Pattern screens whose masks match their bank and whose tile width is a
// multiple of 8: each flushed pixel shows its grey's pattern pixel.
inline Bytes pattern_pixels(Bytes const& src, std::uint32_t width, std::uint32_t height,
                            std::uint32_t planes, std::uint32_t tile_w, std::uint32_t tile_h,
                            int bits) {
  const std::uint32_t stride = bits == 1 ? dot_stride(width) : dot2_stride(width);
  Bytes out(static_cast<std::size_t>(stride) * height * planes, 0);
  for (std::uint32_t p = 0; p < planes; ++p)
    for (std::uint32_t y = 0; y < height; ++y) {
      unsigned char const* s = src.data() + at(y, p, planes, source_stride(width));
      unsigned char* o = out.data() + at(y, p, planes, stride);
      for (std::uint32_t x = 0; x < width; ++x) {
        if (!flushed(s, width, x)) continue;
        const std::uint32_t px = x % tile_w, py = y % tile_h;
        if (bits == 1) {
          if ((TonePatternBank[s[x]][py][px / 8] >> (7 - px % 8)) & 1)
            o[x / 8] |= static_cast<unsigned char>(0x80 >> (x % 8));
        } else {
          const unsigned code = (TonePatternBank2[s[x]][py][px / 4] >> (6 - 2 * (px % 4))) & 3;
          o[x / 4] |= static_cast<unsigned char>(code << (6 - 2 * (x % 4)));
        }
      }
    }
  return out;
}

// The run walk byte by byte, for masks and tiles that do not match: the
// flat bank (bytes past its end read 0), byte indices wrapped at `wrap`, a
// last byte past the output row not written.
struct Walk {
  std::uint8_t const* bank;
  std::size_t bank_size, slot_pitch, row_pitch;
  std::uint32_t tile_w, tile_h, wrap, per_byte;
};

inline Bytes run_walk(Walk const& t, Bytes const& src, std::uint32_t width, std::uint32_t height,
                      std::uint32_t planes) {
  const std::uint32_t stride = t.per_byte == 8 ? dot_stride(width) : dot2_stride(width);
  Bytes out(static_cast<std::size_t>(stride) * height * planes, 0);
  const std::int64_t n = t.per_byte;
  for (std::uint32_t p = 0; p < planes; ++p)
    for (std::uint32_t y = 0; y < height; ++y) {
      unsigned char const* s = src.data() + at(y, p, planes, source_stride(width));
      unsigned char* o = out.data() + at(y, p, planes, stride);
      unsigned char carry = 0;
      auto flush = [&](std::int64_t x0, std::int64_t len, unsigned v) {
        auto byte = [&](std::int64_t idx) -> unsigned char {
          const std::size_t off = v * t.slot_pitch + (y % t.tile_h) * t.row_pitch + idx;
          return off < t.bank_size ? t.bank[off] : 0;
        };
        std::int64_t px0 = x0 % t.tile_w;
        const std::int64_t k = px0 % n;
        if (k != 0) {
          unsigned char b = carry | (byte(px0 / n) & RunHeadMasks[k]);
          if (len < n - k) b &= RunTailMasks[k + len];
          o[x0 / n] = carry = b;
          x0 += n - k, px0 += n - k, len -= n - k;
          if (len <= 0) return;
        }
        for (std::int64_t j = 0; j < len / n; ++j) o[x0 / n + j] = byte((px0 / n + j) % t.wrap);
        carry = 0;
        if ((px0 + len) % n != 0) {
          carry = byte((px0 + len) / n % t.wrap) & RunTailMasks[(px0 + len) % n];
          if ((x0 + len) / n < stride) o[(x0 + len) / n] = carry;
        }
      };
      std::int64_t start = 0;
      for (std::int64_t i = 1; i < width; ++i) {
        if (s[i] != s[start]) {
          flush(start, i - start, s[start]);
          start = i;
        } else if (i == width - 1) {
          flush(start, width - start, s[start]);
        }
      }
    }
  return out;
}

// One-bit threshold screens: dot when `dot(v, x, y, p)`.
template <class Dot>
Bytes threshold_pixels(Bytes const& src, std::uint32_t width, std::uint32_t height,
                       std::uint32_t planes, Dot dot) {
  const std::uint32_t stride = dot_stride(width);
  Bytes out(static_cast<std::size_t>(stride) * height * planes, 0);
  for (std::uint32_t p = 0; p < planes; ++p)
    for (std::uint32_t y = 0; y < height; ++y)
      for (std::uint32_t x = 0; x < width; ++x)
        if (dot(src[at(y, p, planes, source_stride(width)) + x], x, y, p))
          out[at(y, p, planes, stride) + x / 8] |= static_cast<unsigned char>(0x80 >> (x % 8));
  return out;
}

}  // namespace halftone::test::ref
