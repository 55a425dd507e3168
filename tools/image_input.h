// Shared parts of the image readers: the input stream with the bytes already
// looked at, and the conversion of sample rows into grey planes.
#pragma once
#include <tiffio.h>

#include <csetjmp>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "image_io.h"

namespace halftone::image::detail {

// A stream whose first bytes were read to recognize the format; get() and
// read() hand those out again before reading on.
class Input {
 public:
  Input(std::FILE* file, bool owned, std::string name);
  ~Input();
  Input(Input const&) = delete;
  Input& operator=(Input const&) = delete;

  int get();  // EOF at the end
  std::size_t read(void* data, std::size_t size);
  // Bytes left when the stream is a regular file, else -1.
  std::int64_t remaining() const;
  // Passes over `size` bytes: a seek on a regular file, else reads. False
  // where fewer are left.
  bool skip(std::uint64_t size);
  // The recognized bytes followed by the rest, as a seekable stream (the
  // file itself when it can seek, else a temporary copy).
  std::FILE* seekable();

  std::FILE* file() const { return file_; }
  std::string const& name() const { return name_; }
  unsigned char const* peek() const { return prefix_; }
  std::size_t peeked() const { return prefix_size_; }

  [[noreturn]] void fail(std::string const& what) const { throw Error(name_ + ": " + what); }

 private:
  std::FILE* file_;
  bool owned_;
  std::string name_;
  unsigned char prefix_[8] = {};
  std::size_t prefix_size_ = 0;
  std::size_t prefix_used_ = 0;
  std::int64_t size_ = -1;  // of a regular file
  std::int64_t consumed_ = 0;
  std::FILE* copy_ = nullptr;
  static constexpr std::size_t kBuffer = std::size_t{1} << 18;
  std::unique_ptr<char[]> buffer_;  // the stream's buffer, for a file of our own
};

// How the samples of a pixel turn into planes.
// CmykInverted: inks stored as 255 - ink (Adobe's CMYK JPEGs), so each
// sample is already the plane's grey.
enum class Colour { Grey, GreyAlpha, Rgb, RgbAlpha, Cmyk, CmykInverted };
int channels_of(Colour colour);
// `samples` holds width pixels of channels_of(colour) 8-bit samples; plane p
// of the row is written at out + p * plane_step (CMYK gives four planes).
void to_planes(Colour colour, unsigned char const* samples, std::uint32_t width, unsigned char* out,
               std::size_t plane_step);

// Turns `count` samples of `bits` bits (1, 2, 4, 8 or 16) packed most
// significant first into bytes 0-255, `maxval` mapping to 255. Sixteen-bit
// samples are big-endian or in the host's order. `invert` turns 0 into 255.
struct SampleScale {
  int bits = 8;
  std::uint32_t maxval = 255;
  bool host_order16 = false;
  bool invert = false;
  void apply(unsigned char const* in, std::uint32_t count, unsigned char* out) const;
};

// Runs calls into a C library that reports an error by a long jump to
// `jump` (libpng, libjpeg): true when they return, false when the library
// jumped back. The calls must leave no C++ object needing destruction on the
// way.
template <class Call>
bool guarded(std::jmp_buf& jump, Call&& call) {
  if (setjmp(jump)) return false;
  call();
  return true;
}

// A declared page size within the limits, or an Error naming it.
void check_page_size(Input const& in, std::uint64_t width, std::uint64_t height);

// libtiff on a stdio stream (mode "r" or "w"); the stream stays the caller's.
// NULL on failure, with the reason in tiff_error().
TIFF* open_tiff_stream(std::FILE* stream, std::string const& name, char const* mode);
std::string tiff_error();

std::unique_ptr<Reader> open_pnm(std::unique_ptr<Input> in);
std::unique_ptr<Reader> open_png(std::unique_ptr<Input> in);
std::unique_ptr<Reader> open_tiff(std::unique_ptr<Input> in);
std::unique_ptr<Reader> open_jpeg(std::unique_ptr<Input> in);

}  // namespace halftone::image::detail
