#include "chart.h"

#include <algorithm>
#include <cmath>
#include <string_view>

namespace halftone::tool {
namespace {

constexpr double kPi = 3.14159265358979323846;

// 5 x 7 letters for the lettering, one byte a row, bit 4 leftmost.
struct Glyph {
  char letter;
  unsigned char rows[7];
};
constexpr Glyph kGlyphs[] = {
    {'H', {0x11, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'A', {0x0E, 0x11, 0x11, 0x1F, 0x11, 0x11, 0x11}},
    {'L', {0x10, 0x10, 0x10, 0x10, 0x10, 0x10, 0x1F}},
    {'F', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x10}},
    {'T', {0x1F, 0x04, 0x04, 0x04, 0x04, 0x04, 0x04}},
    {'O', {0x0E, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0E}},
    {'N', {0x11, 0x19, 0x15, 0x13, 0x11, 0x11, 0x11}},
    {'E', {0x1F, 0x10, 0x10, 0x1E, 0x10, 0x10, 0x1F}},
};

struct Box {
  std::uint32_t x0, y0, x1, y1;  // half-open
};

void fill(GreyImage& image, Box box, unsigned char grey) {
  for (std::uint32_t y = box.y0; y < std::min(box.y1, image.height); ++y)
    for (std::uint32_t x = box.x0; x < std::min(box.x1, image.width); ++x) image.row(y)[x] = grey;
}

void lettering(GreyImage& image, std::uint32_t x, std::uint32_t y, std::uint32_t scale,
               unsigned char ink) {
  for (char letter : std::string_view("HALFTONE")) {
    for (Glyph const& g : kGlyphs) {
      if (g.letter != letter) continue;
      for (std::uint32_t r = 0; r < 7; ++r)
        for (std::uint32_t c = 0; c < 5; ++c)
          if (g.rows[r] & (0x10 >> c))
            fill(image, {x + c * scale, y + r * scale, x + (c + 1) * scale, y + (r + 1) * scale},
                 ink);
    }
    x += 6 * scale;
  }
}

}  // namespace

GreyImage make_test_chart(std::uint32_t width, std::uint32_t height) {
  GreyImage image{width, height, std::vector<unsigned char>(std::size_t{width} * height, 255)};
  const std::uint32_t ramp = height / 8;          // two ramp strips
  const std::uint32_t patches = height * 5 / 24;  // the flat patches at the foot
  const std::uint32_t middle0 = 2 * ramp, middle1 = height - patches;

  for (std::uint32_t y = 0; y < ramp; ++y)
    for (std::uint32_t x = 0; x < width; ++x) {
      image.row(y)[x] = static_cast<unsigned char>(x * 255 / std::max(width - 1, 1u));
      image.row(y + ramp)[x] = static_cast<unsigned char>(std::min(x * 16 / width * 17, 255u));
    }

  // Radial sweep: the grey turns with the angle around the disc's centre.
  const std::uint32_t third = width * 13 / 32;
  const double cx = third / 2.0, cy = (middle0 + middle1) / 2.0;
  const double radius = std::min(third, middle1 - middle0) / 2.0 - 4;
  for (std::uint32_t y = middle0; y < middle1; ++y)
    for (std::uint32_t x = 0; x < third; ++x) {
      const double dx = x + 0.5 - cx, dy = y + 0.5 - cy;
      if (dx * dx + dy * dy > radius * radius) continue;
      const double turn = (std::atan2(dy, dx) + kPi) / (2 * kPi);
      image.row(y)[x] = static_cast<unsigned char>(std::min(turn * 256.0, 255.0));
    }

  // Fine lines: one-pixel black lines with gaps of 1, 2 and 3 pixels,
  // upright in the upper half, level in the lower half, and a diagonal fan.
  const std::uint32_t lines0 = third, lines1 = width * 22 / 32;
  const std::uint32_t half = (middle0 + middle1) / 2;
  const std::uint32_t group = (lines1 - lines0) / 3;
  for (std::uint32_t g = 0; g < 3; ++g)
    for (std::uint32_t x = lines0 + g * group + 4; x + 4 < lines0 + (g + 1) * group; x += g + 2) {
      fill(image, {x, middle0 + 4, x + 1, half - 4}, 0);
      for (std::uint32_t y = half + 4 + g; y + 4 < middle1; y += 12)
        fill(image, {lines0 + g * group + 4, y, lines0 + (g + 1) * group - 4, y + 1}, 0);
    }

  // Lettering: black on white in three sizes, then white on black.
  const std::uint32_t text0 = lines1 + 4;
  lettering(image, text0, middle0 + 6, 3, 0);
  lettering(image, text0, middle0 + 36, 2, 0);
  lettering(image, text0, middle0 + 58, 1, 0);
  fill(image, {lines1, middle0 + 72, width, middle1}, 0);
  lettering(image, text0, middle0 + 80, 3, 255);
  lettering(image, text0, middle0 + 110, 2, 255);
  lettering(image, text0, middle0 + 132, 1, 255);

  const unsigned char kFlats[] = {0, 1, 127, 128, 129, 254, 255};
  constexpr std::uint32_t kCount = sizeof kFlats;
  for (std::uint32_t i = 0; i < kCount; ++i)
    fill(image, {width * i / kCount, middle1, width * (i + 1) / kCount, height}, kFlats[i]);
  return image;
}

}  // namespace halftone::tool
