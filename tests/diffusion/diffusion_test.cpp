// The error-diffusion screens against the plain model, and their edge cases.
#include "halftone/diffusion.h"

#include <gtest/gtest.h>

#include <random>

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
// By Kind; the random screen takes odd band positions through its signed entry.
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

// Ragged jobs (the page screen: single-plane single bands).
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

// Negative sizes through the signed entry points screen nothing.
TEST(Diffusion, NegativeSizesScreenNothing) {
  unsigned char src[8] = {};
  Output out(0);
  EXPECT_EQ(sdiufiavs(src, out.data(), -4, 3, make_control(1, 1)), 0);
  EXPECT_EQ(mandfanes(src, out.data(), 4, -3, make_control(1, 3)), 0);
  EXPECT_TRUE(out.guard_intact());
}

// Worked by hand from each screen's table: three columns, a first band of two
// rows of 100 and a last band of one row of 128, the clock pinned at 5.
TEST(Diffusion, RuleTablesWorkedByHand) {
  struct Case {
    Kind kind;
    unsigned char first[2];  // the first band's rows
    unsigned char last;      // the last band's row
  } const cases[] = {
      {Kind::TonePush, {0xA0, 0xC0}, 0xA0},   {Kind::InvertedQuarters, {0x20, 0x40}, 0x20},
      {Kind::Conserving, {0xA0, 0xE0}, 0x80}, {Kind::Random, {0xA0, 0xC0}, 0xC0},
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

// Lines too large to allocate are reported; a later job starts afresh.
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
