// Damped (double precision) and noise-table (16-bit) diffusion screens.
#pragma once
#include "halftone/export.h"

#define HALFTONE_DAMPED_SCREEN(name)                                                    \
  HALFTONE_API int name(unsigned char* source, unsigned char* dots, unsigned int width, \
                        unsigned int height, unsigned int control)

HALFTONE_DAMPED_SCREEN(suiruiskao);
HALFTONE_DAMPED_SCREEN(suiruiskao2);
HALFTONE_DAMPED_SCREEN(suiruiskao3);
HALFTONE_DAMPED_SCREEN(suiruiskao4);
HALFTONE_DAMPED_SCREEN(suiruiskao5);
HALFTONE_DAMPED_SCREEN(suiruiskao6);
HALFTONE_DAMPED_SCREEN(suiruiskao7);
HALFTONE_DAMPED_SCREEN(suiruiskao8);
HALFTONE_DAMPED_SCREEN(suiruiskao9);
HALFTONE_DAMPED_SCREEN(suiruiskao10);
HALFTONE_DAMPED_SCREEN(suiruiskao11);
HALFTONE_DAMPED_SCREEN(sdiufiavs2);
HALFTONE_DAMPED_SCREEN(sdiufiavs3);
HALFTONE_DAMPED_SCREEN(sdiufiavs4);

#undef HALFTONE_DAMPED_SCREEN
