// One-bit rows from a periodic row of thresholds, 32 pixels at a time.
//
// Pixel x of a row is compared with thresholds[(x + shift) mod period] and is
// inked where the grey is below it (or at most it). The comparison runs on
// the widest vector unit the CPU has (AVX2 where present, chosen once at run
// time; SSE2 on any x86-64; plain code elsewhere), and the dots are stored a
// byte at a time, leftmost pixel in the most significant bit. Bits past the
// row's last pixel are written 0; no byte past the row's last byte is
// written and no source byte past its last pixel is read.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace halftone {

enum class DotTest { Below, AtMost };  // v < t, or v <= t (unsigned bytes)

// A threshold row of period 16 or 256 laid out for unaligned vector loads:
// the period's entries followed by their first 32 again.
class ThresholdRing {
 public:
  ThresholdRing() = default;
  // `period` is 16 or 256 (any power of two from 1 to 256 works).
  ThresholdRing(std::uint8_t const* thresholds, std::uint32_t period) {
    assign(thresholds, period);
  }
  void assign(std::uint8_t const* thresholds, std::uint32_t period);

  std::uint8_t const* data() const { return entries_; }
  std::uint32_t mask() const { return period_ - 1; }

 private:
  std::uint8_t entries_[256 + 32] = {};
  std::uint32_t period_ = 1;
};

// The code paths: the best the CPU has, or a narrower one (for tests).
enum class VectorPath { Best, Sse2, Plain };

// Writes the (width + 7) / 8 bytes of one output row.
void threshold_pack_row(unsigned char const* source, unsigned char* out, std::uint32_t width,
                        ThresholdRing const& ring, std::uint32_t shift, DotTest test,
                        VectorPath path = VectorPath::Best);

// The same, and the row's padding up to `stride` bytes cleared: every byte
// of the row is written, so the row need not be cleared first.
inline void threshold_pack_whole_row(unsigned char const* source, unsigned char* out,
                                     std::uint32_t width, std::uint32_t stride,
                                     ThresholdRing const& ring, std::uint32_t shift, DotTest test) {
  threshold_pack_row(source, out, width, ring, shift, test);
  const std::uint32_t written = (width + 7) / 8;
  if (stride > written) std::memset(out + written, 0, stride - written);
}

// Two-bit rows from three rings: pixel x's code is the number of rings
// whose threshold at (x + shift) it passes, four pixels a byte, leftmost pixel
// in the top two bits. Writes the (width + 3) / 4 bytes of the row, bits past
// its last pixel 0. AVX2 where present (Best), plain code otherwise.
void threshold_pack2_row(unsigned char const* source, unsigned char* out, std::uint32_t width,
                         ThresholdRing const (&rings)[3], std::uint32_t shift, DotTest test,
                         VectorPath path = VectorPath::Best);

// How many of the `count` greys are below `limit` (0 to 256), sixteen at a
// time where SSE2 is present (Best, Sse2), plain code otherwise.
std::uint32_t count_below(unsigned char const* greys, std::uint32_t count, std::uint32_t limit,
                          VectorPath path = VectorPath::Best);

// The path Best takes on this CPU: "avx2", "sse2" or "plain".
char const* threshold_pack_path();

}  // namespace halftone
