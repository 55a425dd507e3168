// Jumping the generator ahead, or drawing a block at once, gives the table
// that as many single draws give.
#include "frame/random_jump.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "frame/feedback_random.h"

namespace halftone {
namespace {

bool same(RandomTable const& a, RandomTable const& b) {
  if (a.front != b.front) return false;
  for (int k = 0; k < FeedbackRandom::kDegree; ++k)
    if (a.words[k] != b.words[k]) return false;
  return true;
}

TEST(RandomJump, EqualsSingleDraws) {
  // Around the table length and its multiples, the fill's blocks of 66
  // (a block runs only while more than 66 remain), and a wide page's band.
  const std::uint64_t counts[] = {
      0,  1,  2,  27, 28, 29,  30,  31,  32,   33,   34,   35,   61,    62,
      63, 65, 66, 67, 93, 131, 132, 133, 1000, 1024, 1025, 4960, 65537, 4960u * 64u * 3u + 7u};
  for (std::uint32_t seed : {0u, 1u, 1700000000u}) {
    for (int offset : {0, 5, 29}) {
      FeedbackRandom start;
      start.seed(seed);
      for (int i = 0; i < offset; ++i) (void)start.draw();  // every front position is met
      const RandomTable before = table_of(start);
      for (std::uint64_t n : counts) {
        SCOPED_TRACE(testing::Message() << "seed " << seed << " offset " << offset << " n " << n);
        FeedbackRandom stepped = start, filled = start;
        std::vector<std::uint32_t> draws(n), block(n);
        for (std::uint64_t i = 0; i < n; ++i) draws[i] = stepped.draw();
        EXPECT_TRUE(same(jump(before, n), table_of(stepped)));
        // Drawing a block at a time: the same draws, the table left in place.
        filled.fill(block.data(), n);
        EXPECT_EQ(block, draws);
        EXPECT_TRUE(same(table_of(filled), table_of(stepped)));
      }
    }
  }
}

TEST(RandomJump, FromThePublishedTableAndRepeated) {
  FeedbackRandom stepped;
  RandomTable jumped = table_of(stepped);
  const RandomJump step(1234);
  for (int round = 0; round < 5; ++round) {
    for (int i = 0; i < 1234; ++i) (void)stepped.draw();
    jumped = step.apply(jumped);
    EXPECT_TRUE(same(jumped, table_of(stepped))) << "round " << round;
  }
}

TEST(RandomJump, LargeCountsCompose) {
  FeedbackRandom rng;
  rng.seed(42);
  const RandomTable start = table_of(rng);
  struct Case {
    std::uint64_t a, b;
  };
  for (Case c : {Case{1ull << 40, 12345}, Case{(1ull << 63) - 1, 1},
                 Case{(1ull << 62) + 3, (1ull << 62) + 5}}) {
    SCOPED_TRACE(testing::Message() << c.a << " + " << c.b);
    EXPECT_TRUE(same(jump(jump(start, c.a), c.b), jump(start, c.a + c.b)));
  }
}

}  // namespace
}  // namespace halftone
