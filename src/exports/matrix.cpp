// Export table: the built-in dither matrix and the plain ordered dither.
// clang-format off
#include "frame/exported.h"  // first: the exported declarations with default visibility
// clang-format on
#include "screens/matrix/ordered_dither.h"

namespace m = halftone::matrix;

int SincesKai() noexcept { return m::build_dither_matrix(); }

int Kaocosyx(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
             unsigned int control) noexcept {
  return m::ordered_dither(source, dots, width, height, control);
}
