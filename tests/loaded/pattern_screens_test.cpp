// The run-length pattern screens against their run walk, written byte by byte
// from the rules, on random banks.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <functional>
#include <span>
#include <vector>

#include "frame/state.h"
#include "halftone/loaded.h"
#include "loaded/support.h"

namespace halftone::test {
namespace {

// Where a screen takes its patterns from: the bank as one flat block (bytes
// past its end read 0), whole-byte copies wrapped after `wrap` bytes, and the
// masks of the loader that ran last (`mask_bits` a pixel).
struct Walk {
  std::uint8_t const* bank;
  std::size_t bank_size, slot_pitch, row_pitch;
  std::uint32_t tile_w, tile_h, wrap, per_byte;
  int mask_bits;
};

// Rows are walked in runs of equal grey; a run is flushed when a different
// grey ends it or it reaches the last pixel, so a last pixel that differs
// from its left neighbour (and a row of one pixel) gets nothing.
Bytes run_walk(Walk const& t, Page const& page) {
  const std::uint32_t width = page.width;
  const std::uint32_t stride = t.per_byte == 8 ? dot_stride(width) : dot2_stride(width);
  Bytes out(std::size_t{stride} * page.height * page.planes, 0);
  const std::int64_t n = t.per_byte;
  auto head = [&](std::int64_t k) { return k * t.mask_bits < 8 ? 0xFF >> (k * t.mask_bits) : 0; };
  for (std::uint32_t r = 0; r < page.height * page.planes; ++r) {
    unsigned char const* s = page.source.data() + std::size_t{r} * source_stride(width);
    unsigned char* o = out.data() + std::size_t{r} * stride;
    unsigned char carry = 0;
    auto flush = [&](std::int64_t x0, std::int64_t len, unsigned v) {
      auto byte = [&](std::int64_t idx) -> unsigned char {
        const std::size_t off = v * t.slot_pitch + (r / page.planes % t.tile_h) * t.row_pitch + idx;
        return off < t.bank_size ? t.bank[off] : 0;
      };
      std::int64_t px0 = x0 % t.tile_w;
      if (const std::int64_t k = px0 % n; k != 0) {
        o[x0 / n] = carry =
            (carry | (byte(px0 / n) & head(k))) & (len < n - k ? ~head(k + len) : 0xFF);
        x0 += n - k, px0 += n - k, len -= n - k;
        if (len <= 0) return;
      }
      for (std::int64_t j = 0; j < len / n; ++j) o[x0 / n + j] = byte((px0 / n + j) % t.wrap);
      carry = 0;
      if ((px0 + len) % n != 0) {
        carry = byte((px0 + len) / n % t.wrap) & ~head((px0 + len) % n);
        if ((x0 + len) / n < stride) o[(x0 + len) / n] = carry;  // none past the row
      }
    };
    for (std::int64_t i = 1, start = 0; i < width; ++i) {
      if (s[i] != s[start])
        flush(start, i - start, s[start]), start = i;
      else if (i == width - 1)
        flush(start, width - start, s[start]);
    }
  }
  return out;
}

struct Load {
  int bits, width, height;
};

// Every screen on random pages against the run walk with the bank, masks and
// geometry as the last load left them; pages 32 or 64 wide end runs past the
// output row.
void expect_run_walks(Load load, std::mt19937& gen, int pages) {
  const std::uint32_t row_bytes = load.width * load.bits / 8;
  auto* bank = &stores().TonePatternBank[0][0][0];
  const std::size_t size = sizeof stores().TonePatternBank;
  const std::uint32_t w = load.width, h = load.height;
  const Walk geometry{bank, size, 8192, 32, w, h, row_bytes, 8, load.bits},
      fixed{bank, size, 8192, 32, 256, 256, 32, 8, load.bits},
      fixed2{&stores().TonePatternBank2[0][0][0],
             sizeof stores().TonePatternBank2,
             16384,
             64,
             256,
             256,
             64,
             4,
             load.bits};
  for (int i = 0; i < pages; ++i) {
    Page page = i % 4 == 0 ? random_page(gen, 32u << gen() % 2, 256) : random_page(gen);
    if (i % 8 == 1) page = {64, 256, 1, make_source(64, 256, 1, Fill::Flat, 0, 255)};
    SCOPED_TRACE(std::to_string(load.width) + " " + std::to_string(page.width) + "x" +
                 std::to_string(page.height) + "x" + std::to_string(page.planes));
    EXPECT_EQ(screen(Sonicksure, page), run_walk(geometry, page));
    EXPECT_EQ(screen(MutexWindow, page), run_walk(fixed, page));
    EXPECT_EQ(screen(MutexWindow_Bak, page, 1, gen() % 4), run_walk(fixed, page));
    EXPECT_EQ(screen(TextDownload, page, 2), run_walk(fixed2, page));
  }
}

TEST(PatternScreens, FollowTheRunWalkAfterEitherLoader) {
  DataFolder folder;
  std::mt19937 gen(11);
  for (Load load : {Load{1, 64, 64},
                    {1, 24, 5},
                    {1, 256, 256},
                    {1, 12, 7},
                    {1, 255, 2},
                    {2, 256, 256},
                    {2, 200, 256},
                    {2, 100, 3}}) {
    for (auto& b : std::span(&stores().TonePatternBank[0][0][0], sizeof stores().TonePatternBank))
      b = gen() & 255;
    for (auto& b : std::span(&stores().TonePatternBank2[0][0][0], sizeof stores().TonePatternBank2))
      b = gen() & 255;
    folder.write("pat", random_bytes(256u * load.height * (load.width * load.bits / 8), gen()));
    ASSERT_EQ((load.bits == 1 ? KaiDuaning : NingJing)("pat", load.width, load.height), 0);
    expect_run_walks(load, gen, 40);
  }
}

// Banks made from threshold cells, as pattern banks usually are: grey g gets
// at each cell the count of the cell's thresholds above it. Such banks are
// compared and packed rather than walked, to the same bytes.
TEST(PatternScreens, ThresholdBanksFollowTheRunWalk) {
  DataFolder folder;
  std::mt19937 gen(5);
  enum Cells { Plain, InkedAtWhite, Grows };
  struct Case {
    Load load;
    Cells cells;
    bool usable;  // read as thresholds
  };
  for (Case c : {Case{{1, 64, 64}, Plain, true},
                 {{1, 8, 8}, Plain, true},
                 {{1, 256, 256}, Plain, true},
                 {{1, 16, 3}, Plain, true},
                 {{1, 24, 5}, Plain, true},  // a width the screens do not compare
                 {{1, 256, 256}, InkedAtWhite, true},
                 {{1, 64, 64}, InkedAtWhite, false},  // the empty storage beyond: never inked
                 {{1, 64, 64}, Grows, false},
                 {{2, 256, 256}, Plain, true},
                 {{2, 64, 64}, Plain, true},
                 {{2, 256, 256}, InkedAtWhite, true},  // the white pattern cleared
                 {{2, 64, 64}, Grows, false}}) {
    const auto [bits, w, h] = c.load;
    SCOPED_TRACE(std::to_string(bits) + " bits, " + std::to_string(w) + "x" + std::to_string(h) +
                 " cells " + std::to_string(c.cells));
    std::memset(stores().TonePatternBank, 0, sizeof stores().TonePatternBank);
    std::memset(stores().TonePatternBank2, 0, sizeof stores().TonePatternBank2);
    const int levels = bits == 1 ? 1 : 3;
    const int low = c.cells == InkedAtWhite ? 1 : 0;  // thresholds from low to low + 255
    std::vector<std::array<int, 3>> cells(std::size_t(w) * h);
    for (auto& t : cells) {
      for (int k = 0; k < levels; ++k) t[k] = low + int(gen() % 256);
      std::sort(t.begin(), t.begin() + levels, std::greater<>());
    }
    // Grows: one cell never inked but at grey 254.
    if (c.cells == Grows) cells[w + 3] = {0, 0, 0};
    const int per_byte = 8 / bits;
    Bytes file(256u * h * (w / per_byte), 0);
    for (int n = 0, at = 0; n < 256; ++n)
      for (int i = 0; i < w * h; ++i, at += bits) {
        int code = 0;
        for (int k = 0; k < levels; ++k) code += 255 - n < cells[i][k];
        if (c.cells == Grows && n == 1 && i == w + 3) code = (1 << bits) - 1;
        file[at / 8] |= static_cast<unsigned char>(code << (8 - bits - at % 8));
      }
    folder.write("pat", file);
    ASSERT_EQ((bits == 1 ? KaiDuaning : NingJing)("pat", w, h), 0);
    auto const& limits = stores();
    EXPECT_EQ(bits == 1 ? limits.PatternLimits1.usable : limits.PatternLimits2.usable, c.usable);
    expect_run_walks(c.load, gen, 24);
  }
}

TEST(PatternScreens, HandWorkedRows) {
  DataFolder folder;
  Bytes file(256 * 8, 0);  // 8 x 8 patterns, all ones for greys 10 and 200
  for (int grey : {10, 200}) std::fill_n(file.begin() + (255 - grey) * 8, 8, 0xFF);
  folder.write("p8", file);
  ASSERT_EQ(KaiDuaning("p8", 8, 8), 0);
  for (auto [row, expected] : {std::pair<Bytes, int>{{10, 10, 10, 200}, 0xE0},
                               {{10, 10, 200, 200}, 0xF0},
                               {{200}, 0},
                               {{10, 0, 10, 10}, 0xB0}}) {
    Page page{static_cast<std::uint32_t>(row.size()), 1, 1, row};
    page.source.resize(4);
    EXPECT_EQ(screen(Sonicksure, page)[0], expected);
  }
  Output out(16);  // no planes: nothing is written at all
  EXPECT_EQ(MutexWindow(file.data(), out.data(), 4, 4, make_control(0, 1)), 0);
  EXPECT_EQ(out.body(), Bytes(16, 0x5A));
  // Without a usable geometry Sonicksure only clears its output.
  Page page{40, 6, 2, make_source(40, 6, 2, Fill::Noise)};
  for (auto [w, h] : {std::pair{0, 0}, {4, 8}, {300, 8}, {-16, 8}}) {
    KaiDuaning("missing", w, h);
    EXPECT_EQ(screen(Sonicksure, page), Bytes(dot_stride(40) * 12, 0)) << w << "x" << h;
  }
}

}  // namespace
}  // namespace halftone::test
