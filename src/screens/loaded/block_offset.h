// The block-offset diffusion screens, bound to their exported names in the
// export table.
#pragma once
#include <cstdint>

namespace halftone::loaded {

// Serpentine half-split diffusion biased by the threshold blocks.
int block_offset(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                 std::uint32_t height, std::uint32_t control);
// The same in double precision on its own lines, with its own offset table.
int block_offset_double(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                        std::uint32_t height, std::uint32_t control);
// Grey-dependent random splits with tone-curve bias, no offsets.
int block_random_split(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                       std::uint32_t height, std::uint32_t control);

}  // namespace halftone::loaded
