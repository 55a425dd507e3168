// The damped and noise-table screens on a 4-plane A4 page at 600 dpi in 64-row bands.
#include "halftone/damped.h"

#include "page.h"

namespace halftone::bench {
namespace {

using Screen = int (*)(unsigned char*, unsigned char*, unsigned int, unsigned int, unsigned int);

void BM_damped(benchmark::State& state, Screen screen) {
  constexpr std::uint32_t kPlanes = 4;
  auto page = make_page(kPlanes);
  std::vector<unsigned char> out(static_cast<std::size_t>(dot_stride(kPageWidth)) * kPageHeight *
                                 kPlanes);
  for (auto _ : state) {
    screen_page_in_bands(screen, page, out, kPlanes, dot_stride(kPageWidth));
    benchmark::DoNotOptimize(out.data());
  }
  report_megapixels(state, static_cast<std::uint64_t>(kPageWidth) * kPageHeight * kPlanes);
}

BENCHMARK_CAPTURE(BM_damped, suiruiskao, suiruiskao)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_damped, suiruiskao2, suiruiskao2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_damped, sdiufiavs2, sdiufiavs2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_damped, sdiufiavs3, sdiufiavs3)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_damped, suiruiskao11, suiruiskao11)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_damped, suiruiskao8, suiruiskao8)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace halftone::bench
