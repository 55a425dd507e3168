#include "demo_data.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numeric>
#include <string>
#include <tuple>

namespace halftone::tool {
namespace {

constexpr int kTile = 16;  // the matrix and block files repeat a 16 x 16 tile
constexpr int kCell = 8;   // cells of 8 x 8 pixels grow one dot each

// The order in which a width x height tile's pixels take ink: each cell (8 x
// 8, or the tile's height when that is not a multiple of 8) grows a round
// dot from its centre, the cells taking turns in a checkerboard.
std::vector<int> clustered_ranks(int width, int height) {
  const int cell_w = std::min(width, kCell), cell_h = height % kCell == 0 ? kCell : height;
  const int cells_x = width / cell_w;
  const int count = width * height;
  std::vector<int> order(count);
  std::iota(order.begin(), order.end(), 0);
  auto key = [&](int i) {
    const int x = i % width, y = i / width;
    const double dx = x % cell_w - (cell_w - 1) / 2.0, dy = y % cell_h - (cell_h - 1) / 2.0;
    const int cx = x / cell_w, cy = y / cell_h;
    const int cell = ((cx + cy) % 2) * (1 << 20) + cy * cells_x + cx;
    return std::tuple(std::round((dx * dx + dy * dy) * 4), std::atan2(dy, dx), cell);
  };
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return key(a) < key(b); });
  std::vector<int> rank(count);
  for (int r = 0; r < count; ++r) rank[order[r]] = r;
  return rank;
}

void put32(std::vector<unsigned char>& out, std::uint32_t v) {
  for (int i = 0; i < 4; ++i) out.push_back(static_cast<unsigned char>(v >> (8 * i)));
}
void put16(std::vector<unsigned char>& out, unsigned v) {
  out.push_back(static_cast<unsigned char>(v));
  out.push_back(static_cast<unsigned char>(v >> 8));
}

}  // namespace

std::vector<unsigned char> pattern_bank(int bits, int width, int height) {
  const auto rank = clustered_ranks(width, height);
  const int levels = (1 << bits) - 1;
  const int row_bytes = width * bits / 8;
  std::vector<unsigned char> bank;
  for (int grey = 255; grey >= 0; --grey) {
    // Ink for this grey in units of one code step, the whole tile full at 0.
    const int ink = static_cast<int>(std::lround((255 - grey) * width * height * levels / 255.0));
    for (int y = 0; y < height; ++y) {
      std::vector<unsigned char> row(row_bytes, 0);
      for (int x = 0; x < width; ++x) {
        const int code = std::clamp(ink - levels * rank[y * width + x], 0, levels);
        const int shift = 8 - bits - (x * bits) % 8;
        row[(x * bits) / 8] |= static_cast<unsigned char>(code << shift);
      }
      bank.insert(bank.end(), row.begin(), row.end());
    }
  }
  return bank;
}

// A pixel of grey v is a dot where v <= threshold: the thresholds run 0-254.
std::vector<unsigned char> threshold_bmp() {
  constexpr std::uint32_t kSide = 256, kPalette = 256 * 4, kOffset = 14 + 40 + kPalette;
  const auto rank = clustered_ranks(kTile, kTile);
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
  const auto rank = clustered_ranks(kTile, kTile);
  std::string text;
  for (int block = 0; block < 256; ++block)
    for (int column = 0; column < kTile; ++column) {
      for (int row = 0; row < kTile; ++row)
        text += std::to_string((rank[row * kTile + column] - 128) / 8) + ' ';
      text += "\r\n";
    }
  return {text.begin(), text.end()};
}

}  // namespace halftone::tool
