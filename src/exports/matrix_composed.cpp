// Export table: the two-bit members of the ordered-dither and offset-matrix
// family, composed of the offset-matrix serpentine and the four-level cascade.
#include "frame/band_engine.h"
#include "halftone/matrix.h"
#include "screens/matrix/two_bit_members.h"

using halftone::engine::extent;
namespace m = halftone::matrix;

int Kaocosyx13(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) {
  return m::offset_matrix_codes(source, dots, extent(width), extent(height), control);
}
int Kaocosyx14(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) {
  return m::random_split_codes(source, dots, extent(width), extent(height), control);
}
