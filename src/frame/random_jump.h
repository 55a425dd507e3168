// Jumping the additive generator ahead by any number of draws at once.
//
// Every draw replaces the oldest word of the table by the sum of itself and
// the word written three draws earlier, so the words form the sequence
//   x[n] = x[n - 31] + x[n - 3]   (mod 2^32),
// linear over the integers mod 2^32 with the characteristic polynomial
//   P(t) = t^31 - t^28 - 1.
// With t^N = c[0] + c[1] t + ... + c[30] t^30 (mod P), x[m + N] is the sum of
// c[i] x[m + i] for any m, so N draws cost one power of t (square and
// multiply, a few dozen polynomial products) and a 31 x 31 product with the
// table, whatever N is.
#pragma once
#include <cstdint>

#include "frame/feedback_random.h"

namespace halftone {

// A generator's table in the order the draws overwrite it: words[k] is the
// word at position (front + k) mod 31, so words[0] is the next to be replaced.
struct RandomTable {
  std::uint32_t words[FeedbackRandom::kDegree];
  int front;  // 0-30; the rear word is always at front + 28 (mod 31)
};

// The table of a generator, read through its public view.
RandomTable table_of(FeedbackRandom const& rng);

// A precomputed jump of a fixed number of draws; apply it to any table, as
// often as needed (the planes of a band each jump by the same count).
class RandomJump {
 public:
  explicit RandomJump(std::uint64_t draws);

  std::uint64_t draws() const { return draws_; }

  // The table after `draws()` more draws from `table`.
  RandomTable apply(RandomTable const& table) const;

 private:
  std::uint64_t draws_;
  std::uint32_t coefficients_[FeedbackRandom::kDegree];  // t^draws mod P
};

// Shorthand for a one-off jump.
inline RandomTable jump(RandomTable const& table, std::uint64_t draws) {
  return RandomJump(draws).apply(table);
}

// A generator that continues from `table`.
inline FeedbackRandom generator_at(RandomTable const& table) {
  FeedbackRandom rng;
  rng.load(table.words, table.front);
  return rng;
}

}  // namespace halftone
