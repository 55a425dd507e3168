// Multi-level screens: two-bit (four codes) and four-bit (eight codes) output.
//
// Every screen takes `control` = plane count << 8 | band position << 16
// (1 first band, 3 last band, 0 or 2 middle band) and returns 0. Two-bit
// output holds four pixels a byte, the leftmost in bits 7-6; four-bit output
// two pixels a byte, the left one in the high nibble. Code 0 is no dot. The
// screens that read the tone curves or the parameter bytes expect Itsdiufiavs
// to have run; before it, both curves are all zeros and every byte is 0.
//
// Choices where the host contract leaves room:
//  * zero width or height (or a negative one for the `int` entries): nothing
//    is screened and nothing of the caller's memory is touched; the band
//    protocol still runs (a first band starts a job with no carried error, a
//    last band releases the lines);
//  * a middle or last band with no first band before it, or one wider than the
//    lines held, allocates zeroed lines on demand, as if the job had started
//    with no carried error;
//  * nothing is ever read outside the band's source rows: where a last row
//    would load the row after the band, that load is skipped (its values were
//    never used).
#pragma once
#include "halftone/result_codes.h"

// Four levels set by parameter bytes 0-3 (greys of codes 3, 2, 1, 0); the
// pixel's own grey picks the two levels that bracket it. Error goes ahead,
// below or half each way on two random bits; tone bias at every second pixel.
int FastGroup(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) noexcept;
// Four fixed levels 255, 170, 85, 0 (codes 0-3), decided on the diffused
// value alone at thresholds 192, 128, 64; FastGroup's spread and bias.
int FastGroup1(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept;
// Two levels (a value of at most 128 is a dot), dots written as code 1, 2 and
// 3 respectively; otherwise identical.
int ArcistPump(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept;
int Kaishanxing(unsigned char* source, unsigned char* dots, int width, int height,
                unsigned int control) noexcept;
int SymanOpening(unsigned char* source, unsigned char* dots, int width, int height,
                 unsigned int control) noexcept;
// FastGroup's levels with a one-third / two-thirds split on one random bit.
// Error crosses into the next band only after a band of even height (whose
// last row runs right to left).
int RoundFaxest(unsigned char* source, unsigned char* dots, int width, int height,
                unsigned int control) noexcept;
int RoundFaxest__(unsigned char* source, unsigned char* dots, unsigned int width,
                  unsigned int height, unsigned int control) noexcept;
// Four-bit output, eight levels set by parameter bytes 0-7 (byte k is the grey
// of code 7 - k), bracketed by the pixel's own grey; no tone bias.
int RoundPump(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) noexcept;
// Four-bit output, eight fixed levels 255 k / 7 at thresholds 32 … 224; no
// tone bias and no setup.
int RoundPump1(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept;
