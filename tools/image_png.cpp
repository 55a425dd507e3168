// PNG through libpng, a row at a time (interlaced files are read whole).
#include <png.h>

#include <cstring>
#include <vector>

#include "image_input.h"

namespace halftone::image::detail {
namespace {

// Deflate shrinks data at most about 1032 times: a file declaring more
// pixel bytes than this many times its size is refused before reading.
constexpr std::uint64_t kMostDeflateRatio = 1100;

class PngReader final : public Reader {
 public:
  explicit PngReader(std::unique_ptr<Input> in) : in_(std::move(in)) {
    unsigned char signature[8];
    in_->read(signature, sizeof signature);  // checked already
    handles_.png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, &PngReader::on_error,
                                          &PngReader::on_warning);
    if (png_ == nullptr || (handles_.info = png_create_info_struct(png_)) == nullptr)
      in_->fail("out of memory");
    if (!guarded([&] {
          png_set_read_fn(png_, this, &PngReader::on_read);
          png_set_sig_bytes(png_, 8);
          png_set_user_limits(png_, kMaxSide, kMaxSide);
          png_read_info(png_, info_);
        }))
      fail();
    png_uint_32 width = 0, height = 0;
    int depth = 0, type = 0, interlace = 0;
    png_get_IHDR(png_, info_, &width, &height, &depth, &type, &interlace, nullptr, nullptr);
    check_page_size(*in_, width, height);
    const std::int64_t have = in_->remaining();
    const std::uint64_t channels = (type & PNG_COLOR_MASK_PALETTE) ? 1
                                   : (type & PNG_COLOR_MASK_COLOR) ? 3
                                                                   : 1;
    const std::uint64_t declared =
        (std::uint64_t{width} * channels * static_cast<unsigned>(depth) + 15) / 8 * height;
    if (have >= 0 && declared > kMostDeflateRatio * static_cast<std::uint64_t>(have) + 4096)
      in_->fail("the header declares " + std::to_string(width) + " x " + std::to_string(height) +
                " pixels, far more than its " + std::to_string(have) + " bytes can hold");

    int passes = 1;
    if (!guarded([&] {
          png_set_expand(png_);  // palette to RGB, low bit depths to 8, tRNS to alpha
          png_set_scale_16(png_);
          passes = png_set_interlace_handling(png_);
          png_read_update_info(png_, info_);
        }))
      fail();
    switch (png_get_channels(png_, info_)) {
      case 1:
        colour_ = Colour::Grey;
        break;
      case 2:
        colour_ = Colour::GreyAlpha;
        break;
      case 3:
        colour_ = Colour::Rgb;
        break;
      default:
        colour_ = Colour::RgbAlpha;
    }
    shape_.width = width;
    shape_.height = height;
    png_uint_32 x_ppu = 0, y_ppu = 0;
    int unit = 0;
    if (png_get_pHYs(png_, info_, &x_ppu, &y_ppu, &unit) && unit == PNG_RESOLUTION_METER) {
      shape_.x_dpi = x_ppu * 0.0254;
      shape_.y_dpi = y_ppu * 0.0254;
    }
    const std::size_t row_bytes = row_bytes_ = png_get_rowbytes(png_, info_);
    if (passes > 1) {  // every pass touches every row: read the picture whole
      whole_.resize(row_bytes * height);
      std::vector<png_bytep> rows(height);
      for (png_uint_32 y = 0; y < height; ++y) rows[y] = whole_.data() + y * row_bytes;
      if (!guarded([&] { png_read_image(png_, rows.data()); })) fail();
    } else {
      row_.resize(row_bytes);
    }
  }

  char const* format() const override { return "PNG"; }

  void read_rows(unsigned char* out, std::size_t stride, std::uint32_t rows) override {
    for (std::uint32_t r = 0; r < rows; ++r, out += stride) {
      if (y_ >= shape_.height) in_->fail("read past the last row");
      unsigned char const* samples;
      if (!whole_.empty()) {
        samples = whole_.data() + static_cast<std::size_t>(y_) * row_bytes_;
      } else {
        if (!guarded([&] { png_read_row(png_, row_.data(), nullptr); })) fail();
        samples = row_.data();
      }
      ++y_;
      to_planes(colour_, samples, shape_.width, out, stride);
    }
  }

  bool next_page() override { return false; }
  bool skip_page() override { return false; }
  bool streams() const override { return whole_.empty(); }

 private:
  template <class Call>
  bool guarded(Call&& call) {
    return detail::guarded(png_jmpbuf(png_), call);
  }
  [[noreturn]] void fail() const { in_->fail(message_[0] ? message_ : "malformed PNG"); }

  static void on_error(png_structp png, png_const_charp message) {
    auto* self = static_cast<PngReader*>(png_get_error_ptr(png));
    std::snprintf(self->message_, sizeof self->message_, "%s", message);
    png_longjmp(png, 1);
  }
  static void on_warning(png_structp, png_const_charp) {}
  static void on_read(png_structp png, png_bytep data, png_size_t size) {
    auto* self = static_cast<PngReader*>(png_get_io_ptr(png));
    if (self->in_->read(data, size) != size) png_error(png, "the file is truncated");
  }

  struct Handles {
    png_structp png = nullptr;
    png_infop info = nullptr;
    ~Handles() { png_destroy_read_struct(&png, &info, nullptr); }
  };

  std::unique_ptr<Input> in_;
  Handles handles_;
  png_structp& png_ = handles_.png;
  png_infop& info_ = handles_.info;
  std::size_t row_bytes_ = 0;
  Colour colour_ = Colour::Grey;
  std::vector<unsigned char> row_, whole_;
  std::uint32_t y_ = 0;
  char message_[200] = {};
};

}  // namespace

std::unique_ptr<Reader> open_png(std::unique_ptr<Input> in) {
  return std::make_unique<PngReader>(std::move(in));
}

}  // namespace halftone::image::detail
