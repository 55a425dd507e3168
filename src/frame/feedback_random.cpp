// clang-format off
#include "frame/exported.h"  // first: the exported declarations with default visibility
// clang-format on
#include "frame/feedback_random.h"

#include <algorithm>
#include <atomic>
#include <ctime>
#include <utility>

#if defined(__SSE2__) || defined(_M_X64)
#include <emmintrin.h>
#define HALFTONE_FILL_TRIPLES 1
#else
#define HALFTONE_FILL_TRIPLES 0
#endif

#include "frame/state.h"

namespace halftone {
namespace {

constexpr std::uint32_t kInitialTable[FeedbackRandom::kDegree] = {
    0x9a319039u, 0x32d9c024u, 0x9b663182u, 0x5da1f342u, 0xde3b81e0u, 0xdf0a6fb5u, 0xf103bc02u,
    0x48f340fbu, 0x7449e56bu, 0xbeb1dbb0u, 0xab5c5918u, 0x946554fdu, 0x8c2e680fu, 0xeb3d799fu,
    0xb11ee0b7u, 0x2d436b86u, 0xda672e2au, 0x1588ca88u, 0xe369735du, 0x904f35f7u, 0xd7158fd6u,
    0x6fa6f051u, 0x616e6b96u, 0xac94efdcu, 0x36413f93u, 0xc622c298u, 0xf5a42ab8u, 0x8a88d77bu,
    0xf5ad9d0eu, 0x8999220bu, 0x27fb47b9u};

std::atomic<bool> g_pinned{false};
std::atomic<std::uint32_t> g_pinned_seconds{0};

}  // namespace

FeedbackRandom::FeedbackRandom() : front_(kSeparation), rear_(0) {
  for (int i = 0; i < kDegree; ++i) state_[i] = kInitialTable[i];
}

void FeedbackRandom::seed(std::uint32_t s) {
  state_[0] = s;
  for (int i = 1; i < kDegree; ++i) state_[i] = state_[i - 1] * 1103515145u + 12345u;
  front_ = kSeparation;
  rear_ = 0;
  for (int i = 0; i < 10 * kDegree; ++i) (void)draw();
}

#if HALFTONE_FILL_TRIPLES
namespace {

// Words three at a time: word n is word n - 3 plus word n - 31, so the three
// words of triple k (words 3k to 3k + 2) are those of triple k - 1 plus
// words 3k - 31 to 3k - 29, the last word of triple k - 11 and the first two
// of triple k - 10. The last eleven triples stay in registers: the chain is
// one vector add for every two triples (triple_pair), and no word is read
// back from memory (a load spanning two recent stores waits for both). A
// triple keeps its words in lanes 0, 2 and 3, so that one shuffle gathers
// the addends.
using Triple = __m128i;

inline Triple triple_of(std::uint32_t w0, std::uint32_t w1, std::uint32_t w2) {
  return _mm_setr_epi32(static_cast<int>(w0), 0, static_cast<int>(w1), static_cast<int>(w2));
}

inline Triple addends(Triple older, Triple old) {
  return _mm_castps_si128(
      _mm_shuffle_ps(_mm_castsi128_ps(older), _mm_castsi128_ps(old), _MM_SHUFFLE(2, 0, 0, 3)));
}

// A triple's words in order, and a fourth word after them.
inline Triple words_of(Triple t) { return _mm_shuffle_epi32(t, _MM_SHUFFLE(3, 3, 2, 0)); }

// Writes a triple's draws (word >> 1) to out, with a fourth word after
// them that the next store overwrites.
inline void put_draws(Triple t, std::uint32_t* out) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_srli_epi32(words_of(t), 1));
}

// Writes the words of r[0] to r[10] to out (34 words, the last a spare).
// The indices are constants, so that r stays in registers.
template <int... I>
inline void put_words(Triple const (&r)[11], std::uint32_t* out, std::integer_sequence<int, I...>) {
  (_mm_storeu_si128(reinterpret_cast<__m128i*>(out + 3 * I), words_of(r[I])), ...);
}

// Triples k and k + 1, k = K mod 11, over triples k - 11 and k - 10 in
// `r`. Triple k + 1 is triple k - 1 plus both triples' addends, so the
// chain takes one vector add for two triples; the addends' sum is worked
// out beside it.
template <int K>
inline void triple_pair(Triple (&r)[11], std::uint32_t* out) {
  Triple& older = r[K % 11];      // triple k - 11, then k
  Triple& old = r[(K + 1) % 11];  // triple k - 10, then k + 1
  const Triple next = r[(K + 2) % 11];
  const Triple last = r[(K + 10) % 11];
  const Triple a = addends(older, old);
  const Triple b = addends(old, next);
  older = _mm_add_epi32(last, a);
  old = _mm_add_epi32(last, _mm_add_epi32(a, b));
  put_draws(older, out + 3 * K);
  put_draws(old, out + 3 * K + 3);
}

template <int... I>
inline void triple_block(Triple (&r)[11], std::uint32_t* out, std::integer_sequence<int, I...>) {
  (triple_pair<2 * I>(r, out), ...);
}

// Draws of the table `w` (31 words, oldest first) into out, 66 at a time,
// while more than 66 remain (each block's last store reaches one word
// past it); w then holds the newest 31 words. Returns the number made.
constexpr std::size_t kTripleBlock = 66;

std::size_t fill_triples(std::uint32_t* w, std::uint32_t* out, std::size_t n) {
  // Triples -11 to -1: words -33 to -1, of which the first two are never
  // used. A block makes 22 triples, each over the one eleven before it;
  // the indices are constants, so the eleven stay in registers.
  Triple r[11] = {triple_of(0, 0, w[0]),          triple_of(w[1], w[2], w[3]),
                  triple_of(w[4], w[5], w[6]),    triple_of(w[7], w[8], w[9]),
                  triple_of(w[10], w[11], w[12]), triple_of(w[13], w[14], w[15]),
                  triple_of(w[16], w[17], w[18]), triple_of(w[19], w[20], w[21]),
                  triple_of(w[22], w[23], w[24]), triple_of(w[25], w[26], w[27]),
                  triple_of(w[28], w[29], w[30])};
  std::size_t done = 0;
  for (; n - done > kTripleBlock; done += kTripleBlock)
    triple_block(r, out + done, std::make_integer_sequence<int, 11>{});
  // The newest 33 words, triples r[0] to r[10]; the table keeps the last 31.
  std::uint32_t newest[34];
  put_words(r, newest, std::make_integer_sequence<int, 11>{});
  std::copy(newest + 2, newest + 2 + FeedbackRandom::kDegree, w);
  return done;
}

}  // namespace
#endif

// The table is laid out once in draw order, the new words after it, so that
// word 31 + i is word i plus word 28 + i, and put back once at the end; the
// three newest words stay in registers, as each is the next but two's addend.
void FeedbackRandom::fill(std::uint32_t* out, std::size_t n) {
  constexpr std::size_t kChunk = 1024;
  std::uint32_t w[kDegree + kChunk];
  std::copy(state_ + front_, state_ + kDegree, w);
  std::copy(state_, state_ + front_, w + (kDegree - front_));
  const int front = static_cast<int>((front_ + n) % kDegree);
#if HALFTONE_FILL_TRIPLES
  if (n > kTripleBlock) {
    const std::size_t done = fill_triples(w, out, n);
    out += done;
    n -= done;
  }
#endif
  while (n != 0) {
    const std::size_t m = n < kChunk ? n : kChunk;
    std::uint32_t a = w[28], b = w[29], c = w[30];
    std::size_t i = 0;
    for (; i + 3 <= m; i += 3) {
      a += w[i];
      b += w[i + 1];
      c += w[i + 2];
      w[kDegree + i] = a;
      w[kDegree + i + 1] = b;
      w[kDegree + i + 2] = c;
      out[i] = a >> 1;
      out[i + 1] = b >> 1;
      out[i + 2] = c >> 1;
    }
    for (; i < m; ++i) {
      w[kDegree + i] = w[i] + w[i + 28];
      out[i] = w[kDegree + i] >> 1;
    }
    std::copy(w + m, w + m + kDegree, w);  // the newest 31 words
    out += m;
    n -= m;
  }
  // The table where single draws would leave it, positions included.
  std::copy(w, w + (kDegree - front), state_ + front);
  std::copy(w + (kDegree - front), w + kDegree, state_);
  front_ = front;
  rear_ = (front + kDegree - kSeparation) % kDegree;
}

FeedbackRandom& screening_random() { return state().random; }

FeedbackRandom& utility_random() {
  static FeedbackRandom instance;
  return instance;
}

std::uint32_t seed_seconds() {
  ScreenState const& s = state();
  if (s.seed_pinned) return s.seed_time;
  if (g_pinned.load(std::memory_order_relaxed))
    return g_pinned_seconds.load(std::memory_order_relaxed);
  return static_cast<std::uint32_t>(static_cast<std::uint64_t>(std::time(nullptr)));
}

void pin_seed_time(std::uint32_t seconds) noexcept {
  g_pinned_seconds.store(seconds, std::memory_order_relaxed);
  g_pinned.store(true, std::memory_order_relaxed);
}

void unpin_seed_time() noexcept { g_pinned.store(false, std::memory_order_relaxed); }

}  // namespace halftone
