// Export table: the block-offset diffusion screens.
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
