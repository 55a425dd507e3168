// Export table: the error-diffusion screens.
#include "halftone/diffusion.h"

#include "exports/catalog.h"
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

namespace halftone {
namespace {

int run_hxkjsdi67x(unsigned char* s, unsigned char* o, std::uint32_t w, std::uint32_t h,
                   std::uint32_t) {
  return hxkjsdi67x(s, o, w, h);
}
constexpr unsigned kTone = kNeedsToneSetup;
const ScreenInfo kDiffusion[] = {
    {"hxkjsdi67x", "diffusion", 1, false, false, Layout::Same, 0,
     "random-direction diffusion, one plane, whole page in one call", run_hxkjsdi67x},
    {"jsdi6yruis", "diffusion", 1, true, true, Layout::Same, 0, "banded random-direction diffusion",
     run_signed<jsdi6yruis>},
    {"irpduix7sg", "diffusion", 1, true, true, Layout::Same, 0,
     "banded random-direction diffusion (unsigned sizes)", irpduix7sg},
    {"sdiufiavs", "diffusion", 1, true, true, Layout::Same, kTone,
     "thirds split with tone push from the active curves", run_signed<sdiufiavs>},
    {"sdiufiavs1", "diffusion", 1, true, true, Layout::Same, 0,
     "conserving split, random sequence runs on across bands", sdiufiavs1},
    {"highforces", "diffusion", 1, true, true, Layout::Same, 0,
     "13-state counter, scan direction runs on across bands", highforces},
    {"mandfanes", "diffusion", 1, true, true, Layout::Same, 0,
     "thirds split, inverted output (set bit = paper)", run_signed<mandfanes>},
    {"orangecagn", "diffusion", 1, true, true, Layout::Same, 0,
     "quarters split, inverted output (set bit = paper)", run_signed<orangecagn>},
};

}  // namespace

std::span<ScreenInfo const> diffusion_catalog() { return kDiffusion; }

}  // namespace halftone
