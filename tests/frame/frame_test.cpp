// The frame: strides, control word, generator, tone curves, parameter string.
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

TEST(Layout, StridesPadRowsTo32Bits) {
  struct Case {
    std::uint32_t width, source, dots, dots2, dots4;
  };
  for (Case c : {Case{1, 4, 4, 4, 4}, Case{33, 36, 8, 12, 20}, Case{32, 32, 4, 8, 16},
                 Case{0, 0, 0, 0, 0}, Case{4960, 4960, 620, 1240, 2480}}) {
    SCOPED_TRACE(c.width);
    EXPECT_EQ(source_stride(c.width), c.source);
    EXPECT_EQ(dot_stride(c.width), c.dots);
    EXPECT_EQ(dot2_stride(c.width), c.dots2);
    EXPECT_EQ(dot4_stride(c.width), c.dots4);
  }
}

TEST(Layout, ControlWordAndInterleavedRows) {
  const ScreenControl c(0xFF03'0412u);
  EXPECT_EQ(c.planes, 4u);
  EXPECT_EQ(c.band, 3u);
  EXPECT_TRUE(c.last_band());
  EXPECT_TRUE(ScreenControl(make_control(2, 1)).first_band());
  // Three planes, height 2: plane 0 row 0, plane 1 row 0, plane 2 row 0, plane 0 row 1 ...
  unsigned char buffer[6 * 4];
  PlaneRows<unsigned char> rows{buffer, 4, 3};
  EXPECT_EQ(rows.row(1, 0) - buffer, 4);
  EXPECT_EQ(rows.row(0, 1) - buffer, 12);
  EXPECT_EQ(rows.row(2, 1) - buffer, 20);
}

TEST(Layout, DotsMostSignificantFirstAndSixteenBitWrap) {
  unsigned char row[2] = {};
  set_dot(row, 0);
  set_dot(row, 9);
  EXPECT_EQ(row[0], 0x80);
  EXPECT_EQ(row[1], 0x40);
  EXPECT_EQ(wrap16(32768), -32768);
  EXPECT_EQ(wrap16(-32769), 32767);
}

// The generator against the reference written from its rules: the first draw
// from the initial table (where the utility instance starts), and more than a
// lap of draws and the whole state after seeding.
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

TEST(ToneCurves, CompiledInCurvesFollowTheirRuns) {
  auto const& bank = default_curve_bank();
  struct Probe {
    int curve, index, value;
  };
  for (Probe p : {Probe{0, 128, 0},   Probe{1, 101, 0},   Probe{1, 102, 1},   Probe{1, 106, 9},
                  Probe{1, 128, 31},  Probe{1, 225, 30},  Probe{1, 255, 0},   Probe{2, 119, 40},
                  Probe{2, 251, 10},  Probe{2, 254, 4},   Probe{3, 230, 37},  Probe{3, 241, 23},
                  Probe{4, 144, 66},  Probe{4, 237, 33},  Probe{5, 158, 80},  Probe{5, 252, 4},
                  Probe{6, 252, 3},   Probe{7, 138, 42},  Probe{7, 252, 6},   Probe{8, 65, 1},
                  Probe{8, 254, 0},   Probe{9, 67, 1},    Probe{10, 126, 80}, Probe{11, 116, 51},
                  Probe{12, 240, 23}, Probe{13, 240, 30}, Probe{14, 128, 80}, Probe{14, 254, 2}}) {
    EXPECT_EQ(bank[p.curve][p.index], p.value) << "curve " << p.curve << " at " << p.index;
  }
  // Curves 9-11 share their falls with curves 4-6; curve 3 its rise with curve 2.
  for (int i = 209; i < 256; ++i) EXPECT_EQ(bank[9][i], bank[4][i]);
  for (int i = 205; i < 256; ++i) EXPECT_EQ(bank[10][i], bank[5][i]);
  for (int i = 215; i < 256; ++i) EXPECT_EQ(bank[11][i], bank[6][i]);
  for (int i = 0; i <= 230; ++i) EXPECT_EQ(bank[3][i], bank[2][i]);
  for (int k = 1; k < kCurveCount; ++k) EXPECT_EQ(bank[k][0], 0) << k;
}

TEST(ToneCurves, ModesSelectPairs) {
  struct Case {
    int mode, a, b;
  };
  for (Case c :
       {Case{0, 0, 0}, Case{1, 1, 1}, Case{2, 1, 4}, Case{3, 1, 4}, Case{4, 6, 5}, Case{5, 7, 5},
        Case{7, 0, 0}, Case{11, 8, 8}, Case{12, 8, 9}, Case{13, 8, 10}, Case{14, 11, 10},
        Case{15, 12, 10}, Case{16, 13, 10}, Case{17, 14, 10}, Case{18, 0, 0}, Case{-1, 0, 0}}) {
    EXPECT_EQ(curves_for_mode(c.mode).a, c.a) << c.mode;
    EXPECT_EQ(curves_for_mode(c.mode).b, c.b) << c.mode;
  }
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

// Runs the tone setup against a temporary data folder holding a curve file
// (or none), then restores the compiled-in bank.
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
  EXPECT_EQ(curve_bank()[4][144], 66);
  EXPECT_EQ(ScreenParameterBytes()[1], 20);
}

TEST_F(ToneSetup, FileReplacesOnlyTheWholeCurvesItHolds) {
  std::vector<unsigned char> bytes(300, 7);
  write_file(bytes);
  Itsdiufiavs(1, "");
  EXPECT_EQ(curve_bank()[0][0], 7);
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
  EXPECT_EQ(data_path("ToneAry.ham"), "/some/where/ToneAry.ham");
  EXPECT_EQ(moths_path("a.bmp"), "/some/where/Moths/a.bmp");
  set_data_folder(nullptr);
  const std::string folder = data_folder();
  ASSERT_FALSE(folder.empty());
  EXPECT_EQ(folder.back(), '/');
  EXPECT_TRUE(std::filesystem::exists(folder + "test_frame"));
}

}  // namespace
}  // namespace halftone
