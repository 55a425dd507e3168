// Dot-code decisions of the multi-level screens.
//
// A decision takes a pixel's diffused value v (signed 16-bit) and its own
// source grey s and returns the code to write and the error e = v - level of
// that code, kept as a signed 16-bit value. Each decision is a small struct
// built once per call (from the parameter bytes where the host sets the
// levels) with an inline `decide(v, s)`, so any serpentine or matrix screen can
// plug it in.
#pragma once
#include <algorithm>
#include <cstdint>
#include <utility>

#include "frame/compiler.h"
#include "frame/lanes.h"
#include "frame/layout.h"
#include "frame/select.h"
#include "frame/tone_curves.h"

namespace halftone {

struct Decision {
  std::uint32_t code;
  std::int16_t e;
};

// The decisions that the lane screens use are templates over the value as
// well (frame/lanes.h); their one-plane `decide(int16_t, uint32_t)` is the
// template's result at int32_t.
template <class V>
struct DecisionOf {
  V code;
  V e;
};

inline std::int32_t choose(bool m, std::int32_t a, std::int32_t b) { return m ? a : b; }
#if defined(HALFTONE_VECTORS)
inline Lanes choose(Lanes m, Lanes a, Lanes b) { return blend(m, a, b); }
inline Lanes32 choose(Lanes32 m, Lanes32 a, Lanes32 b) { return blend(m, a, b); }
#endif

template <class Decide>
Decision decide_one(Decide const& d, std::int16_t v, std::uint32_t s) {
  const DecisionOf<std::int32_t> r = d.decide_any(std::int32_t{v}, static_cast<std::int32_t>(s));
  return {static_cast<std::uint32_t>(r.code), static_cast<std::int16_t>(r.e)};
}

inline Decision coded(std::uint32_t code, std::int32_t v, std::int32_t level) {
  return {code, wrap16(v - level)};
}

// The midpoint of two unsigned levels, 0..255.
constexpr std::int32_t midpoint(std::uint8_t lo, std::uint8_t hi) {
  return (static_cast<std::int32_t>(lo) + hi) >> 1;
}

// Four host-set levels: parameter bytes 0, 1, 2, 3 are the greys of codes
// 3, 2, 1, 0 (darkest first). The source grey picks the two levels that
// bracket it and v only chooses between them, so a pixel never lands more
// than one level away from its own grey. The tests on v run in the order
// M10, M21, M32 and the tests on s in the order shown: with bytes out of
// rising order that order is what decides.
struct BracketedFourLevel {
  std::int32_t level[4];  // grey of code c
  std::int32_t m32, m21, m10;
  std::uint32_t b1, b2;

  explicit BracketedFourLevel(std::uint8_t const* bytes = ScreenParameterBytes())
      : level{bytes[3], bytes[2], bytes[1], bytes[0]},
        m32(midpoint(bytes[0], bytes[1])),
        m21(midpoint(bytes[1], bytes[2])),
        m10(midpoint(bytes[2], bytes[3])),
        b1(bytes[1]),
        b2(bytes[2]) {}

  static constexpr bool kLaneRule = true;

  // The codes of the four value ranges follow from the grey alone; the
  // value then picks one with conditional moves, innermost range first, so
  // that the outcome is the cascade's for any order of the midpoints.
  template <class V>
  DecisionOf<V> decide_any(V v, V s) const {
    const V one = splat<V>(1), two = splat<V>(2), three = splat<V>(3);
    const auto dark1 = at_most(s, static_cast<std::int32_t>(b1));
    const auto dark2 = at_most(s, static_cast<std::int32_t>(b2));
    const V low = choose(dark1, three, choose(dark2, two, one));  // v <= m32
    const V third = choose(dark2, two, one);                      // v > m32
    const V second = choose(dark1, two, one);                     // v > m21
    const V high = choose(dark1, two, choose(dark2, one, V{}));   // v > m10
    const V code = select_at_most(
        v, m10, select_at_most(v, m21, select_at_most(v, m32, low, third), second), high);
    const V l0 = splat<V>(level[0]), l1 = splat<V>(level[1]), l2 = splat<V>(level[2]),
            l3 = splat<V>(level[3]);
    const V grey = select_at_most(
        v, m10,
        select_at_most(
            v, m21,
            select_at_most(v, m32, choose(dark1, l3, choose(dark2, l2, l1)), choose(dark2, l2, l1)),
            choose(dark1, l2, l1)),
        choose(dark1, l2, choose(dark2, l1, l0)));
    return {code, sub16(v, grey)};
  }
  Decision decide(std::int16_t v, std::uint32_t s) const { return decide_one(*this, v, s); }
};

// Eight host-set levels: parameter byte k is the grey of code 7 - k (byte 0
// darkest). The table is irregular on purpose: in the middle rows a light
// source pulls the code far toward the light end, while the outer rows only
// allow the two codes next to v.
struct BracketedEightLevel {
  static constexpr bool kLaneRule = true;
  std::int32_t level[8];  // grey of code c
  std::int32_t mid[7];    // between code c and code c + 1
  std::int32_t b[8];      // the bytes as the source is tested against them

  // The table: in value range i (v > mid[i], tested from i = 0; range 7 is
  // everything below mid[6]) the code is that of the first test s > b[byte]
  // that holds, else the range's last code.
  struct Test {
    std::int8_t byte;
    std::int8_t code;
  };
  struct Range {
    Test tests[3];
    std::int8_t count;
    std::int8_t otherwise;
  };
  static constexpr Range kRanges[8] = {{{{6, 0}}, 1, 1},                  //
                                       {{{5, 1}}, 1, 2},                  //
                                       {{{6, 1}, {4, 2}}, 2, 3},          //
                                       {{{6, 1}, {5, 2}, {3, 3}}, 3, 4},  //
                                       {{{5, 1}, {4, 3}, {2, 4}}, 3, 5},  //
                                       {{{3, 4}, {1, 5}}, 2, 6},          //
                                       {{{2, 5}}, 1, 6},                  //
                                       {{{1, 6}}, 1, 7}};

  explicit BracketedEightLevel(std::uint8_t const* bytes = ScreenParameterBytes()) {
    for (int c = 0; c < 8; ++c) {
      level[c] = bytes[7 - c];
      b[c] = bytes[c];
    }
    for (int c = 0; c < 7; ++c) mid[c] = midpoint(bytes[6 - c], bytes[7 - c]);
  }

  // One plane: the range and then the test that holds, with branches.
  DecisionOf<std::int32_t> decide_any(std::int32_t v, std::int32_t s) const {
    int i = 0;
    while (i < 7 && !(v > mid[i])) ++i;
    Range const& range = kRanges[i];
    std::int32_t code = range.otherwise;
    for (int t = 0; t < range.count; ++t)
      if (s > b[range.tests[t].byte]) {
        code = range.tests[t].code;
        break;
      }
    return {code, sub16(v, level[code])};
  }

  // Planes in lanes: every range's code, and its grey, follow from s alone.
  // v then picks the first range whose test holds (the last where none
  // does) with selects instead of branches: neighbouring ranges are merged
  // in pairs, then pairs of pairs, so that v's tests reach the code and
  // the grey through three selects rather than one a range.
  template <class V>
  DecisionOf<V> decide_any(V v, V s) const {
    V hit[8], code[8], grey[8];
    const auto every_range = [&]<std::size_t... I>(std::index_sequence<I...>) {
      (range_of<static_cast<int>(I)>(v, s, hit[I], code[I], grey[I]), ...);
    };
    every_range(std::make_index_sequence<8>{});
    const auto merge = [&](int i, int j) {
      code[i] = choose(hit[i], code[i], code[j]);
      grey[i] = choose(hit[i], grey[i], grey[j]);
      hit[i] = hit[i] | hit[j];
    };
    merge(0, 1), merge(2, 3), merge(4, 5), merge(6, 7);
    merge(0, 2), merge(4, 6);
    merge(0, 4);
    return {code[0], sub16(v, grey[0])};
  }
  Decision decide(std::int16_t v, std::uint32_t s) const { return decide_one(*this, v, s); }

 private:
  // Range I's test on v, and its code and grey from the tests on s, the
  // first that holds deciding.
  template <int I, class V>
  void range_of(V v, V s, V& hit, V& code, V& grey) const {
    constexpr Range range = kRanges[I];
    if constexpr (I < 7)
      hit = above(v, mid[I]);
    else
      hit = splat<V>(-1);  // the last range takes what no other does
    code = splat<V>(range.otherwise);
    grey = splat<V>(level[range.otherwise]);
    source_test<I, 2>(s, code, grey);
    source_test<I, 1>(s, code, grey);
    source_test<I, 0>(s, code, grey);
  }
  template <int I, int T, class V>
  void source_test(V s, V& code, V& grey) const {
    if constexpr (T < kRanges[I].count) {
      constexpr Test test = kRanges[I].tests[T];
      const auto light = above(s, b[test.byte]);
      code = choose(light, splat<V>(test.code), code);
      grey = choose(light, splat<V>(level[test.code]), grey);
    }
  }
};

// Fixed, evenly spaced levels on v alone: code c stands for grey
// 255 * (kCodes - 1 - c) / (kCodes - 1), truncated. The thresholds are the
// multiples of 256 / kCodes (64, 128, 192 for four codes; 32 … 224 for eight),
// deliberately not midway between the levels; a value equal to a threshold
// takes the darker code.
template <std::uint32_t kCodes, int kShift>
struct EvenLevels {
  static_assert((1u << (8 - kShift)) == kCodes);
  static constexpr std::int32_t kTop = kCodes - 1;
  static constexpr bool kLaneRule = kTop == 3 || kTop == 7;

  // 255 * band / kTop, truncated.
  static std::int32_t level(std::int32_t band) { return 255 * band / kTop; }
#if defined(HALFTONE_VECTORS)
  // 255 / 3 is whole; 255 b / 7 is (255 b * 9363) >> 16 for every band 0-7.
  static Lanes level(Lanes band) {
    if constexpr (kTop == 3)
      return band * 85;
    else
      return engine::mul_high<9363>(band * 255);
  }
#endif

  template <class V>
  DecisionOf<V> decide_any(V v, V /*s*/) const {
    const V band = clamp(less_one(v) >> kShift, 0, kTop);
    return {kTop - band, sub16(v, level(band))};
  }
  Decision decide(std::int16_t v, std::uint32_t s) const { return decide_one(*this, v, s); }
};
using FixedFourLevel = EvenLevels<4, 6>;
using FixedEightLevel = EvenLevels<8, 5>;

// Two levels: a value of at most 128 is a dot, written as `dot_code`, and
// passes itself on; a lighter value writes nothing and passes on v - 255.
struct TwoLevel {
  static constexpr bool kLaneRule = true;
  std::uint32_t dot_code;

  template <class V>
  DecisionOf<V> decide_any(V v, V /*s*/) const {
    return {select_at_most(v, 128, splat<V>(static_cast<std::int32_t>(dot_code)), V{}),
            less_if_above(v, 128, 255)};
  }
  Decision decide(std::int16_t v, std::uint32_t s) const { return decide_one(*this, v, s); }
};

}  // namespace halftone
