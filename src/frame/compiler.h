// What the compiler offers beyond standard C++, decided in one place.
//
// HALFTONE_VECTORS: GCC's and Clang's vector types, builtins, inline assembly
// and per-function targets (the lane loops, the AVX2 copies, the branch-free
// selects). Other compilers (MSVC) build the plain C++ beside them, which
// gives the same bytes. Configuring with HALFTONE_STANDARD_CXX (the CMake
// option of that name) builds the plain C++ with GCC or Clang too, so that
// the tests run it on every machine.
#pragma once

#if (defined(__GNUC__) || defined(__clang__)) && !defined(HALFTONE_STANDARD_CXX)
#define HALFTONE_VECTORS 1
#endif
