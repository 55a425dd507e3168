// The lane operations and the one-plane parts against the plain integer
// ones, on every 16-bit value, and the lane generator against four plain
// generators.
#include "frame/lanes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>

#include "frame/band_engine.h"
#include "frame/compiler.h"
#include "frame/pixel_rules.h"

namespace halftone {
namespace {

// The one-plane parts, over every error the dot test and the push can give.
TEST(Parts, EqualThePlainIntegerSplits) {
  struct Case {
    engine::Part part;
    std::int32_t (*plain)(std::int32_t);
  };
  const Case cases[] = {{engine::kNone, [](std::int32_t) { return 0; }},
                        {engine::kThird, engine::third},
                        {engine::kTwoThirds, engine::two_thirds},
                        {engine::kAll, [](std::int32_t e) { return e; }}};
  for (Case const& c : cases)
    for (std::int32_t e = -32768; e <= 32767; ++e)
      ASSERT_EQ(engine::part_of(e, c.part), c.plain(e)) << c.part.mul << " of " << e;
}

#if defined(HALFTONE_VECTORS)
TEST(Lanes, SplitsEqualThePlainIntegerSplitsForEveryValue) {
  struct Case {
    char const* name;
    Lanes (*lanes)(Lanes);
    std::int32_t (*plain)(std::int32_t);
  };
  const Case cases[] = {
      {"third", engine::third, engine::third},
      {"two_thirds", engine::two_thirds, engine::two_thirds},
      {"half", engine::half, engine::half},
      {"quarter", engine::quarter, engine::quarter},
      {"three_quarters", engine::three_quarters, engine::three_quarters},
      {"shift_half", engine::shift_half, engine::shift_half},
      {"less_one >> 5", [](Lanes v) { return less_one(v) >> 5; },
       // -32768 stays put: it lands in the same band as -32769 once clamped.
       [](std::int32_t v) { return std::max(less_one(v) >> 5, -1024); }},
      {"eighths", [](Lanes v) { return engine::mul_high<9363>((v & 7) * 255); },
       [](std::int32_t v) { return 255 * (v & 7) / 7; }},
  };
  for (Case const& c : cases)
    for (std::int32_t e = -32768; e <= 32767; e += 4) {
      const Lanes got = c.lanes(lanes_of(e, e + 1, e + 2, e + 3));
      for (std::uint32_t l = 0; l < kLanes; ++l) {
        const std::int32_t v = e + static_cast<std::int32_t>(l);
        ASSERT_EQ(lane(got, l), c.plain(v)) << c.name << " of " << v;
      }
    }
}

// Each lane its own part, named by a multiplier and a mask: none, a third,
// two thirds and all side by side, every lane over every 16-bit value.
TEST(Lanes, PartsNamedLaneByLaneEqualTheOnePlaneParts) {
  const engine::Part parts[kLanes] = {engine::kNone, engine::kThird, engine::kTwoThirds,
                                      engine::kAll};
  for (std::uint32_t shift = 0; shift < kLanes; ++shift) {
    Lanes mul{}, all{};
    for (std::uint32_t l = 0; l < kLanes; ++l) {
      engine::Part const& p = parts[(l + shift) % kLanes];
      mul[2 * l] = engine::mul16(p);
      all[2 * l] = engine::all16(p);
    }
    for (std::int32_t e = -32768; e <= 32767; ++e) {
      const Lanes got = engine::part_of(lanes_of(e, e, e, e), mul, all);
      for (std::uint32_t l = 0; l < kLanes; ++l)
        ASSERT_EQ(lane(got, l), engine::part_of(e, parts[(l + shift) % kLanes]))
            << "lane " << l << " of " << e;
    }
  }
}

// The 32-bit lanes, over every value their rules split and beyond.
TEST(Lanes, WideSplitsEqualThePlainIntegerSplits) {
  struct Case {
    char const* name;
    Lanes32 (*lanes)(Lanes32);
    std::int32_t (*plain)(std::int32_t);
  };
  const Case cases[] = {{"third", engine::third, engine::third},
                        {"two_thirds", engine::two_thirds, engine::two_thirds},
                        {"quarter", engine::quarter, engine::quarter},
                        {"three_quarters", engine::three_quarters, engine::three_quarters}};
  for (Case const& c : cases)
    for (std::int32_t e = -49148; e <= 49147; e += 4) {
      const Lanes32 got = c.lanes(Lanes32{e, e + 1, e + 2, e + 3});
      for (std::uint32_t l = 0; l < kLanes; ++l) {
        const std::int32_t v = e + static_cast<std::int32_t>(l);
        ASSERT_EQ(lane(got, l), c.plain(v)) << c.name << " of " << v;
      }
    }
}

TEST(Lanes, GeneratorDrawsAsFourPlainGenerators) {
  RandomTable tables[kLanes];
  FeedbackRandom plain[kLanes];
  for (std::uint32_t l = 0; l < kLanes; ++l) {
    plain[l].seed(1000 + 77 * l);
    for (std::uint32_t k = 0; k < l * 5; ++k) plain[l].draw();  // fronts differ
    tables[l] = table_of(plain[l]);
  }
  LaneRandom lanes(tables, kLanes);
  for (int n = 0; n < 200; ++n) {
    const Lanes d = lanes.draw();
    for (std::uint32_t l = 0; l < kLanes; ++l)
      ASSERT_EQ(static_cast<std::uint16_t>(lane(d, l)), plain[l].draw() & 0xFFFFu);
  }
}
#endif

}  // namespace
}  // namespace halftone
