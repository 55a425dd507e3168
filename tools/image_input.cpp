#include "image_input.h"

#include <sys/stat.h>
#if !defined(_WIN32)
#include <unistd.h>
#endif

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace halftone::image {
namespace detail {

Input::Input(std::FILE* file, bool owned, std::string name)
    : file_(file), owned_(owned), name_(std::move(name)) {
  // Pages are read a row at a time; a large buffer turns that into few
  // system calls (each costs microseconds on a virtual machine).
  if (owned_) {
    buffer_.reset(new char[kBuffer]);
    std::setvbuf(file_, buffer_.get(), _IOFBF, kBuffer);
  }
  struct stat st {};
  if (::fstat(::fileno(file_), &st) == 0 && S_ISREG(st.st_mode)) {
    const long at = std::ftell(file_);
    if (at >= 0) size_ = static_cast<std::int64_t>(st.st_size) - at;
  }
  prefix_size_ = std::fread(prefix_, 1, sizeof prefix_, file_);
}

Input::~Input() {
  if (copy_ != nullptr) std::fclose(copy_);
  if (owned_) std::fclose(file_);
}

int Input::get() {
  if (prefix_used_ < prefix_size_) {
    ++consumed_;
    return prefix_[prefix_used_++];
  }
  const int c = std::getc(file_);
  if (c != EOF) ++consumed_;
  return c;
}

std::size_t Input::read(void* data, std::size_t size) {
  auto* out = static_cast<unsigned char*>(data);
  const std::size_t from_prefix = std::min(size, prefix_size_ - prefix_used_);
  std::memcpy(out, prefix_ + prefix_used_, from_prefix);
  prefix_used_ += from_prefix;
  const std::size_t got = from_prefix + std::fread(out + from_prefix, 1, size - from_prefix, file_);
  consumed_ += static_cast<std::int64_t>(got);
  return got;
}

std::int64_t Input::remaining() const { return size_ < 0 ? -1 : size_ - consumed_; }

bool Input::skip(std::uint64_t size) {
  const std::int64_t left = remaining();
  if (left >= 0) {
    if (size > static_cast<std::uint64_t>(left)) return false;
    const std::size_t from_prefix =
        static_cast<std::size_t>(std::min<std::uint64_t>(size, prefix_size_ - prefix_used_));
    prefix_used_ += from_prefix;
    if (::fseeko(file_, static_cast<off_t>(size - from_prefix), SEEK_CUR) == 0) {
      consumed_ += static_cast<std::int64_t>(size);
      return true;
    }
    size -= from_prefix;
    consumed_ += static_cast<std::int64_t>(from_prefix);
  }
  unsigned char buffer[1 << 14];
  while (size > 0) {
    const std::size_t part = static_cast<std::size_t>(std::min<std::uint64_t>(size, sizeof buffer));
    if (read(buffer, part) != part) return false;
    size -= part;
  }
  return true;
}

std::FILE* Input::seekable() {
  if (prefix_used_ == 0 && std::fseek(file_, -static_cast<long>(prefix_size_), SEEK_CUR) == 0)
    return file_;
  copy_ = temporary_stream();
  if (copy_ == nullptr) fail(std::string("cannot make a temporary copy: ") + std::strerror(errno));
  unsigned char buffer[1 << 16];
  std::size_t got = 0;
  while ((got = read(buffer, sizeof buffer)) != 0)
    if (std::fwrite(buffer, 1, got, copy_) != got)
      fail(std::string("cannot make a temporary copy: ") + std::strerror(errno));
  if (std::ferror(file_)) fail("read error");
  std::rewind(copy_);
  return copy_;
}

int channels_of(Colour colour) {
  switch (colour) {
    case Colour::Grey:
      return 1;
    case Colour::GreyAlpha:
      return 2;
    case Colour::Rgb:
      return 3;
    default:
      return 4;
  }
}

namespace {

// Grey by luminance (ITU-R BT.601 weights), rounded.
inline unsigned luminance(unsigned r, unsigned g, unsigned b) {
  return (299 * r + 587 * g + 114 * b + 500) / 1000;
}
// A grey with coverage `alpha` laid on white paper.
inline unsigned char on_white(unsigned grey, unsigned alpha) {
  return static_cast<unsigned char>((grey * alpha + 255 * (255 - alpha) + 127) / 255);
}

}  // namespace

void to_planes(Colour colour, unsigned char const* s, std::uint32_t width, unsigned char* out,
               std::size_t plane_step) {
  switch (colour) {
    case Colour::Grey:
      std::memcpy(out, s, width);
      break;
    case Colour::GreyAlpha:
      for (std::uint32_t x = 0; x < width; ++x, s += 2) out[x] = on_white(s[0], s[1]);
      break;
    case Colour::Rgb:
      for (std::uint32_t x = 0; x < width; ++x, s += 3)
        out[x] = static_cast<unsigned char>(luminance(s[0], s[1], s[2]));
      break;
    case Colour::RgbAlpha:
      for (std::uint32_t x = 0; x < width; ++x, s += 4)
        out[x] = on_white(luminance(s[0], s[1], s[2]), s[3]);
      break;
    case Colour::Cmyk:
      for (std::uint32_t x = 0; x < width; ++x, s += 4)
        for (std::size_t p = 0; p < 4; ++p)
          out[p * plane_step + x] = static_cast<unsigned char>(255 - s[p]);
      break;
    case Colour::CmykInverted:
      for (std::uint32_t x = 0; x < width; ++x, s += 4)
        for (std::size_t p = 0; p < 4; ++p) out[p * plane_step + x] = s[p];
      break;
  }
}

void SampleScale::apply(unsigned char const* in, std::uint32_t count, unsigned char* out) const {
  if (bits == 8 && maxval == 255 && !invert) {  // the common case: bytes as they are
    if (in != out) std::memmove(out, in, count);
    return;
  }
  const std::uint32_t top = std::max<std::uint32_t>(maxval, 1);
  auto scale = [&](std::uint32_t v) {
    const auto byte = static_cast<unsigned char>((std::min(v, top) * 255 + top / 2) / top);
    return invert ? static_cast<unsigned char>(255 - byte) : byte;
  };
  if (bits == 16) {
    for (std::uint32_t i = 0; i < count; ++i, in += 2) {
      std::uint16_t v;
      if (host_order16)
        std::memcpy(&v, in, 2);
      else
        v = static_cast<std::uint16_t>(in[0] << 8 | in[1]);
      out[i] = scale(v);
    }
    return;
  }
  unsigned char table[256];
  for (std::uint32_t v = 0; v < 256; ++v) table[v] = scale(v);
  if (bits == 8) {
    for (std::uint32_t i = 0; i < count; ++i) out[i] = table[in[i]];
    return;
  }
  const unsigned per_byte = 8u / static_cast<unsigned>(bits);
  const unsigned mask = (1u << bits) - 1u;
  for (std::uint32_t i = 0; i < count; ++i) {
    const unsigned shift = (per_byte - 1 - i % per_byte) * static_cast<unsigned>(bits);
    out[i] = table[(in[i / per_byte] >> shift) & mask];
  }
}

void check_page_size(Input const& in, std::uint64_t width, std::uint64_t height) {
  if (width == 0 || height == 0 || width > kMaxSide || height > kMaxSide ||
      width * height > kMaxPixels)
    in.fail("unsupported page size " + std::to_string(width) + " x " + std::to_string(height) +
            " (sides 1 to " + std::to_string(kMaxSide) + ", at most " + std::to_string(kMaxPixels) +
            " pixels)");
}

}  // namespace detail

bool Reader::skip_page() {
  skip_rows(shape_.height);
  return next_page();
}

void Reader::skip_rows(std::uint32_t rows) {
  constexpr std::uint32_t kRows = 16;
  const std::size_t stride = shape_.width;
  std::vector<unsigned char> some(stride * std::min(kRows, rows) * shape_.planes);
  for (std::uint32_t y = 0; y < rows; y += kRows)
    read_rows(some.data(), stride, std::min(kRows, rows - y));
}

namespace {

std::unique_ptr<Reader> open_input(std::unique_ptr<detail::Input> in) {
  unsigned char const* p = in->peek();
  const std::size_t n = in->peeked();
  if (n >= 2 && p[0] == 'P' && p[1] >= '1' && p[1] <= '7') return detail::open_pnm(std::move(in));
  if (n == 8 && std::memcmp(p, "\x89PNG\r\n\x1a\n", 8) == 0) return detail::open_png(std::move(in));
  if (n >= 4 && (std::memcmp(p, "II*\0", 4) == 0 || std::memcmp(p, "MM\0*", 4) == 0 ||
                 std::memcmp(p, "II+\0", 4) == 0 || std::memcmp(p, "MM\0+", 4) == 0))
    return detail::open_tiff(std::move(in));
  if (n >= 3 && std::memcmp(p, "\xFF\xD8\xFF", 3) == 0) return detail::open_jpeg(std::move(in));
  if (n == 0) in->fail("empty file");
  in->fail("not a PNM, PAM, PNG, TIFF or JPEG file");
}

}  // namespace

std::FILE* temporary_stream() {
#if defined(_WIN32)
  return std::tmpfile();
#else
  char const* folder = std::getenv("TMPDIR");  // a print system's own folder
  std::string path =
      std::string(folder != nullptr && folder[0] != '\0' ? folder : "/tmp") + "/halftone-XXXXXX";
  const int fd = ::mkstemp(path.data());
  if (fd < 0) return nullptr;
  ::unlink(path.c_str());
  std::FILE* file = ::fdopen(fd, "w+b");
  if (file == nullptr) {
    const int error = errno;
    ::close(fd);
    errno = error;
  }
  return file;
#endif
}

std::unique_ptr<Reader> open_reader(std::FILE* stream, std::string const& name) {
  return open_input(std::make_unique<detail::Input>(stream, false, name));
}

std::unique_ptr<Reader> open_reader(std::string const& path) {
  if (path == "-") return open_reader(stdin, "standard input");
  struct stat st {};
  if (::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) throw Error(path + ": is a folder");
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) throw Error("cannot open " + path + ": " + std::strerror(errno));
  return open_input(std::make_unique<detail::Input>(file, true, path));
}

namespace {
struct FormatName {
  char const* name;
  Format format;
};
constexpr FormatName kFormatNames[] = {
    {"pbm", Format::Pbm},  {"pgm", Format::Pgm},   {"pam", Format::Pam}, {"png", Format::Png},
    {"tif", Format::Tiff}, {"tiff", Format::Tiff}, {"raw", Format::Raw},
};
struct CompressionName {
  char const* name;
  TiffCompression compression;
};
constexpr CompressionName kCompressionNames[] = {
    {"g4", TiffCompression::Group4}, {"packbits", TiffCompression::PackBits},
    {"lzw", TiffCompression::Lzw},   {"deflate", TiffCompression::Deflate},
    {"none", TiffCompression::None},
};

// The value of the table row whose name is `name`, in any case.
template <class Row, std::size_t N, class Value>
std::optional<Value> named(Row const (&rows)[N], Value Row::*value, std::string_view name) {
  for (Row const& row : rows) {
    const std::string_view known(row.name);
    if (known.size() == name.size() &&
        std::equal(known.begin(), known.end(), name.begin(),
                   [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b - 'A' + 'a' : b); }))
      return row.*value;
  }
  return std::nullopt;
}
}  // namespace

std::optional<Format> format_named(std::string_view name) {
  return named(kFormatNames, &FormatName::format, name);
}

std::optional<TiffCompression> tiff_compression_named(std::string_view name) {
  return named(kCompressionNames, &CompressionName::compression, name);
}

std::optional<Format> format_of_path(std::string_view path) {
  const auto dot = path.rfind('.');
  const auto slash = path.rfind('/');
  if (dot == std::string_view::npos || (slash != std::string_view::npos && slash > dot))
    return std::nullopt;
  return format_named(path.substr(dot + 1));
}

char const* format_name(Format format) {
  for (FormatName const& f : kFormatNames)
    if (f.format == format) return f.name;
  return "?";
}

}  // namespace halftone::image
