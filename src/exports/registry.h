// The registry: every screen and utility of the library in one table, with
// the uniform call the job API, the tests and the benchmarks use.
#pragma once
#include <cstdint>
#include <span>

#include "frame/exported.h"  // the C API, with default visibility wherever it is first seen

namespace halftone {

// Uniform call: control = planes << 8 | band << 16 (whole-page entries take
// plane 0 of the whole page in one call and ignore it). Single-plane
// utilities get an identity tone table.
using UniformCall = int (*)(unsigned char* source, unsigned char* dots, std::uint32_t width,
                            std::uint32_t height, std::uint32_t control);

struct Screen {
  halftone_screen_info info;
  UniformCall run;
};

std::span<Screen const> registry();
// By id or entry name; null when none.
Screen const* find_screen(char const* name);

// Output row stride in bytes of a screen for a given output width.
std::uint32_t output_stride(Screen const& screen, std::uint32_t out_width);

}  // namespace halftone
