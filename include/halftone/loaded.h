// Screen data file loaders and the screens that apply the loaded data.
// Files are read from "<data folder>/Moths/<fileName>".
#pragma once
#include "halftone/export.h"

HALFTONE_API int KaiDuaning(char const* fileName, int patternWidth, int patternHeight);
HALFTONE_API int NingJing(char const* fileName, int patternWidth, int patternHeight);
HALFTONE_API int PuaningFa(char const* fileName, int, int);
HALFTONE_API int PuaningFa13(char const* fileName, int, int);
HALFTONE_API int NiceMents(char const* fileName, int, int);
HALFTONE_API int PuaningFaAM(char const* fileName, int, int);

HALFTONE_API int Sonicksure(unsigned char* source, unsigned char* dots, int width, int height,
                            unsigned int control);
HALFTONE_API int MutexWindow(unsigned char* source, unsigned char* dots, unsigned int width,
                             unsigned int height, unsigned int control);
HALFTONE_API int MutexWindow_Bak(unsigned char* source, unsigned char* dots, unsigned int width,
                                 unsigned int height, unsigned int control);
HALFTONE_API int TextDownload(unsigned char* source, unsigned char* dots, int width, int height,
                              unsigned int control);
HALFTONE_API int WindowText(unsigned char* source, unsigned char* dots, int width, int height,
                            unsigned int control);
HALFTONE_API int WindowTextAM1(unsigned char* source, unsigned char* dots, unsigned int width,
                               unsigned int height, unsigned int control);
HALFTONE_API int WindowTextAM(unsigned char* source, unsigned char* dots, int width, int height,
                              unsigned int control);
// Block-offset diffusion, banded. Each pixel's value (error + grey) is biased
// by the threshold block of its grey loaded by NiceMents, entry
// grey * 256 + (y mod 16) * 16 + (x mod 16) with x and y counted within the
// call; at most 128 is a dot, otherwise 255 is taken off; half the error
// (truncated toward zero) goes along the row, the rest replaces the cell
// below. Rows alternate, the first of each call left to right; only a band
// whose last row runs right to left (an even band height) hands error to the
// next band. The shared generator is reseeded on a first band only (the
// screen draws nothing). Returns 0.
//
// Choices where the host breaks the band protocol (the same for the three
// block-offset screens):
//  * a width, height or plane count of 0 (for CrisixOut31 also a negative
//    width or height) screens nothing and writes no output byte;
//  * a middle or last band that finds no lines, or lines allocated for fewer
//    planes or a narrower band, gets new zeroed lines and is screened as if
//    the job had started there with no carried error; the generator is not
//    reseeded then (only band position 1 reseeds);
//  * CrisixOut and CrisixOut31 share their lines with the other banded integer
//    screens, so their jobs must not be interleaved with those screens' jobs.
HALFTONE_API int CrisixOut(unsigned char* source, unsigned char* dots, unsigned int width,
                           unsigned int height, unsigned int control);
// CrisixOut in double precision on its own three lines (so its jobs may run
// between another family's bands): a dot at t <= 128.0, half = t * 0.5, and
// an offset table of its own that nothing fills, so every offset is 0.
HALFTONE_API int CrisixOut_double(unsigned char* source, unsigned char* dots, unsigned int width,
                                  unsigned int height, unsigned int control);
// The block-offset frame without offsets: after the dot test the error is
// biased by the second tone curve at even columns going right and the first
// at odd columns going left (curve 0, all zeros, until Itsdiufiavs selects
// others), then split by one full 31-bit draw a pixel with grey-dependent
// rules (thirds, halves, all or nothing; for greys up to 140 the cases of
// draws 1 and 2 are exchanged between the directions). The random sequence
// runs on across the bands of a job. Returns 0.
HALFTONE_API int CrisixOut31(unsigned char* source, unsigned char* dots, int width, int height,
                             unsigned int control);
