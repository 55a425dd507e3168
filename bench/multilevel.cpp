// The multi-level screens on a 4-plane A4 page at 600 dpi in 64-row bands.
#include <string>

#include "exports/catalog.h"
#include "halftone/setup.h"
#include "page.h"

namespace halftone::bench {
namespace {

void run_multilevel(benchmark::State& state, ScreenInfo const* screen) {
  constexpr std::uint32_t kPlanes = 4;
  // Evenly spread levels, darkest first, as a host would set them.
  Itsdiufiavs(2, screen->bits == 4 ? "0,36,72,109,145,182,218,255," : "0,85,170,255,");
  const std::uint32_t stride =
      screen->bits == 4 ? dot4_stride(kPageWidth) : dot2_stride(kPageWidth);
  auto page = make_page(kPlanes);
  std::vector<unsigned char> out(static_cast<std::size_t>(stride) * kPageHeight * kPlanes);
  for (auto _ : state) {
    screen_page_in_bands(screen->run, page, out, kPlanes, stride);
    benchmark::DoNotOptimize(out.data());
  }
  report_megapixels(state, static_cast<std::uint64_t>(kPageWidth) * kPageHeight * kPlanes);
}

const bool kRegistered = [] {
  for (ScreenInfo const& screen : multilevel_catalog())
    benchmark::RegisterBenchmark((std::string("BM_") + screen.name).c_str(), run_multilevel,
                                 &screen)
        ->Unit(benchmark::kMillisecond);
  return true;
}();

}  // namespace
}  // namespace halftone::bench
