#include "raster.h"

#include <sys/types.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

namespace halftone::cups_filter {

namespace {

// A header field of enum type as the number the stream held: any value may
// arrive, and only the enum's own values may be read as the enum.
template <class Enum>
unsigned raw_value(Enum const& field) {
  static_assert(sizeof(Enum) == sizeof(unsigned));
  unsigned v;
  std::memcpy(&v, &field, sizeof v);
  return v;
}

}  // namespace

std::string read_input_page(cups_page_header2_t const& header, InputPage& page) {
  page = InputPage{};
  switch (raw_value(header.cupsColorSpace)) {
    case CUPS_CSPACE_K:
      page.planes = 1;
      page.ink = true;
      break;
    case CUPS_CSPACE_W:
    case CUPS_CSPACE_SW:
      page.planes = 1;
      page.ink = false;
      break;
    case CUPS_CSPACE_CMYK:
      page.planes = 4;
      page.ink = true;
      break;
    default:
      return "colour space " + std::to_string(raw_value(header.cupsColorSpace)) +
             " cannot be screened; the filter reads K, W, SW and CMYK pages";
  }
  if (header.cupsBitsPerColor != 8)
    return "pages of " + std::to_string(header.cupsBitsPerColor) +
           " bits per colour cannot be screened; the filter reads 8-bit pages";
  switch (raw_value(header.cupsColorOrder)) {
    case CUPS_ORDER_CHUNKED:
      page.chunky = true;
      break;
    case CUPS_ORDER_BANDED:
      page.chunky = false;
      break;
    case CUPS_ORDER_PLANAR:
      // One colour is the same line either way; four would need the whole page at once.
      if (page.planes == 1) break;
      return "planar CMYK pages cannot be screened line by line; use chunky or banded order";
    default:
      return "unknown colour order " + std::to_string(raw_value(header.cupsColorOrder));
  }
  if (header.cupsWidth == 0 || header.cupsWidth > kMaxWidth || header.cupsHeight == 0)
    return "the page is " + std::to_string(header.cupsWidth) + " x " +
           std::to_string(header.cupsHeight) + " pixels";
  const std::uint64_t expected = std::uint64_t{header.cupsWidth} * page.planes;
  if (header.cupsBytesPerLine != expected)
    return "the page header gives " + std::to_string(header.cupsBytesPerLine) +
           " bytes a line where " + std::to_string(header.cupsWidth) + " pixels of " +
           std::to_string(page.planes) + " colours take " + std::to_string(expected);
  page.width = header.cupsWidth;
  page.height = header.cupsHeight;
  page.line_bytes = header.cupsBytesPerLine;
  return "";
}

void line_to_grey(InputPage const& page, unsigned char const* line, unsigned char* rows,
                  std::size_t stride) {
  // Held in locals: the byte stores could alias `page`, which would be read again every pixel.
  const unsigned char flip = page.ink ? 0xFF : 0x00;  // ink 0 is white: grey = 255 - ink
  const std::size_t width = page.width;
  const std::uint32_t planes = page.planes;
  const bool interleaved = page.chunky && planes == 4;  // else each colour is a run
  for (std::uint32_t p = 0; p < planes; ++p) {
    unsigned char* row = rows + p * stride;
    if (interleaved) {
      unsigned char const* sample = line + p;
      for (std::size_t x = 0; x < width; ++x)
        row[x] = static_cast<unsigned char>(sample[4 * x] ^ flip);
    } else {
      unsigned char const* run = line + p * width;
      for (std::size_t x = 0; x < width; ++x) row[x] = static_cast<unsigned char>(run[x] ^ flip);
    }
  }
}

cups_page_header2_t output_header(cups_page_header2_t const& input, std::uint32_t planes,
                                  int bits) {
  cups_page_header2_t out = input;
  const auto bpc = static_cast<unsigned>(bits);
  out.cupsBitsPerColor = bpc;
  out.cupsBitsPerPixel = bpc;  // one colour, or banded: a pixel of one colour run
  out.cupsNumColors = planes;
  out.cupsColorSpace = planes == 1 ? CUPS_CSPACE_K : CUPS_CSPACE_CMYK;
  out.cupsColorOrder = planes == 1 ? CUPS_ORDER_CHUNKED : CUPS_ORDER_BANDED;
  const auto run = static_cast<unsigned>((std::uint64_t{input.cupsWidth} * bpc + 7) / 8);
  out.cupsBytesPerLine = run * planes;
  return out;
}

std::size_t output_run_bytes(cups_page_header2_t const& output) {
  return (std::size_t{output.cupsWidth} * output.cupsBitsPerColor + 7) / 8;
}

void dots_to_line(cups_page_header2_t const& output, unsigned char const* dots, std::size_t stride,
                  bool invert, unsigned char* line) {
  const std::size_t run = output_run_bytes(output);
  const unsigned tail_bits =
      static_cast<unsigned>(std::size_t{output.cupsWidth} * output.cupsBitsPerColor % 8);
  const auto last_mask =
      static_cast<unsigned char>(tail_bits == 0 ? 0xFF : (0xFF00u >> tail_bits) & 0xFF);
  for (std::uint32_t p = 0; p < output.cupsNumColors; ++p) {
    unsigned char* out = line + p * run;
    std::memcpy(out, dots + p * stride, run);
    if (!invert || run == 0) continue;
    for (std::size_t i = 0; i < run; ++i) out[i] = static_cast<unsigned char>(~out[i]);
    out[run - 1] &= last_mask;
  }
}

namespace {

struct MemoryStream {
  unsigned char const* data;
  std::size_t size;
  std::size_t at = 0;
};

ssize_t read_memory(void* context, unsigned char* buffer, std::size_t length) {
  auto* stream = static_cast<MemoryStream*>(context);
  const std::size_t n = std::min(length, stream->size - stream->at);
  if (n != 0) std::memcpy(buffer, stream->data + stream->at, n);
  stream->at += n;
  return static_cast<ssize_t>(n);
}

}  // namespace

long read_raster_bytes(unsigned char const* data, std::size_t size, std::size_t budget) {
  MemoryStream stream{data, size};
  cups_raster_t* raster = cupsRasterOpenIO(read_memory, &stream, CUPS_RASTER_READ);
  if (raster == nullptr) return 0;
  long pages = 0;
  std::size_t converted = 0;
  cups_page_header2_t header;
  std::vector<unsigned char> line, rows;
  while (cupsRasterReadHeader2(raster, &header)) {
    InputPage page;
    if (!read_input_page(header, page).empty()) break;
    try {
      line.resize(page.line_bytes);
      rows.resize(std::size_t{page.planes} * page.width);
    } catch (std::bad_alloc const&) {
      break;
    }
    std::uint32_t y = 0;
    for (; y < page.height && converted < budget; ++y) {
      const auto length = static_cast<unsigned>(page.line_bytes);
      if (cupsRasterReadPixels(raster, line.data(), length) != length) break;
      line_to_grey(page, line.data(), rows.data(), page.width);
      converted += page.line_bytes;
    }
    if (y < page.height) break;
    ++pages;
  }
  cupsRasterClose(raster);
  return pages;
}

}  // namespace halftone::cups_filter
