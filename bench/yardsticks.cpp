#include "yardsticks.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "page.h"

#if defined(__x86_64__) || defined(_M_X64) || defined(__i386__) || defined(_M_IX86)
#include <immintrin.h>
#define BENCH_X86 1
#if defined(__GNUC__) || defined(__clang__)
#define BENCH_AVX2 __attribute__((target("avx2")))
#else
#define BENCH_AVX2
#endif
#endif

#if defined(__GNUC__) && !defined(__clang__)
#define BENCH_NO_VECTORS __attribute__((optimize("no-tree-vectorize")))
#elif defined(__clang__)
#define BENCH_NO_VECTORS
#else
#define BENCH_NO_VECTORS
#endif

namespace halftone::bench {
namespace {

// The 31-word additive generator with lag 3, written for the loop: the sum
// of the word at `front` and the one three places behind it replaces the
// former; its bit 1 is the random bit.
struct Generator {
  std::uint32_t w[31];
  unsigned front = 3, rear = 0;

  explicit Generator(std::uint32_t seed) {
    w[0] = seed;
    for (int i = 1; i < 31; ++i) w[i] = w[i - 1] * 1103515145u + 12345u;
    for (int i = 0; i < 310; ++i) (void)bit();
  }
  inline std::uint32_t bit() {
    const std::uint32_t sum = w[front] + w[rear];
    w[front] = sum;
    front = front == 30 ? 0 : front + 1;
    rear = rear == 30 ? 0 : rear + 1;
    return (sum >> 1) & 1u;
  }
};

// `v <= 128 ? dot : paper` as a conditional move: the dot test follows the
// image, so a branch would be mispredicted all the time, and compilers do
// not reliably turn this select into a conditional move on their own.
inline std::int32_t select_dot(std::int32_t v, std::int32_t dot, std::int32_t paper) {
#if (defined(__GNUC__) || defined(__clang__)) && defined(__x86_64__)
  __asm__("cmpl $128, %1\n\tcmovg %2, %0" : "+r"(dot) : "r"(v), "r"(paper) : "cc");
  return dot;
#else
  return v <= 128 ? dot : paper;
#endif
}

// One pixel: the dot test, the error, and the split its random bit picks
// (everything ahead, or half ahead and the rest below) as a shift.
inline std::int32_t diffuse(std::int16_t const* cur, std::int16_t* below, unsigned char const* next,
                            std::uint32_t x, std::int32_t ahead, std::uint32_t& dot, Generator& g) {
  const std::int32_t v = cur[x] + ahead;
  dot = v <= 128 ? 1u : 0u;
  const std::int32_t e = select_dot(v, v, v - 255);
  const std::int32_t sent = e >> (1u - g.bit());
  below[x] = static_cast<std::int16_t>(next[x] + (e - sent));
  return sent;
}

}  // namespace

void diffusion_loop(unsigned char const* source, std::size_t source_stride, unsigned char* out,
                    std::size_t out_stride, std::uint32_t width, std::uint32_t height,
                    std::uint32_t seed) {
  if (width == 0 || height == 0) return;
  Generator g(seed);
  std::vector<std::int16_t> a(width), b(width);
  std::vector<unsigned char> blank(width, 255);
  std::int16_t* cur = a.data();
  std::int16_t* below = b.data();
  for (std::uint32_t x = 0; x < width; ++x) cur[x] = source[x];
  for (std::uint32_t y = 0; y < height; ++y) {
    unsigned char const* next = y + 1 < height ? source + (y + 1) * source_stride : blank.data();
    unsigned char* row = out + y * out_stride;
    std::int32_t ahead = 0;
    std::uint32_t dot;
    if ((y & 1u) == 0) {
      for (std::uint32_t x = 0; x < width; x += 8) {
        std::uint32_t byte = 0;
        for (std::uint32_t k = 0; k < 8; ++k) {
          ahead = diffuse(cur, below, next, x + k, ahead, dot, g);
          byte = byte << 1 | dot;
        }
        row[x >> 3] = static_cast<unsigned char>(byte);
      }
    } else {
      for (std::uint32_t x = width; x != 0; x -= 8) {
        std::uint32_t byte = 0;
        for (std::uint32_t k = 1; k <= 8; ++k) {
          ahead = diffuse(cur, below, next, x - k, ahead, dot, g);
          byte = byte >> 1 | dot << 7;
        }
        row[(x >> 3) - 1] = static_cast<unsigned char>(byte);
      }
    }
    std::swap(cur, below);
  }
}

namespace {

BENCH_NO_VECTORS void threshold_plain(unsigned char const* source, std::size_t source_stride,
                                      unsigned char* out, std::size_t out_stride,
                                      std::uint32_t width, std::uint32_t rows,
                                      unsigned char const* tile) {
  for (std::uint32_t r = 0; r < rows; ++r) {
    unsigned char const* s = source + r * source_stride;
    unsigned char const* t = tile + (r % 16u) * width;
    unsigned char* o = out + r * out_stride;
    for (std::uint32_t x = 0; x < width; x += 8) {
      unsigned byte = 0;
      for (std::uint32_t k = 0; k < 8; ++k) byte = byte << 1 | (s[x + k] < t[x + k] ? 1u : 0u);
      o[x >> 3] = static_cast<unsigned char>(byte);
    }
  }
}

#ifdef BENCH_X86
BENCH_AVX2 void threshold_avx2(unsigned char const* source, std::size_t source_stride,
                               unsigned char* out, std::size_t out_stride, std::uint32_t width,
                               std::uint32_t rows, unsigned char const* tile) {
  // Bytes reversed within each group of 8 so that the mask's bit order is
  // the rows' (leftmost pixel in the most significant bit of its byte).
  const __m256i reverse = _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8, 7,
                                           6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
  const __m256i zero = _mm256_setzero_si256();
  for (std::uint32_t r = 0; r < rows; ++r) {
    unsigned char const* s = source + r * source_stride;
    unsigned char const* t = tile + (r % 16u) * width;
    unsigned char* o = out + r * out_stride;
    for (std::uint32_t x = 0; x < width; x += 32) {
      const __m256i grey = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(s + x));
      const __m256i limit = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(t + x));
      // grey < limit exactly where limit - grey (saturating) is not zero.
      const __m256i paper = _mm256_cmpeq_epi8(_mm256_subs_epu8(limit, grey), zero);
      const std::uint32_t bits =
          ~static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_shuffle_epi8(paper, reverse)));
      std::memcpy(o + (x >> 3), &bits, 4);
    }
  }
}
#endif

}  // namespace

bool threshold_loop_has_vectors() {
#if defined(BENCH_X86) && (defined(__GNUC__) || defined(__clang__))
  return __builtin_cpu_supports("avx2");
#else
  return false;
#endif
}

void threshold_loop(unsigned char const* source, std::size_t source_stride, unsigned char* out,
                    std::size_t out_stride, std::uint32_t width, std::uint32_t rows,
                    unsigned char const* tile, bool vector) {
#ifdef BENCH_X86
  if (vector && threshold_loop_has_vectors())
    return threshold_avx2(source, source_stride, out, out_stride, width, rows, tile);
#endif
  (void)vector;
  threshold_plain(source, source_stride, out, out_stride, width, rows, tile);
}

namespace {

double g_best[3] = {0, 0, 0};

}  // namespace

void record_yardstick(Yardstick kind, double rate) {
  double& best = g_best[static_cast<int>(kind)];
  best = std::max(best, rate);
}

double yardstick_rate(Yardstick kind) {
  if (g_best[static_cast<int>(kind)] == 0) {
    (void)run_yardstick(kind);  // builds the page
    // Not measured in this run yet: the best of a few runs on the page.
    for (int i = 0; i < 3; ++i) {
      const Stopwatch watch;
      const std::uint64_t pixels = run_yardstick(kind);
      record_yardstick(kind, static_cast<double>(pixels) / watch.seconds() / 1e6);
    }
  }
  return g_best[static_cast<int>(kind)];
}

}  // namespace halftone::bench

namespace halftone::bench {
namespace {

struct YardstickPage {
  std::vector<unsigned char> out;
  std::vector<unsigned char> tile;
};

YardstickPage& yardstick_page() {
  static YardstickPage page = [] {
    const PageSize size = page_size();
    YardstickPage p;
    p.out.assign(packed_row(size.width, 1) * size.height * size.planes, 0);
    // A 16 x 16 threshold tile spread over the width: each tile row is one
    // full row of thresholds.
    p.tile.resize(std::size_t{16} * size.width);
    for (std::uint32_t r = 0; r < 16; ++r)
      for (std::uint32_t x = 0; x < size.width; ++x)
        p.tile[r * size.width + x] = static_cast<unsigned char>(((r * 16 + x % 16) * 167u) & 0xFF);
    return p;
  }();
  return page;
}

}  // namespace

std::uint64_t run_yardstick(Yardstick kind) {
  const PageSize size = page_size();
  auto const& page = test_page(size.planes);
  auto& work = yardstick_page();
  const std::size_t src_row = packed_row(size.width, 8);
  const std::size_t out_row = packed_row(size.width, 1);
  if (kind == Yardstick::Diffusion) {
    // Plane after plane, each a whole plane high.
    for (std::uint32_t p = 0; p < size.planes; ++p)
      diffusion_loop(page.data() + p * src_row, src_row * size.planes,
                     work.out.data() + p * out_row, out_row * size.planes, size.width, size.height,
                     1000 + p);
  } else {
    threshold_loop(page.data(), src_row, work.out.data(), out_row, size.width,
                   size.height * size.planes, work.tile.data(), kind == Yardstick::Threshold);
  }
  benchmark::DoNotOptimize(work.out.data());
  benchmark::ClobberMemory();
  return std::uint64_t{size.width} * size.height * size.planes;
}

namespace {

void run(benchmark::State& state, Yardstick kind) {
  (void)test_page(page_size().planes);  // built before the clock starts
  (void)yardstick_page();
  std::uint64_t pixels = 0;
  const Stopwatch watch;
  for (auto _ : state) pixels = run_yardstick(kind);
  record_yardstick(kind, report_megapixels(state, pixels, watch.seconds()));
}

}  // namespace

void register_yardsticks() {
  benchmark::RegisterBenchmark("yardstick/diffusion", run, Yardstick::Diffusion)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::RegisterBenchmark(
      threshold_loop_has_vectors() ? "yardstick/threshold-avx2" : "yardstick/threshold", run,
      Yardstick::Threshold)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
  benchmark::RegisterBenchmark("yardstick/threshold-plain", run, Yardstick::ThresholdPlain)
      ->Unit(benchmark::kMillisecond)
      ->UseRealTime();
}

}  // namespace halftone::bench
