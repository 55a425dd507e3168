// Export table: the damped and noise-table diffusion screens, each its rule on
// the band engine. Members without rules of their own run their nearest
// sibling's.
// clang-format off
#include "frame/exported.h"  // first: the exported declarations with default visibility
// clang-format on
#include "frame/band_engine.h"
#include "screens/damped/policies.h"

using halftone::damped_lines;
using halftone::shared_lines;
using halftone::engine::screen;
namespace d = halftone::damped;

int suiruiskao(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept {
  return screen(d::RandomRuns{}, damped_lines(), source, dots, width, height, control);
}
int suiruiskao2(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept {
  return screen(d::DampedHalves{}, damped_lines(), source, dots, width, height, control);
}
int suiruiskao3(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept {
  return suiruiskao(source, dots, width, height, control);
}
int suiruiskao4(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept {
  return suiruiskao(source, dots, width, height, control);
}
int suiruiskao5(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept {
  return suiruiskao(source, dots, width, height, control);
}
int suiruiskao6(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept {
  return suiruiskao(source, dots, width, height, control);
}
int suiruiskao7(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept {
  return suiruiskao(source, dots, width, height, control);
}
int suiruiskao8(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept {
  return screen(d::ToneBanded<d::HalvesRules>{}, shared_lines(), source, dots, width, height,
                control);
}
int suiruiskao9(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept {
  return suiruiskao(source, dots, width, height, control);
}
int suiruiskao10(unsigned char* source, unsigned char* dots, unsigned int width,
                 unsigned int height, unsigned int control) noexcept {
  return suiruiskao(source, dots, width, height, control);
}
int suiruiskao11(unsigned char* source, unsigned char* dots, unsigned int width,
                 unsigned int height, unsigned int control) noexcept {
  return screen(d::ToneBanded<d::FiveBandRules>{}, shared_lines(), source, dots, width, height,
                control);
}
int sdiufiavs2(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept {
  return screen(d::ToneBanded<d::Amplitude31Rules>{}, shared_lines(), source, dots, width, height,
                control);
}
int sdiufiavs3(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept {
  return screen(d::ToneBanded<d::Band31Rules>{}, shared_lines(), source, dots, width, height,
                control);
}
int sdiufiavs4(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept {
  return sdiufiavs3(source, dots, width, height, control);
}
