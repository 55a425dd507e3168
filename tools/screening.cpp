#include "screening.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "frame/data_folder.h"
#include "frame/layout.h"
#include "halftone/halftone.h"
#include "tool_error.h"

namespace halftone::tool {
namespace {

std::vector<unsigned char> read_file(std::string const& path, std::string const& what) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw ToolError("cannot open " + what + " " + path);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

// A bank of 256 patterns, the white one first, rows of width x bits / 8 bytes.
void check_pattern_bank(std::string const& path, Size size, int bits) {
  if (size.width % 8 != 0)
    throw ToolError("the pattern width must be a multiple of 8, not " + std::to_string(size.width));
  const std::uintmax_t need =
      256ull * static_cast<unsigned>(size.height) * static_cast<unsigned>(size.width * bits / 8);
  std::error_code error;
  const std::uintmax_t have = std::filesystem::file_size(path, error);
  if (error) throw ToolError("cannot open pattern bank " + path);
  if (have < need)
    throw ToolError(path + " holds " + std::to_string(have) + " bytes; 256 patterns of " +
                    std::to_string(size.width) + " x " + std::to_string(size.height) + " need " +
                    std::to_string(need));
}

std::uint32_t little_endian(unsigned char const* p) {
  return p[0] | p[1] << 8 | p[2] << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

// An uncompressed 8-bit BMP of at most 256 x 256, width a multiple of 4.
void check_bmp(std::string const& path, Size, int) {
  const std::vector<unsigned char> file = read_file(path, "threshold matrix");
  if (file.size() < 54 || file[0] != 'B' || file[1] != 'M')
    throw ToolError(path + ": not a BMP file");
  const std::uint32_t offset = little_endian(&file[10]);
  const auto width = static_cast<std::int32_t>(little_endian(&file[18]));
  const auto height = static_cast<std::int32_t>(little_endian(&file[22]));
  const unsigned bpp = file[28] | file[29] << 8;
  if (bpp != 8 || little_endian(&file[30]) != 0)
    throw ToolError(path + ": the threshold matrix must be an uncompressed 8-bit BMP");
  if (width < 4 || width > 256 || width % 4 != 0 || height < 1 || height > 256)
    throw ToolError(path + ": the threshold matrix must be 4 to 256 pixels wide (a multiple of 4)" +
                    " and 1 to 256 rows high, stored bottom-up");
  if (offset > file.size() || file.size() - offset < static_cast<std::size_t>(width) * height)
    throw ToolError(path + ": BMP pixel data is truncated");
}

// Decimal numbers separated by spaces or line ends, at most 256 blocks of 256.
void check_blocks(std::string const& path, Size, int) {
  const std::vector<unsigned char> file = read_file(path, "threshold-block file");
  std::size_t numbers = 0;
  bool in_number = false;
  for (unsigned char c : file) {
    const bool digit = (c >= '0' && c <= '9') || c == '-' || c == '+';
    if (!digit && c != ' ' && c != '\r' && c != '\n' && c != '\t')
      throw ToolError(path + ": the threshold-block file holds a character other than numbers" +
                      " and white space");
    if (digit && !in_number) ++numbers;
    in_number = digit;
  }
  if (numbers == 0 || numbers > 65536)
    throw ToolError(path + ": the threshold-block file must hold 1 to 65536 numbers");
  if (file.size() < 2 || file[file.size() - 2] != '\r' || file.back() != '\n')
    throw ToolError(path + ": the threshold-block file must end with a CR LF line end");
}

const DataKind kDataKinds[] = {
    {kNeedsPattern1, "pattern", "one-bit pattern bank", true, 1, KaiDuaning, check_pattern_bank},
    {kNeedsPattern2, "pattern2", "two-bit pattern bank", true, 2, NingJing, check_pattern_bank},
    {kNeedsMatrixBmp, "matrix", "8-bit BMP threshold matrix", false, 8, PuaningFa13, check_bmp},
    {kNeedsBlockStack, "blocks", "threshold-block text file", false, 0, NiceMents, check_blocks},
};

struct NeedName {
  unsigned need;
  char const* name;
};
const NeedName kNeedNames[] = {
    {kNeedsToneSetup, "tone"},   {kNeedsDitherMatrix, "dither-matrix"},
    {kNeedsPattern1, "pattern"}, {kNeedsPattern2, "pattern2"},
    {kNeedsMatrixBmp, "matrix"}, {kNeedsBlockStack, "blocks"},
};

}  // namespace

std::span<DataKind const> data_kinds() { return kDataKinds; }

std::string needs_text(unsigned needs) {
  std::string text;
  for (NeedName const& n : kNeedNames)
    if (needs & n.need) {
      if (!text.empty()) text += ',';
      text += n.name;
    }
  return text.empty() ? "-" : text;
}

Page page_from_image(Image const& stacked, std::uint32_t planes) {
  if (stacked.depth != 8) throw ToolError("the source must be a grey image");
  if (planes == 0 || stacked.height % planes != 0)
    throw ToolError("the image is " + std::to_string(stacked.height) + " rows high, not a" +
                    " whole number of " + std::to_string(planes) + " stacked planes");
  Page page;
  page.width = stacked.width;
  page.height = stacked.height / planes;
  page.planes = planes;
  const std::size_t stride = source_stride(page.width);
  page.bytes.assign(stride * page.height * planes, 255);
  for (std::uint32_t p = 0; p < planes; ++p)
    for (std::uint32_t y = 0; y < page.height; ++y)
      std::memcpy(page.bytes.data() + (static_cast<std::size_t>(y) * planes + p) * stride,
                  stacked.row(p * page.height + y), page.width);
  return page;
}

Screened screen_page(ScreenInfo const& info, Page& page, std::uint32_t band_height) {
  const bool whole_page = !info.banded || info.layout == Layout::Transposed;
  if (!info.banded && page.planes != 1)
    throw ToolError(std::string(info.name) + " screens a single plane; use --planes 1");
  Screened out;
  out.info = &info;
  out.planes = page.planes;
  const bool transposed = info.layout == Layout::Transposed;
  out.width = transposed ? page.height : page.width;
  out.height = transposed ? page.width : page.height;
  out.stride = output_stride(info, out.width);
  out.bytes.assign(static_cast<std::size_t>(out.stride) * out.height * out.planes, 0);

  const std::uint32_t rows_a_band = whole_page ? page.height : std::max(band_height, 1u);
  const auto start = std::chrono::steady_clock::now();
  if (whole_page)
    info.run(page.bytes.data(), out.bytes.data(), page.width, page.height,
             make_control(page.planes, 1));
  else
    screen_in_bands(info.run, page.bytes.data(), out.bytes.data(), page.width, page.height,
                    page.planes, rows_a_band, static_cast<unsigned>(info.bits));
  out.bands = page.height == 0 ? 0 : (page.height + rows_a_band - 1) / rows_a_band;
  out.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return out;
}

Image render(Screened const& s) {
  const std::uint32_t image_height = s.height * s.planes;
  const int bits = s.info->bits;
  Image image =
      bits == 1 ? Image::bilevel(s.width, image_height) : Image::grey(s.width, image_height);
  const unsigned top_code = bits == 2 ? 3u : 7u;  // four or eight dot-size codes
  for (std::uint32_t p = 0; p < s.planes; ++p)
    for (std::uint32_t y = 0; y < s.height; ++y) {
      unsigned char const* dots =
          s.bytes.data() + (static_cast<std::size_t>(y) * s.planes + p) * s.stride;
      unsigned char* row = image.row(p * s.height + y);
      if (bits == 1) {
        std::memcpy(row, dots, image.row_bytes());
        if (s.width % 8 != 0)
          row[image.row_bytes() - 1] &= static_cast<unsigned char>(0xFF00u >> (s.width % 8));
        continue;
      }
      const unsigned per_byte = 8u / static_cast<unsigned>(bits);
      const unsigned mask = (1u << bits) - 1u;
      for (std::uint32_t x = 0; x < s.width; ++x) {
        const unsigned shift = (per_byte - 1u - x % per_byte) * static_cast<unsigned>(bits);
        const unsigned code = std::min((dots[x / per_byte] >> shift) & mask, top_code);
        row[x] = static_cast<unsigned char>(255u - code * 255u / top_code);
      }
    }
  return image;
}

void prepare(ScreenInfo const& info, Setup const& setup) {
  if (setup.data_folder) set_data_folder(setup.data_folder->c_str());
  if (setup.seed_time) pin_seed_time(*setup.seed_time);
  if ((info.needs & kNeedsToneSetup) || setup.mode || setup.parameters)
    Itsdiufiavs(setup.mode.value_or(0), setup.parameters.value_or("").c_str());
  if (info.needs & kNeedsDitherMatrix) SincesKai();
  for (DataKind const& kind : kDataKinds) {
    if (!(info.needs & kind.need)) continue;  // pattern loaders share state: load only these
    auto file = setup.files.find(kind.need);
    if (file == setup.files.end())
      throw ToolError(std::string(info.name) + " needs a " + kind.what + ": give --" + kind.option +
                      " FILE (a file in the data folder's Moths/)");
    const std::string path = moths_path(file->second.c_str());
    if (!std::filesystem::is_regular_file(path)) throw ToolError("cannot open " + path);
    kind.check(path, setup.pattern_size, kind.bits);
    const int result = kind.load(file->second.c_str(), kind.sized ? setup.pattern_size.width : 0,
                                 kind.sized ? setup.pattern_size.height : 0);
    if (result != 0)
      throw ToolError(std::string(kind.what) + " " + path + " failed to load (code " +
                      std::to_string(result) + ")");
  }
}

}  // namespace halftone::tool
