// The additive lagged-Fibonacci generator (31 words, lag 3) of the library.
#pragma once
#include <cstddef>
#include <cstdint>

namespace halftone {

class FeedbackRandom {
 public:
  static constexpr int kDegree = 31;
  static constexpr int kSeparation = 3;

  FeedbackRandom();  // the published initial table, front 3, rear 0

  // Fills the table from `s` with the 1103515145 / 12345 rule, then runs the
  // draw step 310 times.
  void seed(std::uint32_t s);

  // One step: state[front] += state[rear]; the 31-bit result is the sum >> 1.
  inline std::uint32_t draw() {
    const std::uint32_t sum = state_[front_] + state_[rear_];
    state_[front_] = sum;
    if (++front_ == kDegree) {
      front_ = 0;
      ++rear_;
    } else if (++rear_ == kDegree) {
      rear_ = 0;
    }
    return sum >> 1;
  }
  // The next n draws, as draw() would give them one by one, into out.
  void fill(std::uint32_t* out, std::size_t n);

  inline std::uint32_t bit() { return draw() & 1u; }
  inline std::uint32_t two_bits() { return draw() & 3u; }

  int front() const { return front_; }
  int rear() const { return rear_; }
  std::uint32_t word(int i) const { return state_[i]; }

  // Takes a table given in draw order (words[k] at position front + k,
  // mod 31; `front` 0-30), the rear three places behind the front.
  void load(std::uint32_t const (&words)[kDegree], int front) {
    for (int k = 0; k < kDegree; ++k) state_[(front + k) % kDegree] = words[k];
    front_ = front;
    rear_ = (front + kDegree - kSeparation) % kDegree;
  }

 private:
  std::uint32_t state_[kDegree];
  int front_;
  int rear_;
};

// Draws made ahead (FeedbackRandom::fill), handed out in turn as the
// generator would hand them.
class DrawnRow {
 public:
  explicit DrawnRow(std::uint32_t const* draws) : next_(draws) {}
  inline std::uint32_t draw() { return *next_++; }
  inline std::uint32_t bit() { return draw() & 1u; }
  inline std::uint32_t two_bits() { return draw() & 3u; }

 private:
  std::uint32_t const* next_;
};

// The screening instance, reseeded by the screens from the clock.
FeedbackRandom& screening_random();
// The utility instance: never reseeded; runs on for the life of the process.
FeedbackRandom& utility_random();

// Seconds for every reseed from the clock: the wall clock (seconds since 1970,
// truncated to 32 bits) unless pinned through pin_seed_time.
std::uint32_t seed_seconds();

// Reseeds the screening instance from the clock.
inline void reseed_screening() { screening_random().seed(seed_seconds()); }

}  // namespace halftone
