// Strides, plane views and the control word shared by every screen.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace halftone {

// Row strides in bytes: the row padded to a multiple of 32 bits. Computed in
// unsigned 32-bit arithmetic, as the host computes them.
constexpr std::uint32_t source_stride(std::uint32_t width) {
  return ((width * 8u + 31u) >> 3) & ~3u;
}
constexpr std::uint32_t dot_stride(std::uint32_t width) { return ((width + 31u) >> 3) & ~3u; }
constexpr std::uint32_t dot2_stride(std::uint32_t width) { return ((width * 2u + 31u) >> 3) & ~3u; }
constexpr std::uint32_t dot4_stride(std::uint32_t width) { return ((width * 4u + 31u) >> 3) & ~3u; }

// The control word: plane count in bits 8-15, band position in bits 16-23.
struct ScreenControl {
  std::uint32_t planes;
  std::uint32_t band;

  constexpr explicit ScreenControl(std::uint32_t word)
      : planes((word >> 8) & 0xFFu), band((word >> 16) & 0xFFu) {}
  constexpr bool first_band() const { return band == 1; }
  constexpr bool last_band() const { return band == 3; }
};

constexpr std::uint32_t make_control(std::uint32_t planes, std::uint32_t band) {
  return (planes & 0xFFu) << 8 | (band & 0xFFu) << 16;
}

// Clears `planes * stride * height` bytes: the whole output of a call.
inline void clear_output(unsigned char* dots, std::size_t planes, std::size_t stride,
                         std::size_t height) {
  const std::size_t n = planes * stride * height;
  if (n != 0) std::memset(dots, 0, n);
}

// Line-interleaved planes in one buffer: row r of plane p of P planes starts
// at (r * P + p) * stride.
template <class Byte>
struct PlaneRows {
  Byte* base;
  std::size_t stride;
  std::size_t planes;

  Byte* row(std::size_t plane, std::size_t r) const { return base + (r * planes + plane) * stride; }
};

// The planes of one call of a screen without carried state: line-interleaved
// source rows and output rows of `out_stride` bytes, the whole output cleared.
struct PlaneCall {
  std::size_t planes;
  PlaneRows<unsigned char const> src;
  PlaneRows<unsigned char> out;

  // `cleared` false: the screen writes every byte of every row itself.
  PlaneCall(unsigned char const* source, unsigned char* dots, std::uint32_t width,
            std::uint32_t height, std::uint32_t control, std::uint32_t out_stride,
            bool cleared = true)
      : planes(ScreenControl(control).planes),
        src{source, source_stride(width), planes},
        out{dots, out_stride, planes} {
    if (cleared) clear_output(dots, planes, out_stride, height);
  }
};

// Sets pixel x of a one-bit row (x counts from the row's left edge).
inline void set_dot(unsigned char* row, std::uint32_t x) {
  row[x >> 3] |= static_cast<unsigned char>(0x80u >> (x & 7u));
}

// 16-bit two's complement storage: the low 16 bits, read back signed.
constexpr std::int16_t wrap16(std::int32_t v) {
  return static_cast<std::int16_t>(static_cast<std::uint16_t>(static_cast<std::uint32_t>(v)));
}

}  // namespace halftone
