// What the processor the library runs on can do, asked once.
#pragma once

namespace halftone {

// True where the AVX2 instructions may be used (x86-64 with GCC or Clang).
bool cpu_has_avx2();

// For tests: false makes cpu_has_avx2() answer false from then on, so that
// the paths for processors without AVX2 run here too; true restores it.
void cpu_allow_avx2(bool allowed);

}  // namespace halftone
