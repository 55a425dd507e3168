// The C runtime's rand() rule, kept in the library so that results do not
// depend on the platform's generator.
#pragma once
#include <cstdint>

namespace halftone::utilities {

class StandardRandom {
 public:
  explicit StandardRandom(std::uint32_t seed) : state_(seed) {}

  // state = state * 214013 + 2531011 (mod 2^32); a 15-bit result.
  std::uint32_t next() {
    state_ = state_ * 214013u + 2531011u;
    return (state_ >> 16) & 0x7FFFu;
  }

 private:
  std::uint32_t state_;
};

}  // namespace halftone::utilities
