// The damped and noise-table diffusion screens, bound to their exported names
// in the export table.
#pragma once
#include <cstdint>

namespace halftone::damped {

// Doubles, damped by 0.97, the whole error to one neighbour in random runs.
int random_runs(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                std::uint32_t height, std::uint32_t control);
// Doubles, damped by 0.985 and split in halves; the last row's halves carry.
int half_split(unsigned char const* source, unsigned char* dots, std::uint32_t width,
               std::uint32_t height, std::uint32_t control);
// 16-bit, three tone bands, noise of amplitude 31, carry primed with -35.
int tone_banded(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                std::uint32_t height, std::uint32_t control);
// 16-bit, three tone bands with three-quarter shares, banded noise, -25.
int tone_banded_quarters(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                         std::uint32_t height, std::uint32_t control);
// 16-bit, five tone bands, noise of amplitude 8, no priming.
int five_band(unsigned char const* source, unsigned char* dots, std::uint32_t width,
              std::uint32_t height, std::uint32_t control);
// 16-bit, half along and the rest below at every pixel, no draws.
int halves(unsigned char const* source, unsigned char* dots, std::uint32_t width,
           std::uint32_t height, std::uint32_t control);

}  // namespace halftone::damped
