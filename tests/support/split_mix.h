// SplitMix64: a stream of 64-bit values from one seed, for the test tools
// that make random calls (not one of the library's generators).
#pragma once
#include <cstdint>

namespace halftone::test {

struct SplitMix {
  std::uint64_t state;
  std::uint64_t next() {
    std::uint64_t z = (state += 0x9E3779B97F4A7C15u);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
  }
  // 0 to n - 1 (0 for n = 0).
  std::uint32_t below(std::uint32_t n) { return n ? static_cast<std::uint32_t>(next() % n) : 0; }
};

}  // namespace halftone::test
