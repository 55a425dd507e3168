#include "frame/random_jump.h"

namespace halftone {
namespace {

constexpr int kDegree = FeedbackRandom::kDegree;             // 31
constexpr int kLag = kDegree - FeedbackRandom::kSeparation;  // 28: t^31 = t^28 + 1

using Poly = std::uint32_t[kDegree];

// r = a * b mod P. Coefficients wrap mod 2^32 like the generator's words.
void multiply(Poly const& a, Poly const& b, Poly& r) {
  std::uint32_t wide[2 * kDegree - 1] = {};
  for (int i = 0; i < kDegree; ++i) {
    const std::uint32_t ai = a[i];
    if (ai == 0) continue;
    for (int j = 0; j < kDegree; ++j) wide[i + j] += ai * b[j];
  }
  // t^k = t^(k-3) + t^(k-31) for k >= 31, from the top down.
  for (int k = 2 * kDegree - 2; k >= kDegree; --k) {
    wide[k - kDegree + kLag] += wide[k];
    wide[k - kDegree] += wide[k];
  }
  for (int i = 0; i < kDegree; ++i) r[i] = wide[i];
}

// r = r * t mod P.
void times_t(Poly& r) {
  const std::uint32_t top = r[kDegree - 1];
  for (int i = kDegree - 1; i > 0; --i) r[i] = r[i - 1];
  r[0] = top;
  r[kLag] += top;
}

}  // namespace

RandomTable table_of(FeedbackRandom const& rng) {
  RandomTable t{};
  t.front = rng.front();
  for (int k = 0; k < kDegree; ++k) t.words[k] = rng.word((t.front + k) % kDegree);
  return t;
}

RandomJump::RandomJump(std::uint64_t draws) : draws_(draws), coefficients_{} {
  Poly& c = coefficients_;
  c[0] = 1;
  int top = 63;
  while (top >= 0 && ((draws >> top) & 1u) == 0) --top;
  for (int bit = top; bit >= 0; --bit) {
    Poly squared;
    multiply(c, c, squared);
    for (int i = 0; i < kDegree; ++i) c[i] = squared[i];
    if ((draws >> bit) & 1u) times_t(c);
  }
}

RandomTable RandomJump::apply(RandomTable const& table) const {
  // The table is x[n-31] ... x[n-1]; run the sequence on to x[n+29] so that
  // each new word x[n-31+k+N] = sum of c[i] x[n-31+k+i] reads known terms.
  std::uint32_t x[2 * kDegree - 1];
  for (int k = 0; k < kDegree; ++k) x[k] = table.words[k];
  for (int k = kDegree; k < 2 * kDegree - 1; ++k) x[k] = x[k - kDegree] + x[k - 3];
  RandomTable out{};
  for (int k = 0; k < kDegree; ++k) {
    std::uint32_t sum = 0;
    for (int i = 0; i < kDegree; ++i) sum += coefficients_[i] * x[k + i];
    out.words[k] = sum;
  }
  out.front =
      static_cast<int>((static_cast<std::uint64_t>(table.front) + draws_ % kDegree) % kDegree);
  return out;
}

}  // namespace halftone
