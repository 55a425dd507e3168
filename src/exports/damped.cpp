// Export table: the damped and noise-table diffusion screens.
#include "halftone/damped.h"

#include "exports/catalog.h"
#include "screens/damped/screens.h"

namespace d = halftone::damped;

int suiruiskao(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) {
  return d::random_runs(source, dots, width, height, control);
}
int suiruiskao2(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) {
  return d::half_split(source, dots, width, height, control);
}
int suiruiskao8(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) {
  return d::halves(source, dots, width, height, control);
}
int suiruiskao11(unsigned char* source, unsigned char* dots, unsigned int width,
                 unsigned int height, unsigned int control) {
  return d::five_band(source, dots, width, height, control);
}
int sdiufiavs2(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) {
  return d::tone_banded(source, dots, width, height, control);
}
int sdiufiavs3(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) {
  return d::tone_banded_quarters(source, dots, width, height, control);
}

// The members without rules of their own run the rules of their nearest sibling.
#define HALFTONE_SAME_RULES(name, impl)                                                         \
  int name(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height, \
           unsigned int control) {                                                              \
    return d::impl(source, dots, width, height, control);                                       \
  }
HALFTONE_SAME_RULES(suiruiskao3, random_runs)
HALFTONE_SAME_RULES(suiruiskao4, random_runs)
HALFTONE_SAME_RULES(suiruiskao5, random_runs)
HALFTONE_SAME_RULES(suiruiskao6, random_runs)
HALFTONE_SAME_RULES(suiruiskao7, random_runs)
HALFTONE_SAME_RULES(suiruiskao9, random_runs)
HALFTONE_SAME_RULES(suiruiskao10, random_runs)
HALFTONE_SAME_RULES(sdiufiavs4, tone_banded_quarters)
#undef HALFTONE_SAME_RULES

namespace halftone {
namespace {

const ScreenInfo kDamped[] = {
    {"suiruiskao", "damped", 1, true, true, Layout::Same, 0,
     "doubles damped by 0.97, whole error along or below in random runs of 10 or 11", suiruiskao},
    {"suiruiskao2", "damped", 1, true, true, Layout::Same, 0,
     "doubles damped by 0.985, halves along and below, last row carries into the next band",
     suiruiskao2},
    {"suiruiskao3", "damped", 1, true, true, Layout::Same, 0,
     "composition: same rules as suiruiskao", suiruiskao3},
    {"suiruiskao4", "damped", 1, true, true, Layout::Same, 0,
     "composition: same rules as suiruiskao", suiruiskao4},
    {"suiruiskao5", "damped", 1, true, true, Layout::Same, 0,
     "composition: same rules as suiruiskao", suiruiskao5},
    {"suiruiskao6", "damped", 1, true, true, Layout::Same, 0,
     "composition: same rules as suiruiskao", suiruiskao6},
    {"suiruiskao7", "damped", 1, true, true, Layout::Same, 0,
     "composition: same rules as suiruiskao", suiruiskao7},
    {"suiruiskao8", "damped", 1, true, true, Layout::Same, 0,
     "16-bit, half along and the rest below at every pixel, no noise, no draws", suiruiskao8},
    {"suiruiskao9", "damped", 1, true, true, Layout::Same, 0,
     "composition: same rules as suiruiskao", suiruiskao9},
    {"suiruiskao10", "damped", 1, true, true, Layout::Same, 0,
     "composition: same rules as suiruiskao", suiruiskao10},
    {"suiruiskao11", "damped", 1, true, true, Layout::Same, 0,
     "16-bit, five tone bands, noise of amplitude 8 at every second pixel", suiruiskao11},
    {"sdiufiavs2", "damped", 1, true, true, Layout::Same, 0,
     "16-bit, three tone bands, noise of amplitude 31 going left, carry primed with -35",
     sdiufiavs2},
    {"sdiufiavs3", "damped", 1, true, true, Layout::Same, 0,
     "16-bit, three tone bands with three-quarter shares, banded noise, carry primed with -25",
     sdiufiavs3},
    {"sdiufiavs4", "damped", 1, true, true, Layout::Same, 0,
     "composition: same rules as sdiufiavs3", sdiufiavs4},
};

}  // namespace

std::span<ScreenInfo const> damped_catalog() { return kDamped; }

}  // namespace halftone
