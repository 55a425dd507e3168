#include "frame/threshold_pack.h"

#include <atomic>
#include <cstring>

#include "frame/cpu.h"

#if defined(__x86_64__) || defined(_M_X64)
#include <immintrin.h>
#define HALFTONE_SSE2 1
#if defined(__GNUC__) || defined(__clang__)
#define HALFTONE_AVX2 1
#endif
#endif

namespace halftone {

void ThresholdRing::assign(std::uint8_t const* thresholds, std::uint32_t period) {
  period_ = period == 0 || period > 256 ? 256 : period;
  std::memcpy(entries_, thresholds, period_);
  // The first 32 entries again, the period repeated as often as it takes.
  for (std::uint32_t i = period_; i < period_ + 32; i += period_)
    std::memcpy(entries_ + i, entries_, period_ < 32 ? period_ : 32);
}

namespace {

// Bits of a byte in reverse order: vector masks put pixel 0 in bit 0.
struct Reversed {
  std::uint8_t v[256];
  constexpr Reversed() : v() {
    for (unsigned i = 0; i < 256; ++i) {
      unsigned r = 0;
      for (unsigned b = 0; b < 8; ++b) r |= ((i >> b) & 1u) << (7 - b);
      v[i] = static_cast<std::uint8_t>(r);
    }
  }
};
constexpr Reversed kReversed;

inline bool dot(std::uint8_t v, std::uint8_t t, DotTest test) {
  return test == DotTest::Below ? v < t : v <= t;
}

// Pixels [x, width) one by one, whole bytes from x (a multiple of 8) on.
void plain_tail(unsigned char const* source, unsigned char* out, std::uint32_t x,
                std::uint32_t width, ThresholdRing const& ring, std::uint32_t shift, DotTest test) {
  std::uint8_t const* t = ring.data();
  const std::uint32_t mask = ring.mask();
  for (; x < width; x += 8) {
    unsigned bits = 0;
    for (std::uint32_t i = 0; i < 8; ++i) {
      const std::uint32_t px = x + i;
      bits = bits << 1 | (px < width && dot(source[px], t[(px + shift) & mask], test) ? 1u : 0u);
    }
    out[x >> 3] = static_cast<unsigned char>(bits);
  }
}

// The last pixels of a row, fewer than a vector's lanes: copied out so that
// no byte past the row is read, screened as a whole vector by `chunk`, and
// stored as far as the row goes with the padding's bits cleared.
template <std::uint32_t kLanes, class Chunk>
void vector_tail(unsigned char const* source, unsigned char* out, std::uint32_t x,
                 std::uint32_t width, Chunk chunk) {
  if (x >= width) return;
  unsigned char grey[kLanes];
  std::memset(grey, 255, kLanes);
  std::memcpy(grey, source + x, width - x);
  unsigned char bytes[kLanes / 8];
  chunk(grey, x, bytes);
  const std::uint32_t n = width - x;
  const std::uint32_t whole = (n + 7) / 8;
  if (n % 8 != 0) bytes[whole - 1] &= static_cast<unsigned char>(0xFF00u >> (n % 8));
  std::memcpy(out + x / 8, bytes, whole);
}

#ifdef HALFTONE_SSE2
// 16 pixels: the grey compared with 16 thresholds, two output bytes.
inline std::uint32_t sse2_mask(__m128i grey, __m128i limit, DotTest test) {
  // v < t exactly where t - v (saturating) is not 0; v <= t where v - t is 0.
  const __m128i zero = _mm_setzero_si128();
  if (test == DotTest::Below)
    return ~static_cast<std::uint32_t>(
               _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_subs_epu8(limit, grey), zero))) &
           0xFFFFu;
  return static_cast<std::uint32_t>(
      _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_subs_epu8(grey, limit), zero)));
}

void sse2_row(unsigned char const* source, unsigned char* out, std::uint32_t width,
              ThresholdRing const& ring, std::uint32_t shift, DotTest test) {
  std::uint8_t const* t = ring.data();
  const std::uint32_t mask = ring.mask();
  auto body16 = [&](unsigned char const* grey, std::uint32_t x, unsigned char* bytes) {
    const __m128i g = _mm_loadu_si128(reinterpret_cast<__m128i const*>(grey));
    const __m128i l = _mm_loadu_si128(reinterpret_cast<__m128i const*>(t + ((x + shift) & mask)));
    const std::uint32_t m = sse2_mask(g, l, test);
    bytes[0] = kReversed.v[m & 0xFFu];
    bytes[1] = kReversed.v[m >> 8];
  };
  std::uint32_t x = 0;
  for (; width - x >= 16; x += 16) body16(source + x, x, out + x / 8);
  vector_tail<16>(source, out, x, width, body16);
}
#endif

#ifdef HALFTONE_AVX2
// 32 pixels into four output bytes.
__attribute__((target("avx2"))) inline void avx2_chunk(unsigned char const* grey,
                                                       std::uint8_t const* limits, DotTest test,
                                                       unsigned char* bytes) {
  // Bytes reversed within each group of 8, so that the mask comes out in the
  // rows' bit order (leftmost pixel in the most significant bit).
  const __m256i reverse = _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8, 7,
                                           6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
  const __m256i g = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(grey));
  const __m256i l = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(limits));
  // v < t exactly where t - v (saturating) is not 0; v <= t where v - t is 0.
  const __m256i d = test == DotTest::Below ? _mm256_subs_epu8(l, g) : _mm256_subs_epu8(g, l);
  std::uint32_t m = static_cast<std::uint32_t>(_mm256_movemask_epi8(
      _mm256_shuffle_epi8(_mm256_cmpeq_epi8(d, _mm256_setzero_si256()), reverse)));
  if (test == DotTest::Below) m = ~m;
  std::memcpy(bytes, &m, 4);
}

__attribute__((target("avx2"))) void avx2_row(unsigned char const* source, unsigned char* out,
                                              std::uint32_t width, ThresholdRing const& ring,
                                              std::uint32_t shift, DotTest test) {
  std::uint8_t const* t = ring.data();
  const std::uint32_t mask = ring.mask();
  std::uint32_t x = 0;
  for (; width - x >= 32; x += 32)
    avx2_chunk(source + x, t + ((x + shift) & mask), test, out + x / 8);
  vector_tail<32>(source, out, x, width,
                  [&](unsigned char const* grey, std::uint32_t at, unsigned char* bytes) {
                    avx2_chunk(grey, t + ((at + shift) & mask), test, bytes);
                  });
}

#endif

}  // namespace

namespace {
std::atomic<bool> avx2_allowed{true};
}  // namespace

bool cpu_has_avx2() {
#ifdef HALFTONE_AVX2
  static const bool yes = __builtin_cpu_supports("avx2");
  return yes && avx2_allowed.load(std::memory_order_relaxed);
#else
  return false;
#endif
}

void cpu_allow_avx2(bool allowed) { avx2_allowed.store(allowed, std::memory_order_relaxed); }

void threshold_pack_row(unsigned char const* source, unsigned char* out, std::uint32_t width,
                        ThresholdRing const& ring, std::uint32_t shift, DotTest test,
                        VectorPath path) {
#ifdef HALFTONE_AVX2
  if (path == VectorPath::Best && cpu_has_avx2())
    return avx2_row(source, out, width, ring, shift, test);
#endif
#ifdef HALFTONE_SSE2
  if (path != VectorPath::Plain) return sse2_row(source, out, width, ring, shift, test);
#endif
  plain_tail(source, out, 0, width, ring, shift, test);
}

char const* threshold_pack_path() {
#ifdef HALFTONE_AVX2
  if (cpu_has_avx2()) return "avx2";
#endif
#ifdef HALFTONE_SSE2
  return "sse2";
#else
  return "plain";
#endif
}

}  // namespace halftone
