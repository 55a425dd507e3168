// The two-bit members of the ordered-dither and offset-matrix family. Both
// are compositions of rules the library already has:
//  * offset_matrix_codes: the offset-matrix serpentine (matrix offsets tiled by
//    240, thirds splits, tone-curve noise) deciding with the bracketed
//    four-level cascade into two-bit codes;
//  * random_split_codes: the same over the random thirds-or-quarters splits,
//    with no matrix.
#pragma once
#include <cstdint>

namespace halftone::matrix {

int offset_matrix_codes(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                        std::uint32_t height, std::uint32_t control);
int random_split_codes(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                       std::uint32_t height, std::uint32_t control);

}  // namespace halftone::matrix
