// A pattern bank read as thresholds. Most banks are made from a threshold
// cell: a cell's dot (or code) for a grey is that of every darker grey too.
// Such a bank is the same as a threshold row a pattern row, and the screens
// then compare and pack instead of walking runs.
#include <bit>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "frame/state.h"
#include "screens/loaded/screens.h"

namespace halftone::loaded {
namespace {

// Eight bytes of a pattern row, the first in the low bits.
std::uint64_t le64(std::uint8_t const* p) {
  std::uint64_t v = 0;
  for (int i = 7; i >= 0; --i) v = v << 8 | p[i];
  return v;
}

// The cells of word `w` whose codes reach level k (0-based) in `word`, one
// bit a cell: for one bit a pixel the word itself; for two, the low bit of
// each pixel's pair.
template <int Bits>
std::uint64_t reaching(std::uint64_t word, int k) {
  if constexpr (Bits == 1) {
    return word;
  } else {
    constexpr std::uint64_t kLow = 0x5555555555555555u;
    const std::uint64_t hi = (word >> 1) & kLow, lo = word & kLow;
    return k == 0 ? (hi | lo) : k == 1 ? hi : (hi & lo);
  }
}

// The pixel of a row that bit b of word w stands for: leftmost pixel in a
// byte's top bits.
template <int Bits>
std::size_t pixel_of(std::size_t w, unsigned b) {
  constexpr unsigned kPerByte = 8 / Bits;
  return kPerByte * (8 * w + b / 8) + (kPerByte - 1 - (b % 8) / Bits);
}

template <int Bits>
void derive(std::uint8_t const* slots, std::size_t slot_pitch, std::size_t row_pitch,
            PatternThresholds<(1 << Bits) - 1>& limits) {
  constexpr int kLevels = (1 << Bits) - 1;
  // Each cell's threshold: the first grey that no longer reaches the level
  // (256 for a cell that reaches it at white too).
  std::vector<std::uint16_t> first(kLevels * 256 * 256, 256);
  std::uint64_t grows = 0;                  // a cell gaining a level as the grey lightens
  const std::size_t words = row_pitch / 8;  // 4 or 8
  for (std::size_t y = 0; y < 256; ++y) {
    // The cells still reaching each level, a word at a time.
    std::uint64_t still[kLevels][8];
    for (auto& level : still)
      for (auto& word : level) word = Bits == 1 ? ~std::uint64_t{0} : 0x5555555555555555u;
    for (std::size_t v = 0; v < 256; ++v) {
      std::uint8_t const* row = slots + v * slot_pitch + y * row_pitch;
      for (std::size_t w = 0; w < words; ++w) {
        const std::uint64_t word = le64(row + 8 * w);
        for (int k = 0; k < kLevels; ++k) {
          const std::uint64_t now = reaching<Bits>(word, k);
          grows |= now & ~still[k][w];
          std::uint16_t* cells = &first[(k * 256 + y) * 256];
          for (std::uint64_t ended = still[k][w] & ~now; ended != 0; ended &= ended - 1)
            cells[pixel_of<Bits>(w, static_cast<unsigned>(std::countr_zero(ended)))] =
                static_cast<std::uint16_t>(v);
          still[k][w] = now;
        }
      }
    }
    if (grows != 0) {  // not a threshold bank: nothing more to learn
      limits.usable = 0;
      return;
    }
  }
  bool none = false, all = false;  // cells never and always inked
  for (const std::uint16_t t : first) none |= t == 0, all |= t == 256;
  // v < t needs every t below 256; v <= t - 1 every t above 0.
  limits.usable = !(none && all);
  limits.at_most = all;
  std::uint8_t* out = &limits.t[0][0][0];
  for (std::size_t i = 0; i < first.size(); ++i)
    out[i] = static_cast<std::uint8_t>(all ? first[i] - 1 : first[i]);
}

}  // namespace

void derive_pattern_limits(int bits) {
  LoadedStores& s = stores();
  if (bits == 1)
    derive<1>(&s.TonePatternBank[0][0][0], sizeof s.TonePatternBank[0],
              sizeof s.TonePatternBank[0][0], s.PatternLimits1);
  else
    derive<2>(&s.TonePatternBank2[0][0][0], sizeof s.TonePatternBank2[0],
              sizeof s.TonePatternBank2[0][0], s.PatternLimits2);
}

}  // namespace halftone::loaded
