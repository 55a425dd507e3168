// The run-length pattern screens against plain models on random pages.
#include <gtest/gtest.h>

#include <cstring>

#include "halftone/loaded.h"
#include "loaded/reference_models.h"
#include "loaded/support.h"
#include "screens/loaded/stores.h"

namespace halftone::test {
namespace {

using Screen = int (*)(unsigned char*, unsigned char*, std::uint32_t, std::uint32_t, std::uint32_t);

int sonicksure(unsigned char* s, unsigned char* d, std::uint32_t w, std::uint32_t h,
               std::uint32_t c) {
  return Sonicksure(s, d, static_cast<int>(w), static_cast<int>(h), c);
}
int text_download(unsigned char* s, unsigned char* d, std::uint32_t w, std::uint32_t h,
                  std::uint32_t c) {
  return TextDownload(s, d, static_cast<int>(w), static_cast<int>(h), c);
}

// Runs `screen` on `page` with guard bytes and returns the output proper.
Bytes run(Screen screen, Page& page, int bits, std::uint32_t band = 1) {
  const std::uint32_t stride = bits == 1 ? dot_stride(page.width) : dot2_stride(page.width);
  Output out(static_cast<std::size_t>(stride) * page.height * page.planes);
  EXPECT_EQ(screen(page.source.data(), out.data(), page.width, page.height,
                   make_control(page.planes, band)),
            0);
  EXPECT_TRUE(out.guard_intact());
  return out.body();
}

void load_random_patterns(DataFolder const& folder, bool two_bit, int width, int height,
                          std::uint32_t seed) {
  const int row_bytes = width * (two_bit ? 2 : 1) / 8;
  folder.write("pat", random_bytes(static_cast<std::size_t>(256) * height * row_bytes, seed));
  ASSERT_EQ(two_bit ? NingJing("pat", width, height) : KaiDuaning("pat", width, height), 0);
}

ref::Walk walk_one_bit(std::uint32_t tile_w, std::uint32_t tile_h, std::uint32_t wrap) {
  return {&TonePatternBank[0][0][0], sizeof TonePatternBank, 8192, 32, tile_w, tile_h, wrap, 8};
}

TEST(PatternScreens, MatchThePatternPixelsOnRandomPages) {
  DataFolder folder;
  std::mt19937 gen(11);
  struct Load {
    int width, height;
  };
  for (Load load : {Load{64, 64}, Load{8, 3}, Load{24, 5}, Load{256, 256}, Load{16, 1}}) {
    std::memset(TonePatternBank, 0, sizeof TonePatternBank);
    load_random_patterns(folder, false, load.width, load.height, gen());
    for (int i = 0; i < 40; ++i) {
      Page page = random_page(gen);
      SCOPED_TRACE(std::to_string(page.width) + "x" + std::to_string(page.height) + "x" +
                   std::to_string(page.planes));
      EXPECT_EQ(run(sonicksure, page, 1),
                ref::pattern_pixels(page.source, page.width, page.height, page.planes, load.width,
                                    load.height, 1));
      const Bytes fixed =
          ref::pattern_pixels(page.source, page.width, page.height, page.planes, 256, 256, 1);
      EXPECT_EQ(run(MutexWindow, page, 1), fixed);
      EXPECT_EQ(run(MutexWindow_Bak, page, 1, 2), fixed);
    }
  }
  load_random_patterns(folder, true, 256, 256, 12);
  for (int i = 0; i < 200; ++i) {
    Page page = random_page(gen);
    EXPECT_EQ(run(text_download, page, 2),
              ref::pattern_pixels(page.source, page.width, page.height, page.planes, 256, 256, 2));
  }
}

// Masks of the other loader and tiles that are not a whole number of bytes
// are applied literally, byte by byte.
TEST(PatternScreens, MismatchedMasksAndOddTilesFollowTheByteWalk) {
  DataFolder folder;
  std::mt19937 gen(13);
  // One-bit screens on the two-bit masks.
  load_random_patterns(folder, false, 256, 256, 14);
  NingJing("missing", 64, 64);  // leaves the two-bit masks
  for (int i = 0; i < 150; ++i) {
    Page page = random_page(gen);
    EXPECT_EQ(run(MutexWindow, page, 1), ref::run_walk(walk_one_bit(256, 256, 32), page.source,
                                                       page.width, page.height, page.planes));
  }
  // Tile widths that are not multiples of 8; the two-bit geometry, whose rows
  // run past the one-bit row pitch (and, in the last row of the white slot,
  // past the bank). Widths of 32 and 64 end runs past the output row.
  struct Load {
    bool two_bit;
    int width, height;
  };
  for (Load load : {Load{false, 12, 7}, Load{false, 36, 9}, Load{false, 255, 2},
                    Load{true, 200, 256}, Load{true, 100, 3}}) {
    std::memset(TonePatternBank, 0, sizeof TonePatternBank);
    load_random_patterns(folder, false, 256, 256, gen());
    if (load.two_bit)
      load_random_patterns(folder, true, load.width, load.height, gen());
    else
      load_random_patterns(folder, false, load.width, load.height, gen());
    const ref::Walk walk = walk_one_bit(load.width, load.height,
                                        static_cast<std::uint32_t>(PatternGeometry.row_bytes));
    for (int i = 0; i < 150; ++i) {
      Page page = random_page(gen);
      if (i % 3 == 0) page = Page{32u * (1 + below(gen, 2)), 256, 1 + below(gen, 3), {}};
      if (i % 3 == 1) page = Page{64, 256, 1, make_source(64, 256, 1, Fill::Flat, 0, 255)};
      if (page.source.empty()) page.source = make_runs(page.width, page.height, page.planes, gen());
      SCOPED_TRACE(std::to_string(load.width) + " " + std::to_string(page.width) + "x" +
                   std::to_string(page.height));
      EXPECT_EQ(run(sonicksure, page, 1),
                ref::run_walk(walk, page.source, page.width, page.height, page.planes));
    }
  }
}

TEST(PatternScreens, HandWorkedRows) {
  DataFolder folder;
  Bytes file(256 * 8, 0);  // 8 x 8 patterns: image n is all ones for grey 10
  std::fill(file.begin() + (255 - 10) * 8, file.begin() + (256 - 10) * 8, 0xFF);
  std::fill(file.begin() + (255 - 200) * 8, file.begin() + (256 - 200) * 8, 0xFF);
  folder.write("p8", file);
  ASSERT_EQ(KaiDuaning("p8", 8, 8), 0);
  struct Case {
    Bytes row;
    unsigned char expected;
  };
  const Case cases[] = {{{10, 10, 10, 200}, 0xE0},
                        {{10, 10, 200, 200}, 0xF0},
                        {{200}, 0x00},
                        {{10, 0, 10, 10}, 0xB0}};
  for (Case const& c : cases) {
    Page page{static_cast<std::uint32_t>(c.row.size()), 1, 1, c.row};
    page.source.resize(4);
    EXPECT_EQ(run(sonicksure, page, 1)[0], c.expected);
  }
  // No planes: nothing is written at all.
  Output out(16);
  Bytes src(16, 10);
  EXPECT_EQ(MutexWindow(src.data(), out.data(), 4, 4, make_control(0, 1)), 0);
  EXPECT_EQ(out.body(), Bytes(16, 0x5A));
}

TEST(PatternScreens, BandsRestartThePatternPhase) {
  DataFolder folder;
  load_random_patterns(folder, false, 64, 64, 21);
  Page whole{80, 300, 1, make_runs(80, 300, 1, 22)};
  Page top{80, 150, 1, Bytes(whole.source.begin(), whole.source.begin() + 80 * 150)};
  Page bottom{80, 150, 1, Bytes(whole.source.begin() + 80 * 150, whole.source.end())};
  Bytes banded = run(sonicksure, top, 1);
  const Bytes second = run(sonicksure, bottom, 1, 3);
  banded.insert(banded.end(), second.begin(), second.end());
  Bytes expected = ref::pattern_pixels(top.source, 80, 150, 1, 64, 64, 1);
  const Bytes expected2 = ref::pattern_pixels(bottom.source, 80, 150, 1, 64, 64, 1);
  expected.insert(expected.end(), expected2.begin(), expected2.end());
  EXPECT_EQ(banded, expected);
  EXPECT_NE(banded, run(sonicksure, whole, 1));
}

// Without a usable geometry the screen only clears its output.
TEST(PatternScreens, SonicksureWithoutAPatternClearsItsOutput) {
  DataFolder folder;
  Page page{40, 6, 2, make_runs(40, 6, 2, 5)};
  for (auto [w, h] : {std::pair{0, 0}, {4, 8}, {8, 0}, {300, 8}, {8, 300}, {-16, 8}}) {
    KaiDuaning("missing", w, h);
    EXPECT_EQ(run(sonicksure, page, 1), Bytes(dot_stride(40) * 12, 0)) << w << "x" << h;
  }
}

}  // namespace
}  // namespace halftone::test
