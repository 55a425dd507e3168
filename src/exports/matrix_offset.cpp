// Export table: the offset-matrix screens.
#include "frame/band_engine.h"
#include "halftone/matrix.h"
#include "screens/matrix/offset_matrix.h"

using halftone::engine::extent;
namespace m = halftone::matrix;

int Kaocosyx1(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) {
  return m::offset_matrix(source, dots, extent(width), extent(height), control);
}
int Kaocosyx10(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) {
  return m::offset_random_split(source, dots, width, height, control);
}
