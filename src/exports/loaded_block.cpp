// Export table: the block-offset diffusion screens.
#include "exports/catalog.h"
#include "frame/band_engine.h"
#include "halftone/loaded.h"
#include "screens/loaded/block_offset.h"

using halftone::engine::extent;
namespace l = halftone::loaded;

int CrisixOut(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
              unsigned int control) {
  return l::block_offset(source, dots, width, height, control);
}
int CrisixOut_double(unsigned char* source, unsigned char* dots, unsigned int width,
                     unsigned int height, unsigned int control) {
  return l::block_offset_double(source, dots, width, height, control);
}
int CrisixOut31(unsigned char* source, unsigned char* dots, int width, int height,
                unsigned int control) {
  return l::block_random_split(source, dots, extent(width), extent(height), control);
}

namespace halftone {
namespace {

const ScreenInfo kLoadedBlock[] = {
    {"CrisixOut", "loaded", 1, true, true, Layout::Same, kNeedsBlockStack,
     "half-split diffusion biased by threshold blocks chosen by grey", CrisixOut},
    {"CrisixOut_double", "loaded", 1, true, true, Layout::Same, 0,
     "half-split diffusion in double precision, no offsets", CrisixOut_double},
    {"CrisixOut31", "loaded", 1, true, true, Layout::Same, kNeedsToneSetup,
     "grey-dependent random splits with tone-curve bias, random sequence runs on across bands",
     run_signed<CrisixOut31>},
};

}  // namespace

std::span<ScreenInfo const> loaded_block_catalog() { return kLoadedBlock; }

}  // namespace halftone
