#include "screens/matrix/ordered_dither.h"

#include <cstddef>

#include "frame/layout.h"
#include "frame/state.h"
#include "frame/threshold_planes.h"

namespace halftone::matrix {

std::uint8_t* dither_matrix() { return state().dither_matrix; }

namespace {

// Order 2n from order n: each quadrant repeats the smaller matrix scaled by 4,
// plus 0 (top left), 2 (top right), 3 (bottom left) or 1 (bottom right).
void double_order(std::uint8_t const* m, std::uint32_t n, std::uint8_t* out) {
  const std::uint32_t size = 2 * n;
  for (std::uint32_t i = 0; i < size; ++i)
    for (std::uint32_t j = 0; j < size; ++j) {
      const std::uint32_t base = 4u * m[(i % n) * n + j % n];
      const std::uint32_t add = i < n ? (j < n ? 0u : 2u) : (j < n ? 3u : 1u);
      out[i * size + j] = static_cast<std::uint8_t>(base + add);
    }
}

}  // namespace

int build_dither_matrix() {
  const std::uint8_t seed[4] = {0, 2, 3, 1};
  std::uint8_t order4[16];
  std::uint8_t order8[64];
  double_order(seed, 2, order4);
  double_order(order4, 4, order8);
  double_order(order8, 8, dither_matrix());
  return 0;
}

int ordered_dither(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                   std::uint32_t height, std::uint32_t control) {
  const std::uint32_t stride = dot_stride(width);
  const PlaneCall call(source, dots, width, height, control, stride, false);
  if (call.planes == 0 || width == 0) return 0;
  ThresholdRing rows[16];
  for (std::uint32_t r = 0; r < 16; ++r) rows[r].assign(dither_matrix() + r * 16u, 16);
  threshold_planes(call, width, height, stride, DotTest::Below, [&] {
    return [&](std::uint32_t, std::uint32_t y) { return ThresholdRow{&rows[y & 15u], 0}; };
  });
  return 0;
}

}  // namespace halftone::matrix
