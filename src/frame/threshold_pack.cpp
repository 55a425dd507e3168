#include "frame/threshold_pack.h"

#include <atomic>
#include <cstring>

#include "frame/compiler.h"
#include "frame/cpu.h"

#if defined(__x86_64__) || defined(_M_X64)
#include <immintrin.h>
#define HALFTONE_SSE2 1
#if defined(HALFTONE_VECTORS)
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

// Two-bit codes of pixels [x, width) one by one, whole bytes from x (a
// multiple of 4) on.
void plain_tail2(unsigned char const* source, unsigned char* out, std::uint32_t x,
                 std::uint32_t width, ThresholdRing const (&rings)[3], std::uint32_t shift,
                 DotTest test) {
  const std::uint32_t mask = rings[0].mask();
  for (; x < width; x += 4) {
    unsigned bits = 0;
    for (std::uint32_t i = 0; i < 4; ++i) {
      const std::uint32_t px = x + i;
      unsigned code = 0;
      if (px < width)
        for (ThresholdRing const& ring : rings)
          code += dot(source[px], ring.data()[(px + shift) & mask], test) ? 1u : 0u;
      bits = bits << 2 | code;
    }
    out[x >> 2] = static_cast<unsigned char>(bits);
  }
}

// The last pixels of a row, fewer than a vector's lanes: copied out so that
// no byte past the row is read, screened as a whole vector by `chunk`, and
// stored as far as the row goes with the padding's bits cleared.
template <std::uint32_t kLanes, std::uint32_t kPerByte = 8, class Chunk>
void vector_tail(unsigned char const* source, unsigned char* out, std::uint32_t x,
                 std::uint32_t width, Chunk chunk) {
  if (x >= width) return;
  unsigned char grey[kLanes];
  std::memset(grey, 255, kLanes);
  std::memcpy(grey, source + x, width - x);
  unsigned char bytes[kLanes / kPerByte];
  chunk(grey, x, bytes);
  const std::uint32_t n = width - x;
  const std::uint32_t whole = (n + kPerByte - 1) / kPerByte;
  if (n % kPerByte != 0)
    bytes[whole - 1] &= static_cast<unsigned char>(0xFF00u >> (n % kPerByte * (8 / kPerByte)));
  std::memcpy(out + x / kPerByte, bytes, whole);
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

// 32 pixels into eight output bytes of two-bit codes.
__attribute__((target("avx2"))) inline void avx2_chunk2(unsigned char const* grey,
                                                        std::uint8_t const* const (&limits)[3],
                                                        DotTest test, unsigned char* bytes) {
  const __m256i g = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(grey));
  const __m256i zero = _mm256_setzero_si256();
  // Each ring's test as 0 or -1 a byte: -1 where the pixel passes (AtMost),
  // or where it does not (Below, whose code is then 3 less the misses).
  __m256i sum = test == DotTest::Below ? _mm256_set1_epi8(3) : zero;
  for (std::uint8_t const* limit : limits) {
    const __m256i l = _mm256_loadu_si256(reinterpret_cast<__m256i const*>(limit));
    const __m256i d = test == DotTest::Below ? _mm256_subs_epu8(l, g) : _mm256_subs_epu8(g, l);
    const __m256i none = _mm256_cmpeq_epi8(d, zero);
    sum = test == DotTest::Below ? _mm256_add_epi8(sum, none) : _mm256_sub_epi8(sum, none);
  }
  // Codes c0..c3 of four pixels into c0 << 6 | c1 << 4 | c2 << 2 | c3: pairs,
  // then pairs of pairs, each in the low byte of a 32-bit word.
  const __m256i pairs = _mm256_maddubs_epi16(sum, _mm256_set1_epi16(0x0104));
  const __m256i quads = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00010010));
  const __m256i low_bytes =
      _mm256_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 0, 4, 8, 12, -1,
                       -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1);
  const __m256i packed = _mm256_shuffle_epi8(quads, low_bytes);
  const auto lo = static_cast<std::uint32_t>(_mm256_extract_epi32(packed, 0));
  const auto hi = static_cast<std::uint32_t>(_mm256_extract_epi32(packed, 4));
  std::memcpy(bytes, &lo, 4);
  std::memcpy(bytes + 4, &hi, 4);
}

__attribute__((target("avx2"))) void avx2_row2(unsigned char const* source, unsigned char* out,
                                               std::uint32_t width, ThresholdRing const (&rings)[3],
                                               std::uint32_t shift, DotTest test) {
  const std::uint32_t mask = rings[0].mask();
  auto chunk = [&](unsigned char const* grey, std::uint32_t at, unsigned char* bytes) {
    const std::uint32_t from = (at + shift) & mask;
    std::uint8_t const* const limits[3] = {rings[0].data() + from, rings[1].data() + from,
                                           rings[2].data() + from};
    avx2_chunk2(grey, limits, test, bytes);
  };
  std::uint32_t x = 0;
  for (; width - x >= 32; x += 32) chunk(source + x, x, out + x / 4);
  vector_tail<32, 4>(source, out, x, width, chunk);
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

void threshold_pack2_row(unsigned char const* source, unsigned char* out, std::uint32_t width,
                         ThresholdRing const (&rings)[3], std::uint32_t shift, DotTest test,
                         [[maybe_unused]] VectorPath path) {
#ifdef HALFTONE_AVX2
  if (path == VectorPath::Best && cpu_has_avx2())
    return avx2_row2(source, out, width, rings, shift, test);
#endif
  plain_tail2(source, out, 0, width, rings, shift, test);
}

std::uint32_t count_below(unsigned char const* greys, std::uint32_t count, std::uint32_t limit,
                          VectorPath path) {
  if (limit == 0) return 0;
  if (limit > 255) return count;
  std::uint32_t below = 0, x = 0;
#ifdef HALFTONE_SSE2
  if (path != VectorPath::Plain) {
    // A grey is below the limit where it saturates to 0 less limit - 1; the
    // compare's 0xFF bytes are summed by psadbw, 255 each.
    const __m128i top = _mm_set1_epi8(static_cast<char>(limit - 1));
    const __m128i zero = _mm_setzero_si128();
    __m128i sums = zero;
    for (; x + 16 <= count; x += 16) {
      const __m128i g = _mm_loadu_si128(reinterpret_cast<__m128i const*>(greys + x));
      sums = _mm_add_epi64(sums, _mm_sad_epu8(_mm_cmpeq_epi8(_mm_subs_epu8(g, top), zero), zero));
    }
    const auto lanes =
        static_cast<std::uint64_t>(_mm_cvtsi128_si64(sums)) +
        static_cast<std::uint64_t>(_mm_cvtsi128_si64(_mm_unpackhi_epi64(sums, sums)));
    below = static_cast<std::uint32_t>(lanes / 255);
  }
#else
  (void)path;
#endif
  for (; x < count; ++x) below += greys[x] < limit;
  return below;
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
