// Export table: the offset-matrix screens.
#include "exports/catalog.h"
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

namespace halftone {
namespace {

const ScreenInfo kMatrixOffset[] = {
    {"Kaocosyx1", "matrix", 1, true, true, Layout::Same, kNeedsToneSetup | kNeedsMatrixBmp,
     "offset-matrix diffusion (240 tile) with tone-curve noise", run_signed<Kaocosyx1>},
    {"Kaocosyx10", "matrix", 1, true, true, Layout::Same, kNeedsToneSetup,
     "random thirds-or-quarters split diffusion with tone-curve noise", Kaocosyx10},
};

}  // namespace

std::span<ScreenInfo const> matrix_offset_catalog() { return kMatrixOffset; }

}  // namespace halftone
