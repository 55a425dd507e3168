// Export table: the built-in dither matrix and the plain ordered dither.
#include "halftone/matrix.h"

#include "screens/matrix/ordered_dither.h"

namespace m = halftone::matrix;

int SincesKai() { return m::build_dither_matrix(); }

int Kaocosyx(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
             unsigned int control) {
  return m::ordered_dither(source, dots, width, height, control);
}
