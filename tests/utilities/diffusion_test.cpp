// The single-plane utilities against plain models and by hand.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>

#include "frame/feedback_random.h"
#include "halftone/setup.h"
#include "halftone/utilities.h"
#include "support/images.h"
#include "utilities/reference.h"

namespace halftone::test {
namespace {

using Bytes = std::vector<unsigned char>;
using Oriented = int (*)(unsigned char*, unsigned char*, int, int, int*, unsigned char*);
using ByReference = int (*)(unsigned char*, unsigned char*&, int, int, int*, unsigned char*);

struct OrientedCase {
  char const* name;
  Oriented direct;
  ByReference by_reference;
  int neighbours;
  Turn turn;
};
const OrientedCase kOriented[] = {
    {"kajdjigc23kdh", kajdjigc23kdh, nullptr, 4, Turn::Same},
    {"tishduth29dmc", tishduth29dmc, nullptr, 2, Turn::Transposed},
    {"fdxin324c", fdxin324c, nullptr, 2, Turn::PartialHalf},
    {"nchsuw56xd", nchsuw56xd, nullptr, 2, Turn::UpsideDown},
    {"ixndiwkc76y", nullptr, ixndiwkc76y, 2, Turn::Transposed},
    {"sdicxx78xy", nullptr, sdicxx78xy, 2, Turn::Clockwise},
    {"ghskdjiekld", nullptr, ghskdjiekld, 2, Turn::AntiTransposed},
};

// One call of kOriented[i], or i = 7: xinskdn34skx, 8: its reseeded variant
// shdeiznc45kdi (with the tone table cut to bytes). Returns the output.
Bytes run(int i, unsigned char* src, int w, int h, int* tone, std::size_t size) {
  Output out(size);
  unsigned char* ref = out.data();
  unsigned char bytes[256];
  for (int g = 0; g < 256; ++g) bytes[g] = static_cast<unsigned char>(tone[g]);
  const auto uw = static_cast<std::uint32_t>(w), uh = static_cast<std::uint32_t>(h);
  EXPECT_EQ(i == 7                ? xinskdn34skx(src, ref, uw, uh, bytes)
            : i == 8              ? shdeiznc45kdi(src, ref, uw, uh, bytes)
            : kOriented[i].direct ? kOriented[i].direct(src, ref, w, h, tone, nullptr)
                                  : kOriented[i].by_reference(src, ref, w, h, tone, nullptr),
            0);
  EXPECT_EQ(ref, out.data()) << "the caller's pointer moved";
  EXPECT_TRUE(out.guard_intact());
  return out.body();
}

TEST(Utilities, OrientedMatchTheModelOnRandomImages) {
  std::mt19937 gen(11);
  for (int round = 0; round < 80; ++round) {
    // Every fourth image is one to three pixels wide: row ends on both sides.
    const std::uint32_t w = 1 + gen() % (round % 4 ? 70 : 3), h = 1 + gen() % 20;
    const std::uint32_t seconds = gen();
    auto src = make_source(w, h, 1, Fill::Noise, gen());
    int tone[256];
    for (int& t : tone) t = static_cast<int>(gen() % 300);
    if (round % 5 == 0) tone[gen() % 256] = round % 10 ? INT_MAX : INT_MIN;  // wraps
    pin_seed_time(seconds);
    for (int i = 0; i < 7; ++i) {
      const OrientedCase& c = kOriented[i];
      const auto want =
          render(ref_oriented(src.data(), w, h, tone, c.neighbours, seconds), c.turn, w, h);
      ASSERT_EQ(run(i, src.data(), int(w), int(h), tone, want.size()), want)
          << c.name << " " << w << "x" << h;
    }
  }
  unpin_seed_time();
}

// Twice each: the row bits run on across calls; only the reseeded variant
// reseeds and draws the screening generator.
TEST(Utilities, NoiseMatchesTheModelAndRunsOnAcrossCalls) {
  std::mt19937 gen(5);
  for (int round = 0; round < 60; ++round) {
    const std::uint32_t w = 1 + gen() % 70, h = 1 + gen() % 20, seconds = gen();
    auto src = make_source(w, h, 1, Fill::Noise, gen());
    int tone[256];
    unsigned char bytes[256];
    for (int g = 0; g < 256; ++g) bytes[g] = static_cast<unsigned char>(tone[g] = gen() % 256);
    pin_seed_time(seconds);
    RefRandom rows, screening;
    rows.copy(utility_random());
    for (bool reseeded : {false, false, true, true}) {
      const auto want =
          render(ref_noise(src.data(), w, h, bytes, rows, seconds, reseeded), Turn::Same, w, h);
      ASSERT_EQ(run(reseeded ? 8 : 7, src.data(), int(w), int(h), tone, want.size()), want)
          << w << "x" << h;
      ASSERT_TRUE(rows.same_as(utility_random()));
      screening.seed(seconds);
      for (std::uint32_t i = 1; reseeded && i < w; ++i) screening.draw();
      ASSERT_TRUE(screening.same_as(screening_random()));
    }
  }
  unpin_seed_time();
}

// Flat tone tables: 1 x 1 shows the dot tests, black the row ends and turns;
// empty sizes give nothing and draw nothing.
TEST(Utilities, ByHand) {
  struct Case {
    int first, last;  // screens as run() numbers them
    int w, h, value;
    Bytes want;
  } const cases[] = {
      {0, 6, 1, 1, 128, {0x80, 0, 0, 0}},
      {0, 6, 1, 1, 129, {0, 0, 0, 0}},
      {7, 7, 1, 1, 128, {0x80, 0, 0, 0}},
      {7, 7, 1, 1, 127, {0, 0, 0, 0}},
      {8, 8, 1, 1, 128, {0x80, 0, 0, 0}},
      {8, 8, 1, 1, 129, {0, 0, 0, 0}},
      {2, 2, 10, 3, 0, {0xFF, 0xFF, 0, 0, 0xFF, 0x60, 0, 0, 0, 0, 0, 0}},
      {2, 2, 10, 2, 0, {0xFF, 0xC0, 0, 0, 0, 0, 0, 0}},
      {7, 7, 9, 3, 0, {0xFF, 0x80, 0, 0, 0xFF, 0x80, 0, 0, 0xFF, 0, 0, 0}},
      {7, 7, 9, 2, 0, {0xFF, 0x80, 0, 0, 0x7F, 0x80, 0, 0}},
      {8, 8, 9, 3, 0, {0xFF, 0x80, 0, 0, 0xFF, 0x80, 0, 0, 0xFF, 0x80, 0, 0}},
      {0, 8, 0, 3, 0, {}},
      {0, 8, 3, 0, 0, {}},
      {0, 6, -40, 2, 0, {}},
      {0, 6, 2, -40, 0, {}},
  };
  unsigned char src[64] = {};
  for (Case const& c : cases) {
    int tone[256];
    std::fill_n(tone, 256, c.value);
    for (int i = c.first; i <= c.last; ++i) {
      RefRandom rows;
      rows.copy(utility_random());
      EXPECT_EQ(run(i, src, c.w, c.h, tone, c.want.size()), c.want)
          << "screen " << i << " " << c.w << "x" << c.h << " value " << c.value;
      EXPECT_TRUE(!c.want.empty() || rows.same_as(utility_random()));
    }
  }
}

}  // namespace
}  // namespace halftone::test
