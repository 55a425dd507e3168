// Raster in and out of rastertohalftone: lines to grey rows, paper bits, cut streams.
#include "raster.h"

#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstring>
#include <string>
#include <vector>

namespace halftone::cups_filter {
namespace {

cups_page_header2_t header_of(cups_cspace_t space, cups_order_t order, unsigned colours,
                              unsigned width, unsigned height = 2) {
  cups_page_header2_t h;
  std::memset(&h, 0, sizeof h);
  h.cupsWidth = width;
  h.cupsHeight = height;
  h.cupsBitsPerColor = 8;
  h.cupsBitsPerPixel = order == CUPS_ORDER_CHUNKED ? 8 * colours : 8;
  h.cupsBytesPerLine = width * colours;
  h.cupsColorOrder = order;
  h.cupsColorSpace = space;
  h.cupsNumColors = colours;
  h.HWResolution[0] = h.HWResolution[1] = 100;
  return h;
}

struct GreyCase {
  char const* name;
  cups_cspace_t space;
  cups_order_t order;
  unsigned colours;
  std::vector<unsigned char> line;               // three pixels
  std::vector<std::vector<unsigned char>> grey;  // a row a plane, 0 black
};

TEST(RasterInput, LinesBecomeGreyPlanes) {
  const GreyCase cases[] = {
      {"K: ink", CUPS_CSPACE_K, CUPS_ORDER_CHUNKED, 1, {0, 100, 255}, {{255, 155, 0}}},
      {"K planar", CUPS_CSPACE_K, CUPS_ORDER_PLANAR, 1, {0, 100, 255}, {{255, 155, 0}}},
      {"W: grey", CUPS_CSPACE_W, CUPS_ORDER_CHUNKED, 1, {0, 100, 255}, {{0, 100, 255}}},
      {"SW: grey", CUPS_CSPACE_SW, CUPS_ORDER_BANDED, 1, {7, 128, 250}, {{7, 128, 250}}},
      {"CMYK chunky",
       CUPS_CSPACE_CMYK,
       CUPS_ORDER_CHUNKED,
       4,
       {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 255},
       {{254, 250, 246}, {253, 249, 245}, {252, 248, 244}, {251, 247, 0}}},
      {"CMYK banded",
       CUPS_CSPACE_CMYK,
       CUPS_ORDER_BANDED,
       4,
       {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 255},
       {{254, 253, 252}, {251, 250, 249}, {248, 247, 246}, {245, 244, 0}}},
  };
  for (GreyCase const& c : cases) {
    SCOPED_TRACE(c.name);
    InputPage page;
    ASSERT_EQ(read_input_page(header_of(c.space, c.order, c.colours, 3), page), "");
    ASSERT_EQ(page.planes, c.grey.size());
    const std::size_t stride = 8;  // wider than a row: rows land at their stride
    std::vector<unsigned char> rows(stride * page.planes, 0xEE);
    line_to_grey(page, c.line.data(), rows.data(), stride);
    for (std::size_t p = 0; p < c.grey.size(); ++p) {
      EXPECT_EQ(
          std::vector<unsigned char>(rows.begin() + p * stride, rows.begin() + p * stride + 3),
          c.grey[p])
          << "plane " << p;
      EXPECT_EQ(rows[p * stride + 3], 0xEE) << "written past the row";
    }
  }
}

// Bit depth, RGB, line length and empty pages are refused end to end by bad_input.
TEST(RasterInput, RefusesPlanarCmyk) {
  InputPage page;
  EXPECT_NE(
      read_input_page(header_of(CUPS_CSPACE_CMYK, CUPS_ORDER_PLANAR, 4, 10), page).find("planar"),
      std::string::npos);
}

struct Memory {
  std::vector<unsigned char> bytes;
};

ssize_t write_memory(void* context, unsigned char* buffer, std::size_t length) {
  auto* m = static_cast<Memory*>(context);
  m->bytes.insert(m->bytes.end(), buffer, buffer + length);
  return static_cast<ssize_t>(length);
}

TEST(RasterOutput, PaperBitsAreFlippedWithinThePage) {
  const cups_page_header2_t in = header_of(CUPS_CSPACE_CMYK, CUPS_ORDER_BANDED, 4, 13);
  const cups_page_header2_t out = output_header(in, 4, 1);
  // Four rows of 13 pixels, stride 4: plane p has its first p pixels set.
  std::vector<unsigned char> dots = {0x00, 0, 0, 0, 0x80, 0, 0, 0, 0xC0, 0, 0, 0, 0xE0, 0, 0, 0};
  std::vector<unsigned char> line(out.cupsBytesPerLine, 0x55);
  dots_to_line(out, dots.data(), 4, true, line.data());
  EXPECT_EQ(line, (std::vector<unsigned char>{0xFF, 0xF8, 0x7F, 0xF8, 0x3F, 0xF8, 0x1F, 0xF8}));
}

std::vector<unsigned char> k_stream(unsigned pages, unsigned width, unsigned height) {
  Memory memory;
  cups_raster_t* writer = cupsRasterOpenIO(write_memory, &memory, CUPS_RASTER_WRITE_COMPRESSED);
  for (unsigned page = 0; page < pages; ++page) {
    cups_page_header2_t h = header_of(CUPS_CSPACE_K, CUPS_ORDER_CHUNKED, 1, width, height);
    cupsRasterWriteHeader2(writer, &h);
    for (unsigned y = 0; y < height; ++y) {
      std::vector<unsigned char> line(width);
      for (unsigned x = 0; x < width; ++x) line[x] = static_cast<unsigned char>(x * 7 + y * 13);
      cupsRasterWritePixels(writer, line.data(), width);
    }
  }
  cupsRasterClose(writer);
  return memory.bytes;
}

TEST(RasterInput, StreamsEndAtTheirFirstFault) {
  const std::vector<unsigned char> two = k_stream(2, 40, 30);
  EXPECT_EQ(read_raster_bytes(two.data(), two.size()), 2);
  EXPECT_EQ(read_raster_bytes(two.data(), two.size() - 20), 1) << "cut in page 2";
  EXPECT_EQ(read_raster_bytes(two.data(), 4 + sizeof(cups_page_header2_t) + 10), 0);
  EXPECT_EQ(read_raster_bytes(two.data(), 3), 0) << "no whole sync word";
  const std::vector<unsigned char> noise(2000, 0x5A);
  EXPECT_EQ(read_raster_bytes(noise.data(), noise.size()), 0);
  EXPECT_EQ(read_raster_bytes(two.data(), two.size(), 40 * 30), 1) << "budget spent in page 2";
}

}  // namespace
}  // namespace halftone::cups_filter
