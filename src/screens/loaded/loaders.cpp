// The screen data loaders: pattern banks, BMP threshold matrices and text
// threshold blocks, read from the Moths folder into the fixed stores.
#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "frame/layout.h"
#include "frame/state.h"
#include "halftone/result_codes.h"
#include "screens/loaded/screens.h"

namespace halftone::loaded {
namespace {

struct CloseFile {
  void operator()(std::FILE* f) const { std::fclose(f); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// A null path, or one that names a folder, cannot be opened.
File open_data_file(char const* path) {
  if (path == nullptr) return nullptr;
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored)) return nullptr;
  return File(std::fopen(path, "rb"));
}

// A pattern file's layout in its bank.
struct PatternBank {
  std::uint8_t* slots;  // slot 0, row 0
  std::size_t slot_pitch;
  std::size_t row_pitch;
  std::uint32_t bits;  // bits a pixel
  RunMasks masks;
};

PatternBank one_bit_bank() {
  LoadedStores& s = stores();
  return {&s.TonePatternBank[0][0][0], sizeof s.TonePatternBank[0], sizeof s.TonePatternBank[0][0],
          1, kRunMasks1};
}
PatternBank two_bit_bank() {
  LoadedStores& s = stores();
  return {&s.TonePatternBank2[0][0][0], sizeof s.TonePatternBank2[0],
          sizeof s.TonePatternBank2[0][0], 2, kRunMasks2};
}

// The file lists 256 images from grey 255 down to grey 0, each `height` rows
// of row-bytes bytes. The masks and the geometry change before the file is
// even opened. The two-bit bank afterwards clears a fixed byte count from the
// start of the white slot: row bytes x height bytes at a 64-byte row pitch,
// so only the first (row bytes x height) / 64 storage rows when the rows are
// shorter than 64 bytes.
int load_patterns(PatternBank const& bank, char const* path, std::int32_t width,
                  std::int32_t height, bool clear_white) {
  std::memcpy(stores().RunHeadMasks, bank.masks.head, sizeof stores().RunHeadMasks);
  std::memcpy(stores().RunTailMasks, bank.masks.tail, sizeof stores().RunTailMasks);
  // The 32-bit host's arithmetic: the product wraps, the division truncates.
  const std::int32_t row_bytes =
      static_cast<std::int32_t>(static_cast<std::uint32_t>(width) * bank.bits) / 8;
  stores().PatternGeometry = {width, height, row_bytes};

  File file = open_data_file(path);
  if (!file) return ERR_FILE_OPEN;
  // A pattern that does not fit the bank is refused before any slot changes.
  if (width < 0 || width > 256 || height < 0 || height > 256) return ERR_LOAD_FAULT;

  const std::size_t length = static_cast<std::size_t>(row_bytes);
  for (std::size_t n = 0; n < 256; ++n) {
    std::uint8_t* slot = bank.slots + (255 - n) * bank.slot_pitch;
    for (std::size_t r = 0; r < static_cast<std::size_t>(height); ++r)
      // One element of row-bytes bytes; an empty row counts as a failed read.
      if (std::fread(slot + r * bank.row_pitch, length, 1, file.get()) != 1) return ERR_FILE_READ;
  }
  if (clear_white) std::memset(bank.slots + 255 * bank.slot_pitch, 0, length * height);
  return 0;
}

// Reads one BMP row of `width` bytes: the first 256 go to `row` (or nowhere
// when the row lies outside the matrix), the rest are read and dropped.
// False on a short read; the bytes read so far stay in the row.
bool read_bmp_row(std::FILE* file, std::uint8_t* row, std::int32_t width) {
  if (width < 0) return false;
  std::uint8_t scratch[256];
  std::uint32_t left = static_cast<std::uint32_t>(width);
  std::uint8_t* into = row ? row : scratch;
  while (left != 0) {
    const std::size_t piece = std::min<std::uint32_t>(left, 256);
    if (std::fread(into, 1, piece, file) != piece) return false;
    left -= static_cast<std::uint32_t>(piece);
    into = scratch;
  }
  return true;
}

std::uint32_t le32(std::uint8_t const* p) {
  return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
         static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

// Rows are stored bottom-up, `width` bytes each with no row padding skipped.
// Returns the load's code; `complete` says whether every row was read.
int load_bmp(char const* path, bool& complete) {
  complete = false;
  File file = open_data_file(path);
  if (!file) return ERR_FILE_OPEN;
  std::uint8_t file_header[14];
  std::uint8_t info_header[40];
  if (std::fread(file_header, sizeof file_header, 1, file.get()) != 1) return ERR_FILE_READ;
  if (std::fread(info_header, sizeof info_header, 1, file.get()) != 1) return ERR_FILE_READ;
  const std::uint32_t offset = le32(file_header + 10);
  const auto width = static_cast<std::int32_t>(le32(info_header + 4));
  const auto height = static_cast<std::int32_t>(le32(info_header + 8));

  // An offset the stream cannot reach reads no rows: a short read.
  bool reachable = true;
  if constexpr (sizeof(long) < 8) reachable = offset <= static_cast<std::uint32_t>(LONG_MAX);
  const bool placed = reachable && std::fseek(file.get(), static_cast<long>(offset), SEEK_SET) == 0;
  // Rows of no bytes read nothing and store nothing.
  if (width != 0)
    for (std::int32_t i = 0; i < height; ++i) {
      const std::int32_t y = height - 1 - i;
      if (!placed ||
          !read_bmp_row(file.get(), y < 256 ? stores().ThresholdMatrix8[y] : nullptr, width))
        return ERR_FILE_READ;
    }
  complete = true;
  return 0;
}

// The atoi rule (white space, an optional sign, digits up to the first other
// character), keeping the low 16 bits of the number as written.
std::int16_t token_value(char const* s, std::size_t n) {
  std::size_t i = 0;
  while (i < n && (s[i] == ' ' || (s[i] >= '\t' && s[i] <= '\r'))) ++i;
  bool negative = false;
  if (i < n && (s[i] == '+' || s[i] == '-')) negative = s[i++] == '-';
  std::uint32_t v = 0;
  for (; i < n && s[i] >= '0' && s[i] <= '9'; ++i)
    v = v * 10u + static_cast<std::uint32_t>(s[i] - '0');
  if (negative) v = 0u - v;
  return static_cast<std::int16_t>(static_cast<std::uint16_t>(v));
}

constexpr std::size_t kTokenLimit = 19;

}  // namespace

// Whatever the load came to, the slots read so far are in the bank, so the
// bank is read as thresholds afresh (a file not opened, or a pattern refused
// for its size, leaves the slots as they were).
int load_patterns1(char const* path, std::int32_t width, std::int32_t height) {
  const int code = load_patterns(one_bit_bank(), path, width, height, false);
  if (code == 0 || code == ERR_FILE_READ) derive_pattern_limits(1);
  return code;
}

int load_patterns2(char const* path, std::int32_t width, std::int32_t height) {
  const int code = load_patterns(two_bit_bank(), path, width, height, true);
  if (code == 0 || code == ERR_FILE_READ) derive_pattern_limits(2);
  return code;
}

int load_matrix_bmp(char const* path) {
  bool complete = false;
  return load_bmp(path, complete);
}

// After a complete read, every entry of the whole 256 x 256 matrix, loaded
// or not, becomes trunc((t - 127) x 0.4): -50 for 0, 0 for 127, 51 for 255.
int load_offset_bmp(char const* path) {
  bool complete = false;
  const int code = load_bmp(path, complete);
  if (complete)
    for (std::size_t y = 0; y < 256; ++y)
      for (std::size_t x = 0; x < 256; ++x) {
        const double scaled = static_cast<double>(stores().ThresholdMatrix8[y][x] - 127) * 0.4;
        stores().ThresholdOffsetMatrix[y][x] =
            static_cast<std::int16_t>(static_cast<std::int32_t>(scaled));
      }
  return code;
}

// Numbers separated by spaces and carriage returns; any other byte (line
// feeds included) belongs to a token. The file's last byte is never looked
// at, so a number needs a separator after it and one more byte. The n-th
// number goes to block n / 256, row (n / 16) mod 16, column n mod 16, stored
// column by column.
int load_blocks(char const* path) {
  File file = open_data_file(path);
  if (!file) return ERR_FILE_OPEN;
  if (std::fseek(file.get(), 0, SEEK_END) != 0) return ERR_FILE_READ;
  const long end = std::ftell(file.get());
  if (end < 0 || std::fseek(file.get(), 0, SEEK_SET) != 0) return ERR_FILE_READ;
  const auto size = static_cast<std::uint32_t>(static_cast<unsigned long>(end));
  std::vector<char> text;
  try {
    text.resize(static_cast<std::size_t>(size) + 1);
  } catch (std::bad_alloc const&) {
    return ERR_NO_MEMORY;
  }
  if (std::fread(text.data(), 1, size, file.get()) != size) return ERR_FILE_READ;
  file.reset();

  std::fill(std::begin(stores().ThresholdBlockStack), std::end(stores().ThresholdBlockStack),
            std::int16_t{0});
  std::size_t count = 0;
  std::size_t start = 0;
  std::size_t length = 0;
  for (std::size_t i = 0; i + 1 < size; ++i) {
    const char c = text[i];
    if (c != ' ' && c != '\r') {
      if (length++ == 0) start = i;
      continue;
    }
    if (length == 0) continue;
    if (count < std::size(stores().ThresholdBlockStack)) {
      const std::size_t slot = count / 256 * 256 + count % 16 * 16 + count / 16 % 16;
      stores().ThresholdBlockStack[slot] =
          token_value(text.data() + start, std::min(length, kTokenLimit));
    }
    ++count;
    length = 0;
  }
  return 0;
}

}  // namespace halftone::loaded
