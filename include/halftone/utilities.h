// Single-plane diffusion utilities and job pacing.
//
// The utilities screen one 8-bit grey plane (row stride the width rounded up
// to 4 bytes) into one one-bit plane (row stride padded to 32 bits, leftmost
// pixel in the most significant bit, 1 = dot) through the caller's 256-entry
// tone table, and return 0 (or ERR_NO_MEMORY, below). They keep no state
// between calls except the library's generators; each call clears its whole
// output first.
//
// Choices where the host contract leaves room (every utility):
//  * a width or height of 0 (or, for the int-sized entries, below 0) writes
//    nothing, draws nothing and returns 0: the output's size formulas give no
//    bytes, so not even a clear happens and the source is not read;
//  * tone-table values are used as given; working values and errors wrap
//    modulo 2^32 (two's complement) instead of overflowing, so any table and
//    any image are safe;
//  * when the working memory cannot be allocated the call returns
//    ERR_NO_MEMORY with its output cleared and no dots.
#pragma once
#include "halftone/result_codes.h"

// Tone-table noise diffusion: serpentine rows, each pixel's error ahead or
// below by one random bit of the utility generator, whose sequence runs on
// across calls (never reseeded). Both also reseed the screening generator from
// the clock. A dot is a working value below 128; the last row keeps the error
// in the row on a 0 and drops it on a 1.
//  * xinskdn34skx: the final pixel of the last row is a dot when its value is
//    above 127 (the inverted test), and draws nothing.
//  * shdeiznc45kdi: the last row draws from the screening generator just
//    reseeded and tests below 129 for every pixel, its final one included.
int xinskdn34skx(unsigned char* source, unsigned char* dots, unsigned int width,
                 unsigned int height, unsigned char* const toneTable) noexcept;
int shdeiznc45kdi(unsigned char* source, unsigned char* dots, unsigned int width,
                  unsigned int height, unsigned char* const toneTable) noexcept;

// Oriented random-direction diffusion: a dot is a working value below 129; the
// standard rand() rule (seeded from the clock on every call, kept inside the
// library) picks one of two neighbours, four for kajdjigc23kdh. The sixth
// argument is not used.
//  * kajdjigc23kdh: output as the source.
//  * tishduth29dmc: transposed, width rows of height pixels: source (x, y) is
//    output row x, column y.
//  * fdxin324c: rows of the source's size; left-to-right rows above the last
//    are unturned, right-to-left rows go to row height - 1 - y, byte
//    (width - 1 - x) / 8, and a left-to-right last row to row 0, byte
//    (width - 1) / 8, both at bit (x + 8 - height % 8) % 8 counted from the
//    least significant end. Such bits may fall into the row padding.
//  * nchsuw56xd: upside down: source row y is output row height - 1 - y.
// The reference entries write into the image `dots` points to and leave the
// pointer as it is:
//  * ixndiwkc76y: transposed as tishduth29dmc, through a scratch image.
//  * sdicxx78xy: a clockwise quarter turn through a scratch image: width rows
//    of height pixels, source (x, y) is output row x, column height - 1 - y.
//  * ghskdjiekld: anti-transposed, width rows of height pixels: source (x, y)
//    is output row width - 1 - x, column height - 1 - y.
int kajdjigc23kdh(unsigned char* source, unsigned char* dots, int width, int height,
                  int* const toneTable, unsigned char*) noexcept;
int tishduth29dmc(unsigned char* source, unsigned char* dots, int width, int height,
                  int* const toneTable, unsigned char*) noexcept;
int fdxin324c(unsigned char* source, unsigned char* dots, int width, int height,
              int* const toneTable, unsigned char*) noexcept;
int nchsuw56xd(unsigned char* source, unsigned char* dots, int width, int height,
               int* const toneTable, unsigned char*) noexcept;
int ixndiwkc76y(unsigned char* source, unsigned char*& dots, int width, int height,
                int* const toneTable, unsigned char*) noexcept;
int sdicxx78xy(unsigned char* source, unsigned char*& dots, int width, int height,
               int* const toneTable, unsigned char*) noexcept;
int ghskdjiekld(unsigned char* source, unsigned char*& dots, int width, int height,
                int* const toneTable, unsigned char*) noexcept;

// Job pacing on two process-wide auto-reset events (portable: no platform
// event objects).
//  * khjhusecx creates the ready event signalled and the done event not
//    signalled, replacing (and releasing) any pair made before; returns 0.
//  * sinxcdke34i waits on the done event up to 50 times `timeout` ms, then on
//    the ready event up to 30 times; returns 2 if the ready event never came,
//    else 1 if the done event never came, else 0. Without created events it
//    returns 0 at once. A timeout of 0xFFFFFFFF waits without limit.
//  * giwncwcg7w closes both events and returns 1, also when none exist.
// The library never signals the events itself. DouMaxing, DuanKougb and
// YountTrue do nothing and return 0.
int khjhusecx() noexcept;
int sinxcdke34i(unsigned int timeout) noexcept;
int giwncwcg7w() noexcept;
int DouMaxing() noexcept;
int DuanKougb() noexcept;
int YountTrue() noexcept;
