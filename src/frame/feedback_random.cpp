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
