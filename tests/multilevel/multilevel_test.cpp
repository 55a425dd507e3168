// The multi-level screens against a plain model, their decisions, their packing.
#include "halftone/multilevel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <string>

#include "exports/registry.h"
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

// Every eighth job a light grey on all-zero levels over many bands: the
// bracketed screens' errors wrap around 16 bits.
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

// A grey at a level, both curves zero, packs its code in every cell.
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
