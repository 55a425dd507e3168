// Tone-indexed noise tables of the tone-banded screens, built from their
// formulas at compile time.
#pragma once
#include <algorithm>
#include <array>
#include <cstdint>

namespace halftone::damped {

using NoiseTable = std::array<std::uint8_t, 256>;

template <class F>
constexpr NoiseTable make_noise_table(F amplitude) {
  NoiseTable table{};
  for (int t = 0; t < 256; ++t)
    table[static_cast<std::size_t>(t)] = static_cast<std::uint8_t>(amplitude(t));
  return table;
}

// Rises by one a step from 0 at tone 0 to 31, flat to tone 224, falls to 0 at 255.
inline constexpr NoiseTable kNoiseAmplitude31 = make_noise_table([](int t) {
  return std::min({t, 31, 255 - t});
});

// No noise below tone 105; there it jumps to 9, reaches 31 at 127, stays flat
// to 223 and falls to 0 at 254 and 255.
inline constexpr NoiseTable kNoiseBand31 = make_noise_table([](int t) {
  return t < 105 ? 0 : std::max(0, std::min({t - 96, 31, 254 - t}));
});

// Rises to 8 by tone 8, flat to tone 247, falls to 0 at 255.
inline constexpr NoiseTable kNoiseAmplitude8 = make_noise_table([](int t) {
  return std::min({t, 8, 255 - t});
});

}  // namespace halftone::damped
