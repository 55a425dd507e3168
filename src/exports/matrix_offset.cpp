// Export table: the offset-matrix screens and their two-bit members, each its
// rule on the band engine.
// clang-format off
#include "frame/exported.h"  // first: the exported declarations with default visibility
// clang-format on
#include "frame/band_engine.h"
#include "screens/matrix/offset_matrix.h"

using halftone::shared_lines;
using halftone::engine::extent;
using halftone::engine::screen;
using namespace halftone::matrix;

int Kaocosyx1(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) noexcept {
  return screen(OffsetSerpentine<OneBitDot, Splits::Matrix>{}, shared_lines(), source, dots,
                extent(width), extent(height), control);
}
int Kaocosyx10(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept {
  return screen(OffsetSerpentine<OneBitDot, Splits::Random>{}, shared_lines(), source, dots, width,
                height, control);
}
int Kaocosyx13(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept {
  return screen(OffsetSerpentine<FourLevelCodes, Splits::Matrix>{}, shared_lines(), source, dots,
                extent(width), extent(height), control);
}
int Kaocosyx14(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept {
  return screen(OffsetSerpentine<FourLevelCodes, Splits::Random>{}, shared_lines(), source, dots,
                extent(width), extent(height), control);
}
