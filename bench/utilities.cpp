// The single-plane utilities on an A4 page at 600 dpi, one call a page.
#include "halftone/utilities.h"

#include <benchmark/benchmark.h>

#include <array>
#include <vector>

#include "page.h"

namespace halftone::bench {
namespace {

using Oriented = int (*)(unsigned char*, unsigned char*, int, int, int*, unsigned char*);
using ByReference = int (*)(unsigned char*, unsigned char*&, int, int, int*, unsigned char*);

// Output big enough for either orientation of the page.
std::vector<unsigned char> page_output() {
  const std::size_t same = std::size_t{dot_stride(kPageWidth)} * kPageHeight;
  const std::size_t turned = std::size_t{dot_stride(kPageHeight)} * kPageWidth;
  return std::vector<unsigned char>(same > turned ? same : turned);
}

template <class Call>
void run_page(benchmark::State& state, Call call) {
  auto page = make_page(1);
  auto out = page_output();
  for (auto _ : state) {
    call(page.data(), out.data());
    benchmark::DoNotOptimize(out.data());
  }
  report_megapixels(state, std::uint64_t{kPageWidth} * kPageHeight);
}

void noise(benchmark::State& state,
           int (*fn)(unsigned char*, unsigned char*, unsigned int, unsigned int, unsigned char*)) {
  std::array<unsigned char, 256> tone;
  for (int i = 0; i < 256; ++i) tone[i] = static_cast<unsigned char>(i);
  run_page(state, [&](unsigned char* s, unsigned char* o) {
    fn(s, o, kPageWidth, kPageHeight, tone.data());
  });
}

std::array<int, 256> identity() {
  std::array<int, 256> t;
  for (int i = 0; i < 256; ++i) t[i] = i;
  return t;
}

void oriented(benchmark::State& state, Oriented fn) {
  auto tone = identity();
  run_page(state, [&](unsigned char* s, unsigned char* o) {
    fn(s, o, kPageWidth, kPageHeight, tone.data(), nullptr);
  });
}

void by_reference(benchmark::State& state, ByReference fn) {
  auto tone = identity();
  run_page(state, [&](unsigned char* s, unsigned char* o) {
    fn(s, o, kPageWidth, kPageHeight, tone.data(), nullptr);
  });
}

BENCHMARK_CAPTURE(noise, xinskdn34skx, xinskdn34skx)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(noise, shdeiznc45kdi, shdeiznc45kdi)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(oriented, kajdjigc23kdh, kajdjigc23kdh)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(oriented, tishduth29dmc, tishduth29dmc)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(oriented, fdxin324c, fdxin324c)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(oriented, nchsuw56xd, nchsuw56xd)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(by_reference, ixndiwkc76y, ixndiwkc76y)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(by_reference, sdicxx78xy, sdicxx78xy)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(by_reference, ghskdjiekld, ghskdjiekld)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace halftone::bench
