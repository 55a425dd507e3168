// Four planes side by side in one vector register.
//
// A diffusion screen's pixel rule is a serial chain from pixel to pixel, but
// the planes of a band are independent of each other apart from the
// generator. Lane p of a `Lanes` value carries plane p of a group of up to
// four planes, so one pass of the rule screens a pixel of every plane at
// once. The rules are written once, as templates over the value type: with
// `std::int32_t` they run one plane, with `Lanes` four. Every operation here
// gives, lane by lane, exactly what the scalar operation of the same name
// gives.
//
// The lanes use the GCC/Clang vector extensions; other compilers screen
// plane after plane (kHaveLanes is false).
#pragma once
#include <cstdint>

#include "frame/feedback_random.h"
#include "frame/layout.h"
#include "frame/random_jump.h"
#include "frame/select.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace halftone {

// Scalar forms of the operations the lanes provide, so a rule can be written
// once for both.
inline bool at_most(std::int32_t v, std::int32_t limit) { return v <= limit; }
inline bool above(std::int32_t v, std::int32_t limit) { return v > limit; }
inline std::uint32_t dot_code(bool dot) { return dot ? 1u : 0u; }
inline std::int32_t lookup(std::uint8_t const* table, std::uint32_t i) { return table[i]; }
inline std::int32_t lookup(std::int32_t const* table, std::uint32_t i) { return table[i]; }
// All ones when `bit` (0 or 1) is set.
inline std::int32_t ones_if(std::uint32_t bit) { return -static_cast<std::int32_t>(bit); }

#if defined(__GNUC__) || defined(__clang__)
inline constexpr bool kHaveLanes = true;
inline constexpr std::uint32_t kLanes = 4;

using Lanes = std::int32_t __attribute__((vector_size(16)));
using LanesU = std::uint32_t __attribute__((vector_size(16)));

inline Lanes broadcast(std::int32_t v) { return Lanes{v, v, v, v}; }

// Comparisons give all ones in a lane where they hold.
inline Lanes at_most(Lanes v, std::int32_t limit) { return v <= limit; }
inline Lanes above(Lanes v, std::int32_t limit) { return v > limit; }
inline Lanes dot_code(Lanes dot) { return dot & 1; }
inline Lanes ones_if(Lanes bit) { return -bit; }
inline Lanes blend(Lanes mask, Lanes a, Lanes b) { return (a & mask) | (b & ~mask); }

inline Lanes wrap16(Lanes v) { return (v << 16) >> 16; }

inline Lanes select_at_most(Lanes v, std::int32_t limit, Lanes at_most_, Lanes above) {
  return blend(v <= limit, at_most_, above);
}

inline Lanes lookup(std::uint8_t const* table, Lanes i) {
  return Lanes{table[i[0]], table[i[1]], table[i[2]], table[i[3]]};
}
inline Lanes lookup(std::int32_t const* table, Lanes i) {
  return Lanes{table[i[0]], table[i[1]], table[i[2]], table[i[3]]};
}

// (e * m) >> 16, rounded down, for e in the 16-bit range and m a 16-bit
// multiplier: one 16-bit multiply-high on the low halves of the lanes.
template <std::int16_t kM>
inline Lanes mul_high(Lanes e) {
#if defined(__SSE2__)
  const Lanes high = reinterpret_cast<Lanes>(_mm_mulhi_epi16(
      reinterpret_cast<__m128i>(e), _mm_set1_epi32(static_cast<std::uint16_t>(kM))));
  return (high << 16) >> 16;
#else
  return (e * kM) >> 16;
#endif
}

namespace engine {

// Divisions truncating toward zero, for values in the 16-bit range (every
// error the screens split is one). e / 3 is (e * 21846) >> 16 plus one for a
// negative e; (2e) / 3 is (e * 43691) >> 16 plus one for a negative e, where
// e * 43691 = e * (43691 - 65536) + e * 65536.
inline Lanes third(Lanes e) { return mul_high<21846>(e) - (e >> 31); }
inline Lanes two_thirds(Lanes e) { return mul_high<-21845>(e) + e - (e >> 31); }
inline Lanes half(Lanes e) { return (e - (e >> 31)) >> 1; }
inline Lanes quarter(Lanes e) { return (e + ((e >> 31) & 3)) >> 2; }
inline Lanes three_quarters(Lanes e) {
  const Lanes t = e * 3;
  return (t + ((t >> 31) & 3)) >> 2;
}
inline Lanes shift_half(Lanes e) { return e >> 1; }

}  // namespace engine

// Four copies of the additive generator, one a lane, drawn in step. Each lane
// starts from its own table; every lane's table is kept in draw order, so one
// front and rear serve all.
class LaneRandom {
 public:
  explicit LaneRandom(RandomTable const* tables, std::uint32_t count) {
    for (int k = 0; k < FeedbackRandom::kDegree; ++k)
      for (std::uint32_t l = 0; l < kLanes; ++l)
        state_[k][l] = tables[l < count ? l : 0].words[k];
  }

  inline Lanes draw() {
    const LanesU sum = state_[front_] + state_[rear_];
    state_[front_] = sum;
    if (++front_ == FeedbackRandom::kDegree) {
      front_ = 0;
      ++rear_;
    } else if (++rear_ == FeedbackRandom::kDegree) {
      rear_ = 0;
    }
    return reinterpret_cast<Lanes>(sum >> 1);
  }
  inline Lanes bit() { return draw() & 1; }
  inline Lanes two_bits() { return draw() & 3; }

 private:
  LanesU state_[FeedbackRandom::kDegree];
  int front_ = 0;
  int rear_ = FeedbackRandom::kDegree - FeedbackRandom::kSeparation;
};
#else
inline constexpr bool kHaveLanes = false;
#endif

}  // namespace halftone
