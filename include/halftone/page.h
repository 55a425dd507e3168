// For C++ hosts: row sizes, the control word, and a whole page screened band
// by band with any banded entry point. Header only; nothing here is exported.
#pragma once
#include <cstddef>
#include <cstdint>

namespace halftone {

// Bytes a row takes at `bits_per_pixel` (8 for grey source rows; 1, 2 or 4
// for dot rows), padded to a multiple of 32 bits.
constexpr std::uint32_t row_bytes(std::uint32_t width, unsigned bits_per_pixel) {
  return ((width * bits_per_pixel + 31u) >> 3) & ~3u;
}

// Band positions of the control word.
enum BandPosition : unsigned { kFirstBand = 1, kMiddleBand = 2, kLastBand = 3 };

// The control word: plane count in bits 8-15, band position in bits 16-23.
constexpr unsigned int control_word(unsigned planes, unsigned band) {
  return (planes & 0xFFu) << 8 | (band & 0xFFu) << 16;
}

// Screens a page of `planes` line-interleaved planes in bands of
// `band_height` rows (0: the whole page in one band): the first band at
// position 1, the following ones at 2 and the last at 3. A page of a single
// band is screened at position 1, and an empty last band then releases the
// lines the job holds. `dot_bits` is the screen's output depth (1, 2 or 4).
// `screen` is any banded entry point, e.g. sdiufiavs. Returns 0, or the first
// non-zero result (screening stops there).
template <class Screen>
int screen_in_bands(Screen&& screen, unsigned char* source, unsigned char* dots,
                    std::uint32_t width, std::uint32_t height, std::uint32_t planes,
                    std::uint32_t band_height, unsigned dot_bits = 1) {
  const std::size_t source_band_row = std::size_t{row_bytes(width, 8)} * planes;
  const std::size_t dot_band_row = std::size_t{row_bytes(width, dot_bits)} * planes;
  const std::uint32_t rows_a_band = band_height == 0 ? height : band_height;
  if (height == 0) return 0;
  for (std::uint32_t y = 0; y < height; y += rows_a_band) {
    const std::uint32_t rows = height - y < rows_a_band ? height - y : rows_a_band;
    const unsigned band = y == 0 ? kFirstBand : (y + rows == height ? kLastBand : kMiddleBand);
    const int result = screen(source + y * source_band_row, dots + y * dot_band_row, width, rows,
                              control_word(planes, band));
    if (result != 0) return result;
  }
  if (rows_a_band >= height)  // one band: release what the job holds
    return screen(source, dots, width, 0u, control_word(planes, kLastBand));
  return 0;
}

}  // namespace halftone
