// The library against the plain model on many random banded jobs.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "damped/reference.h"
#include "damped/screens.h"
#include "frame/feedback_random.h"
#include "halftone/setup.h"
#include "support/images.h"

namespace halftone::test {
namespace {

// The generator's position after a call: draws made and discarded show here.
::testing::AssertionResult same_generator(RefRandom ref) {
  FeedbackRandom lib = screening_random();
  for (int i = 0; i < 62; ++i)
    if (lib.draw() != ref.draw())
      return ::testing::AssertionFailure() << "draw " << i << " differs";
  return ::testing::AssertionSuccess();
}

class Differential : public ::testing::TestWithParam<DampedScreen> {};

unsigned char const kTones[] = {0,   1,   35,  100, 127, 128, 129, 150, 165, 166, 175, 176, 179,
                                185, 200, 203, 213, 216, 228, 229, 230, 240, 241, 254, 255};

std::vector<unsigned char> random_band(std::mt19937& gen, std::uint32_t w, std::uint32_t h,
                                       std::uint32_t planes) {
  const Fill fills[] = {Fill::Flat, Fill::RampX, Fill::RampY, Fill::Noise, Fill::Edges};
  const Fill fill = fills[gen() % 5];
  const unsigned char tone = kTones[gen() % sizeof kTones];
  return make_source(w, h, planes, fill, gen(), tone);
}

// Band positions of a job: 1 alone, or 1, then 2 or 0 for the middle bands,
// then 3; some jobs stop without a last band and leave their lines held.
std::vector<std::uint32_t> band_sequence(std::mt19937& gen) {
  const std::uint32_t bands = 1 + gen() % 5;
  std::vector<std::uint32_t> seq{1};
  for (std::uint32_t i = 1; i + 1 < bands; ++i) seq.push_back(gen() % 2 ? 2 : 0);
  if (bands > 1) seq.push_back(gen() % 4 ? 3 : 2);
  return seq;
}

TEST_P(Differential, MatchesModelByteForByte) {
  const DampedScreen screen = GetParam();
  std::mt19937 gen(std::hash<std::string>{}(screen.name) & 0xFFFF);
  Reference model;
  for (int job = 0; job < 120; ++job) {
    const std::uint32_t seconds = gen();
    pin_seed_time(seconds);
    model.pin_seconds(seconds);
    const std::uint32_t w = 1 + gen() % 70, planes = 1 + gen() % 4;
    const std::vector<std::uint32_t> seq = band_sequence(gen);
    for (std::size_t b = 0; b < seq.size(); ++b) {
      const std::uint32_t h = 1 + gen() % 20;
      std::vector<unsigned char> src = random_band(gen, w, h, planes);
      const std::vector<unsigned char> before = src;
      const std::size_t size = static_cast<std::size_t>(dot_stride(w)) * h * planes;
      Output got(size), want(size);
      const std::uint32_t control = make_control(planes, seq[b]);
      ASSERT_EQ(screen.fn(src.data(), got.data(), w, h, control), 0);
      model.screen(screen.model, src.data(), want.data(), w, h, control);
      ASSERT_EQ(got.bytes, want.bytes)
          << screen.name << " job " << job << " band " << b << " (position " << seq[b] << ") width "
          << w << " height " << h << " planes " << planes;
      ASSERT_TRUE(same_generator(model.random()));
      ASSERT_TRUE(got.guard_intact());
      ASSERT_TRUE(padding_clear(got.body(), w, h * planes));
      ASSERT_EQ(src, before);
    }
  }
  unpin_seed_time();
}

INSTANTIATE_TEST_SUITE_P(Damped, Differential, ::testing::ValuesIn(kDampedScreens),
                         [](auto const& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace halftone::test
