// The image readers and writers: every input form gives its grey planes,
// written pictures read back as drawn, declared sizes are checked first.
#include "image_io.h"

#include <gtest/gtest.h>
#include <png.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
// libjpeg (after cstdio, for FILE).
#include <jpeglib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tiff_file.h"

namespace halftone::test {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<unsigned char>;
using image::Error;

fs::path scratch(std::string const& name) {
  const fs::path dir = fs::temp_directory_path() / ("halftone-io-" + std::to_string(::getpid()));
  fs::create_directories(dir);
  return dir / name;
}

struct Page {
  std::uint32_t width, height, planes;
  Bytes grey;  // line-interleaved planes
};
std::vector<Page> read_all(fs::path const& path) {
  auto reader = image::open_reader(path.string());
  std::vector<Page> pages;
  do {
    auto const& s = reader->shape();
    Page page{s.width, s.height, s.planes, {}};
    // Bands of one and two rows, as the program reads them; a page may
    // declare more rows than it holds.
    Bytes band(std::size_t{s.width} * s.planes * 2);
    for (std::uint32_t y = 0, rows = 1; y < s.height; y += rows, rows = 3 - rows) {
      rows = std::min(rows, s.height - y);
      reader->read_rows(band.data(), s.width, rows);
      page.grey.insert(page.grey.end(), band.begin(), band.begin() + rows * s.width * s.planes);
    }
    pages.push_back(page);
  } while (reader->next_page());
  return pages;
}

std::string png(int format, std::uint32_t width, Bytes const& pixels) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = width;
  png.height = 1;
  png.format = static_cast<png_uint_32>(format);
  png_alloc_size_t size = 0;
  png_image_write_to_memory(&png, nullptr, &size, 0, pixels.data(), 0, nullptr);
  std::string out(size, '\0');
  EXPECT_TRUE(png_image_write_to_memory(&png, out.data(), &size, 0, pixels.data(), 0, nullptr));
  out.resize(size);
  return out;
}

// A JPEG of width x height pixels, each of the colour `pixel` (flat blocks at
// quality 100 come back exactly), baseline or progressive; CMYK with or
// without Adobe's marker.
struct JpegPicture {
  J_COLOR_SPACE space;
  Bytes pixel;
  std::uint32_t width = 3, height = 2;
  bool progressive = false, adobe = true;
};
std::string jpeg(JpegPicture const& p) {
  jpeg_compress_struct c{};
  jpeg_error_mgr errors{};
  c.err = jpeg_std_error(&errors);
  jpeg_create_compress(&c);
  unsigned char* data = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&c, &data, &size);
  c.image_width = p.width;
  c.image_height = p.height;
  c.input_components = static_cast<int>(p.pixel.size());
  c.in_color_space = p.space;
  jpeg_set_defaults(&c);
  jpeg_set_quality(&c, 100, TRUE);
  if (p.progressive) jpeg_simple_progression(&c);
  c.write_Adobe_marker = p.adobe && p.space == JCS_CMYK;
  jpeg_start_compress(&c, TRUE);
  Bytes row;
  for (std::uint32_t x = 0; x < p.width; ++x) row.insert(row.end(), p.pixel.begin(), p.pixel.end());
  for (JSAMPROW r = row.data(); c.next_scanline < p.height;) jpeg_write_scanlines(&c, &r, 1);
  jpeg_finish_compress(&c);
  jpeg_destroy_compress(&c);
  std::string out(reinterpret_cast<char*>(data), size);
  std::free(data);
  return out;
}
// The same with the frame header's size changed to width x height.
std::string jpeg_declaring(JpegPicture const& p, std::uint16_t width, std::uint16_t height) {
  std::string s = jpeg(p);
  const std::size_t frame = s.find(p.progressive ? "\xFF\xC2" : "\xFF\xC0");
  const char size[] = {char(height >> 8), char(height), char(width >> 8), char(width)};
  return s.replace(frame + 5, 4, size, 4);
}

std::string bin(std::initializer_list<int> bytes) {
  std::string s;
  for (int b : bytes) s += static_cast<char>(b);
  return s;
}

std::string u16(std::initializer_list<unsigned> values, bool big_endian) {
  std::string s;
  for (unsigned v : values) {
    const char hi = static_cast<char>(v >> 8), lo = static_cast<char>(v);
    s += big_endian ? std::string{hi, lo} : std::string{lo, hi};
  }
  return s;
}

fs::path saved(std::string const& bytes) {
  const fs::path path = scratch("in");
  std::ofstream(path, std::ios::binary) << bytes;
  return path;
}

TEST(Readers, EveryFormGivesItsGreyPlanes) {
  const std::string grey16 = u16({0, 65535, 32768}, false);  // host order: little-endian here
  Bytes tiled(grey16.begin(), grey16.end()), tiled_grey(51, 255);
  tiled.resize(17 * 3 * 2, 0);  // three rows of 17: crosses a tile edge
  tiled_grey[1] = 0;
  tiled_grey[2] = 127;
  const std::vector<std::tuple<char const*, std::string, std::vector<Page>>> cases = {
      {"binary PGM", "P5\n3 1\n255\n" + bin({0, 127, 255}), {{3, 1, 1, {0, 127, 255}}}},
      {"16-bit PGM",
       "P5 4 1 65535\n" + u16({0, 25700, 65535, 32768}, true),
       {{4, 1, 1, {0, 100, 255, 128}}}},
      {"plain PGM, comments, maxval 15",
       "P2\n# a comment\n3 1 # more\n15\n0 15\n7\n",
       {{3, 1, 1, {0, 255, 119}}}},
      {"PPM by luminance",
       "P6 3 1 255\n" + bin({255, 0, 0, 0, 255, 0, 0, 0, 255}),
       {{3, 1, 1, {76, 150, 29}}}},
      {"PBM", "P4 10 1\n\x80\x40", {{10, 1, 1, {0, 255, 255, 255, 255, 255, 255, 255, 255, 0}}}},
      {"PAM grey with alpha on white",
       "P7\nWIDTH 3\nHEIGHT 1\nDEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\n" +
           bin({0, 0, 0, 255, 100, 128}),
       {{3, 1, 1, {255, 0, 177}}}},
      {"PAM CMYK to four planes",
       "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\nTUPLTYPE CMYK\nENDHDR\n" +
           bin({255, 0, 0, 0, 0, 0, 0, 128}),
       {{2, 1, 4, {0, 255, 255, 255, 255, 255, 255, 127}}}},
      {"two PGM images",
       "P5 1 1 255\n\x10\nP5 2 1 255\n\x20\x30",
       {{1, 1, 1, {0x10}}, {2, 1, 1, {0x20, 0x30}}}},
      {"PNG RGBA", png(PNG_FORMAT_RGBA, 2, {255, 0, 0, 255, 0, 0, 0, 0}), {{2, 1, 1, {76, 255}}}},
      {"JPEG grey", jpeg({JCS_GRAYSCALE, {100}}), {{3, 2, 1, Bytes(6, 100)}}},
      {"JPEG colour by its luma", jpeg({JCS_RGB, {255, 0, 0}}), {{3, 2, 1, Bytes(6, 76)}}},
      {"JPEG progressive", jpeg({JCS_GRAYSCALE, {7}, 9, 9, true}), {{9, 9, 1, Bytes(81, 7)}}},
      {"JPEG CMYK, Adobe's inverted inks",
       jpeg({JCS_CMYK, {0, 64, 128, 255}, 1, 3}),
       {{1, 3, 4, {0, 64, 128, 255, 0, 64, 128, 255, 0, 64, 128, 255}}}},
      {"JPEG CMYK, plain inks",
       jpeg({JCS_CMYK, {0, 64, 128, 255}, 1, 3, false, false}),
       {{1, 3, 4, {255, 191, 127, 0, 255, 191, 127, 0, 255, 191, 127, 0}}}},
      {"TIFF grey 16-bit, tiled, min-is-white",
       tiff(scratch("made.tif"), {{17, 3, PHOTOMETRIC_MINISWHITE, 16, 1, false, true, tiled}}),
       {{17, 3, 1, tiled_grey}}},
      {"TIFF CMYK separated, two pages",
       tiff(scratch("made.tif"),
            {{2, 1, PHOTOMETRIC_SEPARATED, 8, 4, true, false, {255, 0, 0, 0, 0, 10, 20, 30}},
             {1, 1, PHOTOMETRIC_RGB, 8, 3, false, false, {0, 255, 0}}}),
       {{2, 1, 4, {0, 255, 255, 245, 255, 235, 255, 225}}, {1, 1, 1, {150}}}},
  };
  for (auto const& [name, bytes, expect] : cases) {
    SCOPED_TRACE(name);
    std::vector<Page> pages;
    ASSERT_NO_THROW(pages = read_all(saved(bytes)));
    ASSERT_EQ(pages.size(), expect.size());
    for (std::size_t i = 0; i < pages.size(); ++i) {
      EXPECT_EQ(pages[i].width, expect[i].width);
      EXPECT_EQ(pages[i].height, expect[i].height);
      EXPECT_EQ(pages[i].planes, expect[i].planes);
      EXPECT_EQ(pages[i].grey, expect[i].grey);
    }
  }
}

// An uncompressed TIFF page of width x height grey bytes in a file of a few bytes.
std::string lying_tiff(std::uint32_t width, std::uint32_t height) {
  const std::uint32_t entries[][3] = {{256, 4, width}, {257, 4, height}, {258, 3, 8},
                                      {259, 3, 1},     {262, 3, 1},      {273, 4, 8},
                                      {277, 3, 1},     {278, 4, height}, {279, 4, 10}};
  std::string s = "II*" + bin({0, 18, 0, 0, 0}) + std::string(10, '\0') + bin({9, 0});
  for (auto const& e : entries) {
    s += bin({int(e[0] & 0xFF), int(e[0] >> 8), int(e[1]), 0, 1, 0, 0, 0});
    for (int i = 0; i < 4; ++i) s += static_cast<char>(e[2] >> (8 * i));
  }
  return s + std::string(4, '\0');
}

TEST(Readers, RefuseBadFilesWithAReason) {
  const std::vector<std::pair<char const*, std::string>> cases = {
      {"lying size", "P5\n32768 32768\n255\n"},  // 19 bytes declaring 1 GiB
      {"lying size, plain", "P2 30000 30000 255\n1 2 3"},
      {"lying size, TIFF", lying_tiff(1000000, 4000)},
      {"truncated", "P5 4 2 255\n" + bin({1, 2, 3})},
      {"maxval 0", "P5 1 1 0\n" + bin({0})},
      {"zero width", "P5 0 1 255\n"},
      {"huge number", "P5 99999999999 1 255\n"},
      {"unknown PAM tuple", "P7\nWIDTH 1\nHEIGHT 1\nDEPTH 1\nMAXVAL 255\nTUPLTYPE FOO\nENDHDR\nx"},
      {"PAM without ENDHDR", "P7\nWIDTH 1\n"},
      {"text", "hello, world"},
      {"empty", ""},
      {"broken PNG", "\x89PNG\r\n\x1a\n" + bin({0, 0, 0, 13}) + "IHDR"},
      {"broken TIFF", "II*" + bin({0, 255, 255, 0, 0})},
      {"broken JPEG", "\xFF\xD8\xFF" + bin({0xC0, 0, 2})},
      {"truncated JPEG", jpeg({JCS_RGB, {1, 2, 3}, 64, 64}).substr(0, 400)},
      {"lying size, JPEG", jpeg_declaring({JCS_GRAYSCALE, {9}, 16, 16}, 65000, 65000)},
      {"lying size, progressive JPEG",
       jpeg_declaring({JCS_GRAYSCALE, {9}, 16, 16, true}, 65000, 65000)},
  };
  for (auto const& [name, bytes] : cases) {
    SCOPED_TRACE(name);
    const fs::path path = saved(bytes);
    try {
      read_all(path);
      ADD_FAILURE() << "accepted";
    } catch (Error const& e) {
      EXPECT_NE(std::string(e.what()).find(path.string()), std::string::npos) << e.what();
    }
  }
}

// From a pipe the size is not known ahead: a short file fails as it is read.
TEST(Readers, ShortStreamFailsWhileReading) {
  std::string bytes = "P5 4 3 255\n" + std::string(6, '\x40');
  std::FILE* stream = fmemopen(bytes.data(), bytes.size(), "rb");
  auto reader = image::open_reader(stream, "pipe");
  Bytes row(4);
  reader->read_rows(row.data(), 4, 1);
  EXPECT_THROW(reader->read_rows(row.data(), 4, 1), Error);
  std::fclose(stream);
}

TEST(Writers, PicturesReadBackAsDrawn) {
  using F = image::Format;
  struct Case {
    int bits;
    Bytes row, grey;  // 4 pixels packed; as read back
    std::vector<F> formats;
  };
  const std::vector<Case> cases = {
      {1, {0xA0}, {0, 255, 0, 255}, {F::Pbm, F::Pgm, F::Png, F::Tiff, F::Pam}},  // 1010
      {2, {0x1B}, {255, 170, 85, 0}, {F::Pgm, F::Pam, F::Png, F::Tiff}},         // 0 1 2 3
      {4, {0x07, 0x31}, {255, 0, 146, 219}, {F::Pam, F::Pgm, F::Png}},           // 0 7 3 1
      {4, {0x07, 0x31}, {255, 136, 204, 238}, {F::Tiff}},  // the codes kept, 0-15
  };
  for (auto const& [bits, row, grey, formats] : cases)
    for (F format : formats) {
      SCOPED_TRACE(std::string(image::format_name(format)) + " " + std::to_string(bits));
      const fs::path path = scratch("out");
      std::FILE* file = std::fopen(path.c_str(), "w+b");
      auto writer = image::make_writer(format, file, path.string());
      image::Picture picture;
      picture.width = 4;
      picture.height = 2;
      picture.bits = bits;
      picture.top_code = bits == 1 ? 1 : bits == 2 ? 3 : 7;
      writer->begin(picture);
      writer->write_row(row.data());
      writer->write_row(row.data());
      writer->end();
      writer->finish();
      std::fclose(file);
      const auto pages = read_all(path);
      ASSERT_EQ(pages.size(), 1u);
      EXPECT_EQ(pages[0].width, 4u);
      Bytes twice = grey;
      twice.insert(twice.end(), grey.begin(), grey.end());
      EXPECT_EQ(pages[0].grey, twice);
    }
}

}  // namespace
}  // namespace halftone::test
