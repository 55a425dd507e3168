// The block-offset screens against a plain model written from their rules,
// and hand-worked cases.
#include <gtest/gtest.h>

#include <cstring>

#include "frame/band_lines.h"
#include "frame/state.h"
#include "frame/tone_curves.h"
#include "halftone/loaded.h"
#include "support/offset_reference.h"

namespace halftone::test {
namespace {

enum class Kind { Half16, HalfDouble, Random31 };

// Offsets by grey and tile position and half the error down, or curve noise
// and a random split seeded on a first band only.
template <class T>
struct BlockModel : Serpentine<T> {
  Kind kind;
  RefRandom rng;

  // The share down of the error t of grey s.
  T down(T t, std::uint32_t s, bool ltr) {
    if constexpr (std::is_floating_point_v<T>) {
      return t - t * 0.5;
    } else {
      if (kind == Kind::Half16) return t - t / 2;
      const std::uint32_t r = rng.draw() % 4;
      const T third = t / 3;
      if (s >= 176) return r % 2 == 1 ? third : t - third;
      if (s >= 141) return r == 0 ? third : r == 1 ? t - third : r == 2 ? t / 2 : 0;
      if (ltr) return r <= 1 ? third : r == 2 ? t : 0;
      return r == 0 || r == 2 ? third : r == 1 ? t : 0;
    }
  }

  void operator()(unsigned char const* src, unsigned char* out, std::uint32_t w, std::uint32_t h,
                  std::uint32_t planes, std::uint32_t band, std::uint32_t seconds) {
    if (band == 1) rng.seed(seconds);
    const ActiveToneCurves c = active_curves();
    auto pixel = [&](T t, std::uint32_t s, std::uint32_t x, std::uint32_t y, bool ltr,
                     unsigned char* o) {
      t += T(s);
      if (kind == Kind::Half16) t += stores().ThresholdBlockStack[s * 256 + (y % 16) * 16 + x % 16];
      if (t <= 128)
        model_dot(o, x);
      else
        t -= 255;
      if (kind == Kind::Random31) t += ltr && x % 2 == 0 ? c.b[s] : !ltr && x % 2 ? c.a[s] : 0;
      const T d = down(t, s, ltr);
      return std::pair{t - d, d};
    };
    this->run(src, out, w, h, planes, band, dot_stride(w), pixel, [](auto...) { return 0; });
  }
};

TEST(BlockOffset, ScreensMatchModelOnRandomBandedJobs) {
  auto fill_blocks = [](std::mt19937& gen) {  // zero, small or any offsets
    const std::uint32_t kind = gen() % 3;
    for (auto& v : stores().ThresholdBlockStack)
      v = static_cast<std::int16_t>(kind == 0 ? 0 : kind == 1 ? gen() % 201 - 100 : gen());
  };
  BlockModel<std::int32_t> half{{}, Kind::Half16, {}}, random{{}, Kind::Random31, {}};
  BlockModel<double> dbl{{}, Kind::HalfDouble, {}};
  compare_random_jobs(CrisixOut, std::ref(half), fill_blocks, 400, 21);
  compare_random_jobs(CrisixOut_double, std::ref(dbl), fill_blocks, 300, 22);
  compare_random_jobs(CrisixOut31, std::ref(random), fill_blocks, 400, 23);
  std::memset(stores().ThresholdBlockStack, 0, sizeof stores().ThresholdBlockStack);
}

// One column of a first band: the dots of each row.
std::vector<bool> run_column(ScreenFn const& screen, std::vector<unsigned char> const& greys) {
  const auto h = static_cast<std::uint32_t>(greys.size());
  std::vector<unsigned char> src(4 * h), out(4 * h);
  for (std::uint32_t y = 0; y < h; ++y) src[4 * y] = greys[y];
  screen(src.data(), out.data(), 1, h, make_control(1, 1));
  std::vector<bool> dots;
  for (std::uint32_t y = 0; y < h; ++y) dots.push_back(out[4 * y] & 0x80);
  return dots;
}

TEST(BlockOffset, OffsetsAndHalvesAsWorkedByHand) {
  Itsdiufiavs(0, "");
  std::memset(stores().ThresholdBlockStack, 0, sizeof stores().ThresholdBlockStack);
  struct Case {
    ScreenFn screen;
    std::vector<unsigned char> greys;
    std::int16_t offset_at_row1;  // block 200, tile column 0, tile row 1
    std::vector<bool> dots;
  };
  const Case cases[] = {
      {CrisixOut, {128}, 0, {true}},
      {CrisixOut, {129}, 0, {false}},
      // 200 - 255 = -55 sends -28 down (truncated half -27 along): 172 - 50 = 122
      {CrisixOut, {200, 200}, -50, {false, true}},
      {CrisixOut, {200, 200}, 0, {false, false}},
      // -28 down + 156 = 128 is a dot; in double precision -27.5 + 156 is not
      {CrisixOut, {200, 156}, 0, {false, true}},
      {CrisixOut_double, {200, 156}, 0, {false, false}},
  };
  for (Case const& c : cases) {
    stores().ThresholdBlockStack[200 * 256 + 16] = c.offset_at_row1;
    EXPECT_EQ(run_column(c.screen, c.greys), c.dots);
  }
  stores().ThresholdBlockStack[200 * 256 + 16] = 0;
}

// One column of two rows: row 0's share down stays in line B, row 1's goes
// into the carry.
TEST(BlockOffset, RandomSplitSharesByGreyAndDirection) {
  struct Case {
    unsigned char g0, g1;
    int row;  // whose draw and share
    std::uint32_t r_mod4;
    std::int32_t down;
  };
  for (Case c : {Case{100, 255, 0, 1, 33},
                 {100, 255, 0, 2, 100},
                 {255, 100, 1, 1, 100},
                 {255, 100, 1, 2, 33},
                 {150, 255, 0, 2, -52},
                 {200, 255, 0, 2, -37}}) {
    std::uint32_t seconds = 0;
    for (RefRandom r;; ++seconds) {
      r.seed(seconds);
      if (c.row == 1) r.draw();
      if (r.draw() % 4 == c.r_mod4) break;
    }
    pin_seed_time(seconds);
    unsigned char src[8] = {c.g0, 0, 0, 0, c.g1}, out[8];
    CrisixOut31(src, out, 1, 2, make_control(1, 1));
    EXPECT_EQ(c.row == 0 ? shared_lines().ValueLineB()[0] : shared_lines().CarryLine(0, 1)[0],
              c.down)
        << int{c.g0} << "/" << int{c.g1} << " r " << c.r_mod4;
  }
  unpin_seed_time();
}

}  // namespace
}  // namespace halftone::test
