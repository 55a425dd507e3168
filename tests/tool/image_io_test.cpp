// The image readers and writers: every input form gives the grey planes it
// describes, written pictures read back as drawn, and declared sizes are
// checked before anything large is allocated.
#include "image_io.h"

#include <gtest/gtest.h>
#include <png.h>
#include <tiffio.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

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

void save(fs::path const& path, std::string const& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

// Every page of a file: shape and line-interleaved planes.
struct Page {
  std::uint32_t width, height, planes;
  Bytes grey;
};
std::vector<Page> read_all(fs::path const& path) {
  auto reader = image::open_reader(path.string());
  std::vector<Page> pages;
  do {
    auto const& s = reader->shape();
    Page page{s.width, s.height, s.planes, Bytes(std::size_t{s.width} * s.height * s.planes)};
    for (std::uint32_t y = 0; y < s.height; ++y)  // a row at a time, as the program does
      reader->read_rows(page.grey.data() + std::size_t{y} * s.planes * s.width, s.width, 1);
    pages.push_back(page);
  } while (reader->next_page());
  return pages;
}

struct TiffPage {
  std::uint32_t width, height;
  std::uint16_t photometric, bits, samples;
  bool separate, tiled;
  Bytes samples_data;  // contiguous samples, row after row, packed
};

// A TIFF of the given pages, written with libtiff directly.
void write_tiff(fs::path const& path, std::vector<TiffPage> const& pages) {
  TIFF* t = TIFFOpen(path.c_str(), "w");
  ASSERT_NE(t, nullptr);
  for (TiffPage const& p : pages) {
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, p.width);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, p.height);
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, p.bits);
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, p.samples);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, p.photometric);
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, p.separate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    TIFFSetField(t, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    const std::size_t bytes_a_sample = p.bits / 8;
    const std::size_t row = p.width * p.samples * bytes_a_sample;
    if (p.tiled) {
      TIFFSetField(t, TIFFTAG_TILEWIDTH, 16);
      TIFFSetField(t, TIFFTAG_TILELENGTH, 16);
      Bytes tile(TIFFTileSize(t));
      for (std::uint32_t y = 0; y < p.height; y += 16)
        for (std::uint32_t x = 0; x < p.width; x += 16) {
          std::fill(tile.begin(), tile.end(), 0);
          for (std::uint32_t r = 0; r < 16 && y + r < p.height; ++r)
            for (std::uint32_t c = 0; c < 16 && x + c < p.width; ++c)
              std::memcpy(&tile[(r * 16 + c) * p.samples * bytes_a_sample],
                          &p.samples_data[(y + r) * row + (x + c) * p.samples * bytes_a_sample],
                          p.samples * bytes_a_sample);
          TIFFWriteTile(t, tile.data(), x, y, 0, 0);
        }
    } else {
      TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, 2);
      for (std::uint16_t s = 0; s < (p.separate ? p.samples : 1); ++s)
        for (std::uint32_t y = 0; y < p.height; ++y) {
          Bytes line(row);
          if (p.separate)
            for (std::uint32_t x = 0; x < p.width; ++x)
              line[x] = p.samples_data[y * row + x * p.samples + s];
          else
            std::memcpy(line.data(), &p.samples_data[y * row], row);
          TIFFWriteScanline(t, line.data(), y, s);
        }
    }
    TIFFWriteDirectory(t);
  }
  TIFFClose(t);
}

std::string png_file(int format, std::uint32_t width, std::uint32_t height, Bytes const& pixels) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = width;
  png.height = height;
  png.format = static_cast<png_uint_32>(format);
  png_alloc_size_t size = 0;
  png_image_write_to_memory(&png, nullptr, &size, 0, pixels.data(), 0, nullptr);
  std::string out(size, '\0');
  EXPECT_TRUE(png_image_write_to_memory(&png, out.data(), &size, 0, pixels.data(), 0, nullptr));
  out.resize(size);
  return out;
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

struct ReadCase {
  char const* name;
  std::function<void(fs::path const&)> make;
  std::vector<Page> expect;
};

TEST(Readers, EveryFormGivesItsGreyPlanes) {
  const std::vector<ReadCase> cases = {
      {"binary PGM",
       [](auto& p) {
         save(p, "P5\n3 1\n255\n" + bin({0, 127, 255}));
       },
       {{3, 1, 1, {0, 127, 255}}}},
      {"16-bit PGM",
       [](auto& p) {
         save(p, "P5 4 1 65535\n" + u16({0, 25700, 65535, 32768}, true));
       },
       {{4, 1, 1, {0, 100, 255, 128}}}},
      {"plain PGM, comments, maxval 15",
       [](auto& p) { save(p, "P2\n# a comment\n3 1 # more\n15\n0 15\n7\n"); },
       {{3, 1, 1, {0, 255, 119}}}},
      {"PPM by luminance",
       [](auto& p) {
         save(p, "P6 3 1 255\n" + bin({255, 0, 0, 0, 255, 0, 0, 0, 255}));
       },
       {{3, 1, 1, {76, 150, 29}}}},
      {"PBM",
       [](auto& p) { save(p, "P4 10 1\n\x80\x40"); },
       {{10, 1, 1, {0, 255, 255, 255, 255, 255, 255, 255, 255, 0}}}},
      {"PAM grey with alpha on white",
       [](auto& p) {
         save(p, "P7\nWIDTH 3\nHEIGHT 1\nDEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\n" +
                     bin({0, 0, 0, 255, 100, 128}));
       },
       {{3, 1, 1, {255, 0, 177}}}},
      {"PAM CMYK to four planes",
       [](auto& p) {
         save(p, "P7\nWIDTH 2\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\nTUPLTYPE CMYK\nENDHDR\n" +
                     bin({255, 0, 0, 0, 0, 0, 0, 128}));
       },
       {{2, 1, 4, {0, 255, 255, 255, 255, 255, 255, 127}}}},
      {"two PGM images",
       [](auto& p) { save(p, "P5 1 1 255\n\x10\nP5 2 1 255\n\x20\x30"); },
       {{1, 1, 1, {0x10}}, {2, 1, 1, {0x20, 0x30}}}},
      {"PNG RGBA",
       [](auto& p) {
         save(p, png_file(PNG_FORMAT_RGBA, 2, 1, {255, 0, 0, 255, 0, 0, 0, 0}));
       },
       {{2, 1, 1, {76, 255}}}},
      {"TIFF grey 16-bit, tiled, min-is-white",
       [](auto& p) {
         std::string s = u16({0, 65535, 32768}, false);  // host order: little-endian here
         Bytes data(s.begin(), s.end());
         data.resize(17 * 3 * 2, 0);  // three rows of 17: crosses a tile edge
         write_tiff(p, {{17, 3, PHOTOMETRIC_MINISWHITE, 16, 1, false, true, data}});
       },
       {{17, 3, 1,
         [] {
           Bytes g(51, 255);
           g[1] = 0;
           g[2] = 127;
           return g;
         }()}}},
      {"TIFF CMYK separated, two pages",
       [](auto& p) {
         const Bytes cmyk = {255, 0, 0, 0, 0, 10, 20, 30};
         write_tiff(p, {{2, 1, PHOTOMETRIC_SEPARATED, 8, 4, true, false, cmyk},
                        {1, 1, PHOTOMETRIC_RGB, 8, 3, false, false, {0, 255, 0}}});
       },
       {{2, 1, 4, {0, 255, 255, 245, 255, 235, 255, 225}}, {1, 1, 1, {150}}}},
  };
  for (ReadCase const& c : cases) {
    SCOPED_TRACE(c.name);
    const fs::path path = scratch("in");
    c.make(path);
    std::vector<Page> pages;
    ASSERT_NO_THROW(pages = read_all(path));
    ASSERT_EQ(pages.size(), c.expect.size());
    for (std::size_t i = 0; i < pages.size(); ++i) {
      EXPECT_EQ(pages[i].width, c.expect[i].width);
      EXPECT_EQ(pages[i].height, c.expect[i].height);
      EXPECT_EQ(pages[i].planes, c.expect[i].planes);
      EXPECT_EQ(pages[i].grey, c.expect[i].grey);
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
  };
  for (auto const& [name, bytes] : cases) {
    SCOPED_TRACE(name);
    const fs::path path = scratch("bad");
    save(path, bytes);
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

struct WriteCase {
  image::Format format;
  int bits;
  Bytes row;   // packed, 4 pixels
  Bytes grey;  // as read back
};

TEST(Writers, PicturesReadBackAsDrawn) {
  const Bytes dots = {0xA0}, codes2 = {0x1B}, codes4 = {0x07, 0x31};  // 1010, 0 1 2 3, 0 7 3 1
  const std::vector<WriteCase> cases = {
      {image::Format::Pbm, 1, dots, {0, 255, 0, 255}},
      {image::Format::Pgm, 1, dots, {0, 255, 0, 255}},
      {image::Format::Png, 1, dots, {0, 255, 0, 255}},
      {image::Format::Tiff, 1, dots, {0, 255, 0, 255}},
      {image::Format::Pam, 1, dots, {0, 255, 0, 255}},
      {image::Format::Pgm, 2, codes2, {255, 170, 85, 0}},
      {image::Format::Pam, 2, codes2, {255, 170, 85, 0}},
      {image::Format::Png, 2, codes2, {255, 170, 85, 0}},
      {image::Format::Tiff, 2, codes2, {255, 170, 85, 0}},
      {image::Format::Pam, 4, codes4, {255, 0, 146, 219}},
      {image::Format::Tiff, 4, codes4, {255, 136, 204, 238}},  // the codes kept, 0-15
  };
  for (WriteCase const& c : cases) {
    SCOPED_TRACE(std::string(image::format_name(c.format)) + " " + std::to_string(c.bits));
    const fs::path path = scratch("out");
    std::FILE* file = std::fopen(path.c_str(), "w+b");
    auto writer = image::make_writer(c.format, file, path.string());
    image::Picture picture;
    picture.width = 4;
    picture.height = 2;
    picture.bits = c.bits;
    picture.top_code = c.bits == 1 ? 1 : c.bits == 2 ? 3 : 7;
    writer->begin(picture);
    writer->write_row(c.row.data());
    writer->write_row(c.row.data());
    writer->end();
    writer->finish();
    std::fclose(file);
    const auto pages = read_all(path);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_EQ(pages[0].width, 4u);
    Bytes twice = c.grey;
    twice.insert(twice.end(), c.grey.begin(), c.grey.end());
    EXPECT_EQ(pages[0].grey, twice);
  }
}

TEST(Writers, FormatsByNameAndExtension) {
  EXPECT_EQ(image::format_of_path("a/b.TIF"), image::Format::Tiff);
  EXPECT_EQ(image::format_of_path("x.tiff"), image::Format::Tiff);
  EXPECT_EQ(image::format_of_path("x.pam"), image::Format::Pam);
  EXPECT_FALSE(image::format_of_path("x.xyz"));
  EXPECT_FALSE(image::format_of_path("dir.png/out"));
  EXPECT_FALSE(image::format_of_path("-"));
  EXPECT_EQ(image::format_named("RAW"), image::Format::Raw);
}

}  // namespace
}  // namespace halftone::test
