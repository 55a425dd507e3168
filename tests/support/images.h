// Test images, buffers with guard bytes, and small helpers shared by the tests.
#pragma once
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "frame/layout.h"

namespace halftone::test {

// A multi-plane source of the given kind, line-interleaved with source stride.
enum class Fill { Flat, RampX, RampY, Noise, Edges };

inline std::vector<unsigned char> make_source(std::uint32_t width, std::uint32_t height,
                                              std::uint32_t planes, Fill fill,
                                              std::uint32_t seed = 1, unsigned char flat = 128) {
  const std::uint32_t stride = source_stride(width);
  std::vector<unsigned char> v(static_cast<std::size_t>(stride) * height * planes, 0xA5);
  std::mt19937 gen(seed);
  for (std::uint32_t y = 0; y < height; ++y)
    for (std::uint32_t p = 0; p < planes; ++p)
      for (std::uint32_t x = 0; x < width; ++x) {
        unsigned char g = flat;
        switch (fill) {
          case Fill::Flat:
            break;
          case Fill::RampX:
            g = static_cast<unsigned char>(width > 1 ? x * 255 / (width - 1) : 0);
            break;
          case Fill::RampY:
            g = static_cast<unsigned char>(height > 1 ? y * 255 / (height - 1) : 0);
            break;
          case Fill::Noise:
            g = static_cast<unsigned char>(gen());
            break;
          case Fill::Edges:
            g = ((x / 3 + y / 2 + p) & 1) ? 255 : 0;
            break;
        }
        v[(static_cast<std::size_t>(y) * planes + p) * stride + x] = g;
      }
  return v;
}

// An output buffer, pre-filled, with guard bytes after it.
struct Output {
  static constexpr std::size_t kGuard = 64;
  std::vector<unsigned char> bytes;
  std::size_t size;

  explicit Output(std::size_t n, unsigned char fill = 0x5A) : bytes(n + kGuard, fill), size(n) {}
  unsigned char* data() { return bytes.data(); }
  bool guard_intact(unsigned char fill = 0x5A) const {
    for (std::size_t i = size; i < bytes.size(); ++i)
      if (bytes[i] != fill) return false;
    return true;
  }
  std::vector<unsigned char> body() const {
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)};
  }
};

inline bool bit_at(unsigned char const* row, std::uint32_t x) {
  return (row[x >> 3] >> (7 - (x & 7))) & 1;
}

// True when every bit right of the last pixel of every one-bit row is clear.
inline bool padding_clear(std::vector<unsigned char> const& out, std::uint32_t width,
                          std::uint32_t rows) {
  const std::uint32_t stride = dot_stride(width);
  for (std::uint32_t r = 0; r < rows; ++r)
    for (std::uint32_t x = width; x < stride * 8; ++x)
      if (bit_at(out.data() + static_cast<std::size_t>(r) * stride, x)) return false;
  return true;
}

}  // namespace halftone::test
