// The ordered dither, a pattern screen and a threshold screen on a 4-plane A4
// page at 600 dpi in 64-row bands.
#include <random>

#include "halftone/loaded.h"
#include "halftone/matrix.h"
#include "page.h"
#include "screens/loaded/stores.h"

namespace halftone::bench {
namespace {

using Screen = int (*)(unsigned char*, unsigned char*, std::uint32_t, std::uint32_t, std::uint32_t);

// Random patterns and thresholds stand in for the data files.
void fill_stores() {
  std::minstd_rand gen(3);
  std::uint8_t* patterns = &TonePatternBank[0][0][0];
  for (std::size_t i = 0; i < sizeof TonePatternBank; ++i)
    patterns[i] = static_cast<std::uint8_t>(gen());
  std::uint8_t* thresholds = &ThresholdMatrix8[0][0];
  for (std::size_t i = 0; i < sizeof ThresholdMatrix8; ++i)
    thresholds[i] = static_cast<std::uint8_t>(gen());
}

void run_banded(benchmark::State& state, Screen screen) {
  constexpr std::uint32_t kPlanes = 4;
  SincesKai();
  fill_stores();
  auto page = make_page(kPlanes);
  std::vector<unsigned char> out(static_cast<std::size_t>(dot_stride(kPageWidth)) * kPageHeight *
                                 kPlanes);
  for (auto _ : state) {
    screen_page_in_bands(screen, page, out, kPlanes, dot_stride(kPageWidth));
    benchmark::DoNotOptimize(out.data());
  }
  report_megapixels(state, static_cast<std::uint64_t>(kPageWidth) * kPageHeight * kPlanes);
}

void BM_Kaocosyx(benchmark::State& state) { run_banded(state, Kaocosyx); }
void BM_MutexWindow(benchmark::State& state) { run_banded(state, MutexWindow); }
void BM_WindowText(benchmark::State& state) {
  run_banded(state, [](unsigned char* s, unsigned char* o, std::uint32_t w, std::uint32_t h,
                       std::uint32_t c) {
    return WindowText(s, o, static_cast<int>(w), static_cast<int>(h), c);
  });
}
BENCHMARK(BM_Kaocosyx)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MutexWindow)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WindowText)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace halftone::bench
