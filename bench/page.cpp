#include "page.h"

#include <chrono>
#include <ctime>
#include <map>
#include <random>

namespace halftone::bench {

PageSize& page_size() {
  static PageSize size;
  return size;
}

std::vector<unsigned char> const& test_page(std::uint32_t planes) {
  static std::map<std::uint32_t, std::vector<unsigned char>> pages;
  auto& page = pages[planes];
  if (!page.empty()) return page;
  const PageSize size = page_size();
  const std::size_t stride = packed_row(size.width, 8);
  page.assign(stride * size.height * planes, 0);
  std::minstd_rand gen(7);
  for (std::uint32_t y = 0; y < size.height; ++y)
    for (std::uint32_t p = 0; p < planes; ++p) {
      unsigned char* row = page.data() + (std::size_t{y} * planes + p) * stride;
      for (std::uint32_t x = 0; x < size.width; ++x)
        row[x] = static_cast<unsigned char>(
            (x * 255u / size.width + y * 64u / size.height + p * 40u + (gen() & 7u)) & 0xFFu);
    }
  return page;
}

namespace {

double now() {
  if (page_size().cpu_time) return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

Stopwatch::Stopwatch() : start_(now()) {}
double Stopwatch::seconds() const { return now() - start_; }

double report_megapixels(benchmark::State& state, std::uint64_t pixels_per_iteration,
                         double seconds, double yardstick) {
  const double rate = static_cast<double>(pixels_per_iteration) *
                      static_cast<double>(state.iterations()) / seconds / 1e6;
  state.counters["MP/s"] = rate;
  if (yardstick > 0) state.counters["share%"] = 100.0 * rate / yardstick;
  return rate;
}

}  // namespace halftone::bench
