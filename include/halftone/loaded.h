// Screen data file loaders and the screens that apply the loaded data.
// Files are read from "<data folder>/Moths/<fileName>". A null name, or one
// that names a folder, counts as a file that cannot be opened.
#pragma once
#include "halftone/result_codes.h"

// Pattern banks: 256 images of patternHeight rows, the first for grey 255 and
// the last for grey 0; rows of patternWidth / 8 bytes (KaiDuaning, one bit a
// pixel) or (patternWidth x 2) / 8 bytes (NingJing, two bits a pixel). The
// run masks and the pattern geometry are rewritten first, even when the load
// then fails. NingJing then clears row bytes x height bytes from the start of
// the grey-255 pattern (a fixed byte count at a 64-byte row pitch: rows
// 0..15 of a 64 x 64 pattern). Returns 0, ERR_FILE_OPEN when the file cannot
// be opened, ERR_FILE_READ on a short read (the rows read so far are kept; a
// width below 8 gives empty rows, whose read counts as failed) or
// ERR_LOAD_FAULT.
//
// Choices for input the stores cannot hold:
//  * a width or height below 0 or above 256 is refused with ERR_LOAD_FAULT
//    after the masks and geometry were written and the file was opened, and
//    before any pattern changes (a missing file still gives ERR_FILE_OPEN);
//  * the file is closed on every path, the short read included.
int KaiDuaning(char const* fileName, int patternWidth, int patternHeight) noexcept;
int NingJing(char const* fileName, int patternWidth, int patternHeight) noexcept;
// 8-bit BMP threshold matrix: the pixel-data offset, width and height are
// taken from the headers, rows are stored bottom-up and each takes exactly
// width bytes (row padding is read as pixels). PuaningFa13 then turns every
// entry of the whole 256 x 256 matrix t into the offset trunc((t - 127) x 0.4)
// for the offset-matrix screens, after a complete read only. Both return 0
// whatever happens: a missing file or a short header changes nothing, a short
// read keeps the bytes read so far.
//
// Choices for input the matrix cannot hold:
//  * a row wider than 256 bytes keeps its first 256 and the rest is read and
//    dropped; rows that fall above row 255 are read and dropped;
//  * a negative width fails as a short read before any row; a negative height
//    or a width of 0 reads no rows and counts as complete;
//  * a pixel-data offset the stream cannot reach reads no rows (a short read).
int PuaningFa(char const* fileName, int, int) noexcept;
int PuaningFa13(char const* fileName, int, int) noexcept;
// Text threshold blocks: decimal numbers separated by spaces and carriage
// returns; every other byte, line feeds included, belongs to a number, which
// is converted as atoi does and kept as its low 16 bits. The file's last byte
// is never examined, so "1 2 3" stores 1 and 2 and "1 2 3\r\n" all three. The
// n-th number goes to block n / 256, row (n / 16) mod 16, column n mod 16.
// All 65536 entries are cleared once the file has been read. Returns 0
// whatever happens.
//
// Choices: a number longer than 19 characters is converted from its first 19;
// numbers after the 65536th are dropped; an empty file clears the blocks; the
// read buffer is released (no buffer is kept from call to call).
int NiceMents(char const* fileName, int, int) noexcept;
// Does nothing. Returns 0.
int PuaningFaAM(char const* fileName, int, int) noexcept;

// Run-length pattern screens: each row is walked in runs of equal grey, each
// run copied from its grey's pattern (whole bytes, wrapping at the pattern
// row; partial first and last bytes merged through the masks of the last
// pattern load, applied as they stand even when they are the other loader's).
// A run that starts at a row's last pixel is never copied, so that pixel
// stays white and a row of one pixel gets no dots. Only the plane count of
// the control word is read; the pattern restarts at row 0 of every call.
// Returns 0.
//
// Sonicksure tiles the pattern at the geometry of the last pattern load.
// Choices:
//  * a geometry that describes no pattern inside the bank (no load yet, a
//    width below 8, or the sizes of a refused load) clears the output and
//    screens nothing;
//  * a pattern row longer than the one-bit bank's 32-byte row (the geometry
//    of a wide two-bit load) reads on into the next stored row, and reads past
//    the end of the bank as 0;
//  * with a pattern width that is not a multiple of 8, byte indices into the
//    pattern row wrap modulo the row length; a run's last partial byte that
//    would fall past the end of the output row is not written.
int Sonicksure(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept;
// The one-bit bank as fixed 256 x 256 tiles, whatever size was loaded (rows
// and columns beyond a smaller load show what the bank holds there). The two
// names give the same output.
int MutexWindow(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
                unsigned int control) noexcept;
int MutexWindow_Bak(unsigned char* source, unsigned char* dots, unsigned int width,
                    unsigned int height, unsigned int control) noexcept;
// The two-bit bank as fixed 256 x 256 tiles, four pixels a byte.
int TextDownload(unsigned char* source, unsigned char* dots, int width, int height,
                 unsigned int control) noexcept;
// Threshold against the loaded 256 x 256 matrix: a dot where grey <= entry;
// plane p reads the matrix 16 p rows down and 16 p columns right (mod 256).
// Returns 0.
int WindowText(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept;
// Built-in 16 x 16 clustered-dot matrix A: a dot where grey < 2 A - 1. Adds
// the call's height to a per-plane row count (any number of planes), which
// does not affect the output. Returns 0.
int WindowTextAM1(unsigned char* source, unsigned char* dots, unsigned int width,
                  unsigned int height, unsigned int control) noexcept;
// Built-in matrix B, the same test, the grey values passed through the
// shared lines of the banded integer screens: each plane's first row adds the
// carry line's first width entries (then cleared), so the output is a plain
// threshold whenever the lines are fresh. Band position 1 takes new zeroed
// lines, 3 releases them; a plane count of 0 only clears (nothing else
// happens). Choice: a band that finds no lines, or lines too small, takes new
// zeroed ones as a first band would. Returns 0.
int WindowTextAM(unsigned char* source, unsigned char* dots, int width, int height,
                 unsigned int control) noexcept;
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
int CrisixOut(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
              unsigned int control) noexcept;
// CrisixOut in double precision on its own three lines (so its jobs may run
// between another family's bands): a dot at t <= 128.0, half = t * 0.5, and
// an offset table of its own that nothing fills, so every offset is 0.
int CrisixOut_double(unsigned char* source, unsigned char* dots, unsigned int width,
                     unsigned int height, unsigned int control) noexcept;
// The block-offset frame without offsets: after the dot test the error is
// biased by the second tone curve at even columns going right and the first
// at odd columns going left (curve 0, all zeros, until Itsdiufiavs selects
// others), then split by one full 31-bit draw a pixel with grey-dependent
// rules (thirds, halves, all or nothing; for greys up to 140 the cases of
// draws 1 and 2 are exchanged between the directions). The random sequence
// runs on across the bands of a job. Returns 0.
int CrisixOut31(unsigned char* source, unsigned char* dots, int width, int height,
                unsigned int control) noexcept;
