// The single-plane utilities, bound to their exported names in the export table.
#pragma once
#include <cstdint>

namespace halftone::utilities {

// Tone-table noise diffusion. `Plain` quantises the last row with the utility
// generator and the inverted final-pixel test; `ReseededLastRow` draws the
// last row from the screening generator just reseeded and tests v < 129.
enum class NoiseVariant { Plain, ReseededLastRow };
int tone_noise(unsigned char const* source, unsigned char* dots, std::uint32_t width,
               std::uint32_t height, unsigned char const* tone, NoiseVariant variant);

// Oriented random-direction diffusion, one entry per output orientation.
int four_neighbours(unsigned char const* source, unsigned char* dots, int width, int height,
                    int const* tone);
int transposed(unsigned char const* source, unsigned char* dots, int width, int height,
               int const* tone);
int upside_down(unsigned char const* source, unsigned char* dots, int width, int height,
                int const* tone);
int partial_half_turn(unsigned char const* source, unsigned char* dots, int width, int height,
                      int const* tone);
int anti_transposed(unsigned char const* source, unsigned char* dots, int width, int height,
                    int const* tone);
// Through a scratch image in the source's orientation, then moved.
int transposed_via_scratch(unsigned char const* source, unsigned char* dots, int width, int height,
                           int const* tone);
int quarter_turn_via_scratch(unsigned char const* source, unsigned char* dots, int width,
                             int height, int const* tone);

}  // namespace halftone::utilities
