// Multi-level screens: two-bit (four codes) and four-bit (eight codes) output.
#pragma once
#include "halftone/export.h"

HALFTONE_API int FastGroup(unsigned char* source, unsigned char* dots, int width, int height,
                           unsigned int control);
HALFTONE_API int FastGroup1(unsigned char* source, unsigned char* dots, unsigned int width,
                            unsigned int height, unsigned int control);
HALFTONE_API int ArcistPump(unsigned char* source, unsigned char* dots, int width, int height,
                            unsigned int control);
HALFTONE_API int Kaishanxing(unsigned char* source, unsigned char* dots, int width, int height,
                             unsigned int control);
HALFTONE_API int SymanOpening(unsigned char* source, unsigned char* dots, int width, int height,
                              unsigned int control);
HALFTONE_API int RoundFaxest(unsigned char* source, unsigned char* dots, int width, int height,
                             unsigned int control);
HALFTONE_API int RoundFaxest__(unsigned char* source, unsigned char* dots, unsigned int width,
                               unsigned int height, unsigned int control);
HALFTONE_API int RoundPump(unsigned char* source, unsigned char* dots, int width, int height,
                           unsigned int control);
HALFTONE_API int RoundPump1(unsigned char* source, unsigned char* dots, unsigned int width,
                            unsigned int height, unsigned int control);
