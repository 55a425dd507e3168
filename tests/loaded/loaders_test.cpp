// The screen data loaders: reading rules, stores they fill, and bad input.
#include <gtest/gtest.h>

#include <cstring>

#include "frame/data_folder.h"
#include "frame/state.h"
#include "halftone/loaded.h"
#include "loaded/support.h"
#include "screens/loaded/screens.h"

namespace halftone::test {
namespace {

constexpr unsigned char kHead1[8] = {0xFF, 0x7F, 0x3F, 0x1F, 0x0F, 0x07, 0x03, 0x01};

// Image n of the file (64 rows of 8 bytes) goes to slot 255 - n; a load
// rewrites masks and geometry whatever its result.
TEST(PatternLoaders, ResultCodesAndWhatTheyLeaveBehind) {
  DataFolder folder;
  const Bytes file = random_bytes(131072, 4);
  folder.write("p64", file);
  folder.write("short", Bytes(file.begin(), file.end() - 1));
  std::memset(stores().TonePatternBank, 0xEE, sizeof stores().TonePatternBank);
  struct Case {
    char const* name;
    int width, height, code, row_bytes;
    bool slots_untouched;
  };
  for (Case c : {Case{"missing", 64, 64, ERR_FILE_OPEN, 8, true},
                 {"p64", 4, 64, ERR_FILE_READ, 0, true},
                 {"p64", 0, 0, 0, 0, true},
                 {"p64", 300, 64, ERR_LOAD_FAULT, 37, true},
                 {"p64", 64, 257, ERR_LOAD_FAULT, 8, true},
                 {"p64", -8, 64, ERR_LOAD_FAULT, -1, true},
                 {"short", 64, 64, ERR_FILE_READ, 8, false},
                 {"p64", 64, 64, 0, 8, false}}) {
    SCOPED_TRACE(testing::Message() << c.name << " " << c.width << "x" << c.height);
    std::memset(stores().RunHeadMasks, 0, 8);
    EXPECT_EQ(KaiDuaning(c.name, c.width, c.height), c.code);
    EXPECT_EQ(stores().PatternGeometry.width, c.width);
    EXPECT_EQ(stores().PatternGeometry.height, c.height);
    EXPECT_EQ(stores().PatternGeometry.row_bytes, c.row_bytes);
    EXPECT_EQ(0, std::memcmp(stores().RunHeadMasks, kHead1, 8));
    EXPECT_EQ(stores().TonePatternBank[0][0][0] == 0xEE, c.slots_untouched);
    // The short file: every slot but the last image's final row read in full.
    const int last = c.code == 0 ? 64 : 63;
    for (int n = 0; n < 256 && !c.slots_untouched; n += 85)
      for (int r = 0; r < (n == 255 ? last : 64); ++r)
        ASSERT_EQ(0, std::memcmp(stores().TonePatternBank[255 - n][r], &file[(n * 64 + r) * 8], 8));
  }
}

// A BMP's rows go bottom-up, `width` bytes each with the file's padding read
// as pixels; rows past 256 and bytes past 256 are read and dropped.
TEST(BmpLoaders, RowsBottomUpWithoutPaddingAndClippedToTheMatrix) {
  DataFolder folder;
  for (auto [w, h] : {std::pair{10, 3}, {300, 2}, {4, 300}}) {
    const Bytes pixels = random_bytes(std::size_t(w) * h, w);
    folder.write("m.bmp", make_bmp(w, h, pixels));
    std::memset(stores().ThresholdMatrix8, 0xEE, sizeof stores().ThresholdMatrix8);
    EXPECT_EQ(loaded::load_matrix_bmp(moths_path("m.bmp").c_str()), 0);
    for (int y = 0; y < 256; ++y)
      for (int x = 0; x < 256; ++x)
        ASSERT_EQ(stores().ThresholdMatrix8[y][x],
                  y < h && x < w ? pixels[(h - 1 - y) * w + x] : 0xEE)
            << w << "x" << h << " at " << y << "," << x;
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
    int code, rows_changed;
  };
  for (Case c : {Case{"missing", ERR_FILE_OPEN, 0},
                 {"truncated_header", ERR_FILE_READ, 0},
                 {"negative_width", ERR_FILE_READ, 0},
                 {"negative_height", 0, 0},
                 {"short_rows", ERR_FILE_READ, 3}}) {
    SCOPED_TRACE(c.name);
    std::memset(stores().ThresholdMatrix8, 0xEE, sizeof stores().ThresholdMatrix8);
    std::memset(stores().ThresholdOffsetMatrix, 0x11, sizeof stores().ThresholdOffsetMatrix);
    EXPECT_EQ(PuaningFa(c.name, 0, 0), 0);
    EXPECT_EQ(PuaningFa13(c.name, 0, 0), 0);
    EXPECT_EQ(loaded::load_offset_bmp(moths_path(c.name).c_str()), c.code);
    for (int y = 0; y < 4; ++y)
      EXPECT_EQ(stores().ThresholdMatrix8[y][0] != 0xEE, y >= 4 - c.rows_changed);
    EXPECT_EQ(stores().ThresholdOffsetMatrix[0][0] == 0x1111,
              c.code != 0);  // only after a complete read
  }
  // The partial third row keeps bytes 0..2 of the file's row 2.
  EXPECT_EQ(stores().ThresholdMatrix8[1][2], whole[54 + 1024 + 18]);
  EXPECT_EQ(stores().ThresholdMatrix8[1][3], 0xEE);
}

// Offsets cover the whole matrix, loaded or not.
TEST(BmpLoaders, OffsetsCoverTheWholeMatrix) {
  DataFolder folder;
  folder.write("zero.bmp", make_bmp(256, 256, Bytes(65536, 0)));
  folder.write("grey.bmp", make_bmp(8, 8, Bytes(64, 127)));
  EXPECT_EQ(PuaningFa("zero.bmp", 0, 0), 0);
  EXPECT_EQ(PuaningFa13("grey.bmp", 0, 0), 0);
  for (int y = 0; y < 256; ++y)
    for (int x = 0; x < 256; ++x)
      ASSERT_EQ(stores().ThresholdOffsetMatrix[y][x], y < 8 && x < 8 ? 0 : -50);
}

// Numbers fill block n / 256 column by column; spaces and carriage returns
// separate them, and the file's last byte is never looked at.
TEST(BlockLoader, TokensAndPositions) {
  DataFolder folder;
  std::string many;
  for (int n = 0; n < 65536 + 20; ++n) many += std::to_string(n % 30000) + " ";
  struct Case {
    std::string text;
    std::vector<std::pair<int, int>> entries;  // index, value
  };
  const Case cases[] = {
      {"1 2 3", {{0, 1}, {16, 2}, {32, 0}}},
      {"1 2\n3 4\n", {{0, 1}, {16, 2}, {32, 0}}},  // "2\n3" is one token
      {"1\r\n2 x", {{0, 1}, {16, 2}}},             // a leading line feed is skipped
      {"  -5   70000\r\r+9 12345678901234567890123 .",
       {{0, -5}, {16, 4464}, {32, 9}, {48, static_cast<std::int16_t>(1234567890123456789ull)}}},
      {"", {{0, 0}, {65535, 0}}},
      {many + "x",
       {{0, 0}, {15, 240}, {16, 1}, {255, 255}, {256, 256}, {4097, 4112}, {65535, 65535 % 30000}}},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.text.substr(0, 40));
    folder.write("blocks.txt", Bytes(c.text.begin(), c.text.end()));
    std::fill(std::begin(stores().ThresholdBlockStack), std::end(stores().ThresholdBlockStack),
              std::int16_t{77});
    EXPECT_EQ(NiceMents("blocks.txt", 0, 0), 0);
    for (auto [index, value] : c.entries)
      EXPECT_EQ(stores().ThresholdBlockStack[index], value) << index;
  }
  stores().ThresholdBlockStack[5] = 99;  // neither a missing file nor PuaningFaAM changes it
  EXPECT_EQ(loaded::load_blocks(moths_path("missing.txt").c_str()), ERR_FILE_OPEN);
  EXPECT_EQ(NiceMents("missing.txt", 0, 0), 0);
  EXPECT_EQ(PuaningFaAM("blocks.txt", 1, 2), 0);
  EXPECT_EQ(stores().ThresholdBlockStack[5], 99);
}

}  // namespace
}  // namespace halftone::test
