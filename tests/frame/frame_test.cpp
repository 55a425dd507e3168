// The frame: generator, tone setup, parameter string, band lines.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/feedback_random.h"
#include "frame/layout.h"
#include "frame/tone_curves.h"
#include "halftone/setup.h"
#include "support/data_folder.h"
#include "support/ref_random.h"

namespace halftone {
namespace {

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

TEST(ParameterString, TokensEndAtCommas) {
  struct Case {
    char const* text;
    std::vector<int> bytes;  // bytes 0.. that must match; the rest are 0
  };
  for (Case const& c : {
           Case{"5,6,", {5, 6}}, Case{"5,6", {5}}, Case{",7,", {0, 7}}, Case{"300,", {44}},
           Case{"-1,", {255}}, Case{" 12,+3,x,", {12, 3, 0}},
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

// A missing curve file keeps the compiled-in bank; a file replaces only the
// whole curves it holds.
TEST(ToneSetup, CurveFileReplacesWholeCurves) {
  test::DataFolder folder;
  EXPECT_EQ(Itsdiufiavs(2, "10,20,"), 0);
  EXPECT_EQ(active_curves().a, curve_bank()[1]);
  EXPECT_EQ(active_curves().b, curve_bank()[4]);
  EXPECT_EQ(ScreenParameterBytes()[1], 20);
  folder.write_beside("ToneAry.ham", std::vector<unsigned char>(300, 7));
  Itsdiufiavs(1, "");
  EXPECT_EQ(curve_bank()[0][255], 7);
  EXPECT_EQ(curve_bank()[1][128], 31);  // untouched
  std::vector<unsigned char> bytes(4000);
  for (std::size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<unsigned char>(i / 256);
  folder.write_beside("ToneAry.ham", bytes);
  Itsdiufiavs(17, "");
  for (int k = 0; k < kCurveCount; ++k) EXPECT_EQ(curve_bank()[k][100], k);
  EXPECT_EQ(active_curves().a[0], 14);
  EXPECT_EQ(active_curves().b[0], 10);
  auto const* d = &default_curve_bank()[0][0];
  folder.write_beside("ToneAry.ham", std::vector<unsigned char>(d, d + 256 * kCurveCount));
  Itsdiufiavs(0, "");
}

}  // namespace
}  // namespace halftone
