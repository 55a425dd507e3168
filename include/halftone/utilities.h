// Single-plane diffusion utilities and job pacing.
#pragma once
#include "halftone/export.h"

// Tone-table noise diffusion (the utility generator runs on across calls).
HALFTONE_API int xinskdn34skx(unsigned char* source, unsigned char* dots, unsigned int width,
                              unsigned int height, unsigned char* const toneTable);
HALFTONE_API int shdeiznc45kdi(unsigned char* source, unsigned char* dots, unsigned int width,
                               unsigned int height, unsigned char* const toneTable);

// Oriented random-direction diffusion.
HALFTONE_API int kajdjigc23kdh(unsigned char* source, unsigned char* dots, int width, int height,
                               int* const toneTable, unsigned char*);
HALFTONE_API int tishduth29dmc(unsigned char* source, unsigned char* dots, int width, int height,
                               int* const toneTable, unsigned char*);
HALFTONE_API int fdxin324c(unsigned char* source, unsigned char* dots, int width, int height,
                           int* const toneTable, unsigned char*);
HALFTONE_API int nchsuw56xd(unsigned char* source, unsigned char* dots, int width, int height,
                            int* const toneTable, unsigned char*);
HALFTONE_API int ixndiwkc76y(unsigned char* source, unsigned char*& dots, int width, int height,
                             int* const toneTable, unsigned char*);
HALFTONE_API int sdicxx78xy(unsigned char* source, unsigned char*& dots, int width, int height,
                            int* const toneTable, unsigned char*);
HALFTONE_API int ghskdjiekld(unsigned char* source, unsigned char*& dots, int width, int height,
                             int* const toneTable, unsigned char*);

// Job pacing and constant entries.
HALFTONE_API int khjhusecx();
HALFTONE_API int sinxcdke34i(unsigned int timeout);
HALFTONE_API int giwncwcg7w();
HALFTONE_API int DouMaxing();
HALFTONE_API int DuanKougb();
HALFTONE_API int YountTrue();
