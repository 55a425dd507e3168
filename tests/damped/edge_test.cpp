// Hand-worked cases from the screens' rules.
#include <gtest/gtest.h>

#include <vector>

#include "damped/reference.h"
#include "damped/screens.h"
#include "frame/feedback_random.h"
#include "halftone/setup.h"
#include "screens/damped/noise_tables.h"
#include "support/images.h"

namespace halftone::test {
namespace {

constexpr std::uint32_t kSeconds = 1700000000u;

// One call on a flat or given source; returns the output without its guard.
std::vector<unsigned char> call(ScreenFn fn, std::vector<unsigned char> src, std::uint32_t w,
                                std::uint32_t h, std::uint32_t band, std::uint32_t planes = 1) {
  Output out(static_cast<std::size_t>(dot_stride(w)) * h * planes);
  EXPECT_EQ(fn(src.data(), out.data(), w, h, make_control(planes, band)), 0);
  EXPECT_TRUE(out.guard_intact());
  return out.body();
}
std::vector<unsigned char> flat(std::uint32_t w, std::uint32_t h, unsigned char tone,
                                std::uint32_t planes = 1) {
  return make_source(w, h, planes, Fill::Flat, 1, tone);
}

// The first draws after seeding with `seconds`, masked. Their low two bits
// depend only on the seconds modulo 8, so the seconds pick the cases below.
std::vector<std::uint32_t> first_draws(std::uint32_t seconds, int n, std::uint32_t mask) {
  RefRandom r;
  r.seed(seconds);
  std::vector<std::uint32_t> v;
  for (int i = 0; i < n; ++i) v.push_back(r.draw() & mask);
  return v;
}

TEST(DampedEdges, FirstPixelOfFirstBandShowsThresholdAndPriming) {
  struct Case {
    ScreenFn fn;
    unsigned char tone;
    bool dot;
  } const cases[] = {
      {suiruiskao, 128, true},   {suiruiskao, 129, false},   {suiruiskao2, 128, true},
      {suiruiskao2, 129, false}, {suiruiskao8, 128, true},   {suiruiskao8, 129, false},
      {suiruiskao11, 128, true}, {suiruiskao11, 150, false}, {sdiufiavs2, 150, true},
      {sdiufiavs2, 163, true},   {sdiufiavs2, 164, false},   {sdiufiavs3, 153, true},
      {sdiufiavs3, 154, false},  {sdiufiavs3, 160, false},
  };
  pin_seed_time(kSeconds);
  for (Case const& c : cases)
    EXPECT_EQ(bit_at(call(c.fn, flat(5, 3, c.tone), 5, 3, 1).data(), 0), c.dot)
        << "tone " << int(c.tone);
}

TEST(DampedEdges, FlatBlackPrintsEverywhereAndFlatWhiteStartsBlank) {
  pin_seed_time(kSeconds);
  for (DampedScreen const& s : kDampedScreens) {
    for (std::uint32_t band : {1u, 2u, 3u}) {
      const auto black = call(s.fn, flat(37, 6, 0, 2), 37, 6, band, 2);
      EXPECT_EQ(black, call(s.fn, flat(37, 6, 0, 2), 37, 6, 1, 2)) << s.name;
      for (std::uint32_t r = 0; r < 12; ++r)
        for (std::uint32_t x = 0; x < 37; ++x) ASSERT_TRUE(bit_at(&black[r * 8], x)) << s.name;
    }
    const auto white = call(s.fn, flat(37, 6, 255), 37, 6, 1);
    const bool doubles = s.model == Model::Runs || s.model == Model::HalfSplit;
    const std::size_t checked = doubles ? white.size() : dot_stride(37);
    for (std::size_t i = 0; i < checked; ++i) EXPECT_EQ(white[i], 0) << s.name;
  }
}

// Priming -35: 195, 155, 145 and 122 reach the four pixels; only the last prints.
TEST(DampedEdges, LightToneSplitsByColumnParityWithoutDrawing) {
  pin_seed_time(kSeconds);
  EXPECT_EQ(call(sdiufiavs2, flat(4, 1, 230), 4, 1, 1)[0], 0x10);
}

TEST(DampedEdges, DrawsMadeByToneAndScreen) {
  struct Case {
    ScreenFn fn;
    unsigned char tone;
    std::uint32_t per_pixel;
  } const cases[] = {
      {sdiufiavs2, 230, 0},   {sdiufiavs2, 200, 1},   {sdiufiavs2, 175, 1},
      {sdiufiavs3, 216, 0},   {sdiufiavs3, 180, 1},   {suiruiskao11, 241, 0},
      {suiruiskao11, 229, 0}, {suiruiskao11, 203, 0}, {suiruiskao11, 202, 1},
      {suiruiskao11, 90, 1},  {suiruiskao8, 100, 0},
  };
  const std::uint32_t w = 9, h = 4, planes = 2;
  pin_seed_time(kSeconds);
  for (Case const& c : cases) {
    call(c.fn, flat(w, h, c.tone, planes), w, h, 1, planes);
    FeedbackRandom expected;
    expected.seed(kSeconds);
    for (std::uint32_t i = 0; i < c.per_pixel * w * h * planes; ++i) expected.draw();
    EXPECT_EQ(screening_random().draw(), expected.draw()) << "tone " << int(c.tone);
  }
  // The half split draws at every pixel but the last of the band's last row.
  call(suiruiskao2, flat(w, h, 77, planes), w, h, 2, planes);
  FeedbackRandom expected;
  expected.seed(kSeconds);
  for (std::uint32_t i = 0; i < (w * h - 1) * planes; ++i) expected.draw();
  EXPECT_EQ(screening_random().draw(), expected.draw());
}

// Tone 175 on 2 x 2, primed with -35. Draw bits 1, 1, 0, 1: row 0 leaves -57
// and 41 below; row 1 (right to left, low band) sends -4 along, so x = 0 reaches
// 114, prints and carries 0. Bits 0, 0, 0, 0: -39 and 22 below, -14 along,
// x = 0 reaches 122 and carries 61. The next band's first pixel of tone 100
// prints only without the carry.
TEST(DampedEdges, ToneBandsAndCarryWorkedByHand) {
  struct Case {
    std::uint32_t seconds;
    std::vector<std::uint32_t> bits;
    bool next_prints;
  } const cases[] = {{kSeconds, {1, 1, 0, 1}, true}, {kSeconds + 3, {0, 0, 0, 0}, false}};
  for (Case const& c : cases) {
    ASSERT_EQ(first_draws(c.seconds, 4, 1), c.bits);
    pin_seed_time(c.seconds);
    EXPECT_EQ(call(sdiufiavs2, flat(2, 2, 175), 2, 2, 1),
              (std::vector<unsigned char>{0x40, 0, 0, 0, 0x80, 0, 0, 0}));
    EXPECT_EQ(bit_at(call(sdiufiavs2, flat(2, 1, 100), 2, 1, 3).data(), 0), c.next_prints);
  }
}

// Only a band whose last row runs right to left (even height) hands error on.
TEST(DampedEdges, EvenBandHeightsCarryOddOnesDoNot) {
  struct Case {
    ScreenFn fn;
    unsigned char light_a, light_b;  // first-band tones that draw nothing
  } const cases[] = {{sdiufiavs2, 255, 220},
                     {sdiufiavs3, 255, 220},
                     {suiruiskao11, 255, 241},
                     {suiruiskao8, 255, 200}};
  const auto next = make_source(23, 5, 1, Fill::RampX);
  pin_seed_time(kSeconds);
  for (Case const& c : cases)
    for (std::uint32_t h : {8u, 9u}) {
      call(c.fn, flat(23, h, c.light_a), 23, h, 1);
      const auto after_a = call(c.fn, next, 23, 5, 3);
      call(c.fn, flat(23, h, c.light_b), 23, h, 1);
      EXPECT_EQ(after_a == call(c.fn, next, 23, 5, 3), h == 9) << "height " << h;
    }
}

TEST(DampedEdges, HalfSplitCarriesIntoTheNextBandOnly) {
  pin_seed_time(kSeconds);
  // By hand: 100 | 149.25 above 47.92 | 172.85; x = 1 carries 23.60 down.
  EXPECT_EQ(call(suiruiskao2, flat(2, 2, 100), 2, 2, 1),
            (std::vector<unsigned char>{0x80, 0, 0, 0, 0x40, 0, 0, 0}));
  std::vector<unsigned char> next{255, 110, 0, 0};
  EXPECT_EQ(call(suiruiskao2, next, 2, 1, 3)[0], 0);     // 110 + 23.60 stays blank
  EXPECT_EQ(call(suiruiskao2, next, 2, 1, 1)[0], 0x40);  // a first band prints 110
  const auto grey = flat(40, 8, 118), other = make_source(40, 8, 1, Fill::Noise, 3);
  call(suiruiskao2, grey, 40, 8, 1);
  const auto carried = call(suiruiskao2, other, 40, 8, 3);
  EXPECT_NE(carried, call(suiruiskao2, other, 40, 8, 1));
  // The random runs never carry.
  call(suiruiskao, grey, 40, 8, 1);
  EXPECT_EQ(call(suiruiskao, other, 40, 8, 2), call(suiruiskao, other, 40, 8, 1));
}

// On one row (the band's last) a run's error goes along undamped or is dropped.
// With pixel q = 128 and q + 1 = 100 on white, q + 1 prints only if q drops
// its error. Run k's index is draw P_k + k (after each pixel's unused draw).
// These seconds draw indices 3, 1, 0, 2, 0, 0, 0 at runs starting at 0, 10,
// 20, 31, 42, 53, 64: the third 0 running becomes 1, so the seventh run is 10
// long and pixel 74 already starts the eighth, which drops its error.
TEST(DampedEdges, RunIndexDrawnThirdTimeIsReplaced) {
  const std::vector<std::uint32_t> draws = first_draws(kSeconds, 72, 3);
  const int run_draws[] = {1, 12, 23, 35, 47, 59, 71};
  const std::uint32_t indices[] = {3, 1, 0, 2, 0, 0, 0};
  for (int k = 0; k < 7; ++k) ASSERT_EQ(draws[run_draws[k]], indices[k]);
  pin_seed_time(kSeconds);
  for (auto [q, along] : {std::pair{73u, true}, std::pair{74u, false}, std::pair{63u, false}}) {
    std::vector<unsigned char> src(source_stride(q + 3), 255);
    src[q] = 128;
    src[q + 1] = 100;
    const auto out = call(suiruiskao, src, q + 3, 1, 1);
    for (std::uint32_t x = 0; x < q + 3; ++x)
      EXPECT_EQ(bit_at(out.data(), x), x == q || (x == q + 1 && !along)) << q << " " << x;
  }
}

TEST(DampedEdges, NoiseTablesFollowTheirShapes) {
  using namespace damped;
  struct Case {
    NoiseTable const& table;
    int tone, value;
  } const cases[] = {
      {kNoiseAmplitude31, 0, 0},    {kNoiseAmplitude31, 30, 30},  {kNoiseAmplitude31, 31, 31},
      {kNoiseAmplitude31, 224, 31}, {kNoiseAmplitude31, 225, 30}, {kNoiseAmplitude31, 255, 0},
      {kNoiseBand31, 104, 0},       {kNoiseBand31, 105, 9},       {kNoiseBand31, 127, 31},
      {kNoiseBand31, 223, 31},      {kNoiseBand31, 224, 30},      {kNoiseBand31, 254, 0},
      {kNoiseBand31, 255, 0},       {kNoiseAmplitude8, 7, 7},     {kNoiseAmplitude8, 8, 8},
      {kNoiseAmplitude8, 247, 8},   {kNoiseAmplitude8, 250, 5},   {kNoiseAmplitude8, 255, 0},
  };
  for (Case const& c : cases) EXPECT_EQ(c.table[c.tone], c.value) << c.tone;
}

}  // namespace
}  // namespace halftone::test
