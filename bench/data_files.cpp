#include "data_files.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <vector>

namespace halftone::bench {
namespace {

namespace fs = std::filesystem;

// A dispersed order of the 256 x 256 cells (bits of x ^ y and y interleaved
// and reversed), scaled to 0-255: the threshold of a cell.
unsigned dispersed(unsigned x, unsigned y) {
  unsigned v = 0;
  for (int bit = 7; bit >= 0; --bit) {
    v = v << 1 | (((x ^ y) >> bit) & 1u);
    v = v << 1 | ((y >> bit) & 1u);
  }
  unsigned reversed = 0;
  for (int bit = 0; bit < 16; ++bit) reversed |= ((v >> bit) & 1u) << (15 - bit);
  return reversed >> 8;
}

void put32(std::vector<unsigned char>& b, std::size_t at, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) b[at + i] = static_cast<unsigned char>(v >> (8 * i));
}

bool write(std::string const& path, std::vector<unsigned char> const& bytes) {
  std::ofstream f(path, std::ios::binary);
  f.write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  return static_cast<bool>(f);
}

// A bank of 256 patterns, white first (the order of the files), `bits` a pixel:
// grey g puts the darkest code where the cell's threshold is above g.
std::vector<unsigned char> pattern_bank(int width, int height, unsigned bits) {
  const std::size_t row = static_cast<std::size_t>(width) * bits / 8;
  std::vector<unsigned char> bank;
  bank.reserve(256 * row * static_cast<std::size_t>(height));
  for (int n = 0; n < 256; ++n) {
    const unsigned grey = 255u - static_cast<unsigned>(n);
    for (int y = 0; y < height; ++y)
      for (std::size_t byte = 0; byte < row; ++byte) {
        unsigned v = 0;
        for (unsigned k = 0; k < 8 / bits; ++k) {
          const unsigned x = static_cast<unsigned>(byte * (8 / bits) + k);
          const unsigned t = dispersed(x % 256u, static_cast<unsigned>(y) % 256u);
          const unsigned code = t > grey ? (1u << bits) - 1u : 0u;
          v = v << bits | code;
        }
        bank.push_back(static_cast<unsigned char>(v));
      }
  }
  return bank;
}

std::vector<unsigned char> matrix_bmp() {
  const std::uint32_t offset = 14 + 40 + 1024;
  std::vector<unsigned char> b(offset + 256 * 256, 0);
  b[0] = 'B';
  b[1] = 'M';
  put32(b, 2, static_cast<std::uint32_t>(b.size()));
  put32(b, 10, offset);
  put32(b, 14, 40);
  put32(b, 18, 256);  // width
  put32(b, 22, 256);  // height
  b[26] = 1;          // planes
  b[28] = 8;          // bits a pixel
  for (unsigned i = 0; i < 256; ++i)
    for (unsigned c = 0; c < 3; ++c) b[14 + 40 + 4 * i + c] = static_cast<unsigned char>(i);
  for (unsigned y = 0; y < 256; ++y)
    for (unsigned x = 0; x < 256; ++x)
      b[offset + y * 256 + x] = static_cast<unsigned char>(dispersed(x, y));
  return b;
}

std::vector<unsigned char> block_text() {
  std::string text;
  for (unsigned k = 0; k < 256; ++k)
    for (unsigned r = 0; r < 16; ++r) {
      for (unsigned c = 0; c < 16; ++c) {
        const int v = static_cast<int>(dispersed(c * 16 + k % 16, r * 16 + k / 16) / 4) - 32;
        text += std::to_string(v);
        text += ' ';
      }
      text += "\r\n";
    }
  return {text.begin(), text.end()};
}

struct Folder {
  fs::path path;
  ~Folder() {
    std::error_code ignored;
    if (!path.empty()) fs::remove_all(path, ignored);
  }
};

}  // namespace

DataFiles const& data_files(int pattern_width, int pattern_height) {
  static Folder folder;
  static std::map<std::pair<int, int>, std::unique_ptr<DataFiles>> made;
  auto& files = made[{pattern_width, pattern_height}];
  if (files) return *files;
  files = std::make_unique<DataFiles>();
  std::error_code error;
  if (folder.path.empty()) {
    folder.path =
        fs::temp_directory_path(error) /
        ("halftone-bench-" + std::to_string(static_cast<unsigned long long>(
                                 std::chrono::steady_clock::now().time_since_epoch().count())));
    if (error || !fs::create_directories(folder.path, error)) {
      folder.path.clear();
      return *files;
    }
  }
  const std::string size = std::to_string(pattern_width) + "x" + std::to_string(pattern_height);
  DataFiles f;
  f.folder = folder.path.string();
  f.pattern = (folder.path / ("pattern-" + size + ".bin")).string();
  f.pattern2 = (folder.path / ("pattern2-" + size + ".bin")).string();
  f.matrix = (folder.path / "matrix.bmp").string();
  f.blocks = (folder.path / "blocks.txt").string();
  if (write(f.pattern, pattern_bank(pattern_width, pattern_height, 1)) &&
      write(f.pattern2, pattern_bank(pattern_width, pattern_height, 2)) &&
      write(f.matrix, matrix_bmp()) && write(f.blocks, block_text()))
    *files = f;
  return *files;
}

}  // namespace halftone::bench
