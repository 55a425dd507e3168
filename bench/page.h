// A4 at 600 dpi pages for the benchmarks, reported in megapixels per second.
#pragma once
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "frame/layout.h"
#include "halftone/page.h"

namespace halftone::bench {

constexpr std::uint32_t kPageWidth = 4960;
constexpr std::uint32_t kPageHeight = 7016;
constexpr std::uint32_t kBandHeight = 64;

// A page of `planes` line-interleaved planes: smooth ramps with some texture,
// the kind of content a screen meets in print.
inline std::vector<unsigned char> make_page(std::uint32_t planes, std::uint32_t width = kPageWidth,
                                            std::uint32_t height = kPageHeight) {
  const std::uint32_t stride = source_stride(width);
  std::vector<unsigned char> page(static_cast<std::size_t>(stride) * height * planes);
  std::minstd_rand gen(7);
  for (std::uint32_t y = 0; y < height; ++y)
    for (std::uint32_t p = 0; p < planes; ++p) {
      unsigned char* row = page.data() + (static_cast<std::size_t>(y) * planes + p) * stride;
      for (std::uint32_t x = 0; x < width; ++x)
        row[x] = static_cast<unsigned char>(
            (x * 255u / width + y * 64u / height + p * 40u + (gen() & 7u)) & 0xFFu);
    }
  return page;
}

// Screens a whole page in bands of kBandHeight rows with the band protocol.
template <class Screen>
void screen_page_in_bands(Screen&& screen, std::vector<unsigned char>& page,
                          std::vector<unsigned char>& out, std::uint32_t planes, unsigned bits,
                          std::uint32_t width = kPageWidth, std::uint32_t height = kPageHeight) {
  screen_in_bands(screen, page.data(), out.data(), width, height, planes, kBandHeight, bits);
}

// Reports megapixels per second, all planes counted.
inline void report_megapixels(benchmark::State& state, std::uint64_t pixels_per_iteration) {
  state.counters["MP/s"] = benchmark::Counter(
      static_cast<double>(pixels_per_iteration) * static_cast<double>(state.iterations()) / 1e6,
      benchmark::Counter::kIsRate);
}

}  // namespace halftone::bench
