// Ordered-dither and offset-matrix screens.
#pragma once
#include "halftone/export.h"

// Builds the 16 x 16 dither matrix. Returns 0.
HALFTONE_API int SincesKai();
// Plain ordered dither against the built matrix.
HALFTONE_API int Kaocosyx(unsigned char* source, unsigned char* dots, unsigned int width,
                          unsigned int height, unsigned int control);
// Offset-matrix diffusion with tone-curve noise.
HALFTONE_API int Kaocosyx1(unsigned char* source, unsigned char* dots, int width, int height,
                           unsigned int control);
// Random-split diffusion with tone-curve noise.
HALFTONE_API int Kaocosyx10(unsigned char* source, unsigned char* dots, unsigned int width,
                            unsigned int height, unsigned int control);
// Two-bit members of the family.
HALFTONE_API int Kaocosyx13(unsigned char* source, unsigned char* dots, int width, int height,
                            unsigned int control);
HALFTONE_API int Kaocosyx14(unsigned char* source, unsigned char* dots, int width, int height,
                            unsigned int control);
