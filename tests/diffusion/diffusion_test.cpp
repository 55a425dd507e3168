// The error-diffusion screens against the plain model, and their edge cases.
#include "halftone/diffusion.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "frame/band_engine.h"
#include "halftone/setup.h"
#include "reference_model.h"
#include "support/offset_reference.h"

namespace halftone::test {
namespace {

using Screen = int (*)(unsigned char*, unsigned char*, std::uint32_t, std::uint32_t, std::uint32_t);
template <int (*F)(unsigned char*, unsigned char*, int, int, unsigned)>
int as_signed(unsigned char* src, unsigned char* out, std::uint32_t w, std::uint32_t h,
              std::uint32_t control) {
  return F(src, out, static_cast<int>(w), static_cast<int>(h), control);
}
// The screens by Kind; the random screen takes odd band positions through its
// signed entry point.
constexpr Screen kScreens[] = {
    [](unsigned char* src, unsigned char* out, std::uint32_t w, std::uint32_t h, std::uint32_t) {
      return hxkjsdi67x(src, out, w, h);
    },
    [](unsigned char* src, unsigned char* out, std::uint32_t w, std::uint32_t h, std::uint32_t c) {
      return c & 0x10000u ? as_signed<jsdi6yruis>(src, out, w, h, c)
                          : irpduix7sg(src, out, w, h, c);
    },
    as_signed<sdiufiavs>,
    sdiufiavs1,
    highforces,
    as_signed<mandfanes>,
    as_signed<orangecagn>};
Screen screen(Kind kind) { return kScreens[static_cast<int>(kind)]; }

constexpr Kind kAll[] = {
    Kind::Page,    Kind::Random,         Kind::TonePush,        Kind::Conserving,
    Kind::Counter, Kind::InvertedThirds, Kind::InvertedQuarters};

// Ragged jobs of up to 70 columns (the page screen: single-plane single bands):
// stray and wider bands run on fresh lines without overrunning them.
TEST(Diffusion, AgreesWithPlainModelOnRandomBandedJobs) {
  for (Kind kind : kAll) {
    SCOPED_TRACE(static_cast<int>(kind));
    DiffusionModel model{{}, kind, {}, {}};
    const bool page = kind == Kind::Page;
    compare_jobs(
        screen(kind), std::ref(model),
        [&](std::mt19937& gen) {
          return random_job(gen, page ? 1 : kind == Kind::Counter ? 6 : 4, 70, page ? 1 : 4, !page);
        },
        220, 2024 + static_cast<std::uint32_t>(kind));
  }
}

TEST(Diffusion, FlatFieldsGiveAllOrNothing) {
  Itsdiufiavs(2, "");
  for (Kind kind : kAll)
    for (unsigned char grey : {0, 255}) {
      // Black sets every bit, white none; the inverted screens the other way round.
      const bool all_set =
          (grey == 0) != (kind == Kind::InvertedThirds || kind == Kind::InvertedQuarters);
      SCOPED_TRACE(static_cast<int>(kind));
      const std::uint32_t w = 37, h = 9, planes = kind == Kind::Page ? 1 : 3;
      auto src = make_source(w, h, planes, Fill::Flat, 1, grey);
      Output out(static_cast<std::size_t>(dot_stride(w)) * h * planes);
      screen(kind)(src.data(), out.data(), w, h, make_control(planes, 1));
      for (std::uint32_t r = 0; r < h * planes; ++r)
        for (std::uint32_t x = 0; x < w; ++x)
          ASSERT_EQ(bit_at(out.data() + r * dot_stride(w), x), all_set) << r << "," << x;
      EXPECT_TRUE(padding_clear(out.body(), w, h * planes));
      EXPECT_TRUE(out.guard_intact());
      screen(kind)(src.data(), out.data(), w, h, make_control(planes, 3));
    }
  Itsdiufiavs(0, "");
}

// A white pixel that receives enough negative error is inked by the screens
// without the white-pixel rule and never by the screens with it.
TEST(Diffusion, WhitePixelRule) {
  const std::uint32_t w = 64, h = 64;
  auto src = make_source(w, h, 1, Fill::Flat, 1, 160);
  for (std::uint32_t y = 0; y < h; ++y)
    for (std::uint32_t x = 0; x < w; ++x)
      if ((x * 7 + y * 3) % 5 == 0) src[y * w + x] = 255;
  for (Kind kind : {Kind::TonePush, Kind::Conserving, Kind::Random, Kind::InvertedThirds,
                    Kind::InvertedQuarters}) {
    Output out(dot_stride(w) * h);
    screen(kind)(src.data(), out.data(), w, h, make_control(1, 1));
    const bool inverted = kind == Kind::InvertedThirds || kind == Kind::InvertedQuarters;
    int white_inked = 0;
    for (std::uint32_t r = 0; r < h; ++r)
      for (std::uint32_t x = 0; x < w; ++x)
        white_inked +=
            bit_at(out.data() + r * dot_stride(w), x) != inverted && src[r * w + x] == 255;
    const bool rule =
        kind == Kind::TonePush || kind == Kind::Conserving || kind == Kind::InvertedThirds;
    EXPECT_EQ(white_inked == 0, rule) << static_cast<int>(kind) << ": " << white_inked;
  }
}

TEST(Diffusion, ZeroSizesClearOnlyWhatTheyCover) {
  for (Kind kind : kAll) {
    unsigned char src[8] = {};
    Output out(0);
    EXPECT_EQ(screen(kind)(src, out.data(), 0, 5, make_control(2, 1)), 0);
    EXPECT_EQ(screen(kind)(src, out.data(), 5, 0, make_control(2, 3)), 0);
    EXPECT_TRUE(out.guard_intact());
  }
  // Negative sizes through the signed entry points screen nothing.
  unsigned char src[8] = {};
  Output out(0);
  EXPECT_EQ(sdiufiavs(src, out.data(), -4, 3, make_control(1, 1)), 0);
  EXPECT_EQ(mandfanes(src, out.data(), 4, -3, make_control(1, 3)), 0);
  EXPECT_TRUE(out.guard_intact());
}

// Three columns, a first band of two rows of 100 and a last band of one row
// of 128, the clock pinned at 5 and both curves zero. The generator's first
// draws are then 3, 0, 3, 2, 1, 3, 2 (two bits; one bit: 1, 0, 1, 0, 1, 1, 0).
// Worked by hand from each screen's table; e.g. the tone push, first band:
//   row 0 (right): 100 dot, r 3 all ahead; 200 paper e -55, r 0: -18 ahead,
//     -36 below; row end 82 dot, two thirds (54) below: cells 100, 64, 154;
//   row 1 (left, last): 154 paper e -101, r 3 all into the carry; 64 dot,
//     r 2: 21 ahead, 42 carried; 121 dot. Carry 0, 42, -101.
// Last band: 128 dot, r 3 all carried; 170 paper e -85, r 0: -56 ahead;
// 27 - 56 dot.
TEST(Diffusion, RuleTablesWorkedByHand) {
  struct Case {
    Kind kind;
    unsigned char first[2];  // the first band's rows
    unsigned char last;      // the last band's row
  } const cases[] = {
      {Kind::TonePush, {0xA0, 0xC0}, 0xA0},
      // Row 0: r 3 all below (200); r 0 75 ahead, 25 below (125); the row end
      // draws, 175 is paper (a set bit), two thirds of -80 below (47). Row 1:
      // r 2 11 ahead, 35 carried; r 1 136 paper, all ahead; 81 dot.
      {Kind::InvertedQuarters, {0x20, 0x40}, 0x20},
      // Reseeded on the first band only: the last band draws on (1, 0).
      {Kind::Conserving, {0xA0, 0xE0}, 0x80},
      {Kind::Random, {0xA0, 0xC0}, 0xC0},
      // No draws: the counter steps 1, 2, 3 (all below), then 4, 5 (carried,
      // the last pixel does not step) and on the last band 6, 7 (all ahead),
      // and the direction runs on (the last band runs left to right).
      {Kind::Counter, {0xE0, 0x00}, 0xA0},
  };
  Itsdiufiavs(0, "");
  pin_seed_time(5);
  for (Case const& c : cases) {
    SCOPED_TRACE(static_cast<int>(c.kind));
    const std::uint32_t w = 3, stride = dot_stride(w);
    auto first = make_source(w, 2, 1, Fill::Flat, 1, 100);
    auto last = make_source(w, 1, 1, Fill::Flat, 1, 128);
    Output out(2 * stride);
    ASSERT_EQ(screen(c.kind)(first.data(), out.data(), w, 2, make_control(1, 1)), 0);
    EXPECT_EQ(out.bytes[0], c.first[0]);
    EXPECT_EQ(out.bytes[stride], c.first[1]);
    ASSERT_EQ(screen(c.kind)(last.data(), out.data(), w, 1, make_control(1, 3)), 0);
    EXPECT_EQ(out.bytes[0], c.last);
    EXPECT_TRUE(out.guard_intact());
  }
  unpin_seed_time();
}

// Lines too large to allocate: the call reports it instead of throwing, and a
// later job starts afresh.
TEST(Diffusion, LinesThatCannotBeAllocatedReportNoMemory) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "the address sanitizer's allocator aborts on oversized requests";
#else
  unsigned char src[4] = {};
  Output out(0);
  EXPECT_EQ(sdiufiavs(src, out.data(), 0x7FFFFFFF, 0, make_control(255, 1)), ERR_NO_MEMORY);
  EXPECT_TRUE(out.guard_intact());
  Output small(dot_stride(4));
  EXPECT_EQ(sdiufiavs1(src, small.data(), 4, 1, make_control(1, 2)), 0);
  EXPECT_TRUE(small.guard_intact());
#endif
}

}  // namespace
}  // namespace halftone::test
