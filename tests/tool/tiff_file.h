// Files for the tests of the program and its image readers.
#pragma once
#include <tiffio.h>

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace halftone::test {

inline std::string slurp(std::filesystem::path const& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

struct TiffPage {
  std::uint32_t width, height;
  std::uint16_t photometric, bits, samples;
  bool separate, tiled;
  std::vector<unsigned char> data;  // contiguous samples, row after row, packed
};

// Writes a TIFF of the given pages at `path` with libtiff directly; gives its bytes.
inline std::string tiff(std::filesystem::path const& path, std::vector<TiffPage> const& pages) {
  TIFF* t = TIFFOpen(path.c_str(), "w");
  for (TiffPage const& p : pages) {
    TIFFSetField(t, TIFFTAG_IMAGEWIDTH, p.width);
    TIFFSetField(t, TIFFTAG_IMAGELENGTH, p.height);
    TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, p.bits);
    TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, p.samples);
    TIFFSetField(t, TIFFTAG_PHOTOMETRIC, p.photometric);
    TIFFSetField(t, TIFFTAG_PLANARCONFIG, p.separate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    TIFFSetField(t, TIFFTAG_COMPRESSION, COMPRESSION_LZW);
    const std::size_t pixel = p.samples * p.bits / 8, row = p.width * pixel;
    if (p.tiled) {
      TIFFSetField(t, TIFFTAG_TILEWIDTH, 16);
      TIFFSetField(t, TIFFTAG_TILELENGTH, 16);
      for (std::uint32_t y = 0; y < p.height; y += 16)
        for (std::uint32_t x = 0; x < p.width; x += 16) {
          std::vector<unsigned char> tile(TIFFTileSize(t), 0);
          for (std::uint32_t r = 0; r < 16 && y + r < p.height; ++r)
            for (std::uint32_t c = 0; c < 16 && x + c < p.width; ++c)
              std::memcpy(&tile[(r * 16 + c) * pixel], &p.data[(y + r) * row + (x + c) * pixel],
                          pixel);
          TIFFWriteTile(t, tile.data(), x, y, 0, 0);
        }
    } else {
      TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, 2);
      for (std::uint16_t s = 0; s < (p.separate ? p.samples : 1); ++s)
        for (std::uint32_t y = 0; y < p.height; ++y) {
          std::vector<unsigned char> line(&p.data[y * row], &p.data[y * row] + row);
          if (p.separate)
            for (std::uint32_t x = 0; x < p.width; ++x)
              line[x] = p.data[y * row + x * p.samples + s];
          TIFFWriteScanline(t, line.data(), y, s);
        }
    }
    TIFFWriteDirectory(t);
  }
  TIFFClose(t);
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

}  // namespace halftone::test
