// The built-in test chart that the demonstration screens.
#pragma once
#include <cstdint>

#include "image_io.h"

namespace halftone::tool {

// Grey ramps (smooth and stepped), a radial sweep, fine lines, lettering in
// three sizes, and flat patches at 0, 1, 127, 128, 129, 254 and 255.
Image make_test_chart(std::uint32_t width = 512, std::uint32_t height = 384);

}  // namespace halftone::tool
