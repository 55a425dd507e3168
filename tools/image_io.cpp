#include "image_io.h"

#include <png.h>

#include <atomic>
#include <cctype>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "tool_error.h"

namespace halftone::tool {
namespace fs = std::filesystem;

Image Image::grey(std::uint32_t width, std::uint32_t height) {
  Image image;
  image.width = width;
  image.height = height;
  image.depth = 8;
  image.pixels.assign(static_cast<std::size_t>(width) * height, 255);
  return image;
}

Image Image::bilevel(std::uint32_t width, std::uint32_t height) {
  Image image;
  image.width = width;
  image.height = height;
  image.depth = 1;
  image.pixels.assign(image.row_bytes() * height, 0);
  return image;
}

bool ends_with(std::string const& text, std::string const& suffix) {
  if (text.size() < suffix.size()) return false;
  for (std::size_t i = 0; i < suffix.size(); ++i) {
    char c = text[text.size() - suffix.size() + i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c != suffix[i]) return false;
  }
  return true;
}

namespace {

void check_size(std::string const& path, std::uint64_t width, std::uint64_t height) {
  if (width == 0 || height == 0 || width > kMaxSide || height > kMaxSide ||
      width * height > kMaxPixels)
    throw ToolError(path + ": unsupported image size " + std::to_string(width) + " x " +
                    std::to_string(height));
}

// PNM header fields: whitespace and '#' comments before a decimal number.
std::uint64_t read_header_number(std::istream& in, std::string const& path) {
  int c = in.get();
  while (c != EOF && (std::isspace(c) || c == '#')) {
    if (c == '#')
      while (c != EOF && c != '\n') c = in.get();
    c = in.get();
  }
  if (c == EOF || !std::isdigit(c)) throw ToolError(path + ": malformed PGM header");
  std::uint64_t value = 0;
  while (c != EOF && std::isdigit(c)) {
    value = value * 10 + static_cast<std::uint64_t>(c - '0');
    if (value > 0xFFFFFFFFull) throw ToolError(path + ": malformed PGM header");
    c = in.get();
  }
  if (c == EOF || !std::isspace(c)) throw ToolError(path + ": malformed PGM header");
  return value;
}

Image read_pgm(std::string const& path, std::ifstream& in) {
  char magic[2] = {};
  in.read(magic, 2);
  if (!in || magic[0] != 'P' || magic[1] != '5')
    throw ToolError(path + ": not a binary PGM (P5) or PNG file");
  const std::uint64_t width = read_header_number(in, path);
  const std::uint64_t height = read_header_number(in, path);
  const std::uint64_t maxval = read_header_number(in, path);
  if (maxval != 255)
    throw ToolError(path + ": PGM maxval is " + std::to_string(maxval) + ", only 255 is supported");
  check_size(path, width, height);
  Image image = Image::grey(static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height));
  in.read(reinterpret_cast<char*>(image.pixels.data()),
          static_cast<std::streamsize>(image.pixels.size()));
  if (static_cast<std::size_t>(in.gcount()) != image.pixels.size())
    throw ToolError(path + ": PGM pixel data is truncated");
  return image;
}

Image read_png(std::string const& path) {
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  if (!png_image_begin_read_from_file(&png, path.c_str()))
    throw ToolError(path + ": malformed PNG: " + png.message);
  try {
    check_size(path, png.width, png.height);
  } catch (...) {
    png_image_free(&png);
    throw;
  }
  png.format = PNG_FORMAT_GRAY;
  Image image = Image::grey(png.width, png.height);
  png_color white{255, 255, 255};  // transparent parts are laid on white paper
  if (!png_image_finish_read(&png, &white, image.pixels.data(), 0, nullptr))
    throw ToolError(path + ": malformed PNG: " + png.message);
  return image;
}

// Grey rendering of a bilevel image: a set bit (black) becomes 0.
Image to_grey(Image const& image) {
  if (image.depth == 8) return image;
  Image grey = Image::grey(image.width, image.height);
  for (std::uint32_t y = 0; y < image.height; ++y)
    for (std::uint32_t x = 0; x < image.width; ++x)
      if ((image.row(y)[x >> 3] >> (7 - (x & 7))) & 1) grey.row(y)[x] = 0;
  return grey;
}

void write_png(std::string const& path, Image const& image) {
  Image grey = to_grey(image);
  PendingFile file(path);
  png_image png{};
  png.version = PNG_IMAGE_VERSION;
  png.width = grey.width;
  png.height = grey.height;
  png.format = PNG_FORMAT_GRAY;
  if (!png_image_write_to_stdio(&png, file.stream(), 0, grey.pixels.data(), 0, nullptr))
    throw ToolError(path + ": cannot write PNG: " + png.message, kExitFailure);
  file.commit();
}

void write_pnm(std::string const& path, Image const& image) {
  PendingFile file(path);
  std::string header = (image.depth == 1 ? "P4\n" : "P5\n") + std::to_string(image.width) + " " +
                       std::to_string(image.height) + (image.depth == 1 ? "\n" : "\n255\n");
  file.write(header.data(), header.size());
  file.write(image.pixels.data(), image.pixels.size());
  file.commit();
}

}  // namespace

Image read_image(std::string const& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw ToolError("cannot open " + path + " for reading");
  unsigned char signature[8] = {};
  in.read(reinterpret_cast<char*>(signature), sizeof signature);
  const bool is_png = in.gcount() == 8 && png_sig_cmp(signature, 0, 8) == 0;
  if (is_png) return read_png(path);
  in.clear();
  in.seekg(0);
  return read_pgm(path, in);
}

void write_image(std::string const& path, Image const& image) {
  if (ends_with(path, ".png"))
    write_png(path, image);
  else if (ends_with(path, ".pgm"))
    write_pnm(path, to_grey(image));
  else
    write_pnm(path, image);
}

void write_bytes(std::string const& path, std::span<unsigned char const> bytes) {
  PendingFile file(path);
  file.write(bytes.data(), bytes.size());
  file.commit();
}

PendingFile::PendingFile(std::string path) : path_(std::move(path)) {
  static std::atomic<unsigned> counter{0};
  const auto tick = std::chrono::steady_clock::now().time_since_epoch().count();
  const fs::path target(path_);
  // A hidden name beside the target, unique to this write.
  std::string name(".");
  name += target.filename().string();
  name += '.';
  name += std::to_string(tick % 1000000007);
  name += '-';
  name += std::to_string(counter++);
  name += ".tmp";
  temporary_ = (target.parent_path() / name).string();
  stream_ = std::fopen(temporary_.c_str(), "wb");
  if (stream_ == nullptr) throw ToolError("cannot create " + path_ + " (is the folder there?)");
}

PendingFile::~PendingFile() {
  if (stream_ != nullptr) std::fclose(stream_);
  if (!temporary_.empty()) {
    std::error_code ignored;
    fs::remove(temporary_, ignored);
  }
}

void PendingFile::write(void const* data, std::size_t size) {
  if (size != 0 && std::fwrite(data, 1, size, stream_) != size)
    throw ToolError("cannot write " + path_, kExitFailure);
}

void PendingFile::commit() {
  const bool flushed = std::fclose(stream_) == 0;
  stream_ = nullptr;
  if (!flushed) throw ToolError("cannot write " + path_, kExitFailure);
  std::error_code error;
  fs::rename(temporary_, path_, error);
  if (error) throw ToolError("cannot write " + path_ + ": " + error.message(), kExitFailure);
  temporary_.clear();
}

}  // namespace halftone::tool
