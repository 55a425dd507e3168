// The 31-word additive generator with lag 3, written again from its rules for
// the reference models: seeded by the linear rule and 310 discarded draws.
#pragma once
#include <cstdint>

namespace halftone::test {

class RefRandom {
 public:
  void seed(std::uint32_t s) {
    w_[0] = s;
    for (int i = 1; i < 31; ++i) w_[i] = w_[i - 1] * 1103515145u + 12345u;
    front_ = 3;
    rear_ = 0;
    for (int i = 0; i < 310; ++i) draw();
  }
  std::uint32_t draw() {
    w_[front_] += w_[rear_];
    const std::uint32_t r = w_[front_] >> 1;
    front_ = (front_ + 1) % 31;
    rear_ = (rear_ + 1) % 31;
    return r;
  }
  // Takes over, or compares with, the whole state of the library's generator.
  template <class G>
  void copy(G const& g) {
    for (int i = 0; i < 31; ++i) w_[i] = g.word(i);
    front_ = g.front();
    rear_ = g.rear();
  }
  template <class G>
  bool same_as(G const& g) const {
    for (int i = 0; i < 31; ++i)
      if (w_[i] != g.word(i)) return false;
    return front_ == g.front() && rear_ == g.rear();
  }

 private:
  std::uint32_t w_[31] = {};
  int front_ = 3, rear_ = 0;
};

}  // namespace halftone::test
