// The screen data loaders: reading rules, stores they fill, and bad input.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "halftone/loaded.h"
#include "loaded/support.h"
#include "screens/loaded/screens.h"
#include "screens/loaded/stores.h"

namespace halftone::test {
namespace {

constexpr unsigned char kHead1[8] = {0xFF, 0x7F, 0x3F, 0x1F, 0x0F, 0x07, 0x03, 0x01};
constexpr unsigned char kHead2[8] = {0xFF, 0x3F, 0x0F, 0x03, 0, 0, 0, 0};

TEST(PatternLoaders, OneBitFileFillsSlotsFromWhiteDown) {
  DataFolder folder;
  const Bytes file = random_bytes(131072, 3);  // 256 images of 64 rows of 8 bytes
  folder.write("p64", file);
  ASSERT_EQ(KaiDuaning("p64", 64, 64), 0);
  EXPECT_EQ(PatternGeometry.width, 64);
  EXPECT_EQ(PatternGeometry.height, 64);
  EXPECT_EQ(PatternGeometry.row_bytes, 8);
  EXPECT_EQ(0, std::memcmp(RunHeadMasks, kHead1, 8));
  for (int n = 0; n < 256; n += 85)
    for (int r = 0; r < 64; ++r)
      ASSERT_EQ(0, std::memcmp(TonePatternBank[255 - n][r], &file[(n * 64 + r) * 8], 8));
}

TEST(PatternLoaders, ResultCodesAndWhatTheyLeaveBehind) {
  DataFolder folder;
  const Bytes file = random_bytes(131072, 4);
  folder.write("p64", file);
  folder.write("short", Bytes(file.begin(), file.end() - 1));
  std::memset(TonePatternBank, 0xEE, sizeof TonePatternBank);
  struct Case {
    char const* name;
    int width, height, code, geometry_bytes;
    bool slots_untouched;
  };
  const Case cases[] = {
      {"missing", 64, 64, ERR_FILE_OPEN, 8, true},   {"", 64, 64, ERR_FILE_OPEN, 8, true},
      {"p64", 4, 64, ERR_FILE_READ, 0, true},        {"p64", 0, 0, 0, 0, true},
      {"p64", 300, 64, ERR_LOAD_FAULT, 37, true},    {"p64", 64, 257, ERR_LOAD_FAULT, 8, true},
      {"p64", 64, -1, ERR_LOAD_FAULT, 8, true},      {"p64", -8, 64, ERR_LOAD_FAULT, -1, true},
      {"missing", 300, 64, ERR_FILE_OPEN, 37, true}, {"short", 64, 64, ERR_FILE_READ, 8, false},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(std::string(c.name) + " " + std::to_string(c.width) + "x" +
                 std::to_string(c.height));
    std::memset(RunHeadMasks, 0, 8);
    EXPECT_EQ(KaiDuaning(c.name, c.width, c.height), c.code);
    EXPECT_EQ(PatternGeometry.width, c.width);
    EXPECT_EQ(PatternGeometry.height, c.height);
    EXPECT_EQ(PatternGeometry.row_bytes, c.geometry_bytes);
    EXPECT_EQ(0, std::memcmp(RunHeadMasks, kHead1, 8));
    EXPECT_EQ(TonePatternBank[0][0][0] == 0xEE, c.slots_untouched);
  }
  // The short file: every slot but the last image's final row read in full.
  EXPECT_EQ(0, std::memcmp(TonePatternBank[1][63], &file[(254 * 64 + 63) * 8], 8));
  EXPECT_EQ(0, std::memcmp(TonePatternBank[0][62], &file[(255 * 64 + 62) * 8], 8));
}

TEST(PatternLoaders, TwoBitLoadClearsAFixedByteCountOfTheWhiteSlot) {
  DataFolder folder;
  const Bytes file = random_bytes(256 * 64 * 16, 5);  // 64 x 64, 16 bytes a row
  folder.write("p2", file);
  std::memset(TonePatternBank2, 0xEE, sizeof TonePatternBank2);
  ASSERT_EQ(NingJing("p2", 64, 64), 0);
  EXPECT_EQ(PatternGeometry.row_bytes, 16);
  EXPECT_EQ(0, std::memcmp(RunHeadMasks, kHead2, 8));
  // 16 x 64 bytes cleared at a 64-byte pitch: storage rows 0..15, all 64 bytes.
  for (int r = 0; r < 16; ++r)
    for (int b = 0; b < 64; ++b) ASSERT_EQ(TonePatternBank2[255][r][b], 0) << r << " " << b;
  for (int r = 16; r < 64; ++r) {
    ASSERT_EQ(0, std::memcmp(TonePatternBank2[255][r], &file[r * 16], 16));
    ASSERT_EQ(TonePatternBank2[255][r][16], 0xEE);
  }
  EXPECT_EQ(0, std::memcmp(TonePatternBank2[254][0], &file[64 * 16], 16));
  EXPECT_EQ(NingJing("p2", 257, 64), ERR_LOAD_FAULT);
  EXPECT_EQ(PatternGeometry.row_bytes, 64);
  EXPECT_EQ(TonePatternBank2[254][0][0], file[64 * 16]);
}

// A BMP's rows go bottom-up, `width` bytes each with the file's padding read
// as pixels; rows past 256 and bytes past 256 are read and dropped.
TEST(BmpLoaders, RowsBottomUpWithoutPaddingAndClippedToTheMatrix) {
  DataFolder folder;
  struct Case {
    std::int32_t width, height;
  };
  for (Case c : {Case{10, 3}, Case{256, 256}, Case{300, 2}, Case{4, 300}, Case{7, 1}}) {
    SCOPED_TRACE(std::to_string(c.width) + "x" + std::to_string(c.height));
    const Bytes pixels = random_bytes(static_cast<std::size_t>(c.width) * c.height, c.width);
    folder.write("m.bmp", make_bmp(c.width, c.height, pixels));
    std::memset(ThresholdMatrix8, 0xEE, sizeof ThresholdMatrix8);
    EXPECT_EQ(loaded::load_matrix_bmp("m.bmp"), 0);
    for (std::int32_t y = 0; y < 256; ++y)
      for (std::int32_t x = 0; x < 256; ++x) {
        const std::int32_t i = c.height - 1 - y;  // file row
        const bool loaded = y < c.height && x < c.width;
        ASSERT_EQ(ThresholdMatrix8[y][x], loaded ? pixels[i * c.width + x] : 0xEE) << y << "," << x;
      }
  }
}

TEST(BmpLoaders, FailuresKeepWhatWasReadAndReturnZero) {
  DataFolder folder;
  const Bytes whole = make_bmp(8, 4, random_bytes(32, 9));
  folder.write("truncated_header", Bytes(whole.begin(), whole.begin() + 40));
  folder.write("short_rows", Bytes(whole.begin(), whole.end() - 13));  // 2 rows + 3 bytes
  folder.write("negative_width", make_bmp(-8, 4, random_bytes(32, 9)));
  folder.write("negative_height", make_bmp(8, -4, random_bytes(32, 9)));
  struct Case {
    char const* name;
    int code;
    int rows_changed;
  };
  const Case cases[] = {{"missing", ERR_FILE_OPEN, 0},
                        {"truncated_header", ERR_FILE_READ, 0},
                        {"short_rows", ERR_FILE_READ, 3},
                        {"negative_width", ERR_FILE_READ, 0},
                        {"negative_height", 0, 0}};
  for (Case const& c : cases) {
    SCOPED_TRACE(c.name);
    std::memset(ThresholdMatrix8, 0xEE, sizeof ThresholdMatrix8);
    std::memset(ThresholdOffsetMatrix, 0x11, sizeof ThresholdOffsetMatrix);
    EXPECT_EQ(PuaningFa(c.name, 0, 0), 0);
    EXPECT_EQ(PuaningFa13(c.name, 0, 0), 0);
    EXPECT_EQ(loaded::load_offset_bmp(c.name), c.code);
    for (int y = 0; y < 4; ++y)
      EXPECT_EQ(ThresholdMatrix8[y][0] != 0xEE, y >= 4 - c.rows_changed) << y;
    // Offsets are derived only after a complete read.
    EXPECT_EQ(ThresholdOffsetMatrix[0][0] == 0x1111, c.code != 0);
  }
  // The partial third row keeps the three bytes that were read: a row
  // takes 8 bytes, so they are bytes 0..2 of the file's row 2.
  std::memset(ThresholdMatrix8, 0xEE, sizeof ThresholdMatrix8);
  EXPECT_EQ(loaded::load_matrix_bmp("short_rows"), ERR_FILE_READ);
  EXPECT_EQ(ThresholdMatrix8[1][2], whole[54 + 1024 + 18]);
  EXPECT_EQ(ThresholdMatrix8[1][3], 0xEE);
}

TEST(BmpLoaders, OffsetsCoverTheWholeMatrix) {
  DataFolder folder;
  folder.write("zero.bmp", make_bmp(256, 256, Bytes(65536, 0)));
  folder.write("grey.bmp", make_bmp(8, 8, Bytes(64, 127)));
  Bytes ramp(65536);
  for (std::size_t i = 0; i < ramp.size(); ++i)
    ramp[i] = static_cast<unsigned char>(i * 7 + i / 256);
  folder.write("ramp.bmp", make_bmp(256, 256, ramp));
  EXPECT_EQ(PuaningFa("zero.bmp", 0, 0), 0);
  EXPECT_EQ(PuaningFa13("grey.bmp", 0, 0), 0);
  for (int y = 0; y < 256; ++y)
    for (int x = 0; x < 256; ++x) ASSERT_EQ(ThresholdOffsetMatrix[y][x], y < 8 && x < 8 ? 0 : -50);
  EXPECT_EQ(PuaningFa13("ramp.bmp", 0, 0), 0);
  for (int y = 0; y < 256; ++y)
    for (int x = 0; x < 256; ++x) {
      const int t = ThresholdMatrix8[y][x];
      ASSERT_EQ(ThresholdOffsetMatrix[y][x], static_cast<int>((t - 127) * 0.4));
    }
  EXPECT_EQ(ThresholdOffsetMatrix[0][0], 51 * (ThresholdMatrix8[0][0] == 255));
}

// Block k, column c, row r is entry k * 256 + c * 16 + r; numbers fill
// columns first.
TEST(BlockLoader, Tokenizer) {
  DataFolder folder;
  struct Case {
    char const* text;
    std::vector<std::pair<int, int>> entries;  // index, value
  };
  const Case cases[] = {
      {"1 2 3", {{0, 1}, {16, 2}, {32, 0}}},
      {"1 2 3\r\n", {{0, 1}, {16, 2}, {32, 3}}},
      {"1 2\n3 4\n", {{0, 1}, {16, 2}, {32, 0}}},  // "2\n3" is one token
      {"1\r\n2 x", {{0, 1}, {16, 2}}},             // a leading line feed is skipped
      {"  -5   70000\r\r+9 12345678901234567890123 .",
       {{0, -5},
        {16, 4464},
        {32, 9},
        {48, static_cast<std::int16_t>(1234567890123456789ull & 0xFFFF)}}},
      {"a,7 3x 0 ", {{0, 0}, {16, 3}, {32, 0}}},
      {"", {{0, 0}}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.text);
    folder.write("blocks.txt", std::string(c.text));
    std::fill(std::begin(ThresholdBlockStack), std::end(ThresholdBlockStack), std::int16_t{77});
    EXPECT_EQ(NiceMents("blocks.txt", 0, 0), 0);
    for (auto [index, value] : c.entries) EXPECT_EQ(ThresholdBlockStack[index], value) << index;
    EXPECT_EQ(ThresholdBlockStack[65535], 0);
  }
}

TEST(BlockLoader, PositionsAndOverflow) {
  DataFolder folder;
  std::string text;
  for (int n = 0; n < 65536 + 20; ++n) text += std::to_string(n % 30000) + " ";
  folder.write("many.txt", text + "x");
  EXPECT_EQ(loaded::load_blocks("many.txt"), 0);
  for (int n : {0, 15, 16, 255, 256, 4097, 65535}) {
    const int slot = n / 256 * 256 + n % 16 * 16 + n / 16 % 16;
    EXPECT_EQ(ThresholdBlockStack[slot], n % 30000) << n;
  }
  ThresholdBlockStack[5] = 99;
  EXPECT_EQ(loaded::load_blocks("missing.txt"), ERR_FILE_OPEN);
  EXPECT_EQ(NiceMents("missing.txt", 0, 0), 0);
  EXPECT_EQ(ThresholdBlockStack[5], 99);
  EXPECT_EQ(PuaningFaAM("many.txt", 1, 2), 0);
  EXPECT_EQ(ThresholdBlockStack[5], 99);
}

}  // namespace
}  // namespace halftone::test
