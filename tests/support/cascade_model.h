// The bracketed four-level cascade, written again from its table for the
// models of every screen that decides with it: parameter bytes B[0..3] are
// the greys of codes 3, 2, 1, 0; the midpoints pick the row, the pixel's own
// grey s the code.
#pragma once
#include <cstdint>

namespace halftone::test {

inline std::int32_t four_level_code(std::uint8_t const* B, std::int32_t v, std::int32_t s) {
  if (v > (B[2] + B[3]) >> 1) return s <= B[1] ? 2 : (s <= B[2] ? 1 : 0);
  if (v > (B[1] + B[2]) >> 1) return s <= B[1] ? 2 : 1;
  if (v > (B[0] + B[1]) >> 1) return s <= B[2] ? 2 : 1;
  return s <= B[1] ? 3 : (s <= B[2] ? 2 : 1);
}

inline std::int32_t four_level_grey(std::uint8_t const* B, std::int32_t code) {
  return B[3 - code];
}

}  // namespace halftone::test
