// What the processor the library runs on can do, asked once.
#pragma once

namespace halftone {

// True where the AVX2 instructions may be used (x86-64 with GCC or Clang).
bool cpu_has_avx2();

}  // namespace halftone
