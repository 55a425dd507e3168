// The built-in test chart that the demonstration screens.
#pragma once
#include <cstdint>
#include <vector>

namespace halftone::tool {

struct GreyImage {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::vector<unsigned char> pixels;  // rows of width bytes, 0 black
  unsigned char* row(std::uint32_t y) { return pixels.data() + std::size_t{y} * width; }
  unsigned char const* row(std::uint32_t y) const { return pixels.data() + std::size_t{y} * width; }
};

// Grey ramps (smooth and stepped), a radial sweep, fine lines, lettering in
// three sizes, and flat patches at 0, 1, 127, 128, 129, 254 and 255.
GreyImage make_test_chart(std::uint32_t width = 512, std::uint32_t height = 384);

}  // namespace halftone::tool
