// The multi-level screens: against a plain model on random banded jobs, their
// decisions row by row, and the packing of their codes.
#include "halftone/multilevel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>

#include "exports/registry.h"
#include "frame/band_lines.h"
#include "frame/cascades.h"
#include "halftone/setup.h"
#include "multilevel/reference_model.h"
#include "support/offset_reference.h"

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

struct Uniform {
  UniformCall run;
  int bits;
};
Uniform info(char const* name) {
  Screen const* s = find_screen(name);
  if (s == nullptr) throw std::runtime_error(name);
  return {s->run, s->info.bits};
}
// Screens one band with `e` into a buffer with guard bytes.
Output screen(Uniform const& e, std::vector<unsigned char>& src, std::uint32_t w, std::uint32_t h,
              std::uint32_t planes, std::uint32_t band) {
  Output out(std::size_t{planes} * h * (e.bits == 2 ? dot2_stride(w) : dot4_stride(w)));
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

// Ragged jobs; every eighth a light grey against all-zero levels over many
// bands, so that the bracketed screens' errors pile up and wrap around 16 bits.
TEST(Multilevel, AgreesWithPlainModelOnRandomBandedJobs) {
  const int modes[] = {0, 1, 2, 3, 4, 5, 7, 11, 12, 13, 14, 15, 16, 17};
  for (Entry const& entry : kEntries) {
    SCOPED_TRACE(entry.name);
    test::MultilevelModel model{{}, entry.code};
    int job = 0;
    auto shape = [&](std::mt19937& g) {
      const bool drift = ++job % 8 == 0;
      Itsdiufiavs(modes[g() % std::size(modes)], drift ? "" : random_parameters(g).c_str());
      test::Job j = test::random_job(g, 4, 70, 4, !drift);
      if (drift) j.bands += 10, j.height = 20, j.fill = Fill::Flat, j.flat = 200;
      return j;
    };
    test::compare_jobs(info(entry.name).run, std::ref(model), shape, 100, 2024,
                       info(entry.name).bits);
  }
}

// With "": all levels 0. With B4 ("20,80,160,255,"): M32 = 50, M21 = 120,
// M10 = 207, the last case's error wraps. With falling bytes M10 = 25 is
// tested first, M32 = 150 last. Fixed levels: a value at a threshold takes the
// darker code. With B8: M10 = 220, M21 = 175, M32 = 145 ... M76 = 25.
TEST(Multilevel, DecisionsFollowTheirTablesRowByRow) {
  const char *B4 = "20,80,160,255,", *B8 = "10,40,70,100,130,160,190,250,";
  enum Kind { Bracketed4, Bracketed8, Fixed4, Fixed8, Two2 };
  struct Case {
    Kind kind;
    char const* params;
    std::int32_t v, s, code, e;
  } const cases[] = {
      {Bracketed4, "", 1, 0, 2, 1},
      {Bracketed4, "", 0, 0, 3, 0},
      {Bracketed4, "", 1, 5, 0, 1},
      {Bracketed4, "", 0, 5, 1, 0},
      {Bracketed8, "", 0, 0, 7, 0},
      {Bracketed8, "", 1, 0, 1, 1},
      {Bracketed8, "", 1, 1, 0, 1},
      {Bracketed8, "", 0, 1, 6, 0},
      {Bracketed4, B4, 208, 80, 2, 128},
      {Bracketed4, B4, 208, 161, 0, -47},
      {Bracketed4, B4, 207, 81, 1, 47},
      {Bracketed4, B4, 120, 160, 2, 40},
      {Bracketed4, B4, 50, 80, 3, 30},
      {Bracketed4, B4, 50, 161, 1, -110},
      {Bracketed4, B4, -32768, 0, 3, 32748},
      {Bracketed4, "200,100,50,0,", 30, 150, 0, 30},
      {Bracketed4, "200,100,50,0,", 20, 40, 3, -180},
      {Fixed4, "", 64, 0, 3, 64},
      {Fixed4, "", 65, 0, 2, -20},
      {Fixed4, "", 129, 0, 1, -41},
      {Fixed4, "", 193, 0, 0, -62},
      {Fixed8, "", 32, 0, 7, 32},
      {Fixed8, "", 33, 0, 6, -3},
      {Fixed8, "", 97, 0, 4, -12},
      {Fixed8, "", 225, 0, 0, -30},
      {Two2, "", 128, 255, 2, 128},
      {Two2, "", 129, 0, 0, -126},
      {Bracketed8, B8, 221, 190, 1, 31},
      {Bracketed8, B8, 146, 191, 1, -44},
      {Bracketed8, B8, 116, 101, 3, -14},
      {Bracketed8, B8, 86, 131, 3, -44},
      {Bracketed8, B8, 56, 40, 6, 16},
      {Bracketed8, B8, 25, 41, 6, -15},
  };
  for (Case const& c : cases) {
    std::uint8_t bytes[kParameterBytes];
    parse_parameters(c.params, bytes);
    const auto v = static_cast<std::int16_t>(c.v);
    const auto s = static_cast<std::uint32_t>(c.s);
    const Decision r = c.kind == Bracketed4   ? BracketedFourLevel(bytes).decide(v, s)
                       : c.kind == Bracketed8 ? BracketedEightLevel(bytes).decide(v, s)
                       : c.kind == Fixed4     ? FixedFourLevel{}.decide(v, s)
                       : c.kind == Fixed8     ? FixedEightLevel{}.decide(v, s)
                                              : TwoLevel{2}.decide(v, s);
    EXPECT_EQ(static_cast<std::int32_t>(r.code), c.code) << &c - cases;
    EXPECT_EQ(r.e, c.e) << &c - cases;
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

TEST(Multilevel, NegativeSizesTouchNothing) {
  std::vector<unsigned char> src(64, 100);
  for (auto screen : {FastGroup, ArcistPump, Kaishanxing, SymanOpening, RoundFaxest, RoundPump})
    for (auto [w, h] : {std::pair{-3, 5}, {5, -1}, {-2, -2}}) {
      Output out(0);
      EXPECT_EQ(screen(src.data(), out.data(), w, h, make_control(1, 3)), 0);
      EXPECT_TRUE(out.guard_intact());
    }
}

}  // namespace
}  // namespace halftone
