#include "exports/data_checks.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>
#include <vector>

#include "halftone/c_api.h"

namespace halftone {
namespace {

constexpr std::uintmax_t kLargestDataFile = 64u << 20;

// The whole file, or a code and a reason.
int read_whole(std::string const& path, char const* what, std::vector<unsigned char>& bytes,
               std::string& why) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    why = "cannot open " + std::string(what) + " " + path;
    return HALFTONE_ERR_FILE_OPEN;
  }
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  if (error || size > kLargestDataFile) {
    why = path + ": not a " + what + " (larger than any such file)";
    return HALFTONE_ERR_BAD_DATA;
  }
  std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) {
    why = "cannot open " + std::string(what) + " " + path;
    return HALFTONE_ERR_FILE_OPEN;
  }
  bytes.resize(static_cast<std::size_t>(size));
  if (size != 0 && std::fread(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) {
    why = "cannot read " + std::string(what) + " " + path;
    return HALFTONE_ERR_FILE_READ;
  }
  return HALFTONE_OK;
}

std::uint32_t little_endian(unsigned char const* p) {
  return p[0] | p[1] << 8 | p[2] << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

}  // namespace

int check_pattern_bank(std::string const& path, int width, int height, int bits, std::string& why) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    why = "cannot open pattern bank " + path;
    return HALFTONE_ERR_FILE_OPEN;
  }
  const std::uintmax_t have = std::filesystem::file_size(path, error);
  const std::uintmax_t need =
      256ull * static_cast<unsigned>(height) * static_cast<unsigned>(width * bits / 8);
  if (error || have != need) {
    why = path + " holds " + std::to_string(have) + " bytes; 256 patterns of " +
          std::to_string(width) + " x " + std::to_string(height) + " at " + std::to_string(bits) +
          " bit" + (bits == 1 ? "" : "s") + " a pixel take " + std::to_string(need) +
          " (is \"pattern-size\" the bank's own?)";
    return HALFTONE_ERR_BAD_DATA;
  }
  return HALFTONE_OK;
}

int check_bmp(std::string const& path, std::string& why) {
  std::vector<unsigned char> file;
  if (const int code = read_whole(path, "threshold matrix", file, why)) return code;
  if (file.size() < 54 || file[0] != 'B' || file[1] != 'M') {
    why = path + ": not a BMP file";
    return HALFTONE_ERR_BAD_DATA;
  }
  const std::uint32_t offset = little_endian(&file[10]);
  const auto width = static_cast<std::int32_t>(little_endian(&file[18]));
  const auto height = static_cast<std::int32_t>(little_endian(&file[22]));
  const unsigned bpp = file[28] | file[29] << 8;
  if (bpp != 8 || little_endian(&file[30]) != 0) {
    why = path + ": the threshold matrix must be an uncompressed 8-bit BMP";
    return HALFTONE_ERR_BAD_DATA;
  }
  if (width < 4 || width > 256 || width % 4 != 0 || height < 1 || height > 256) {
    why = path +
          ": the threshold matrix must be 4 to 256 pixels wide (a multiple of 4) and 1 to 256 "
          "rows high, stored bottom-up";
    return HALFTONE_ERR_BAD_DATA;
  }
  if (offset > file.size() ||
      file.size() - offset < static_cast<std::size_t>(width) * static_cast<std::size_t>(height)) {
    why = path + ": BMP pixel data is truncated";
    return HALFTONE_ERR_BAD_DATA;
  }
  return HALFTONE_OK;
}

int check_blocks(std::string const& path, std::string& why) {
  std::vector<unsigned char> file;
  if (const int code = read_whole(path, "threshold-block file", file, why)) return code;
  std::size_t numbers = 0;
  bool in_number = false;
  for (unsigned char c : file) {
    const bool digit = (c >= '0' && c <= '9') || c == '-' || c == '+';
    if (!digit && c != ' ' && c != '\r' && c != '\n' && c != '\t') {
      why =
          path + ": the threshold-block file holds a character other than numbers and white space";
      return HALFTONE_ERR_BAD_DATA;
    }
    if (digit && !in_number) ++numbers;
    in_number = digit;
  }
  if (numbers == 0 || numbers > 65536) {
    why = path + ": the threshold-block file must hold 1 to 65536 numbers";
    return HALFTONE_ERR_BAD_DATA;
  }
  if (file.size() < 2 || file[file.size() - 2] != '\r' || file.back() != '\n') {
    why = path + ": the threshold-block file must end with a CR LF line end";
    return HALFTONE_ERR_BAD_DATA;
  }
  return HALFTONE_OK;
}

int check_tone_file(std::string const& path, std::string& why) {
  std::error_code error;
  if (!std::filesystem::exists(path, error)) return HALFTONE_OK;
  const std::uintmax_t size = std::filesystem::file_size(path, error);
  if (error || size == 0 || size % 256 != 0 || size > 15 * 256) {
    why = path + ": a tone-curve file holds 1 to 15 curves of 256 bytes; this one has " +
          (error ? std::string("no readable size") : std::to_string(size) + " bytes");
    return HALFTONE_ERR_BAD_DATA;
  }
  return HALFTONE_OK;
}

}  // namespace halftone
