// The offset-matrix screens against a plain model written from their rules,
// and hand-worked cases.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "frame/band_lines.h"
#include "frame/state.h"
#include "frame/tone_curves.h"
#include "halftone/matrix.h"
#include "support/cascade_model.h"
#include "support/offset_reference.h"

namespace halftone::test {
namespace {

// Matrix offsets (none for the random split) with thirds or random shares and
// curve noise; with `codes`, two-bit codes from the four-level cascade.
struct OffsetModel : Serpentine<std::int32_t> {
  bool random, codes;

  static std::int32_t cascade(std::int32_t v, std::uint32_t s, unsigned char* o, std::uint32_t x) {
    std::uint8_t const* b = ScreenParameterBytes();
    v = w16(v);
    const std::int32_t code = four_level_code(b, v, static_cast<std::int32_t>(s));
    o[x / 4] |= static_cast<unsigned char>(code << (6 - 2 * (x % 4)));
    return w16(v - four_level_grey(b, code));
  }

  void operator()(unsigned char const* src, unsigned char* out, std::uint32_t w, std::uint32_t h,
                  std::uint32_t planes, std::uint32_t band, std::uint32_t seconds) {
    RefRandom rng;
    rng.seed(seconds);
    const ActiveToneCurves c = active_curves();
    auto pixel = [&](std::int32_t v, std::uint32_t s, std::uint32_t x, std::uint32_t, bool ltr,
                     unsigned char* o) {
      v += static_cast<std::int32_t>(s);
      std::int32_t e = v <= 128 ? v : v - 255;
      if (codes)
        e = cascade(v, s, o, x);
      else if (v <= 128)
        model_dot(o, x);
      const bool thirds = !random || rng.draw() % 2 == 1;
      if (ltr) {
        if (!random && x % 2 == 0) e += c.b[s];
        const std::int32_t down = thirds ? e / 3 : 3 * e / 4;
        return std::pair{e - down, down};
      }
      if (x % 2 == 1) e += c.a[s];
      const std::int32_t along = thirds ? 2 * e / 3 : e / 4;
      return std::pair{along, e - along};
    };
    run(src, out, w, h, planes, band, codes ? dot2_stride(w) : dot_stride(w), pixel,
        [&](std::uint32_t y, std::uint32_t x) {
          return random ? 0 : std::int32_t{stores().ThresholdOffsetMatrix[y % 240][x % 240]};
        });
  }
};

void fill_offsets(std::mt19937& gen) {
  const std::uint32_t kind = gen() % 3;
  for (auto& row : stores().ThresholdOffsetMatrix)
    for (auto& v : row)
      v = kind == 0   ? 0
          : kind == 1 ? static_cast<std::int16_t>(gen() % 102) - 50
                      : static_cast<std::int16_t>(gen());
}

TEST(OffsetMatrix, MatchesModelOnRandomBandedJobs) {
  auto levels = [](std::mt19937& gen) {
    fill_offsets(gen);
    std::array<int, 4> l;
    for (int& v : l) v = static_cast<int>(gen() % 256);
    if (gen() % 2) std::sort(l.begin(), l.end());
    std::string params;
    for (int v : l) params += std::to_string(v) + ",";
    Itsdiufiavs(static_cast<int>(gen() % 18), params.c_str());
  };
  OffsetModel matrix{{}, false, false}, random{{}, true, false}, matrix2{{}, false, true},
      random2{{}, true, true};
  compare_random_jobs(Kaocosyx1, std::ref(matrix), fill_offsets, 400, 11);
  compare_random_jobs(Kaocosyx10, std::ref(random), fill_offsets, 400, 12);
  compare_random_jobs(Kaocosyx13, std::ref(matrix2), levels, 300, 13, 2);
  compare_random_jobs(Kaocosyx14, std::ref(random2), levels, 300, 14, 2);
  std::memset(stores().ThresholdOffsetMatrix, 0, sizeof stores().ThresholdOffsetMatrix);
}

// Hand-worked single-plane calls in tone mode 0, the matrix zero but for
// `mark` {row, column, value}: the 240 tile, and divisions truncating to zero.
TEST(OffsetMatrix, HandWorkedCalls) {
  Itsdiufiavs(0, "");
  struct Case {
    std::vector<unsigned char> pixels;  // rows of w, unpadded
    std::uint32_t w, band;
    std::array<int, 3> mark;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> dots;  // row, column
    std::vector<std::int16_t> carry;                            // plane 0's, when given
  };
  const std::vector<unsigned char> white(300, 255);
  const Case cases[] = {
      {white, 300, 1, {0, 5, -200}, {{0, 5}, {0, 245}}, {}},
      {{white.begin(), white.begin() + 5}, 1, 1, {3, 0, -200}, {{3, 0}}, {}},
      {std::vector<unsigned char>(250, 255), 1, 2, {3, 0, -200}, {{3, 0}, {243, 0}}, {}},
      {{255, 255}, 1, 3, {3, 0, -200}, {}, {}},
      // (1,0): 132 - 4 = 128 is a dot (a floor split: 129)
      {{0, 132}, 2, 1, {0, 0, -5}, {{0, 0}, {0, 1}}, {}},
      // row 1: 130 - 1 = 129 is paper (a floor split: a dot), -126 passes -42 down
      {{0, 130}, 1, 1, {0, 0, -5}, {{0, 0}}, {-42}},
      // row 1 going left: (1,1) passes -3 to (0,1): 132 - 3 = 129 is paper, -2 down
      {{0, 0, 132, 0}, 2, 1, {1, 1, -5}, {{0, 0}, {0, 1}, {1, 1}}, {-42, -2}},
  };
  for (Case const& c : cases) {
    const auto h = static_cast<std::uint32_t>(c.pixels.size() / c.w);
    std::vector<unsigned char> src(std::size_t{source_stride(c.w)} * h), out(dot_stride(c.w) * h);
    for (std::uint32_t i = 0; i < c.w * h; ++i)
      src[i / c.w * source_stride(c.w) + i % c.w] = c.pixels[i];
    stores().ThresholdOffsetMatrix[c.mark[0]][c.mark[1]] = static_cast<std::int16_t>(c.mark[2]);
    Kaocosyx1(src.data(), out.data(), static_cast<int>(c.w), static_cast<int>(h),
              make_control(1, c.band));
    stores().ThresholdOffsetMatrix[c.mark[0]][c.mark[1]] = 0;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> dots;
    for (std::uint32_t i = 0; i < c.w * h; ++i)
      if (bit_at(out.data() + i / c.w * dot_stride(c.w), i % c.w))
        dots.emplace_back(i / c.w, i % c.w);
    EXPECT_EQ(dots, c.dots) << c.w << "x" << h << " band " << c.band;
    EXPECT_EQ(shared_lines().held(), c.band != 3);
    if (!c.carry.empty()) {
      EXPECT_EQ(std::vector<std::int16_t>(shared_lines().CarryLine(0, c.w),
                                          shared_lines().CarryLine(0, c.w) + c.w),
                c.carry);
    }
  }
}

}  // namespace
}  // namespace halftone::test
