// The built-in 16 x 16 dither matrix and the plain ordered dither against it.
#pragma once
#include <cstdint>

namespace halftone::matrix {

// 16 rows of 16 thresholds, row-major; all zero until build_dither_matrix().
std::uint8_t* dither_matrix();

// Builds DitherMatrix16 from the order-2 seed by doubling its order three
// times. Returns 0.
int build_dither_matrix();

// Every plane against the matrix; a pixel is inked when its grey is strictly
// below the threshold. The matrix phase restarts at row 0 of each call.
int ordered_dither(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                   std::uint32_t height, std::uint32_t control);

}  // namespace halftone::matrix
