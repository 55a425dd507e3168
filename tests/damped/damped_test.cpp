// The damped and noise-table screens against the plain model and by hand.
#include "halftone/damped.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>

#include "damped/reference.h"
#include "frame/feedback_random.h"
#include "halftone/setup.h"
#include "support/offset_reference.h"

namespace halftone::test {
namespace {

using Screen = int (*)(unsigned char*, unsigned char*, unsigned int, unsigned int, unsigned int);
struct DampedScreen {
  char const* name;
  Screen fn;
  Model model;
};
constexpr DampedScreen kDampedScreens[] = {
    {"suiruiskao", suiruiskao, Model::Runs},         {"suiruiskao2", suiruiskao2, Model::HalfSplit},
    {"sdiufiavs2", sdiufiavs2, Model::Amplitude31},  {"sdiufiavs3", sdiufiavs3, Model::Band31},
    {"suiruiskao11", suiruiskao11, Model::FiveBand}, {"suiruiskao8", suiruiskao8, Model::Halves},
    {"suiruiskao3", suiruiskao3, Model::Runs},       {"suiruiskao4", suiruiskao4, Model::Runs},
    {"suiruiskao5", suiruiskao5, Model::Runs},       {"suiruiskao6", suiruiskao6, Model::Runs},
    {"suiruiskao7", suiruiskao7, Model::Runs},       {"suiruiskao9", suiruiskao9, Model::Runs},
    {"suiruiskao10", suiruiskao10, Model::Runs},     {"sdiufiavs4", sdiufiavs4, Model::Band31},
};

unsigned char const kTones[] = {0,   1,   35,  100, 127, 128, 129, 150, 165, 166, 175, 176, 179,
                                185, 200, 203, 213, 216, 228, 229, 230, 240, 241, 254, 255};

// Greys at the tone bands' edges; the generator's state shows the draws made.
TEST(Damped, MatchesModelOnRandomBandedJobs) {
  for (DampedScreen const& screen : kDampedScreens) {
    SCOPED_TRACE(screen.name);
    Reference model(screen.model);
    auto shape = [](std::mt19937& gen) {
      Job job = random_job(gen, 4, 70, 5, true);
      job.flat = kTones[gen() % sizeof kTones];
      return job;
    };
    compare_jobs(screen.fn, std::ref(model), shape, 100, 7, 1,
                 [&] { return model.rng.same_as(screening_random()); });
  }
}

using Bytes = std::vector<unsigned char>;
constexpr std::uint32_t kSeconds = 1700000000u;

// One call; returns the output without its guard.
Bytes call(Screen fn, Bytes src, std::uint32_t w, std::uint32_t h, std::uint32_t band,
           std::uint32_t planes = 1) {
  Output out(std::size_t{dot_stride(w)} * h * planes);
  EXPECT_EQ(fn(src.data(), out.data(), w, h, make_control(planes, band)), 0);
  EXPECT_TRUE(out.guard_intact());
  return out.body();
}
Bytes flat(std::uint32_t w, std::uint32_t h, unsigned char tone, std::uint32_t planes = 1) {
  return make_source(w, h, planes, Fill::Flat, 1, tone);
}
// The first draws after seeding with `seconds`, masked.
std::vector<std::uint32_t> first_draws(std::uint32_t seconds, int n, std::uint32_t mask) {
  RefRandom r;
  r.seed(seconds);
  std::vector<std::uint32_t> v;
  for (int i = 0; i < n; ++i) v.push_back(r.draw() & mask);
  return v;
}

bool huge_allocations_fail() {
#if defined(__SANITIZE_ADDRESS__)
  return false;  // the sanitizer's allocator aborts instead
#else
  std::ifstream f("/proc/sys/vm/overcommit_memory");
  int mode = 1;
  return f >> mode && mode != 1;
#endif
}

TEST(Damped, HugeLinesReportNoMemory) {
  if (!huge_allocations_fail()) GTEST_SKIP() << "terabyte allocations may succeed here";
  unsigned char src[4] = {};
  for (DampedScreen const& s : kDampedScreens) {
    SCOPED_TRACE(s.name);
    Output out(0);
    EXPECT_EQ(s.fn(src, out.data(), 0xFFFFFFFFu, 0, make_control(255, 1)), ERR_NO_MEMORY);
    EXPECT_TRUE(out.guard_intact());
    // Nothing is held afterwards: a middle band allocates afresh and screens.
    EXPECT_EQ(call(s.fn, flat(6, 2, 0), 6, 2, 2), (Bytes{0xFC, 0, 0, 0, 0xFC, 0, 0, 0}));
  }
}

// Worked by hand, call after call from one seeding: the priming, the tone
// bands, and the carries handed to the next band.
TEST(DampedByHand, ToneBandsAndCarries) {
  ASSERT_EQ(first_draws(kSeconds, 4, 1), (std::vector<std::uint32_t>{1, 1, 0, 1}));
  ASSERT_EQ(first_draws(kSeconds + 3, 4, 1), (std::vector<std::uint32_t>{0, 0, 0, 0}));
  struct Step {
    Screen fn;
    std::uint32_t seconds;  // pinned before the call unless 0
    Bytes src;
    std::uint32_t w, h, band;
    Bytes want;
  } const steps[] = {
      {sdiufiavs2, kSeconds, flat(4, 1, 230), 4, 1, 1, {0x10, 0, 0, 0}},
      {sdiufiavs2, kSeconds, flat(2, 2, 175), 2, 2, 1, {0x40, 0, 0, 0, 0x80, 0, 0, 0}},
      {sdiufiavs2, 0, flat(2, 1, 100), 2, 1, 3, {0x80, 0, 0, 0}},
      {sdiufiavs2, kSeconds + 3, flat(2, 2, 175), 2, 2, 1, {0x40, 0, 0, 0, 0x80, 0, 0, 0}},
      {sdiufiavs2, 0, flat(2, 1, 100), 2, 1, 3, {0x40, 0, 0, 0}},
      {suiruiskao2, kSeconds, flat(2, 2, 100), 2, 2, 1, {0x80, 0, 0, 0, 0x40, 0, 0, 0}},
      {suiruiskao2, 0, {255, 110, 0, 0}, 2, 1, 3, {0, 0, 0, 0}},
      {suiruiskao2, 0, {255, 110, 0, 0}, 2, 1, 1, {0x40, 0, 0, 0}},
  };
  for (Step const& s : steps) {
    if (s.seconds) pin_seed_time(s.seconds);
    EXPECT_EQ(call(s.fn, s.src, s.w, s.h, s.band), s.want) << &s - steps;
  }
}

// On the band's last row a run's error goes along or is dropped: q + 1 (100)
// prints only if q (128) drops it. The third index 0 running becomes 1, so
// pixel 74 already starts the eighth run.
TEST(DampedByHand, RunIndexDrawnThirdTimeIsReplaced) {
  const std::vector<std::uint32_t> draws = first_draws(kSeconds, 72, 3);
  const int run_draws[] = {1, 12, 23, 35, 47, 59, 71};
  const std::uint32_t indices[] = {3, 1, 0, 2, 0, 0, 0};
  for (int k = 0; k < 7; ++k) ASSERT_EQ(draws[run_draws[k]], indices[k]);
  pin_seed_time(kSeconds);
  for (auto [q, along] : {std::pair{73u, true}, std::pair{74u, false}, std::pair{63u, false}}) {
    Bytes src(source_stride(q + 3), 255);
    src[q] = 128;
    src[q + 1] = 100;
    const auto out = call(suiruiskao, src, q + 3, 1, 1);
    for (std::uint32_t x = 0; x < q + 3; ++x)
      EXPECT_EQ(bit_at(out.data(), x), x == q || (x == q + 1 && !along)) << q << " " << x;
  }
}

}  // namespace
}  // namespace halftone::test
