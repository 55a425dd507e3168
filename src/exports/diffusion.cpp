// Export table: the error-diffusion screens.
#include "halftone/diffusion.h"

#include "frame/band_engine.h"
#include "screens/diffusion/screens.h"

using halftone::engine::extent;
namespace d = halftone::diffusion;

int hxkjsdi67x(unsigned char* source, unsigned char* dots, unsigned int width,
               unsigned int height) {
  return d::random_direction_page(source, dots, width, height);
}
int jsdi6yruis(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) {
  return d::random_direction(source, dots, extent(width), extent(height), control);
}
int irpduix7sg(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) {
  return d::random_direction(source, dots, width, height, control);
}
int sdiufiavs(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) {
  return d::tone_push(source, dots, extent(width), extent(height), control);
}
int sdiufiavs1(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) {
  return d::conserving(source, dots, width, height, control);
}
int highforces(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) {
  return d::counter_driven(source, dots, width, height, control);
}
int mandfanes(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) {
  return d::inverted_thirds(source, dots, extent(width), extent(height), control);
}
int orangecagn(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) {
  return d::inverted_quarters(source, dots, extent(width), extent(height), control);
}
