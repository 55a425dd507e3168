// Error-diffusion screens: one-bit output, serpentine scan.
//
// Banded screens take `control` = plane count << 8 | band position << 16
// (1 first band, 3 last band, 0 or 2 middle band). All return 0.
//
// Choices where the host contract leaves room (shared by every banded screen):
//  * a middle or last band with no first band before it allocates zeroed lines
//    on demand (as if the job had started with no carried error);
//  * a band whose plane count or width exceeds the lines held from the first
//    band reallocates them zeroed;
//  * zero width or height: the output is cleared as far as it goes, result 0;
//  * lines that cannot be allocated: the output is cleared, the family holds no
//    lines afterwards and the call returns ERR_NO_MEMORY (20302).
#pragma once
#include "halftone/result_codes.h"

// One plane, one call: random-direction diffusion.
int hxkjsdi67x(unsigned char* source, unsigned char* dots, unsigned int width,
               unsigned int height) noexcept;

// Random-direction banded diffusion (identical but for the argument types).
int jsdi6yruis(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept;
int irpduix7sg(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept;
// Thirds split with tone push from the active curves.
int sdiufiavs(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) noexcept;
// Conserving split; reseeds on a first band only.
int sdiufiavs1(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept;
// Counter-driven split; the scan direction runs on across bands. Every plane
// keeps its own cycle state, also beyond four planes.
int highforces(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept;
// Inverted output (a set bit is paper): thirds, and quarters.
int mandfanes(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) noexcept;
int orangecagn(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept;
