// Damped (double precision) and noise-table (16-bit) diffusion screens.
//
// Every screen here takes a line-interleaved multi-plane source and writes a
// one-bit dot image of the same size (bit 1 = dot); `control` holds the plane
// count in bits 8-15 and the band position in bits 16-23 (1 first band, 3 last
// band, anything else a middle band). Each returns 0, except as noted below.
//
//   suiruiskao    doubles; the whole damped error (x 0.97) goes along the row or
//                 below, switching after random runs of 10 or 11 pixels; no error
//                 crosses from one band to the next.
//   suiruiskao2   doubles; the damped error (x 0.985) goes half along, half below;
//                 the last row's downward halves carry into the next band.
//   sdiufiavs2    16-bit; three tone bands, noise of amplitude 31 at odd columns
//                 of right-to-left rows; the page starts with an error of -35.
//   sdiufiavs3    16-bit; as sdiufiavs2 with three-quarter shares, noise from
//                 tone 105 up at every second pixel; the page starts at -25.
//   suiruiskao11  16-bit; five tone bands, noise of amplitude 8; starts at 0.
//   suiruiskao8   16-bit; half along and the rest below everywhere; starts at 0.
// The 16-bit screens carry error into the next band only when the band's last
// row runs right to left (an even band height), and reseed the shared
// generator on first bands only; the two double screens reseed on every call.
//
// Members without rules of their own run the rules of their nearest sibling:
// suiruiskao3, suiruiskao4, suiruiskao5, suiruiskao6, suiruiskao7, suiruiskao9
// and suiruiskao10 screen exactly as suiruiskao, and sdiufiavs4 exactly as
// sdiufiavs3 (sharing its persistent lines and its generator sequence).
//
// Choices for calls outside the band protocol or the supported sizes:
//  * A height of 0, a width of 0 or a plane count of 0 screens nothing; only
//    the (possibly empty) output is cleared, and the band protocol still runs
//    (a first band allocates the lines, a last band releases them).
//  * A middle or last band that finds no persistent lines (no first band
//    before it), or lines too small for its plane count and width, allocates
//    them as a first band would (the 16-bit screens' error row primed with
//    their start value) but does not reseed the generator.
//  * When the persistent lines cannot be allocated the output is cleared, no
//    lines are held afterwards, and the call returns ERR_NO_MEMORY (20302).
#pragma once
#include "halftone/result_codes.h"

int suiruiskao(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept;
int suiruiskao2(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept;
int suiruiskao3(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept;
int suiruiskao4(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept;
int suiruiskao5(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept;
int suiruiskao6(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept;
int suiruiskao7(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept;
int suiruiskao8(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept;
int suiruiskao9(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept;
int suiruiskao10(unsigned char* source, unsigned char* dots, unsigned int width,
                 unsigned int height, unsigned int control) noexcept;
int suiruiskao11(unsigned char* source, unsigned char* dots, unsigned int width,
                 unsigned int height, unsigned int control) noexcept;
int sdiufiavs2(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept;
int sdiufiavs3(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept;
int sdiufiavs4(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept;
