// Export table: the two-bit members of the ordered-dither and offset-matrix
// family, composed of the offset-matrix serpentine and the four-level cascade.
#include "exports/catalog.h"
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

namespace halftone {
namespace {

const ScreenInfo kMatrixComposed[] = {
    {"Kaocosyx13", "matrix", 2, true, true, Layout::Same, kNeedsToneSetup | kNeedsMatrixBmp,
     "composition: Kaocosyx1's offset-matrix serpentine with FastGroup's four-level cascade",
     run_signed<Kaocosyx13>},
    {"Kaocosyx14", "matrix", 2, true, true, Layout::Same, kNeedsToneSetup,
     "composition: Kaocosyx10's random splits with FastGroup's four-level cascade",
     run_signed<Kaocosyx14>},
};

}  // namespace

std::span<ScreenInfo const> matrix_composed_catalog() { return kMatrixComposed; }

}  // namespace halftone
