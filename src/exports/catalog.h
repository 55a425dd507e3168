// Every screen and utility of the library, described for the front ends
// (command-line program, demo, benchmarks): how to call it uniformly and what
// it writes. Each family's export table contributes its entries.
#pragma once
#include <cstdint>
#include <span>

namespace halftone {

// How the output is laid out against the source.
enum class Layout {
  Same,        // width x height, rows as the source
  Transposed,  // height x width: source column x becomes output row x
};

// What a screen reads besides its arguments, so a front end can prepare it.
enum Needs : unsigned {
  kNeedsNothing = 0,
  kNeedsToneSetup = 1u << 0,     // curves or parameter bytes (Itsdiufiavs)
  kNeedsDitherMatrix = 1u << 1,  // SincesKai
  kNeedsPattern1 = 1u << 2,      // one-bit pattern bank (KaiDuaning)
  kNeedsPattern2 = 1u << 3,      // two-bit pattern bank (NingJing)
  kNeedsMatrixBmp = 1u << 4,     // threshold matrix (PuaningFa / PuaningFa13)
  kNeedsBlockStack = 1u << 5,    // threshold blocks (NiceMents)
};

struct ScreenInfo {
  char const* name;
  char const* family;
  int bits;      // 1, 2 or 4 bits a pixel
  bool banded;   // takes a control word and may be called band by band
  bool carries;  // keeps state from band to band (needs the band protocol)
  Layout layout;
  unsigned needs;
  char const* summary;  // one line; says so where a member is a composition
  // Uniform call: control = planes << 8 | band << 16 (ignored by single-plane
  // entries, which screen plane 0 of the whole page in one call).
  int (*run)(unsigned char* source, unsigned char* dots, std::uint32_t width, std::uint32_t height,
             std::uint32_t control);
};

// The uniform call for an entry point whose sizes are signed ints.
template <int (*Screen)(unsigned char*, unsigned char*, int, int, unsigned int)>
int run_signed(unsigned char* source, unsigned char* dots, std::uint32_t width,
               std::uint32_t height, std::uint32_t control) {
  return Screen(source, dots, static_cast<int>(width), static_cast<int>(height), control);
}

// Output row stride in bytes of an entry for a given output width.
std::uint32_t output_stride(ScreenInfo const& info, std::uint32_t out_width);

std::span<ScreenInfo const> catalog();
ScreenInfo const* find_screen(char const* name);

// The parts of the catalog, one for each file of the export table.
std::span<ScreenInfo const> diffusion_catalog();        // exports/diffusion.cpp
std::span<ScreenInfo const> matrix_catalog();           // exports/matrix.cpp
std::span<ScreenInfo const> matrix_offset_catalog();    // exports/matrix_offset.cpp
std::span<ScreenInfo const> damped_catalog();           // exports/damped.cpp
std::span<ScreenInfo const> multilevel_catalog();       // exports/multilevel.cpp
std::span<ScreenInfo const> loaded_catalog();           // exports/loaded.cpp
std::span<ScreenInfo const> loaded_block_catalog();     // exports/loaded_block.cpp
std::span<ScreenInfo const> utilities_catalog();        // exports/utilities.cpp
std::span<ScreenInfo const> matrix_composed_catalog();  // exports/matrix_composed.cpp

}  // namespace halftone
