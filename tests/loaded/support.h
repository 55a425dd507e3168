// Shared helpers of the loaded-screen tests: a temporary data folder, BMP
// files, random pages and a screen call with guard bytes.
#pragma once
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>

#include "halftone/setup.h"
#include "support/data_folder.h"
#include "support/offset_reference.h"

namespace halftone::test {

inline Bytes random_bytes(std::size_t n, std::uint32_t seed) {
  std::mt19937 gen(seed);
  Bytes v(n);
  for (auto& b : v) b = static_cast<unsigned char>(gen());
  return v;
}

// An 8-bit BMP: file header, 40-byte info header, 1024-byte palette, pixels.
inline Bytes make_bmp(std::int32_t width, std::int32_t height, Bytes const& pixels) {
  Bytes b(54 + 1024 + pixels.size(), 0);
  const std::uint32_t fields[][2] = {
      {10, 54 + 1024}, {14, 40}, {18, std::uint32_t(width)}, {22, std::uint32_t(height)}, {28, 8}};
  for (auto [at, v] : fields)
    for (int i = 0; i < 4; ++i) b[at + i] = static_cast<unsigned char>(v >> (8 * i));
  b[0] = 'B', b[1] = 'M';
  std::copy(pixels.begin(), pixels.end(), b.begin() + 54 + 1024);
  return b;
}

struct Page {
  std::uint32_t width, height, planes;
  Bytes source;
};

// Sizes 1-70 by 1-20 (or as given), 1-4 planes; one of the fills, or runs of
// 1 to 12 equal greys from a small set of greys or any.
inline Page random_page(std::mt19937& gen, std::uint32_t width = 0, std::uint32_t height = 0) {
  auto below = [&](std::uint32_t n) { return static_cast<std::uint32_t>(gen() % n); };
  Page p{width ? width : 1 + below(70), height ? height : 1 + below(20), 1 + below(4), {}};
  const std::uint32_t kind = below(7);
  p.source = make_source(p.width, p.height, p.planes, static_cast<Fill>(kind % 5), gen(),
                         static_cast<unsigned char>(gen()));
  for (std::uint32_t r = 0; kind >= 5 && r < p.height * p.planes; ++r)
    for (std::uint32_t x = 0, left = 0, g = 0; x < p.width; ++x, --left) {
      if (left == 0) left = 1 + below(12), g = kind == 5 ? below(3) * 100 : below(256);
      p.source[r * source_stride(p.width) + x] = static_cast<unsigned char>(g);
    }
  return p;
}

// One call on `page` with guard bytes after the output; the output proper.
inline Bytes screen(ScreenFn const& fn, Page& page, int bits = 1, std::uint32_t band = 1) {
  const std::uint32_t stride = bits == 1 ? dot_stride(page.width) : dot2_stride(page.width);
  Output out(std::size_t{stride} * page.height * page.planes);
  EXPECT_EQ(
      fn(page.source.data(), out.data(), page.width, page.height, make_control(page.planes, band)),
      0);
  EXPECT_TRUE(out.guard_intact());
  return out.body();
}

}  // namespace halftone::test
