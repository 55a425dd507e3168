// Four planes side by side in one vector register.
//
// A diffusion screen's pixel rule is a serial chain from pixel to pixel, but
// the planes of a band are independent of each other apart from the
// generator. Lane p of a `Lanes` value carries plane p of a group of up to
// four planes, so one pass of the rule screens a pixel of every plane at
// once. The rules are written once, as templates over the value type: with
// `std::int32_t` (or `double`) they run one plane, with `Lanes` (16-bit
// values), `Lanes32` (32-bit sums) or `DoubleLanes` four. Every operation
// here gives, lane by lane, exactly what the scalar operation of the same
// name gives.
//
// The lanes use the GCC/Clang vector extensions; with other compilers the
// engine screens the planes one, two or four at a time, their pixels
// interleaved.
#pragma once
#include <cstdint>
#include <type_traits>

#include "frame/compiler.h"
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
inline std::int32_t less_one(std::int32_t v) { return v - 1; }
// a where the mask is all ones, else b.
inline std::int32_t blend(std::int32_t mask, std::int32_t a, std::int32_t b) {
  return (a & mask) | (b & ~mask);
}
inline std::int32_t clamp(std::int32_t v, std::int32_t low, std::int32_t high) {
  return v < low ? low : v > high ? high : v;
}
// 16-bit sums and differences that wrap, as the lines do; v - k where v is
// above the limit (without ever forming v - k elsewhere).
inline std::int32_t add16(std::int32_t a, std::int32_t b) { return wrap16(a + b); }
inline std::int32_t sub16(std::int32_t a, std::int32_t b) { return wrap16(a - b); }
inline std::int32_t less_if_above(std::int32_t v, std::int32_t limit, std::int32_t k) {
  return select_at_most(v, limit, v, v - k);
}

// The constant v as a value of type V.
template <class V>
inline V splat(std::int32_t v) {
  return static_cast<V>(v);
}

#if defined(HALFTONE_VECTORS)
inline constexpr std::uint32_t kLanes = 4;

// Eight 16-bit elements; plane l of the group is element 2l, the low half of
// the vector's 32-bit word l, and the odd elements are never read. Every
// value a rule keeps is a 16-bit value, so the elements wrap exactly where
// the rules wrap, and the generator's 32-bit draws need no conversion.
using Lanes = std::int16_t __attribute__((vector_size(16)));
using Words = std::uint32_t __attribute__((vector_size(16)));

inline std::int32_t lane(Lanes v, std::uint32_t l) { return v[2 * l]; }
inline Lanes lanes_of(std::int32_t a, std::int32_t b, std::int32_t c, std::int32_t d) {
  return Lanes{static_cast<std::int16_t>(a), 0, static_cast<std::int16_t>(b), 0,
               static_cast<std::int16_t>(c), 0, static_cast<std::int16_t>(d), 0};
}
template <>
inline Lanes splat<Lanes>(std::int32_t v) {
  return Lanes{} + static_cast<std::int16_t>(v);
}

// Comparisons give all ones in a lane where they hold.
inline Lanes at_most(Lanes v, std::int32_t limit) { return v <= static_cast<std::int16_t>(limit); }
inline Lanes above(Lanes v, std::int32_t limit) { return v > static_cast<std::int16_t>(limit); }
inline Lanes dot_code(Lanes dot) { return dot & 1; }
inline Lanes ones_if(Lanes bit) { return -bit; }
// a where the mask is all ones, else b: one blend instruction where the
// processor has one (SSE4.1, AVX2), masks otherwise.
inline Lanes blend(Lanes mask, Lanes a, Lanes b) { return mask ? a : b; }

inline Lanes wrap16(Lanes v) { return v; }

// Sums that wrap are formed on unsigned elements: a signed element that
// overflowed would be undefined, as a signed scalar would.
using LanesU16 = std::uint16_t __attribute__((vector_size(16)));
inline Lanes add16(Lanes a, Lanes b) {
  return reinterpret_cast<Lanes>(reinterpret_cast<LanesU16>(a) + reinterpret_cast<LanesU16>(b));
}
inline Lanes sub16(Lanes a, Lanes b) {
  return reinterpret_cast<Lanes>(reinterpret_cast<LanesU16>(a) - reinterpret_cast<LanesU16>(b));
}
inline Lanes less_if_above(Lanes v, std::int32_t limit, std::int32_t k) {
  return blend(above(v, limit), sub16(v, splat<Lanes>(k)), v);
}
// A sum kept in a line.
inline Lanes line_sum(Lanes a, Lanes b) { return add16(a, b); }
// v - 1 where it stays in range; -32768 stays put (both shift to the same
// clamped band).
inline Lanes less_one(Lanes v) {
#if defined(__SSE2__)
  return reinterpret_cast<Lanes>(_mm_subs_epi16(reinterpret_cast<__m128i>(v), _mm_set1_epi16(1)));
#else
  return v - ((v != -32768) & 1);
#endif
}

// v held to [low, high].
inline Lanes clamp(Lanes v, std::int16_t low, std::int16_t high) {
#if defined(__SSE2__)
  return reinterpret_cast<Lanes>(_mm_max_epi16(
      _mm_min_epi16(reinterpret_cast<__m128i>(v), _mm_set1_epi16(high)), _mm_set1_epi16(low)));
#else
  const Lanes h = v > high;
  const Lanes at_most_high = (v & ~h) | (Lanes{} + high & h);
  const Lanes l = at_most_high < low;
  return (at_most_high & ~l) | (Lanes{} + low & l);
#endif
}

inline Lanes select_at_most(Lanes v, std::int32_t limit, Lanes at_most_, Lanes above_) {
  return blend(above(v, limit), above_, at_most_);  // one compare: above needs no inversion
}

template <class Table>
inline Lanes lookup(Table const* table, Lanes i) {
  return lanes_of(table[static_cast<std::uint16_t>(i[0])], table[static_cast<std::uint16_t>(i[2])],
                  table[static_cast<std::uint16_t>(i[4])], table[static_cast<std::uint16_t>(i[6])]);
}

// Four planes of double values, one an element, for the double screens; the
// comparisons give 64-bit masks. These 32-byte vectors live only inside the
// library's inlined loops, never across its interface (GCC's note that their
// passing differs with and without AVX is turned off in the build).
using DoubleLanes = double __attribute__((vector_size(32)));
using Masks64 = std::int64_t __attribute__((vector_size(32)));
using Words32 = std::int32_t __attribute__((vector_size(16)));

inline double lane(DoubleLanes v, std::uint32_t l) { return v[l]; }
inline std::int64_t lane(Masks64 v, std::uint32_t l) { return v[l]; }
inline DoubleLanes lanes_of(double a, double b, double c, double d) {
  return DoubleLanes{a, b, c, d};
}
inline DoubleLanes broadcast(double v) { return DoubleLanes{v, v, v, v}; }
inline DoubleLanes line_sum(DoubleLanes a, DoubleLanes b) { return a + b; }

// Four planes of 32-bit values, one a word (the same words as Lanes, widened),
// for rules that sum in 32 bits before anything wraps; their lines still
// hold 16-bit values.
using Lanes32 = std::int32_t __attribute__((vector_size(16)));
using Lanes32U = std::uint32_t __attribute__((vector_size(16)));

inline std::int32_t lane(Lanes32 v, std::uint32_t l) { return v[l]; }
inline Lanes32 at_most(Lanes32 v, std::int32_t limit) { return v <= limit; }
inline Lanes32 above(Lanes32 v, std::int32_t limit) { return v > limit; }
inline Lanes32 dot_code(Lanes32 dot) { return dot & 1; }
inline Lanes32 ones_if(Lanes32 bit) { return -bit; }
inline Lanes32 blend(Lanes32 mask, Lanes32 a, Lanes32 b) { return mask ? a : b; }
inline Lanes32 select_at_most(Lanes32 v, std::int32_t limit, Lanes32 at_most_, Lanes32 above_) {
  return blend(above(v, limit), above_, at_most_);
}
inline Lanes32 less_if_above(Lanes32 v, std::int32_t limit, std::int32_t k) {
  return v - (above(v, limit) & k);
}
// The low 16 bits, read back signed; sums and differences so wrapped.
inline Lanes32 wrap16(Lanes32 v) {
  return reinterpret_cast<Lanes32>(reinterpret_cast<Lanes32U>(v) << 16) >> 16;
}
inline Lanes32 add16(Lanes32 a, Lanes32 b) {
  return wrap16(
      reinterpret_cast<Lanes32>(reinterpret_cast<Lanes32U>(a) + reinterpret_cast<Lanes32U>(b)));
}
inline Lanes32 sub16(Lanes32 a, Lanes32 b) {
  return wrap16(
      reinterpret_cast<Lanes32>(reinterpret_cast<Lanes32U>(a) - reinterpret_cast<Lanes32U>(b)));
}
inline Lanes32 line_sum(Lanes32 a, Lanes32 b) { return add16(a, b); }
template <class Table>
inline Lanes32 lookup(Table const* table, Lanes32 i) {
  return Lanes32{table[i[0]], table[i[1]], table[i[2]], table[i[3]]};
}
template <>
inline Lanes32 splat<Lanes32>(std::int32_t v) {
  return Lanes32{v, v, v, v};
}

// The lanes of type V holding x in every lane, or a, b, c, d.
template <class V, class X>
inline V broadcast_as(X x) {
  if constexpr (std::is_same_v<V, DoubleLanes>)
    return broadcast(static_cast<double>(x));
  else
    return splat<V>(static_cast<std::int32_t>(x));
}
template <class V, class X>
inline V lanes_as(X a, X b, X c, X d) {
  if constexpr (std::is_same_v<V, Lanes32>)
    return Lanes32{a, b, c, d};
  else
    return lanes_of(a, b, c, d);
}

// The vector of four planes of a line type.
template <class T>
struct LanesOf;
template <>
struct LanesOf<std::int16_t> {
  using type = Lanes;
};
template <>
struct LanesOf<double> {
  using type = DoubleLanes;
};

// What the engine keeps in lanes for a rule: its own LaneValue where it
// names one, else the lanes of its line type.
template <class Policy, class = void>
struct LaneValueOf {
  using type = typename LanesOf<typename Policy::Value>::type;
};
template <class Policy>
struct LaneValueOf<Policy, std::void_t<typename Policy::LaneValue>> {
  using type = typename Policy::LaneValue;
};

// Greys gathered as 16-bit lanes (the odd elements 0), as lanes of type V.
template <class V>
inline V from_greys(Lanes g) {
  if constexpr (std::is_same_v<V, DoubleLanes>)
    return __builtin_convertvector(reinterpret_cast<Words32>(g), DoubleLanes);
  else if constexpr (std::is_same_v<V, Lanes32>)
    return reinterpret_cast<Lanes32>(g);  // each word is its grey already
  else
    return g;
}

// x where the mask is set, else 0.0.
inline DoubleLanes keep_if(DoubleLanes x, Masks64 keep) {
  return reinterpret_cast<DoubleLanes>(reinterpret_cast<Masks64>(x) & keep);
}

// Pixels [0, width) of four rows of greys, pixel x into out[x].
template <class V>
inline void gather_greys(V* out, unsigned char const* const* rows, std::uint32_t width) {
  std::uint32_t x = 0;
#if defined(__SSE2__)
  // Sixteen pixels at a time: the four rows' bytes interleaved pixel by
  // pixel, then widened twice, to 16 and to 32 bits.
  const __m128i zero = _mm_setzero_si128();
  for (; width - x >= 16; x += 16) {
    __m128i r[4];
    for (int l = 0; l < 4; ++l)
      r[l] = _mm_loadu_si128(reinterpret_cast<__m128i const*>(rows[l] + x));
    const __m128i lo01 = _mm_unpacklo_epi8(r[0], r[1]), hi01 = _mm_unpackhi_epi8(r[0], r[1]);
    const __m128i lo23 = _mm_unpacklo_epi8(r[2], r[3]), hi23 = _mm_unpackhi_epi8(r[2], r[3]);
    const __m128i quads[4] = {_mm_unpacklo_epi16(lo01, lo23), _mm_unpackhi_epi16(lo01, lo23),
                              _mm_unpacklo_epi16(hi01, hi23), _mm_unpackhi_epi16(hi01, hi23)};
    for (int q = 0; q < 4; ++q) {
      const __m128i pairs[2] = {_mm_unpacklo_epi8(quads[q], zero),
                                _mm_unpackhi_epi8(quads[q], zero)};
      for (int h = 0; h < 2; ++h) {
        out[x + 4 * q + 2 * h] =
            from_greys<V>(reinterpret_cast<Lanes>(_mm_unpacklo_epi16(pairs[h], zero)));
        out[x + 4 * q + 2 * h + 1] =
            from_greys<V>(reinterpret_cast<Lanes>(_mm_unpackhi_epi16(pairs[h], zero)));
      }
    }
  }
#endif
  for (; x < width; ++x)
    out[x] = from_greys<V>(lanes_of(rows[0][x], rows[1][x], rows[2][x], rows[3][x]));
}

namespace engine {

// (e * m) >> 16, rounded down.
template <std::int16_t kM>
inline Lanes mul_high(Lanes e) {
#if defined(__SSE2__)
  return reinterpret_cast<Lanes>(_mm_mulhi_epi16(reinterpret_cast<__m128i>(e), _mm_set1_epi16(kM)));
#else
  using Wide = std::int32_t __attribute__((vector_size(32)));
  return __builtin_convertvector((__builtin_convertvector(e, Wide) * kM) >> 16, Lanes);
#endif
}

// (e * m) >> 16, rounded down, with a multiplier of each lane's own.
inline Lanes mul_high(Lanes e, Lanes m) {
#if defined(__SSE2__)
  return reinterpret_cast<Lanes>(
      _mm_mulhi_epi16(reinterpret_cast<__m128i>(e), reinterpret_cast<__m128i>(m)));
#else
  using Wide = std::int32_t __attribute__((vector_size(32)));
  return __builtin_convertvector(
      (__builtin_convertvector(e, Wide) * __builtin_convertvector(m, Wide)) >> 16, Lanes);
#endif
}

// Divisions truncating toward zero, exact for every 16-bit value. e / 3 is
// (e * 21846) >> 16 plus one for a negative e; (2e) / 3 is (e * 43691) >> 16
// plus one for a negative e, where e * 43691 = e * (43691 - 65536) + e * 65536.
// (3e) / 4 is e less e / 4 rounded away from zero, which is m - (m >> 2)
// for m = e - 1 where e >= 0 and m = e where e < 0 (neither wraps).
inline Lanes sign_bit(Lanes e) { return e >> 15; }  // -1 for a negative e
inline Lanes third(Lanes e) { return mul_high<21846>(e) - sign_bit(e); }
inline Lanes two_thirds(Lanes e) { return mul_high<-21845>(e) + e - sign_bit(e); }
inline Lanes half(Lanes e) { return (e - sign_bit(e)) >> 1; }
inline Lanes quarter(Lanes e) { return (e + (sign_bit(e) & 3)) >> 2; }
inline Lanes three_quarters(Lanes e) {
  const Lanes m = e + ~sign_bit(e);  // ~sign: -1 where e >= 0, else 0
  return m - (m >> 2);
}
inline Lanes shift_half(Lanes e) { return e >> 1; }

// The same splits in 32-bit lanes, exact for |e| < 49151 (every value the
// 32-bit rules split is within 33 100 of 0): (e * 43691) >> 17 is e / 3
// rounded down, and (e * 43691) >> 16 is (2e) / 3 rounded down, for |2e| <
// 131072; a negative e then adds one.
inline Lanes32 third(Lanes32 e) { return ((e * 43691) >> 17) - (e >> 31); }
inline Lanes32 two_thirds(Lanes32 e) { return ((e * 43691) >> 16) - (e >> 31); }
inline Lanes32 quarter(Lanes32 e) { return (e + ((e >> 31) & 3)) >> 2; }
inline Lanes32 three_quarters(Lanes32 e) {
  const Lanes32 t = e * 3;
  return (t + ((t >> 31) & 3)) >> 2;
}

}  // namespace engine

// Four copies of the additive generator, one a 32-bit word of the vector,
// drawn in step. Each copy starts from its own table; every table is kept in
// draw order, so one front and rear serve all.
template <class V = Lanes>
class LaneRandom {
 public:
  explicit LaneRandom(RandomTable const* tables, std::uint32_t count) {
    for (int k = 0; k < FeedbackRandom::kDegree; ++k)
      for (std::uint32_t l = 0; l < kLanes; ++l) state_[k][l] = tables[l < count ? l : 0].words[k];
  }

  // The draws, each in its plane's lane (for 16-bit lanes their low 16 bits).
  inline V draw() {
    const Words sum = state_[front_] + state_[rear_];
    state_[front_] = sum;
    if (++front_ == FeedbackRandom::kDegree) {
      front_ = 0;
      ++rear_;
    } else if (++rear_ == FeedbackRandom::kDegree) {
      rear_ = 0;
    }
    return reinterpret_cast<V>(sum >> 1);
  }
  inline V bit() { return draw() & 1; }
  inline V two_bits() { return draw() & 3; }

 private:
  Words state_[FeedbackRandom::kDegree];
  int front_ = 0;
  int rear_ = FeedbackRandom::kDegree - FeedbackRandom::kSeparation;
};
#endif

}  // namespace halftone
