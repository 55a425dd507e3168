// Export table: the damped and noise-table diffusion screens.
#include "halftone/damped.h"

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
