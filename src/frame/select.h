// Selects on a condition that follows the image, such as the dot test.
//
// Whether a pixel is inked changes from pixel to pixel as the image and the
// error do, so a branch on it is mispredicted about as often as it is taken;
// a conditional move costs a cycle instead. Compilers do not reliably choose
// the conditional move for these selects inside the screens' unrolled loops,
// so on x86-64 with GCC or Clang it is written out; elsewhere the select is
// made of masks. Left to GCC, the plain expression became a branch in the
// diffusion screens' dot test and the tone-banded pick, at half their speed;
// the masks cost the multi-level screens some 20 % where GCC had made
// conditional moves of their trees of selects.
#pragma once
#include <cstdint>

#include "frame/compiler.h"

namespace halftone {

// v <= limit ? at_most : above, without a branch.
inline std::int32_t select_at_most(std::int32_t v, std::int32_t limit, std::int32_t at_most,
                                   std::int32_t above) {
#if defined(HALFTONE_VECTORS) && defined(__x86_64__)
  __asm__("cmpl %2, %1\n\tcmovg %3, %0" : "+r"(at_most) : "r"(v), "ri"(limit), "r"(above) : "cc");
  return at_most;
#else
  const std::int32_t take = -static_cast<std::int32_t>(v <= limit);  // all ones or none
  return (at_most & take) | (above & ~take);
#endif
}

// (word & 1) != 0 ? one : zero, without a branch.
inline std::int32_t select_on_low_bit(std::uint32_t word, std::int32_t one, std::int32_t zero) {
#if defined(HALFTONE_VECTORS) && defined(__x86_64__)
  __asm__("testl $1, %1\n\tcmovnel %2, %0" : "+r"(zero) : "r"(word), "r"(one) : "cc");
  return zero;
#else
  const std::int32_t take = -static_cast<std::int32_t>(word & 1u);
  return (one & take) | (zero & ~take);
#endif
}

}  // namespace halftone
