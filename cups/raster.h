// CUPS raster in and out of rastertohalftone: which input pages the filter
// screens, how an input line becomes grey rows for the library, and how the
// library's dot rows become output lines.
#pragma once
#include <cups/raster.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace halftone::cups_filter {

// The largest page width read (the raster format's own limit).
constexpr std::uint32_t kMaxWidth = 0x00FFFFFF;

// What an input page holds, taken from its header.
struct InputPage {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t planes = 0;    // 1 (K, W, SW) or 4 (CMYK)
  bool chunky = true;          // a pixel's samples side by side; else one run a colour
  bool ink = true;             // samples are ink (K, CMYK); W and SW samples are the grey
  std::size_t line_bytes = 0;  // one raster line, all colours
};

// Checks that the filter can read a page with this header and describes it.
// Returns "" when it can, else why not (for an ERROR: line).
std::string read_input_page(cups_page_header2_t const& header, InputPage& page);

// Turns one raster line into `page.planes` grey rows (0 black, 255 white):
// plane p goes to rows + p * stride, C M Y K in that order.
void line_to_grey(InputPage const& page, unsigned char const* line, unsigned char* rows,
                  std::size_t stride);

// The header of the screened page: the input's, with `planes` colours of
// `bits` bits (1, 2 or 4). One plane is written as K, four as CMYK in banded
// order (each line holds the C, M, Y and K runs one after the other), which is
// the library's line-interleaved layout row by row.
cups_page_header2_t output_header(cups_page_header2_t const& input, std::uint32_t planes, int bits);

// Bytes of one colour's run in an output line.
std::size_t output_run_bytes(cups_page_header2_t const& output);

// Builds one output line from `planes` dot rows (row p at dots + p * stride).
// With `invert`, every pixel's bit is flipped (for screens whose set bit is
// paper); bits past the last pixel stay 0.
void dots_to_line(cups_page_header2_t const& output, unsigned char const* dots, std::size_t stride,
                  bool invert, unsigned char* line);

// Reads a whole raster stream held in memory as the filter does: each header
// checked, each line read and turned into grey rows, until the stream ends,
// a header is refused or a line is short, or `budget` line bytes have been
// converted. Returns the number of whole pages read. For the fuzz target.
long read_raster_bytes(unsigned char const* data, std::size_t size,
                       std::size_t budget = std::size_t{64} << 20);

}  // namespace halftone::cups_filter
