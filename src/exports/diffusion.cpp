// Export table: the error-diffusion screens, each its rule on the band engine.
// clang-format off
#include "frame/exported.h"  // first: the exported declarations with default visibility
// clang-format on
#include "frame/band_engine.h"
#include "screens/diffusion/policies.h"

using halftone::shared_lines;
using halftone::engine::extent;
using halftone::engine::screen;
namespace d = halftone::diffusion;

int hxkjsdi67x(unsigned char* source, unsigned char* dots, unsigned int width,
               unsigned int height) noexcept {
  halftone::BandLines<std::int16_t> call_lines;  // this call's own, released on return
  return screen(d::RandomDirectionPage{}, call_lines, source, dots, width, height,
                halftone::make_control(1, 1));
}
int jsdi6yruis(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept {
  return screen(d::RandomDirection{}, shared_lines(), source, dots, extent(width), extent(height),
                control);
}
int irpduix7sg(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept {
  return screen(d::RandomDirection{}, shared_lines(), source, dots, width, height, control);
}
int sdiufiavs(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) noexcept {
  return screen(d::TonePush{}, shared_lines(), source, dots, extent(width), extent(height),
                control);
}
int sdiufiavs1(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept {
  return screen(d::Conserving{}, shared_lines(), source, dots, width, height, control);
}
int highforces(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept {
  return screen(d::CounterDriven{}, shared_lines(), source, dots, width, height, control);
}
int mandfanes(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) noexcept {
  return screen(d::InvertedThirds{}, shared_lines(), source, dots, extent(width), extent(height),
                control);
}
int orangecagn(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept {
  return screen(d::InvertedQuarters{}, shared_lines(), source, dots, extent(width), extent(height),
                control);
}
