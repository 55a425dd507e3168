// One-bit rows built from a per-pixel threshold test, a whole output byte at a
// time: eight tests packed most significant bit first and stored with one
// write. The row must have been cleared; a partial last byte keeps its padding
// bits clear.
#pragma once
#include <cstdint>

namespace halftone {

// `dot(v, x)` says whether the pixel at column x with source grey v is inked.
template <class Dot>
inline void threshold_row(unsigned char const* source, unsigned char* out, std::uint32_t width,
                          Dot dot) {
  std::uint32_t x = 0;
  for (; width - x >= 8; x += 8) {
    unsigned bits = 0;
    for (std::uint32_t i = 0; i < 8; ++i) bits = bits << 1 | (dot(source[x + i], x + i) ? 1u : 0u);
    out[x >> 3] = static_cast<unsigned char>(bits);
  }
  if (x < width) {
    unsigned bits = 0;
    for (std::uint32_t i = 0; i < 8; ++i)
      bits = bits << 1 | (x + i < width && dot(source[x + i], x + i) ? 1u : 0u);
    out[x >> 3] = static_cast<unsigned char>(bits);
  }
}

}  // namespace halftone
