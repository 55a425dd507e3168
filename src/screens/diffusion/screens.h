// The error-diffusion screens, bound to their exported names in the export table.
#pragma once
#include <cstdint>

namespace halftone::diffusion {

int random_direction_page(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                          std::uint32_t height);
int random_direction(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                     std::uint32_t height, std::uint32_t control);
int tone_push(unsigned char const* source, unsigned char* dots, std::uint32_t width,
              std::uint32_t height, std::uint32_t control);
int conserving(unsigned char const* source, unsigned char* dots, std::uint32_t width,
               std::uint32_t height, std::uint32_t control);
int counter_driven(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                   std::uint32_t height, std::uint32_t control);
int inverted_thirds(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                    std::uint32_t height, std::uint32_t control);
int inverted_quarters(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                      std::uint32_t height, std::uint32_t control);

}  // namespace halftone::diffusion
