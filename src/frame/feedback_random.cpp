// clang-format off
#include "frame/exported.h"  // first: the exported declarations with default visibility
// clang-format on
#include "frame/feedback_random.h"

#include <atomic>
#include <ctime>

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

// The table laid out in draw order ahead of the new words, so that word
// 31 + i is word i plus word 28 + i; the three newest words stay in registers,
// as each is the next but two's addend.
void FeedbackRandom::fill(std::uint32_t* out, std::size_t n) {
  constexpr std::size_t kChunk = 1024;
  std::uint32_t w[kDegree + kChunk];
  while (n != 0) {
    const std::size_t m = n < kChunk ? n : kChunk;
    for (int k = 0; k < kDegree; ++k) w[k] = state_[(front_ + k) % kDegree];
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
    // The table where m single draws would leave it, positions included.
    const int front = static_cast<int>((front_ + m) % kDegree);
    for (int k = 0; k < kDegree; ++k)
      state_[(front + k) % kDegree] = w[m + static_cast<std::size_t>(k)];
    front_ = front;
    rear_ = (front + kDegree - kSeparation) % kDegree;
    out += m;
    n -= m;
  }
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
