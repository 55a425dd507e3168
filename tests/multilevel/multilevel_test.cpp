// The multi-level screens: against a plain model, decisions row by row, code
// packing, the carry line, and sizes that screen nothing.
#include "halftone/multilevel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>

#include "exports/catalog.h"
#include "frame/band_lines.h"
#include "halftone/setup.h"
#include "multilevel/reference_model.h"
#include "screens/multilevel/cascades.h"
#include "support/images.h"

namespace halftone {
namespace {

using test::Code;
using test::Fill;
using test::Output;

struct Entry {
  char const* name;
  Code code;
};
constexpr Entry kEntries[] = {{"FastGroup", Code::Bracketed4},  {"FastGroup1", Code::Fixed4},
                              {"ArcistPump", Code::Two1},       {"Kaishanxing", Code::Two2},
                              {"SymanOpening", Code::Two3},     {"RoundFaxest", Code::Thirds4},
                              {"RoundFaxest__", Code::Thirds4}, {"RoundPump", Code::Bracketed8},
                              {"RoundPump1", Code::Fixed8}};

ScreenInfo const& info(char const* name) {
  for (ScreenInfo const& e : multilevel_catalog())
    if (std::strcmp(e.name, name) == 0) return e;
  throw std::runtime_error(name);
}
std::size_t out_size(ScreenInfo const& e, std::uint32_t w, std::uint32_t h, std::uint32_t p) {
  return std::size_t{p} * h * (e.bits == 2 ? dot2_stride(w) : dot4_stride(w));
}
// Screens one band with `e` into a buffer with guard bytes.
Output screen(ScreenInfo const& e, std::vector<unsigned char>& src, std::uint32_t w,
              std::uint32_t h, std::uint32_t planes, std::uint32_t band) {
  Output out(out_size(e, w, h, planes));
  EXPECT_EQ(e.run(src.data(), out.data(), w, h, make_control(planes, band)), 0);
  return out;
}

std::string random_parameters(std::mt19937& g) {
  std::vector<unsigned> v(g() % 10);
  for (unsigned& x : v) x = g() % 256;
  if (g() % 2) std::sort(v.begin(), v.end());
  std::string text;
  for (std::size_t i = 0; i < v.size(); ++i)
    text += std::to_string(v[i]) + (i + 1 < v.size() || g() % 4 ? "," : "");
  return text;
}

TEST(Multilevel, AgreesWithPlainModelOnRandomBandedJobs) {
  std::mt19937 g(2024);
  const int modes[] = {0, 1, 2, 3, 4, 5, 7, 11, 12, 13, 14, 15, 16, 17};
  const Fill fills[] = {Fill::Noise, Fill::Noise, Fill::Flat, Fill::RampX, Fill::Edges};
  test::MultilevelModel model;
  for (int job = 0; job < 900; ++job) {
    const Entry entry = kEntries[job % std::size(kEntries)];
    // Every eighth job: a light grey against all-zero levels over many bands, so
    // that the bracketed screens' errors pile up and wrap around 16 bits.
    const bool drift = job % 8 == 7;
    const std::string params = drift ? "" : random_parameters(g);
    const int mode = modes[g() % std::size(modes)];
    Itsdiufiavs(mode, params.c_str());
    const std::uint32_t w = 1 + g() % 70, planes = 1 + g() % 4;
    const std::uint32_t bands = drift ? 10 + g() % 6 : 1 + g() % 4;
    model.seconds = g();
    pin_seed_time(model.seconds);
    for (std::uint32_t b = 0; b < bands; ++b) {
      const std::uint32_t band = b == 0 ? 1 : b + 1 == bands ? 3 : 2 * (g() % 2);
      const std::uint32_t h = drift ? 20 : 1 + g() % 20;
      SCOPED_TRACE(std::string(entry.name) + " mode " + std::to_string(mode) + " \"" + params +
                   "\" w " + std::to_string(w) + " h " + std::to_string(h) + " planes " +
                   std::to_string(planes) + " band " + std::to_string(band));
      // Exactly the band's rows: a read past them shows under the address sanitizer.
      auto src = drift ? test::make_source(w, h, planes, Fill::Flat, 0, 200)
                       : test::make_source(w, h, planes, fills[g() % 5], g(), g() % 256);
      Output expected(out_size(info(entry.name), w, h, planes));
      model.call(entry.code, src.data(), expected.data(), w, h, make_control(planes, band));
      ASSERT_EQ(screen(info(entry.name), src, w, h, planes, band).bytes, expected.bytes);
    }
  }
  unpin_seed_time();
}

TEST(Multilevel, DecisionsFollowTheirTablesRowByRow) {
  struct Group {
    char const* decision;
    char const* params;
    std::vector<std::array<std::int32_t, 4>> cases;  // v, s, code, e
  };
  const Group groups[] = {
      {"bracketed4", "", {{1, 0, 2, 1}, {0, 0, 3, 0}, {1, 5, 0, 1}, {0, 5, 1, 0}}},
      // M32 = 50, M21 = 120, M10 = 207; the last case's error wraps.
      {"bracketed4",
       "20,80,160,255,",
       {{208, 80, 2, 128},
        {208, 81, 1, 48},
        {208, 161, 0, -47},
        {207, 80, 2, 127},
        {207, 81, 1, 47},
        {120, 160, 2, 40},
        {120, 161, 1, -40},
        {50, 80, 3, 30},
        {50, 81, 2, -30},
        {50, 161, 1, -110},
        {-32768, 0, 3, 32748}}},
      // Falling bytes: M10 = 25 is tested first, M32 = 150 last.
      {"bracketed4", "200,100,50,0,", {{30, 150, 0, 30}, {20, 40, 3, -180}}},
      {"fixed4", "", {{64, 0, 3, 64}, {65, 0, 2, -20}, {129, 0, 1, -41}, {193, 0, 0, -62}}},
      {"two2", "", {{128, 255, 2, 128}, {129, 0, 0, -126}}},
      {"fixed8", "", {{32, 0, 7, 32}, {33, 0, 6, -3}, {97, 0, 4, -12}, {225, 0, 0, -30}}},
      {"bracketed8", "", {{0, 0, 7, 0}, {1, 0, 1, 1}, {1, 1, 0, 1}, {0, 1, 6, 0}}},
      // M10 = 220, M21 = 175, M32 = 145, M43 = 115, M54 = 85, M65 = 55, M76 = 25.
      {"bracketed8",
       "10,40,70,100,130,160,190,250,",
       {{221, 191, 0, -29}, {221, 190, 1, 31},  {176, 161, 1, -14}, {176, 160, 2, 16},
        {146, 191, 1, -44}, {146, 131, 2, -14}, {146, 130, 3, 16},  {116, 191, 1, -74},
        {116, 161, 2, -44}, {116, 101, 3, -14}, {116, 100, 4, 16},  {86, 161, 1, -104},
        {86, 131, 3, -44},  {86, 71, 4, -14},   {86, 70, 5, 16},    {56, 101, 4, -44},
        {56, 41, 5, -14},   {56, 40, 6, 16},    {26, 71, 5, -44},   {26, 70, 6, -14},
        {25, 41, 6, -15},   {25, 40, 7, 15}}},
  };
  for (Group const& g : groups)
    for (auto [v16, s, code, e] : g.cases) {
      SCOPED_TRACE(std::string(g.decision) + " \"" + g.params + "\" v " + std::to_string(v16));
      std::uint8_t bytes[kParameterBytes];
      parse_parameters(g.params, bytes);
      const std::string d = g.decision;
      const auto v = static_cast<std::int16_t>(v16);
      const auto src = static_cast<std::uint32_t>(s);
      const multilevel::Decision r =
          d == "bracketed4"   ? multilevel::BracketedFourLevel(bytes).decide(v, src)
          : d == "bracketed8" ? multilevel::BracketedEightLevel(bytes).decide(v, src)
          : d == "fixed4"     ? multilevel::FixedFourLevel{}.decide(v, src)
          : d == "fixed8"     ? multilevel::FixedEightLevel{}.decide(v, src)
                              : multilevel::TwoLevel{2}.decide(v, src);
      EXPECT_EQ(static_cast<std::int32_t>(r.code), code);
      EXPECT_EQ(r.e, e);
    }
}

TEST(Multilevel, GreyAtALevelPacksItsCodeInEveryCell) {
  struct Case {
    char const* name;
    char const* params;
    std::uint32_t width;
    unsigned char grey[2];  // plane 0, plane 1
    std::vector<unsigned char> row[2];
  };
  const char* four = "0,85,170,255,";
  const char* eight = "0,36,72,109,145,182,218,255,";
  const Case cases[] = {
      {"FastGroup", four, 5, {85, 170}, {{0xAA, 0x80, 0, 0}, {0x55, 0x40, 0, 0}}},
      {"RoundFaxest", four, 7, {170, 0}, {{0x55, 0x54, 0, 0}, {0xFF, 0xFC, 0, 0}}},
      {"RoundPump1", "", 3, {0, 109}, {{0x77, 0x70, 0, 0}, {0x44, 0x40, 0, 0}}},
      {"RoundPump",
       eight,
       9,
       {109, 36},
       {{0x44, 0x44, 0x44, 0x44, 0x40, 0, 0, 0}, {0x66, 0x66, 0x66, 0x66, 0x60, 0, 0, 0}}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    Itsdiufiavs(0, c.params);  // both curves all zero: no bias
    auto src = test::make_source(c.width, 3, 2, Fill::Flat);
    for (std::uint32_t y = 0; y < 3; ++y)
      for (std::uint32_t p = 0; p < 2; ++p)
        std::fill_n(src.begin() + (y * 2 + p) * source_stride(c.width), c.width, c.grey[p]);
    const Output out = screen(info(c.name), src, c.width, 3, 2, 1);
    const std::size_t stride = c.row[0].size();
    for (std::size_t i = 0; i < out.size; ++i)
      ASSERT_EQ(out.bytes[i], c.row[i / stride % 2][i % stride]) << "byte " << i;
    EXPECT_TRUE(out.guard_intact());
    for (std::uint32_t p = 0; p < 2; ++p)
      for (std::uint32_t x = 0; x < c.width; ++x)
        EXPECT_EQ(shared_lines().CarryLine(p, c.width)[x], 0);
  }
}

TEST(Multilevel, CarryCrossesOnlyWhereTheRulesSendIt) {
  struct Case {
    char const* name;
    std::uint32_t width, height;
    bool carries;
  };
  const Case cases[] = {
      {"RoundFaxest", 20, 3, false},  {"RoundFaxest", 20, 2, true}, {"RoundFaxest", 20, 1, false},
      {"RoundFaxest__", 20, 4, true}, {"FastGroup", 1, 5, false},   {"FastGroup", 20, 1, true},
      {"RoundPump1", 1, 4, false},    {"ArcistPump", 20, 6, true},
  };
  Itsdiufiavs(2, "20,80,160,255,");
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.name) + " " + std::to_string(c.width) + "x" +
                 std::to_string(c.height));
    auto src = test::make_source(c.width, c.height, 2, Fill::Noise, 5);
    screen(info(c.name), src, c.width, c.height, 2, 1);  // a first band keeps its lines
    bool any = false;
    for (std::uint32_t i = 0; i < 2 * c.width; ++i) any |= shared_lines().CarryLine(0, 0)[i] != 0;
    EXPECT_EQ(any, c.carries);
  }
}

TEST(Multilevel, SizesThatScreenNothingTouchNothing) {
  Itsdiufiavs(2, "20,80,160,255,");
  std::vector<unsigned char> src(64, 100);
  for (ScreenInfo const& e : multilevel_catalog()) {
    SCOPED_TRACE(e.name);
    for (auto [w, h, planes] : {std::array<std::uint32_t, 3>{0, 5, 2}, {5, 0, 2}, {5, 5, 0}}) {
      Output out(0);
      EXPECT_EQ(e.run(src.data(), out.data(), w, h, make_control(planes, 1)), 0);
      EXPECT_TRUE(out.guard_intact());
    }
  }
  for (auto screen : {FastGroup, ArcistPump, Kaishanxing, SymanOpening, RoundFaxest, RoundPump})
    for (auto [w, h] : {std::pair{-3, 5}, {5, -1}, {-2, -2}}) {
      Output out(0);
      EXPECT_EQ(screen(src.data(), out.data(), w, h, make_control(1, 3)), 0);
      EXPECT_TRUE(out.guard_intact());
    }
}

TEST(Multilevel, MiddleBandWithoutFirstBandStartsFromNoCarry) {
  Itsdiufiavs(4, "20,80,160,255,");
  pin_seed_time(77);
  for (Entry const& entry : kEntries) {
    SCOPED_TRACE(entry.name);
    auto src = test::make_source(33, 6, 3, Fill::Noise, 9);
    auto wide = test::make_source(50, 6, 3, Fill::Noise, 9);
    const Output wide_first = screen(info(entry.name), wide, 50, 6, 3, 1);
    const Output first = screen(info(entry.name), src, 33, 6, 3, 1);
    shared_lines().release();
    EXPECT_EQ(screen(info(entry.name), src, 33, 6, 3, 2).bytes, first.bytes);
    // Wider than the lines the middle band found: reallocated, again from no carry.
    EXPECT_EQ(screen(info(entry.name), wide, 50, 6, 3, 3).bytes, wide_first.bytes);
  }
  unpin_seed_time();
}

}  // namespace
}  // namespace halftone
