// Every screen and utility of the catalog on an A4 page at 600 dpi: banded
// screens on 4 planes in 64-row bands, single-plane entries in one call.
// Reported in megapixels per second, all planes counted.
#include <algorithm>
#include <random>
#include <string>

#include "exports/catalog.h"
#include "halftone/matrix.h"
#include "halftone/setup.h"
#include "page.h"
#include "screens/loaded/stores.h"

namespace halftone::bench {
namespace {

// Random data in the ranges the loaders produce stand in for the data files.
void fill_stores() {
  std::minstd_rand gen(3);
  for (auto& b : TonePatternBank)
    std::generate(&b[0][0], &b[0][0] + sizeof b, [&] { return static_cast<std::uint8_t>(gen()); });
  for (auto& b : TonePatternBank2)
    std::generate(&b[0][0], &b[0][0] + sizeof b, [&] { return static_cast<std::uint8_t>(gen()); });
  std::generate(&ThresholdMatrix8[0][0], &ThresholdMatrix8[0][0] + sizeof ThresholdMatrix8,
                [&] { return static_cast<std::uint8_t>(gen()); });
  for (auto& row : ThresholdOffsetMatrix)
    for (auto& v : row) v = static_cast<std::int16_t>(static_cast<int>(gen() % 102) - 50);
  for (auto& v : ThresholdBlockStack)
    v = static_cast<std::int16_t>(static_cast<int>(gen() % 65) - 32);
  PatternGeometry = {64, 64, 8};
  const std::uint8_t head[8] = {0xFF, 0x7F, 0x3F, 0x1F, 0x0F, 0x07, 0x03, 0x01};
  for (int k = 0; k < 8; ++k) {
    RunHeadMasks[k] = head[k];
    RunTailMasks[k] = static_cast<std::uint8_t>(~head[k]);
  }
}

void run_screen(benchmark::State& state, ScreenInfo const* screen) {
  // Evenly spread levels, darkest first, as a host sets them.
  Itsdiufiavs(4, screen->bits == 4 ? "0,36,72,109,145,182,218,255," : "0,85,170,255,");
  SincesKai();
  fill_stores();
  const std::uint32_t planes = screen->banded ? 4 : 1;
  const std::uint32_t out_width = screen->layout == Layout::Same ? kPageWidth : kPageHeight;
  const std::uint32_t out_height = screen->layout == Layout::Same ? kPageHeight : kPageWidth;
  const std::uint32_t stride = output_stride(*screen, out_width);
  auto page = make_page(planes);
  std::vector<unsigned char> out(std::size_t{stride} * out_height * planes);
  for (auto _ : state) {
    if (screen->banded)
      screen_page_in_bands(screen->run, page, out, planes, static_cast<unsigned>(screen->bits));
    else
      screen->run(page.data(), out.data(), kPageWidth, kPageHeight, make_control(1, 1));
    benchmark::DoNotOptimize(out.data());
  }
  report_megapixels(state, std::uint64_t{kPageWidth} * kPageHeight * planes);
}

const bool kRegistered = [] {
  for (ScreenInfo const& screen : catalog())
    benchmark::RegisterBenchmark((std::string("BM_") + screen.name).c_str(), run_screen, &screen)
        ->Unit(benchmark::kMillisecond);
  return true;
}();

}  // namespace
}  // namespace halftone::bench
