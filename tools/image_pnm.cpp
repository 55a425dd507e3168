// PBM, PGM, PPM (plain and binary) and PAM, one image after another.
#include <cctype>
#include <cstring>
#include <string_view>
#include <vector>

#include "image_input.h"

namespace halftone::image::detail {
namespace {

struct Header {
  char kind = '5';  // the digit after 'P'
  std::uint64_t width = 0, height = 0, maxval = 255;
  Colour colour = Colour::Grey;
  bool plain = false;   // samples written as decimal text
  bool bitmap = false;  // P1/P4: one bit a pixel, 1 black
};

class PnmReader final : public Reader {
 public:
  explicit PnmReader(std::unique_ptr<Input> in) : in_(std::move(in)) { start_page(); }

  char const* format() const override {
    switch (header_.kind) {
      case '1':
      case '4':
        return "PBM";
      case '2':
      case '5':
        return "PGM";
      case '3':
      case '6':
        return "PPM";
      default:
        return "PAM";
    }
  }

  void read_rows(unsigned char* out, std::size_t stride, std::uint32_t rows) override {
    const std::uint32_t width = shape_.width;
    if (grey_bytes()) return read_grey_bytes(out, stride, rows);
    for (std::uint32_t r = 0; r < rows; ++r, out += stride * shape_.planes) {
      if (row_ >= shape_.height) in_->fail("read past the last row");
      ++row_;
      if (header_.plain)
        read_plain_row();
      else if (in_->read(raw_.data(), raw_.size()) != raw_.size())
        truncated_at(row_);
      else
        scale_.apply(raw_.data(), width * channels_of(header_.colour), samples_.data());
      to_planes(header_.colour, samples_.data(), width, out, stride);
    }
  }

  bool skip_page() override {
    skip_rows(shape_.height - row_);
    return next_page();
  }

  void skip_rows(std::uint32_t rows) override {
    if (header_.plain) return Reader::skip_rows(rows);
    if (rows > shape_.height - row_) in_->fail("read past the last row");
    if (!in_->skip(std::uint64_t{raw_.size()} * rows)) truncated_at(row_ + 1);
    row_ += rows;
  }

  bool next_page() override {
    int c = in_->get();
    while (c != EOF && std::isspace(c)) c = in_->get();
    if (c != 'P') return false;  // the end, or trailing bytes that start no image
    const int kind = in_->get();
    if (kind < '1' || kind > '7') return false;
    start_page(static_cast<char>(kind));
    return true;
  }

 private:
  [[noreturn]] void malformed(std::string const& why = "malformed header") const { in_->fail(why); }

  // White space and '#' comments, then a decimal number; one white-space
  // byte after it is taken too.
  std::uint64_t number() {
    int c = in_->get();
    while (c != EOF && (std::isspace(c) || c == '#')) {
      if (c == '#')
        while (c != EOF && c != '\n' && c != '\r') c = in_->get();
      c = in_->get();
    }
    if (c == EOF) in_->fail("the pixel data is truncated");
    if (!std::isdigit(c)) malformed();
    std::uint64_t value = 0;
    for (; c != EOF && std::isdigit(c); c = in_->get()) {
      value = value * 10 + static_cast<std::uint64_t>(c - '0');
      if (value > 0xFFFFFFFFull) malformed("a header number is too large");
    }
    if (c != EOF && !std::isspace(c) && c != '#') malformed();
    if (c == '#')
      while (c != EOF && c != '\n') c = in_->get();
    return value;
  }

  // The rest of a PAM header: "NAME value" lines up to ENDHDR.
  void pam_header() {
    std::string tuple_type;
    bool width = false, height = false, depth_seen = false, maxval = false;
    std::uint64_t depth = 0;
    for (int lines = 0;; ++lines) {
      if (lines > 1000) malformed("no ENDHDR in the PAM header");
      std::string line;
      int c;
      while ((c = in_->get()) != EOF && c != '\n')
        if (line.size() < 256) line += static_cast<char>(c);
      if (c == EOF) malformed("no ENDHDR in the PAM header");
      const auto first = line.find_first_not_of(" \t\r");
      if (first == std::string::npos || line[first] == '#') continue;
      const auto end = line.find_first_of(" \t\r", first);
      const std::string key = line.substr(first, end - first);
      const auto start = end == std::string::npos ? end : line.find_first_not_of(" \t", end);
      std::string value = start == std::string::npos ? "" : line.substr(start);
      while (!value.empty() && std::isspace(static_cast<unsigned char>(value.back())))
        value.pop_back();
      auto as_number = [&](bool& seen) {
        if (value.empty() || value.size() > 10 ||
            value.find_first_not_of("0123456789") != std::string::npos)
          malformed("PAM " + key + " is not a number");
        seen = true;
        return std::stoull(value);
      };
      if (key == "ENDHDR") break;
      if (key == "WIDTH")
        header_.width = as_number(width);
      else if (key == "HEIGHT")
        header_.height = as_number(height);
      else if (key == "DEPTH")
        depth = as_number(depth_seen);
      else if (key == "MAXVAL")
        header_.maxval = as_number(maxval);
      else if (key == "TUPLTYPE")
        tuple_type = value;
      else
        malformed("unknown PAM header line " + key);
    }
    if (!width || !height || !depth_seen || !maxval)
      malformed("the PAM header lacks WIDTH, HEIGHT, DEPTH or MAXVAL");
    struct Tuple {
      char const* name;
      std::uint64_t depth;
      Colour colour;
    };
    static constexpr Tuple kTuples[] = {
        {"GRAYSCALE", 1, Colour::Grey},
        {"BLACKANDWHITE", 1, Colour::Grey},
        {"GRAYSCALE_ALPHA", 2, Colour::GreyAlpha},
        {"BLACKANDWHITE_ALPHA", 2, Colour::GreyAlpha},
        {"RGB", 3, Colour::Rgb},
        {"RGB_ALPHA", 4, Colour::RgbAlpha},
        {"CMYK", 4, Colour::Cmyk},
    };
    for (Tuple const& t : kTuples)
      if (tuple_type == t.name) {
        if (depth != t.depth)
          malformed("a " + tuple_type + " PAM has depth " + std::to_string(t.depth) + ", not " +
                    std::to_string(depth));
        header_.colour = t.colour;
        return;
      }
    malformed("PAM tuple type '" + tuple_type +
              "' is not one of GRAYSCALE, GRAYSCALE_ALPHA, BLACKANDWHITE, RGB, RGB_ALPHA, CMYK");
  }

  void start_page(char kind = 0) {
    if (kind == 0) {  // the first image: its magic was recognized already
      in_->get();
      kind = static_cast<char>(in_->get());
    }
    header_ = Header{};
    header_.kind = kind;
    header_.plain = kind >= '1' && kind <= '3';
    header_.bitmap = kind == '1' || kind == '4';
    header_.colour = (kind == '3' || kind == '6') ? Colour::Rgb : Colour::Grey;
    if (kind == '7') {
      pam_header();
    } else {
      header_.width = number();
      header_.height = number();
      header_.maxval = header_.bitmap ? 1 : number();
    }
    if (header_.maxval < 1 || header_.maxval > 65535)
      malformed("maxval " + std::to_string(header_.maxval) + " is not 1 to 65535");
    check_page_size(*in_, header_.width, header_.height);

    const int channels = channels_of(header_.colour);
    const std::uint64_t samples = header_.width * header_.height * channels;
    const int bytes = header_.maxval > 255 ? 2 : 1;
    const std::uint64_t row_bytes =
        header_.bitmap ? (header_.width + 7) / 8 : header_.width * channels * bytes;
    // Plain samples take a digit and a separator each (P1 digits need none).
    const std::uint64_t need =
        header_.plain ? (header_.bitmap ? samples : samples * 2 - 1) : row_bytes * header_.height;
    const std::int64_t have = in_->remaining();
    if (have >= 0 && need > static_cast<std::uint64_t>(have))
      in_->fail("the header declares " + std::to_string(header_.width) + " x " +
                std::to_string(header_.height) + " pixels (at least " + std::to_string(need) +
                " bytes) but only " + std::to_string(have) + " bytes follow");

    scale_ = SampleScale{};
    scale_.bits = header_.bitmap ? 1 : bytes * 8;
    scale_.maxval = static_cast<std::uint32_t>(header_.maxval);
    scale_.invert = header_.bitmap;  // a PBM's 1 is black
    shape_ = PageShape{};
    shape_.width = static_cast<std::uint32_t>(header_.width);
    shape_.height = static_cast<std::uint32_t>(header_.height);
    shape_.planes = header_.colour == Colour::Cmyk ? 4 : 1;
    raw_.assign(header_.plain ? 0 : row_bytes, 0);
    samples_.assign(header_.width * channels, 0);
    row_ = 0;
  }

  // Row `row` (counted from 1) ends before its last byte.
  [[noreturn]] void truncated_at(std::uint32_t row) const {
    in_->fail("the pixel data is truncated (row " + std::to_string(row) + " of " +
              std::to_string(shape_.height) + ")");
  }

  // Binary 8-bit grey samples are the planes' bytes as they are.
  bool grey_bytes() const {
    return !header_.plain && !header_.bitmap && header_.colour == Colour::Grey &&
           header_.maxval == 255;
  }

  // Read straight into the rows, with no copy on the way: rows that follow
  // each other in memory in one read, which the C library then passes to
  // the system without its buffer.
  void read_grey_bytes(unsigned char* out, std::size_t stride, std::uint32_t rows) {
    const std::uint32_t width = shape_.width;
    if (rows > shape_.height - row_) in_->fail("read past the last row");
    const std::uint32_t at_once = stride == width ? rows : 1;
    for (std::uint32_t r = 0; r < rows; r += at_once, out += stride * at_once) {
      const std::size_t size = std::size_t{width} * at_once;
      const std::size_t got = in_->read(out, size);
      if (got != size) truncated_at(row_ + static_cast<std::uint32_t>(got / width) + 1);
      row_ += at_once;
    }
  }

  void read_plain_row() {
    for (unsigned char& sample : samples_) {
      std::uint64_t v;
      if (header_.bitmap) {
        int c = in_->get();
        while (c != EOF && (std::isspace(c) || c == '#')) {
          if (c == '#')
            while (c != EOF && c != '\n') c = in_->get();
          c = in_->get();
        }
        if (c == EOF) in_->fail("the pixel data is truncated");
        if (c != '0' && c != '1') malformed("a plain PBM holds a character other than 0 and 1");
        v = c == '1' ? 0 : 1;
      } else {
        v = number();
        if (v > header_.maxval) malformed("a sample is above maxval");
      }
      const std::uint32_t top = header_.bitmap ? 1 : static_cast<std::uint32_t>(header_.maxval);
      sample = static_cast<unsigned char>((v * 255 + top / 2) / top);
    }
  }

  std::unique_ptr<Input> in_;
  Header header_;
  SampleScale scale_;
  std::vector<unsigned char> raw_, samples_;
  std::uint32_t row_ = 0;
};

}  // namespace

std::unique_ptr<Reader> open_pnm(std::unique_ptr<Input> in) {
  return std::make_unique<PnmReader>(std::move(in));
}

}  // namespace halftone::image::detail
