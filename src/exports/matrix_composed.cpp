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

int run_Kaocosyx13(unsigned char* s, unsigned char* o, std::uint32_t w, std::uint32_t h,
                   std::uint32_t c) {
  return Kaocosyx13(s, o, static_cast<int>(w), static_cast<int>(h), c);
}
int run_Kaocosyx14(unsigned char* s, unsigned char* o, std::uint32_t w, std::uint32_t h,
                   std::uint32_t c) {
  return Kaocosyx14(s, o, static_cast<int>(w), static_cast<int>(h), c);
}

const ScreenInfo kMatrixComposed[] = {
    {"Kaocosyx13", "matrix", 2, true, true, Layout::Same, kNeedsToneSetup | kNeedsMatrixBmp,
     "composition: Kaocosyx1's offset-matrix serpentine with FastGroup's four-level cascade",
     run_Kaocosyx13},
    {"Kaocosyx14", "matrix", 2, true, true, Layout::Same, kNeedsToneSetup,
     "composition: Kaocosyx10's random splits with FastGroup's four-level cascade", run_Kaocosyx14},
};

}  // namespace

std::span<ScreenInfo const> matrix_composed_catalog() { return kMatrixComposed; }

}  // namespace halftone
