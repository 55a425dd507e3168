// Grey and bilevel images on disk: PGM (P5), PBM (P4) and PNG, written
// through a temporary file so that a failed run leaves no partial output.
#pragma once
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

namespace halftone::tool {

struct Image {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  int depth = 8;  // 8: one byte a pixel, 0 black; 1: PBM rows, most significant bit first, 1 black
  std::vector<unsigned char> pixels;

  static Image grey(std::uint32_t width, std::uint32_t height);
  static Image bilevel(std::uint32_t width, std::uint32_t height);
  std::size_t row_bytes() const { return depth == 1 ? (width + 7) / 8 : width; }
  unsigned char* row(std::uint32_t y) { return pixels.data() + y * row_bytes(); }
  unsigned char const* row(std::uint32_t y) const { return pixels.data() + y * row_bytes(); }
};

// The largest side accepted on input, and the largest pixel count.
constexpr std::uint32_t kMaxSide = 1u << 20;
constexpr std::uint64_t kMaxPixels = 1ull << 30;

// Reads a binary PGM (P5, maxval 255) or any PNG (converted to grey).
Image read_image(std::string const& path);

// Writes PNG when the path ends in ".png", otherwise PBM for a bilevel image
// and PGM for a grey one (".pgm" asks for grey whatever the depth).
void write_image(std::string const& path, Image const& image);

// Writes bytes exactly as given.
void write_bytes(std::string const& path, std::span<unsigned char const> bytes);

bool ends_with(std::string const& text, std::string const& suffix);

// A file that appears under its name only when commit() is reached: it is
// written to a temporary file in the same folder and renamed at the end.
class PendingFile {
 public:
  explicit PendingFile(std::string path);
  PendingFile(PendingFile const&) = delete;
  PendingFile& operator=(PendingFile const&) = delete;
  ~PendingFile();

  std::FILE* stream() const { return stream_; }
  void write(void const* data, std::size_t size);
  void commit();

 private:
  std::string path_;
  std::string temporary_;
  std::FILE* stream_ = nullptr;
};

}  // namespace halftone::tool
