// The frame: control word, generator, tone setup, parameter string, band lines.
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "frame/band_lines.h"
#include "frame/data_folder.h"
#include "frame/feedback_random.h"
#include "frame/layout.h"
#include "frame/tone_curves.h"
#include "halftone/setup.h"
#include "support/data_folder.h"
#include "support/ref_random.h"

namespace halftone {
namespace {

TEST(Layout, ControlWordAndInterleavedRows) {
  const ScreenControl c(0xFF03'0412u);
  EXPECT_EQ(c.planes, 4u);
  EXPECT_TRUE(c.last_band());
  // Three planes, height 2: plane 0 row 0, plane 1 row 0, plane 2 row 0, plane 0 row 1 ...
  unsigned char buffer[6 * 4];
  PlaneRows<unsigned char> rows{buffer, 4, 3};
  EXPECT_EQ(rows.row(1, 0) - buffer, 4);
  EXPECT_EQ(rows.row(0, 1) - buffer, 12);
  EXPECT_EQ(rows.row(2, 1) - buffer, 20);
}

TEST(FeedbackRandom, DrawsAsTheReferenceGenerator) {
  FeedbackRandom fresh;
  EXPECT_EQ(fresh.draw(), 0x7BE9C1BDu);
  for (std::uint32_t seed : {0u, 1u, 12345u, 0xFFFFFFFFu}) {
    FeedbackRandom r;
    r.seed(seed);
    test::RefRandom ref;
    ref.seed(seed);
    EXPECT_TRUE(ref.same_as(r)) << seed;
    for (int i = 0; i < 100; ++i) ASSERT_EQ(r.draw(), ref.draw()) << seed << " draw " << i;
    EXPECT_TRUE(ref.same_as(r)) << seed;
  }
}

TEST(FeedbackRandom, PinnedClockMakesReseedsRepeatable) {
  pin_seed_time(1000);
  EXPECT_EQ(seed_seconds(), 1000u);
  reseed_screening();
  FeedbackRandom fresh;
  fresh.seed(1000);
  EXPECT_EQ(screening_random().draw(), fresh.draw());
  unpin_seed_time();
  EXPECT_GT(seed_seconds(), 1600000000u);
}

TEST(ParameterString, TokensEndAtCommas) {
  struct Case {
    char const* text;
    std::vector<int> bytes;  // bytes 0.. that must match; the rest are 0
  };
  for (Case const& c : {
           Case{"5,6,", {5, 6}}, Case{"5,6", {5}}, Case{",7,", {0, 7}}, Case{"300,", {44}},
           Case{"", {}}, Case{"-1,", {255}}, Case{" 12,+3,x,", {12, 3, 0}},
           Case{"1234,5,", {123, 5}},  // a token keeps three characters
           Case{"1,2,3,4,5,6,7,8,9,10,11,", {1, 2, 3, 4, 5, 6, 7, 8, 9}},  // nine bytes
       }) {
    SCOPED_TRACE(c.text);
    std::uint8_t out[kParameterBytes];
    std::fill(std::begin(out), std::end(out), 0xEE);
    parse_parameters(c.text, out);
    for (int i = 0; i < kParameterBytes; ++i)
      EXPECT_EQ(out[i], i < static_cast<int>(c.bytes.size()) ? c.bytes[i] : 0) << i;
  }
}

class ToneSetup : public ::testing::Test {
 protected:
  test::DataFolder folder;

  void TearDown() override {
    write_file(std::vector<unsigned char>(&default_curve_bank()[0][0],
                                          &default_curve_bank()[0][0] + 256 * kCurveCount));
    Itsdiufiavs(0, "");
  }
  void write_file(std::vector<unsigned char> const& bytes) {
    folder.write_beside("ToneAry.ham", bytes);
  }
};

TEST_F(ToneSetup, MissingFileKeepsCompiledInCurves) {
  EXPECT_EQ(Itsdiufiavs(2, "10,20,"), 0);
  EXPECT_EQ(active_curves().a, curve_bank()[1]);
  EXPECT_EQ(active_curves().b, curve_bank()[4]);
  EXPECT_EQ(ScreenParameterBytes()[1], 20);
}

TEST_F(ToneSetup, FileReplacesOnlyTheWholeCurvesItHolds) {
  std::vector<unsigned char> bytes(300, 7);
  write_file(bytes);
  Itsdiufiavs(1, "");
  EXPECT_EQ(curve_bank()[0][255], 7);
  EXPECT_EQ(curve_bank()[1][128], 31);  // untouched

  bytes.assign(4000, 0);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i / 256);
  write_file(bytes);
  Itsdiufiavs(17, "");
  for (int k = 0; k < kCurveCount; ++k) EXPECT_EQ(curve_bank()[k][100], k);
  EXPECT_EQ(active_curves().a[0], 14);
  EXPECT_EQ(active_curves().b[0], 10);
}

TEST(BandLines, FirstBandAllocatesZeroedAndLastReleases) {
  BandLines<std::int16_t> lines;
  EXPECT_TRUE(lines.begin(ScreenControl(make_control(2, 1)), 5, -35));
  EXPECT_EQ(lines.CarryLine(1, 5)[4], -35);
  EXPECT_EQ(lines.ValueLineA()[4], 0);
  lines.CarryLine(0, 5)[0] = 9;
  EXPECT_FALSE(lines.begin(ScreenControl(make_control(2, 2)), 5));
  EXPECT_EQ(lines.CarryLine(0, 5)[0], 9);  // a middle band keeps the carry
  // A wider band than the job was set up for gets fresh lines rather than overruns.
  EXPECT_TRUE(lines.begin(ScreenControl(make_control(2, 2)), 6));
  lines.end(ScreenControl(make_control(2, 3)));
  EXPECT_FALSE(lines.held());
  // A middle band with nothing held allocates as a first band would.
  EXPECT_TRUE(lines.begin(ScreenControl(make_control(1, 2)), 3, 4));
  EXPECT_EQ(lines.CarryLine(0, 3)[2], 4);
}

TEST(DataFolder, SetAndRestore) {
  set_data_folder("/some/where");
  EXPECT_EQ(moths_path("a.bmp"), "/some/where/Moths/a.bmp");
  set_data_folder(nullptr);
  const std::string folder = data_folder();
  ASSERT_FALSE(folder.empty());
  EXPECT_EQ(folder.back(), '/');
  EXPECT_TRUE(std::filesystem::exists(folder + "test_frame"));
}

}  // namespace
}  // namespace halftone
