// The single-plane utilities against plain models, byte for byte.
#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <random>

#include "halftone/setup.h"
#include "halftone/utilities.h"
#include "support/images.h"
#include "utilities/reference.h"

namespace halftone::test {
namespace {

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

int call(OrientedCase const& c, unsigned char* src, unsigned char* out, int w, int h, int* tone) {
  if (c.direct) return c.direct(src, out, w, h, tone, nullptr);
  unsigned char* ref = out;
  const int result = c.by_reference(src, ref, w, h, tone, nullptr);
  EXPECT_EQ(ref, out) << c.name << " moved the caller's pointer";
  return result;
}

class Utilities : public ::testing::Test {
 protected:
  void TearDown() override { unpin_seed_time(); }
};

TEST_F(Utilities, OrientedMatchTheModelOnRandomImages) {
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
    for (OrientedCase const& c : kOriented) {
      const auto dots = ref_oriented(src.data(), w, h, tone, c.neighbours, seconds);
      const auto expected = render(dots, c.turn, w, h);
      Output out(expected.size());
      ASSERT_EQ(call(c, src.data(), out.data(), static_cast<int>(w), static_cast<int>(h), tone), 0);
      ASSERT_EQ(out.body(), expected) << c.name << " " << w << "x" << h;
      ASSERT_TRUE(out.guard_intact()) << c.name;
    }
  }
}

TEST_F(Utilities, OrientedThresholdIs129AndEmptySizesTouchNothing) {
  unsigned char src[4] = {7, 0, 0, 0};
  for (OrientedCase const& c : kOriented) {
    for (int value : {128, 129, 0, 255}) {
      int tone[256] = {};
      tone[7] = value;
      Output out(4);
      call(c, src, out.data(), 1, 1, tone);
      EXPECT_EQ(out.body()[0], value <= 128 ? 0x80 : 0) << c.name << " " << value;
    }
    int tone[256] = {};
    for (auto [w, h] : {std::pair{0, 3}, {3, 0}, {-40, 2}, {2, -40}, {0, 0}}) {
      Output out(0);
      EXPECT_EQ(call(c, nullptr, out.data(), w, h, tone), 0);
      EXPECT_TRUE(out.guard_intact()) << c.name << " " << w << "x" << h;
    }
  }
}

using Noise = int (*)(unsigned char*, unsigned char*, unsigned int, unsigned int, unsigned char*);
struct NoiseCase {
  char const* name;
  Noise fn;
  bool reseeded;
};
const NoiseCase kNoise[] = {{"xinskdn34skx", xinskdn34skx, false},
                            {"shdeiznc45kdi", shdeiznc45kdi, true}};

// Runs one call and checks it against the model continuing `rows`.
void expect_noise_matches(NoiseCase const& c, std::vector<unsigned char>& src, std::uint32_t w,
                          std::uint32_t h, unsigned char* tone, RefLagged& rows,
                          std::uint32_t seconds) {
  const auto expected = ref_noise(src.data(), w, h, tone, rows, seconds, c.reseeded);
  Output out(expected.size());
  ASSERT_EQ(c.fn(src.data(), out.data(), w, h, tone), 0);
  ASSERT_EQ(out.body(), expected) << c.name << " " << w << "x" << h;
  ASSERT_TRUE(out.guard_intact());
  ASSERT_TRUE(rows.same_as(utility_random())) << c.name;
  // The screening generator was reseeded and drawn once a pixel of the last
  // row but the final one, by the reseeded variant only.
  RefLagged screening = RefLagged::seeded(seconds);
  if (c.reseeded)
    for (std::uint32_t i = 1; i < w; ++i) screening.bit();
  ASSERT_TRUE(screening.same_as(screening_random())) << c.name;
}

TEST_F(Utilities, NoiseMatchesTheModelAndRunsOnAcrossCalls) {
  std::mt19937 gen(5);
  for (int round = 0; round < 60; ++round) {
    const std::uint32_t w = 1 + gen() % 70, h = 1 + gen() % 20, seconds = gen();
    auto src = make_source(w, h, 1, Fill::Noise, gen());
    unsigned char tone[256];
    for (auto& t : tone) t = static_cast<unsigned char>(gen());
    pin_seed_time(seconds);
    for (NoiseCase const& c : kNoise) {
      RefLagged rows = RefLagged::copy_of(utility_random());
      expect_noise_matches(c, src, w, h, tone, rows, seconds);
      expect_noise_matches(c, src, w, h, tone, rows, seconds);  // the sequence runs on
    }
  }
}

TEST_F(Utilities, NoiseFinalPixelOfTheLastRow) {
  struct Row {
    std::uint32_t w, h;
    unsigned char grey, table;  // flat source; every table entry `table`
    bool reseeded;
    std::uint32_t final_x;
    bool final_dot, others_dot;
  };
  // Identity-like flat tables: 0 -> all dots but the inverted final pixel;
  // 255 -> only the final pixel. The reseeded variant tests v < 129 there.
  const Row rows[] = {
      {9, 3, 0, 0, false, 8, false, true},    {9, 4, 0, 0, false, 0, false, true},
      {9, 3, 0, 255, false, 8, true, false},  {1, 1, 0, 128, false, 0, true, true},
      {1, 1, 0, 127, false, 0, false, false}, {1, 1, 0, 128, true, 0, true, true},
      {1, 1, 0, 129, true, 0, false, false},  {9, 4, 0, 255, true, 0, false, false},
      {9, 3, 0, 0, true, 8, true, true},
  };
  for (Row const& r : rows) {
    auto src = make_source(r.w, r.h, 1, Fill::Flat, 1, r.grey);
    unsigned char tone[256];
    std::memset(tone, r.table, sizeof tone);
    Output out(dot_stride(r.w) * r.h);
    (r.reseeded ? shdeiznc45kdi : xinskdn34skx)(src.data(), out.data(), r.w, r.h, tone);
    for (std::uint32_t y = 0; y < r.h; ++y)
      for (std::uint32_t x = 0; x < r.w; ++x) {
        const bool final = y == r.h - 1 && x == r.final_x;
        EXPECT_EQ(bit_at(out.data() + y * dot_stride(r.w), x), final ? r.final_dot : r.others_dot)
            << r.w << "x" << r.h << " table " << int(r.table) << " at " << x << "," << y;
      }
    EXPECT_TRUE(padding_clear(out.body(), r.w, r.h));
  }
}

TEST_F(Utilities, NoiseEmptySizesTouchNothing) {
  unsigned char tone[256] = {};
  for (NoiseCase const& c : kNoise)
    for (auto [w, h] : {std::pair{0u, 5u}, {5u, 0u}, {0u, 0u}}) {
      RefLagged before = RefLagged::copy_of(utility_random());
      Output out(0);
      EXPECT_EQ(c.fn(nullptr, out.data(), w, h, tone), 0);
      EXPECT_TRUE(out.guard_intact());
      EXPECT_TRUE(before.same_as(utility_random()));
    }
}

}  // namespace
}  // namespace halftone::test
