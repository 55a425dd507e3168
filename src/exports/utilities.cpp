// Export table: the single-plane utilities, job pacing and the constant entries.
// clang-format off
#include "frame/exported.h"  // first: the exported declarations with default visibility
// clang-format on
#include "frame/no_memory.h"
#include "utilities/entries.h"
#include "utilities/pacing.h"

namespace u = halftone::utilities;

int xinskdn34skx(unsigned char* source, unsigned char* dots, unsigned int width,
                 unsigned int height, unsigned char* const toneTable) noexcept {
  // The utilities clear their output before they allocate.
  return halftone::or_no_memory([&] {
    return u::tone_noise(source, dots, width, height, toneTable, u::NoiseVariant::Plain);
  });
}
int shdeiznc45kdi(unsigned char* source, unsigned char* dots, unsigned int width,
                  unsigned int height, unsigned char* const toneTable) noexcept {
  // The utilities clear their output before they allocate.
  return halftone::or_no_memory([&] {
    return u::tone_noise(source, dots, width, height, toneTable, u::NoiseVariant::ReseededLastRow);
  });
}

int kajdjigc23kdh(unsigned char* source, unsigned char* dots, int width, int height,
                  int* const toneTable, unsigned char*) noexcept {
  // The utilities clear their output before they allocate.
  return halftone::or_no_memory(
      [&] { return u::four_neighbours(source, dots, width, height, toneTable); });
}
int tishduth29dmc(unsigned char* source, unsigned char* dots, int width, int height,
                  int* const toneTable, unsigned char*) noexcept {
  // The utilities clear their output before they allocate.
  return halftone::or_no_memory(
      [&] { return u::transposed(source, dots, width, height, toneTable); });
}
int fdxin324c(unsigned char* source, unsigned char* dots, int width, int height,
              int* const toneTable, unsigned char*) noexcept {
  // The utilities clear their output before they allocate.
  return halftone::or_no_memory(
      [&] { return u::partial_half_turn(source, dots, width, height, toneTable); });
}
int nchsuw56xd(unsigned char* source, unsigned char* dots, int width, int height,
               int* const toneTable, unsigned char*) noexcept {
  // The utilities clear their output before they allocate.
  return halftone::or_no_memory(
      [&] { return u::upside_down(source, dots, width, height, toneTable); });
}
int ixndiwkc76y(unsigned char* source, unsigned char*& dots, int width, int height,
                int* const toneTable, unsigned char*) noexcept {
  // The utilities clear their output before they allocate.
  return halftone::or_no_memory(
      [&] { return u::transposed_via_scratch(source, dots, width, height, toneTable); });
}
int sdicxx78xy(unsigned char* source, unsigned char*& dots, int width, int height,
               int* const toneTable, unsigned char*) noexcept {
  // The utilities clear their output before they allocate.
  return halftone::or_no_memory(
      [&] { return u::quarter_turn_via_scratch(source, dots, width, height, toneTable); });
}
int ghskdjiekld(unsigned char* source, unsigned char*& dots, int width, int height,
                int* const toneTable, unsigned char*) noexcept {
  // The utilities clear their output before they allocate.
  return halftone::or_no_memory(
      [&] { return u::anti_transposed(source, dots, width, height, toneTable); });
}

int khjhusecx() noexcept {
  return halftone::or_no_memory([] { return halftone::pacing::create_events(); });
}
int sinxcdke34i(unsigned int timeout) noexcept { return halftone::pacing::wait_events(timeout); }
int giwncwcg7w() noexcept { return halftone::pacing::close_events(); }
int DouMaxing() noexcept { return 0; }
int DuanKougb() noexcept { return 0; }
int YountTrue() noexcept { return 0; }
