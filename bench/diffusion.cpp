// The error-diffusion screens on a 4-plane A4 page at 600 dpi in 64-row bands.
#include "halftone/diffusion.h"

#include "halftone/setup.h"
#include "page.h"

namespace halftone::bench {
namespace {

using Screen = int (*)(unsigned char*, unsigned char*, std::uint32_t, std::uint32_t, std::uint32_t);

void run_banded(benchmark::State& state, Screen screen) {
  constexpr std::uint32_t kPlanes = 4;
  Itsdiufiavs(2, "");
  auto page = make_page(kPlanes);
  std::vector<unsigned char> out(static_cast<std::size_t>(dot_stride(kPageWidth)) * kPageHeight *
                                 kPlanes);
  for (auto _ : state) {
    screen_page_in_bands(screen, page, out, kPlanes, dot_stride(kPageWidth));
    benchmark::DoNotOptimize(out.data());
  }
  report_megapixels(state, static_cast<std::uint64_t>(kPageWidth) * kPageHeight * kPlanes);
}

#define BANDED(name, W)                                                                        \
  void BM_##name(benchmark::State& state) {                                                    \
    run_banded(state, [](unsigned char* s, unsigned char* o, std::uint32_t w, std::uint32_t h, \
                         std::uint32_t c) {                                                    \
      return name(s, o, static_cast<W>(w), static_cast<W>(h), c);                              \
    });                                                                                        \
  }                                                                                            \
  BENCHMARK(BM_##name)->Unit(benchmark::kMillisecond)

BANDED(jsdi6yruis, int);
BANDED(irpduix7sg, unsigned);
BANDED(sdiufiavs, int);
BANDED(sdiufiavs1, unsigned);
BANDED(highforces, unsigned);
BANDED(mandfanes, int);
BANDED(orangecagn, int);
#undef BANDED

void BM_hxkjsdi67x(benchmark::State& state) {
  auto page = make_page(1);
  std::vector<unsigned char> out(static_cast<std::size_t>(dot_stride(kPageWidth)) * kPageHeight);
  for (auto _ : state) {
    hxkjsdi67x(page.data(), out.data(), kPageWidth, kPageHeight);
    benchmark::DoNotOptimize(out.data());
  }
  report_megapixels(state, static_cast<std::uint64_t>(kPageWidth) * kPageHeight);
}
BENCHMARK(BM_hxkjsdi67x)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace halftone::bench
