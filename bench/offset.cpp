// The offset-matrix and block-offset screens on a 4-plane A4 page at 600 dpi
// in 64-row bands.
#include <random>
#include <string>

#include "exports/catalog.h"
#include "halftone/setup.h"
#include "page.h"
#include "screens/loaded/stores.h"

namespace halftone::bench {
namespace {

// Offsets in the range the loaders produce, so the screens meet real data.
void fill_stores() {
  std::minstd_rand gen(3);
  for (auto& row : ThresholdOffsetMatrix)
    for (auto& v : row) v = static_cast<std::int16_t>(static_cast<int>(gen() % 102) - 50);
  for (auto& v : ThresholdBlockStack)
    v = static_cast<std::int16_t>(static_cast<int>(gen() % 65) - 32);
}

void run_offset(benchmark::State& state, ScreenInfo const* screen) {
  constexpr std::uint32_t kPlanes = 4;
  Itsdiufiavs(4, "");
  fill_stores();
  const std::uint32_t stride = dot_stride(kPageWidth);
  auto page = make_page(kPlanes);
  std::vector<unsigned char> out(static_cast<std::size_t>(stride) * kPageHeight * kPlanes);
  for (auto _ : state) {
    screen_page_in_bands(screen->run, page, out, kPlanes, stride);
    benchmark::DoNotOptimize(out.data());
  }
  report_megapixels(state, static_cast<std::uint64_t>(kPageWidth) * kPageHeight * kPlanes);
}

const bool kRegistered = [] {
  for (auto part : {matrix_offset_catalog(), loaded_block_catalog()})
    for (ScreenInfo const& screen : part)
      benchmark::RegisterBenchmark((std::string("BM_") + screen.name).c_str(), run_offset, &screen)
          ->Unit(benchmark::kMillisecond);
  return true;
}();

}  // namespace
}  // namespace halftone::bench
