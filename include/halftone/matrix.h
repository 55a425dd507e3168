// Ordered-dither and offset-matrix screens.
#pragma once
#include "halftone/result_codes.h"

// Builds the 16 x 16 recursive dither matrix (each of 0..255 once; row 0
// begins 0, 128, 32, 160). Calling it again rebuilds the same values.
// Returns 0.
int SincesKai() noexcept;
// Plain ordered dither against the built matrix: a pixel is inked when its
// grey is strictly below the matrix entry at (row mod 16, column mod 16), so
// grey 0 leaves one pixel of every 16 x 16 tile white and grey 255 prints
// nothing. Only the plane count of the control word is read; the matrix phase
// restarts at row 0 of every call, whatever the band position. Before
// SincesKai the matrix is all zero and the output stays blank. Keeps no
// state. Returns 0.
int Kaocosyx(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
             unsigned int control) noexcept;
// Offset-matrix diffusion with tone-curve noise, banded.
//
// Each plane runs in serpentine rows (the first of each call left to right);
// the cells of the row below start from the offset matrix loaded by
// PuaningFa13 (its 240 x 240 corner tiled over the band, rows counted from the
// call's first row), and each pixel's error goes along the row and straight
// down: going right a third down (e / 3), going left two thirds along
// ((2e) / 3), the rest the other way, divisions truncating toward zero. Curve
// B of Itsdiufiavs adds to the error at even columns going right, curve A at
// odd columns going left. Only a band whose last row runs right to left (an
// even band height) hands error to the next band. Reseeds the shared
// generator on every call, though it draws nothing. Returns 0.
//
// Choices where the host breaks the band protocol:
//  * a width, height or plane count of 0, or a negative width or height,
//    screens nothing and writes no output byte;
//  * a middle or last band that finds no lines (no first band since the last
//    release), or lines allocated for fewer planes or a narrower band, gets
//    new zeroed lines: it is screened as if the job had started there with no
//    carried error (no reseeding beyond the usual);
//  * the offset-matrix screens share their lines with the other banded
//    integer screens, so jobs of these screens must not be interleaved.
int Kaocosyx1(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) noexcept;
// Random-split diffusion with tone-curve noise, banded: Kaocosyx1 without
// the offset matrix (the lines start from the carried error alone and every
// cell below from 0) and without the rightward noise; one draw a pixel whose
// bit 0 picks the split: 1 as Kaocosyx1, 0 sends (3e) / 4 down going right
// and e / 4 along going left. Reads curve A only. Reseeds on every call.
// Sizes are unsigned: 0 screens nothing. Missing or too small lines as for
// Kaocosyx1. Returns 0.
int Kaocosyx10(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept;
// Two-bit members of the family (two bits a pixel, four pixels a byte, stride
// ((width * 2 + 31) >> 3) & ~3). Both are compositions of rules the library
// already has, deciding each pixel with FastGroup's bracketed four-level cascade
// (levels from parameter bytes 0-3, set through Itsdiufiavs; the pixel's value
// taken as a signed 16-bit value) and writing its code; the error passed on is
// the value minus the chosen code's level:
//  * Kaocosyx13: the offset-matrix serpentine of Kaocosyx1 (offsets from the
//    loaded offset matrix tiled by 240, thirds, curve noise, carry only after a
//    right-to-left last row; reseeds every call);
//  * Kaocosyx14: the random thirds-or-quarters splits of Kaocosyx10 (no matrix).
// Sizes and stray bands are handled as for Kaocosyx1. Return 0.
int Kaocosyx13(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept;
int Kaocosyx14(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept;
