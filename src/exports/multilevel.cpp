// Export table: the multi-level screens (two-bit and four-bit dot codes).
#include "halftone/multilevel.h"

#include "frame/band_engine.h"
#include "screens/multilevel/screens.h"

using halftone::engine::extent;
namespace m = halftone::multilevel;

int FastGroup(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) {
  return m::bracketed_four(source, dots, extent(width), extent(height), control);
}
int FastGroup1(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) {
  return m::fixed_four(source, dots, width, height, control);
}
int ArcistPump(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) {
  return m::two_level(1, source, dots, extent(width), extent(height), control);
}
int Kaishanxing(unsigned char* source, unsigned char* dots, int width, int height,
                unsigned int control) {
  return m::two_level(2, source, dots, extent(width), extent(height), control);
}
int SymanOpening(unsigned char* source, unsigned char* dots, int width, int height,
                 unsigned int control) {
  return m::two_level(3, source, dots, extent(width), extent(height), control);
}
int RoundFaxest(unsigned char* source, unsigned char* dots, int width, int height,
                unsigned int control) {
  return m::bracketed_four_thirds(source, dots, extent(width), extent(height), control);
}
int RoundFaxest__(unsigned char* source, unsigned char* dots, unsigned int width,
                  unsigned int height, unsigned int control) {
  return m::bracketed_four_thirds(source, dots, width, height, control);
}
int RoundPump(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) {
  return m::bracketed_eight(source, dots, extent(width), extent(height), control);
}
int RoundPump1(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) {
  return m::fixed_eight(source, dots, width, height, control);
}
