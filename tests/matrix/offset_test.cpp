// The offset-matrix screens against a plain model written from their rules,
// and hand-worked cases.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "frame/band_lines.h"
#include "frame/tone_curves.h"
#include "halftone/matrix.h"
#include "screens/loaded/stores.h"
#include "support/offset_reference.h"

namespace halftone::test {
namespace {

// Rows alternate, the first left to right; row y's cells below start from
// matrix row (y + 1) mod 240 (zero for the random-split screen).
// With `codes`, pixels are decided by the four-level cascade of the parameter
// bytes (0-3 the greys of codes 3, 2, 1, 0) into two-bit codes instead.
struct OffsetModel {
  bool random;
  std::vector<std::int32_t> carry, e1, e2;
  bool codes = false;

  // The cascade: the source grey picks the bracketing levels, v chooses.
  static std::int32_t cascade(std::int32_t v, std::uint32_t s, unsigned char* o, std::uint32_t x) {
    std::uint8_t const* b = ScreenParameterBytes();
    const std::int32_t m32 = (b[0] + b[1]) >> 1, m21 = (b[1] + b[2]) >> 1, m10 = (b[2] + b[3]) >> 1;
    v = w16(v);
    int code;
    if (v > m10)
      code = s <= b[1] ? 2 : s <= b[2] ? 1 : 0;
    else if (v > m21)
      code = s <= b[1] ? 2 : 1;
    else if (v > m32)
      code = s <= b[2] ? 2 : 1;
    else
      code = s <= b[1] ? 3 : s <= b[2] ? 2 : 1;
    o[x / 4] |= static_cast<unsigned char>(code << (6 - 2 * (x % 4)));
    return w16(v - b[3 - code]);
  }

  void operator()(unsigned char const* src, unsigned char* out, std::uint32_t w, std::uint32_t h,
                  std::uint32_t planes, std::uint32_t band, std::uint32_t seconds) {
    if (band == 1) carry.assign(planes * w, 0), e1.assign(w, 0), e2.assign(w, 0);
    RefRandom rng;
    rng.seed(seconds);
    const ActiveToneCurves c = active_curves();
    auto m = [&](std::uint32_t r, std::uint32_t x) {
      return random ? 0 : std::int32_t{ThresholdOffsetMatrix[r][x % 240]};
    };
    const std::uint32_t ss = source_stride(w), ds = codes ? dot2_stride(w) : dot_stride(w);
    for (std::uint32_t p = 0; p < planes; ++p) {
      std::int32_t* cp = carry.data() + p * w;
      for (std::uint32_t x = 0; x < w; ++x) e1[x] = w16(m(0, x) + cp[x]), cp[x] = 0;
      for (std::uint32_t y = 0; y < h; ++y) {
        unsigned char const* s = src + (y * planes + p) * ss;
        unsigned char* o = out + (y * planes + p) * ds;
        const std::uint32_t r = (y + 1) % 240;
        for (std::uint32_t i = 0; i < w; ++i) {
          const bool ltr = y % 2 == 0;
          const std::uint32_t x = ltr ? i : w - 1 - i;
          const std::int32_t v = (ltr ? e1[x] : e2[x]) + s[x];
          std::int32_t e = v <= 128 ? v : v - 255;
          if (codes)
            e = cascade(v, s[x], o, x);
          else if (v <= 128)
            model_dot(o, x);
          const bool thirds = !random || rng.draw() % 2 == 1;
          if (ltr) {
            if (!random && x % 2 == 0) e += c.b[s[x]];
            const std::int32_t k = thirds ? e / 3 : 3 * e / 4;
            e2[x] = m(r, x);
            if (x + 1 < w) e1[x + 1] = w16(e1[x + 1] + e - k);
            e2[x] = w16(e2[x] + k);
          } else {
            if (x % 2 == 1) e += c.a[s[x]];
            const std::int32_t n = thirds ? 2 * e / 3 : e / 4;
            e1[x] = m(r, x);
            if (x > 0) e2[x - 1] = w16(e2[x - 1] + n);
            if (y + 1 < h)
              e1[x] = w16(e1[x] + e - n);
            else
              cp[x] = w16(e - n);
          }
        }
      }
    }
  }
};

// Zero, printable (the loader's -50..51) or full-range 16-bit offsets.
void fill_offsets(std::mt19937& gen) {
  const std::uint32_t kind = gen() % 3;
  for (auto& row : ThresholdOffsetMatrix)
    for (auto& v : row)
      v = kind == 0   ? 0
          : kind == 1 ? static_cast<std::int16_t>(gen() % 102) - 50
                      : static_cast<std::int16_t>(gen());
}

int kaocosyx1(unsigned char* s, unsigned char* d, std::uint32_t w, std::uint32_t h,
              std::uint32_t c) {
  return Kaocosyx1(s, d, static_cast<int>(w), static_cast<int>(h), c);
}

TEST(OffsetMatrix, MatchesModelOnRandomBandedJobs) {
  OffsetModel model{false, {}, {}, {}};
  compare_random_jobs(kaocosyx1, std::ref(model), fill_offsets, 400, 11);
  std::memset(ThresholdOffsetMatrix, 0, sizeof ThresholdOffsetMatrix);
}

TEST(OffsetMatrix, RandomSplitMatchesModelOnRandomBandedJobs) {
  OffsetModel model{true, {}, {}, {}};
  compare_random_jobs(Kaocosyx10, std::ref(model), fill_offsets, 400, 12);
  std::memset(ThresholdOffsetMatrix, 0, sizeof ThresholdOffsetMatrix);
}

// The two-bit members: the same serpentines deciding with the four-level
// cascade, on random parameter strings (rising levels, or any order).
void fill_offsets_and_levels(std::mt19937& gen) {
  fill_offsets(gen);
  int level[4];
  for (int& l : level) l = static_cast<int>(gen() % 256);
  if (gen() % 2) std::sort(std::begin(level), std::end(level));
  const std::string params = std::to_string(level[0]) + "," + std::to_string(level[1]) + "," +
                             std::to_string(level[2]) + "," + std::to_string(level[3]) + ",";
  Itsdiufiavs(static_cast<int>(gen() % 18), params.c_str());
}

TEST(OffsetMatrix, TwoBitMembersMatchModelOnRandomBandedJobs) {
  const auto k13 = [](unsigned char* s, unsigned char* d, std::uint32_t w, std::uint32_t h,
                      std::uint32_t c) {
    return Kaocosyx13(s, d, static_cast<int>(w), static_cast<int>(h), c);
  };
  const auto k14 = [](unsigned char* s, unsigned char* d, std::uint32_t w, std::uint32_t h,
                      std::uint32_t c) {
    return Kaocosyx14(s, d, static_cast<int>(w), static_cast<int>(h), c);
  };
  OffsetModel matrix{false, {}, {}, {}, true}, random{true, {}, {}, {}, true};
  compare_random_jobs(k13, std::ref(matrix), fill_offsets_and_levels, 300, 13, 2);
  compare_random_jobs(k14, std::ref(random), fill_offsets_and_levels, 300, 14, 2);
  std::memset(ThresholdOffsetMatrix, 0, sizeof ThresholdOffsetMatrix);
}

struct Outcome {
  std::vector<unsigned char> out;
  std::vector<std::int16_t> carry;  // plane 0's carried error after the call
};

// One plane of `pixels` (rows of w, unpadded), one call with band position
// `band`; the matrix is all zero except for `marks` {row, column, value}; tone
// mode 0 (zero curves). The matrix is left all zero.
Outcome run_one(ScreenFn const& screen, std::vector<unsigned char> const& pixels, std::uint32_t w,
                std::vector<std::array<int, 3>> const& marks, std::uint32_t band = 1) {
  const std::uint32_t h = static_cast<std::uint32_t>(pixels.size() / w);
  Itsdiufiavs(0, "");
  for (auto& row : ThresholdOffsetMatrix)
    for (auto& v : row) v = 0;
  for (auto const& m : marks) ThresholdOffsetMatrix[m[0]][m[1]] = static_cast<std::int16_t>(m[2]);
  Outcome run{std::vector<unsigned char>(std::size_t{dot_stride(w)} * h, 0xEE), {}};
  std::vector<unsigned char> padded(std::size_t{source_stride(w)} * h);
  for (std::uint32_t y = 0; y < h; ++y)
    for (std::uint32_t x = 0; x < w; ++x) padded[y * source_stride(w) + x] = pixels[y * w + x];
  screen(padded.data(), run.out.data(), w, h, make_control(1, band));
  for (auto const& m : marks) ThresholdOffsetMatrix[m[0]][m[1]] = 0;
  if (shared_lines().held()) {
    const std::int16_t* c = shared_lines().CarryLine(0, w);
    run.carry.assign(c, c + w);
  }
  return run;
}

std::vector<std::uint32_t> dot_columns(std::vector<unsigned char> const& row, std::uint32_t w) {
  std::vector<std::uint32_t> xs;
  for (std::uint32_t x = 0; x < w; ++x)
    if (bit_at(row.data(), x)) xs.push_back(x);
  return xs;
}

TEST(OffsetMatrix, OffsetsTileEvery240Columns) {
  // White stays paper unless an offset pulls it down: -200 at column 5 makes
  // dots at 5 and 245 of a 300-pixel row, not at 261 (a 256 tile).
  const std::vector<unsigned char> white(300, 255);
  EXPECT_EQ(dot_columns(run_one(kaocosyx1, white, 300, {{0, 5, -200}}).out, 300),
            (std::vector<std::uint32_t>{5, 245}));
}

TEST(OffsetMatrix, MatrixRowsTileEvery240RowsAndRestartEveryBand) {
  // Matrix row 3 holds -200 at column 0: a white column gets a dot where its
  // row counted from the call's first row is 3 mod 240 (row 2 seeds the cell
  // below from matrix row 3).
  struct Case {
    std::uint32_t band, height;
    std::vector<std::uint32_t> rows;
  };
  const Case cases[] = {{1, 5, {3}}, {2, 5, {3}}, {2, 250, {3, 243}}, {3, 2, {}}};
  for (Case const& c : cases) {
    const std::vector<unsigned char> white(c.height, 255);
    Outcome r = run_one(kaocosyx1, white, 1, {{3, 0, -200}}, c.band);
    std::vector<std::uint32_t> rows;
    for (std::uint32_t y = 0; y < c.height; ++y)
      if (r.out[4 * y]) rows.push_back(y);
    EXPECT_EQ(rows, c.rows) << "height " << c.height;
  }
  EXPECT_FALSE(shared_lines().held());  // released after the last band
}

TEST(OffsetMatrix, NegativeErrorsTruncateTowardZero) {
  // Going right e = -5 sends -1 down and -4 along; going left (2e) / 3 = -3
  // along and -2 down into the carry (height 2: the last row runs left).
  struct Case {
    std::vector<unsigned char> src;
    std::uint32_t w;
    std::vector<std::array<int, 3>> marks;
    std::vector<unsigned char> dots;  // per row, first byte
    std::vector<std::int16_t> carry;
  };
  const Case cases[] = {
      // row 0: (0,0) -5 is a dot; (1,0) 132 - 4 = 128 a dot (a floor split: 129)
      {{0, 132}, 2, {{0, 0, -5}}, {0xC0}, {}},
      // width 1: row 1 gets -1 down: 130 - 1 = 129 is paper (a floor split: dot)
      // and passes -126, of which -42 goes down
      {{0, 130}, 1, {{0, 0, -5}}, {0x80, 0x00}, {-42}},
      // row 1 going left: (1,1) -5 passes -3 to (0,1): 132 - 3 = 129 paper, -2 down
      {{0, 0, 132, 0}, 2, {{1, 1, -5}}, {0xC0, 0x40}, {-42, -2}},
  };
  for (Case const& c : cases) {
    const std::uint32_t h = static_cast<std::uint32_t>(c.src.size() / c.w);
    Outcome r = run_one(kaocosyx1, c.src, c.w, c.marks);
    for (std::uint32_t y = 0; y < h; ++y) EXPECT_EQ(r.out[y * 4], c.dots[y]) << "row " << y;
    if (h % 2 == 0) {
      EXPECT_EQ(r.carry, c.carry);
    }
  }
}

}  // namespace
}  // namespace halftone::test
