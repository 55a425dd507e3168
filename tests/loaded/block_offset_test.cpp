// The block-offset screens against a plain model written from their rules,
// and hand-worked cases.
#include <gtest/gtest.h>

#include <cstring>

#include "frame/band_lines.h"
#include "frame/tone_curves.h"
#include "halftone/loaded.h"
#include "screens/loaded/stores.h"
#include "support/offset_reference.h"

namespace halftone::test {
namespace {

enum class Kind { Half16, HalfDouble, Random31 };

// Rows alternate from left to right; the carry is copied into line A, each row
// overwrites the cells below with its shares; the generator is seeded on a
// first band only and runs on across the job's bands.
template <class T>
struct BlockModel {
  Kind kind;
  std::vector<T> carry, a, b;
  RefRandom rng;

  static T keep(T v) {
    if constexpr (std::is_integral_v<T>) return w16(v);
    return v;
  }

  void operator()(unsigned char const* src, unsigned char* out, std::uint32_t w, std::uint32_t h,
                  std::uint32_t planes, std::uint32_t band, std::uint32_t seconds) {
    if (band == 1) carry.assign(planes * w, 0), a.assign(w, 0), b.assign(w, 0), rng.seed(seconds);
    const ActiveToneCurves c = active_curves();
    const std::uint32_t ss = source_stride(w), ds = dot_stride(w);
    for (std::uint32_t p = 0; p < planes; ++p) {
      T* cp = carry.data() + p * w;
      for (std::uint32_t x = 0; x < w; ++x) a[x] = cp[x], cp[x] = 0;
      for (std::uint32_t y = 0; y < h; ++y) {
        unsigned char const* srow = src + (y * planes + p) * ss;
        const bool ltr = y % 2 == 0;
        for (std::uint32_t i = 0; i < w; ++i) {
          const std::uint32_t x = ltr ? i : w - 1 - i;
          const std::uint32_t s = srow[x];
          T t = (ltr ? a[x] : b[x]) + static_cast<T>(s);
          if (kind == Kind::Half16) t += ThresholdBlockStack[s * 256 + (y % 16) * 16 + x % 16];
          if (kind == Kind::HalfDouble ? t <= 128.0 : t < 129)
            model_dot(out + (y * planes + p) * ds, x);
          else
            t -= 255;
          T down = 0;
          if constexpr (std::is_integral_v<T>) {
            if (kind == Kind::Random31) {
              if (ltr && x % 2 == 0) t += c.b[s];
              if (!ltr && x % 2 == 1) t += c.a[s];
              const std::uint32_t r = rng.draw();
              const T third = t / 3;
              if (s >= 176)
                down = r % 2 == 1 ? third : t - third;
              else if (s >= 141)
                down = r % 4 == 0 ? third : r % 4 == 1 ? t - third : r % 4 == 2 ? t / 2 : 0;
              else if (ltr)
                down = r % 4 <= 1 ? third : r % 4 == 2 ? t : 0;
              else
                down = r % 4 == 0 || r % 4 == 2 ? third : r % 4 == 1 ? t : 0;
            } else {
              down = t - t / 2;
            }
          } else {
            down = t - t * 0.5;
          }
          const T ahead = t - down;
          if (ltr) {
            if (x + 1 < w) a[x + 1] = keep(a[x + 1] + ahead);
            b[x] = keep(down);
          } else {
            if (x > 0) b[x - 1] = keep(b[x - 1] + ahead);
            (y + 1 == h ? cp[x] : a[x]) = keep(down);
          }
        }
      }
    }
  }
};

void fill_blocks(std::mt19937& gen) {
  const std::uint32_t kind = gen() % 3;
  for (auto& v : ThresholdBlockStack)
    v = kind == 0   ? 0
        : kind == 1 ? static_cast<std::int16_t>(gen() % 201) - 100
                    : static_cast<std::int16_t>(gen());
}

int crisix31(unsigned char* s, unsigned char* d, std::uint32_t w, std::uint32_t h,
             std::uint32_t c) {
  return CrisixOut31(s, d, static_cast<int>(w), static_cast<int>(h), c);
}

TEST(BlockOffset, ScreensMatchModelOnRandomBandedJobs) {
  BlockModel<std::int32_t> half{Kind::Half16, {}, {}, {}, {}};
  compare_random_jobs(CrisixOut, std::ref(half), fill_blocks, 400, 21);
  BlockModel<double> dbl{Kind::HalfDouble, {}, {}, {}, {}};
  compare_random_jobs(CrisixOut_double, std::ref(dbl), fill_blocks, 300, 22);
  BlockModel<std::int32_t> random{Kind::Random31, {}, {}, {}, {}};
  compare_random_jobs(crisix31, std::ref(random), fill_blocks, 400, 23);
  std::memset(ThresholdBlockStack, 0, sizeof ThresholdBlockStack);
}

// One plane of one column, a first band: the dots of each row.
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
  for (auto& v : ThresholdBlockStack) v = 0;
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
      {CrisixOut_double, {128}, 0, {true}},
  };
  for (Case const& c : cases) {
    ThresholdBlockStack[200 * 256 + 16] = c.offset_at_row1;
    EXPECT_EQ(run_column(c.screen, c.greys), c.dots);
  }
  ThresholdBlockStack[200 * 256 + 16] = 0;
}

// Draw `n` (0 first) after seeding from `seconds`.
std::uint32_t nth_draw(std::uint32_t seconds, int n) {
  RefRandom r;
  r.seed(seconds);
  while (n-- > 0) r.draw();
  return r.draw();
}

TEST(BlockOffset, RandomSplitSharesByGreyAndDirection) {
  // One column of two rows: row 0 runs right (its share down stays in line B),
  // row 1 runs left (its share down goes into the carry). Row 0 of grey 255
  // passes 0, so row 1's error is its own grey's.
  struct Case {
    int mode;
    unsigned char g0, g1;
    int row;  // whose draw and share
    std::uint32_t r_mod4;
    std::int32_t down;
  };
  const Case cases[] = {
      // grey 200, t = -55: a third down on odd draws, the rest on even ones
      {0, 200, 255, 0, 1, -18},
      {0, 200, 255, 0, 3, -18},
      {0, 200, 255, 0, 2, -37},
      // grey 248, t = -7: a third of -2, a rest of -5
      {0, 248, 255, 0, 1, -2},
      {0, 248, 255, 0, 0, -5},
      // grey 150, t = -105: third, rest, half, nothing
      {0, 150, 255, 0, 0, -35},
      {0, 150, 255, 0, 1, -70},
      {0, 150, 255, 0, 2, -52},
      {0, 150, 255, 0, 3, 0},
      // grey 100, t = 100 going right: third, third, all, nothing
      {0, 100, 255, 0, 0, 33},
      {0, 100, 255, 0, 1, 33},
      {0, 100, 255, 0, 2, 100},
      {0, 100, 255, 0, 3, 0},
      // ... and going left: third, all, third, nothing
      {0, 255, 100, 1, 0, 33},
      {0, 255, 100, 1, 1, 100},
      {0, 255, 100, 1, 2, 33},
      {0, 255, 100, 1, 3, 0},
      // mode 2: the second curve (66 at grey 200) biases column 0 going right
      {2, 200, 255, 0, 1, 3},
      {2, 200, 255, 0, 0, 8},
  };
  for (Case const& c : cases) {
    Itsdiufiavs(c.mode, "");
    std::uint32_t seconds = 0;
    while (nth_draw(seconds, c.row) % 4 != c.r_mod4) ++seconds;
    pin_seed_time(seconds);
    unsigned char src[8] = {c.g0, 0, 0, 0, c.g1}, out[8];
    CrisixOut31(src, out, 1, 2, make_control(1, 1));
    const std::int16_t down =
        c.row == 0 ? shared_lines().ValueLineB()[0] : shared_lines().CarryLine(0, 1)[0];
    EXPECT_EQ(down, c.down) << int{c.g0} << "/" << int{c.g1} << " r " << c.r_mod4;
  }
  unpin_seed_time();
  Itsdiufiavs(0, "");
}

}  // namespace
}  // namespace halftone::test
