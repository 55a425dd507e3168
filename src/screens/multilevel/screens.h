// The multi-level screens, bound to their exported names in the export table.
#pragma once
#include <cstdint>

namespace halftone::multilevel {

// Two-bit codes, error spread in halves on two random bits, tone bias.
int bracketed_four(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                   std::uint32_t height, std::uint32_t control);
int fixed_four(unsigned char const* source, unsigned char* dots, std::uint32_t width,
               std::uint32_t height, std::uint32_t control);
// Dots written as `dot_code` (1, 2 or 3).
int two_level(std::uint32_t dot_code, unsigned char const* source, unsigned char* dots,
              std::uint32_t width, std::uint32_t height, std::uint32_t control);
// Two-bit bracketed codes, error split one third / two thirds on one random bit.
int bracketed_four_thirds(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                          std::uint32_t height, std::uint32_t control);
// Four-bit codes, no tone bias.
int bracketed_eight(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                    std::uint32_t height, std::uint32_t control);
int fixed_eight(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                std::uint32_t height, std::uint32_t control);

}  // namespace halftone::multilevel
