#include "demo_data.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <tuple>

#include "exports/catalog.h"

namespace halftone::tool {
namespace {

constexpr int kTile = 16;  // every demo file is built on a 16 x 16 tile
constexpr int kCell = 8;   // of four 8 x 8 clustered-dot cells

// The order in which the tile's pixels take ink: each cell grows a round dot
// from its centre, the four cells taking turns.
std::array<int, kTile * kTile> clustered_ranks() {
  std::array<int, kTile * kTile> order{};
  std::iota(order.begin(), order.end(), 0);
  auto key = [](int i) {
    const int x = i % kTile, y = i / kTile;
    const double dx = x % kCell - 3.5, dy = y % kCell - 3.5;
    const int cell = (y / kCell) * 2 + ((x / kCell) ^ (y / kCell));
    return std::tuple(std::round((dx * dx + dy * dy) * 4), std::atan2(dy, dx), cell);
  };
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return key(a) < key(b); });
  std::array<int, kTile * kTile> rank{};
  for (int r = 0; r < kTile * kTile; ++r) rank[order[r]] = r;
  return rank;
}

// Ink for grey g on a scale of `steps` units a pixel, the whole tile full at 0.
int ink_units(int grey, int steps) {
  return static_cast<int>(std::lround((255 - grey) * kTile * kTile * steps / 255.0));
}

// 256 patterns, the white one (grey 255) first, rows of kTile x bits / 8 bytes.
std::vector<unsigned char> pattern_bank(int bits) {
  const auto rank = clustered_ranks();
  const int levels = (1 << bits) - 1;
  const int row_bytes = kTile * bits / 8;
  std::vector<unsigned char> bank;
  for (int grey = 255; grey >= 0; --grey) {
    const int ink = ink_units(grey, levels);
    for (int y = 0; y < kTile; ++y) {
      std::vector<unsigned char> row(row_bytes, 0);
      for (int x = 0; x < kTile; ++x) {
        const int code = std::clamp(ink - levels * rank[y * kTile + x], 0, levels);
        const int shift = 8 - bits - (x * bits) % 8;
        row[(x * bits) / 8] |= static_cast<unsigned char>(code << shift);
      }
      bank.insert(bank.end(), row.begin(), row.end());
    }
  }
  return bank;
}

void put32(std::vector<unsigned char>& out, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<unsigned char>(v >> (8 * i)));
}
void put16(std::vector<unsigned char>& out, unsigned v) {
  out.push_back(static_cast<unsigned char>(v));
  out.push_back(static_cast<unsigned char>(v >> 8));
}

// A 256 x 256 8-bit BMP of the tiled thresholds: a pixel of grey v is a dot
// where v <= threshold, so the thresholds run from 0 to 254.
std::vector<unsigned char> threshold_bmp() {
  constexpr std::uint32_t kSide = 256, kPalette = 256 * 4, kOffset = 14 + 40 + kPalette;
  const auto rank = clustered_ranks();
  std::vector<unsigned char> bmp = {'B', 'M'};
  put32(bmp, kOffset + kSide * kSide);
  put32(bmp, 0);
  put32(bmp, kOffset);
  put32(bmp, 40);
  put32(bmp, kSide);
  put32(bmp, kSide);
  put16(bmp, 1);
  put16(bmp, 8);
  for (int i = 0; i < 6; ++i) put32(bmp, i == 2 || i == 3 ? 2835 : (i == 4 ? 256 : 0));
  for (unsigned i = 0; i < 256; ++i) put32(bmp, i * 0x010101u);
  for (std::uint32_t row = 0; row < kSide; ++row) {  // bottom-up, as bitmaps are
    const std::uint32_t y = kSide - 1 - row;
    for (std::uint32_t x = 0; x < kSide; ++x)
      bmp.push_back(static_cast<unsigned char>(rank[(y % kTile) * kTile + x % kTile] * 255 / 256));
  }
  return bmp;
}

// 256 blocks (one a grey value) of 16 lines of 16 offsets; line r lists tile
// column r from the top row down. The offsets pull the diffusion toward the
// clustered cells: negative (darker) near the dot centres.
std::vector<unsigned char> threshold_blocks() {
  const auto rank = clustered_ranks();
  std::string text;
  for (int block = 0; block < 256; ++block)
    for (int column = 0; column < kTile; ++column) {
      for (int row = 0; row < kTile; ++row)
        text += std::to_string((rank[row * kTile + column] - 128) / 8) + ' ';
      text += "\r\n";
    }
  return {text.begin(), text.end()};
}

}  // namespace

std::vector<DemoFile> make_demo_files() {
  return {
      {kNeedsPattern1, "demo1.pat", pattern_bank(1)},
      {kNeedsPattern2, "demo2.pat", pattern_bank(2)},
      {kNeedsMatrixBmp, "demo.bmp", threshold_bmp()},
      {kNeedsBlockStack, "demo.txt", threshold_blocks()},
  };
}

}  // namespace halftone::tool
