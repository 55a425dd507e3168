// JPEG through libjpeg, a row at a time (progressive files are decoded in
// the library's whole-image buffers, as libjpeg must).
// jpeglib.h needs size_t and FILE declared first.
#include <cstddef>
#include <cstdio>
// libjpeg.
#include <jerror.h>
#include <jpeglib.h>

#include <vector>

#include "image_input.h"

namespace halftone::image::detail {
namespace {

// What a progressive picture's coefficient buffers may take: about 2 GiB,
// a page of some 500 megapixels in YCbCr.
constexpr long kMostDecoderMemory = 2000L * 1000 * 1000;

class JpegReader final : public Reader {
 public:
  explicit JpegReader(std::unique_ptr<Input> in) : in_(std::move(in)) {
    info_.err = jpeg_std_error(&errors_);
    info_.client_data = this;  // kept by jpeg_create_decompress
    errors_.error_exit = &JpegReader::on_error;
    errors_.emit_message = &JpegReader::on_message;
    source_.init_source = [](j_decompress_ptr) {};
    source_.fill_input_buffer = &JpegReader::on_fill;
    source_.skip_input_data = &JpegReader::on_skip;
    source_.resync_to_restart = jpeg_resync_to_restart;
    source_.term_source = [](j_decompress_ptr) {};
    if (!guarded([&] {
          jpeg_create_decompress(&info_);
          decoder_.created = true;
          info_.src = &source_;
          info_.mem->max_memory_to_use = kMostDecoderMemory;
          jpeg_read_header(&info_, TRUE);
        }))
      fail();
    check_page_size(*in_, info_.image_width, info_.image_height);
    // A colour picture's grey is its luma, which JPEG keeps as a channel of
    // its own: the Y of YCbCr is the luminance of the RGB it was made from.
    switch (info_.jpeg_color_space) {
      case JCS_GRAYSCALE:
      case JCS_YCbCr:
        info_.out_color_space = JCS_GRAYSCALE;
        colour_ = Colour::Grey;
        break;
      case JCS_CMYK:
      case JCS_YCCK:
        info_.out_color_space = JCS_CMYK;
        // Adobe's files keep every ink inverted (0 full ink).
        colour_ = info_.saw_Adobe_marker ? Colour::CmykInverted : Colour::Cmyk;
        break;
      default:
        info_.out_color_space = JCS_RGB;
        colour_ = Colour::Rgb;
    }
    if (!guarded([&] { jpeg_start_decompress(&info_); })) fail();
    shape_.width = info_.output_width;
    shape_.height = info_.output_height;
    shape_.planes = info_.out_color_space == JCS_CMYK ? 4 : 1;
    const double per_inch = info_.density_unit == 1 ? 1 : info_.density_unit == 2 ? 2.54 : 0;
    shape_.x_dpi = info_.X_density * per_inch;
    shape_.y_dpi = info_.Y_density * per_inch;
    row_.resize(std::size_t{info_.output_width} * static_cast<unsigned>(info_.output_components));
  }

  char const* format() const override { return "JPEG"; }

  void read_rows(unsigned char* out, std::size_t stride, std::uint32_t rows) override {
    for (std::uint32_t r = 0; r < rows; ++r, out += stride * shape_.planes) {
      if (info_.output_scanline >= info_.output_height) in_->fail("read past the last row");
      JSAMPROW row = row_.data();
      if (!guarded([&] { jpeg_read_scanlines(&info_, &row, 1); })) fail();
      to_planes(colour_, row_.data(), shape_.width, out, stride);
    }
  }

  bool next_page() override { return false; }
  bool skip_page() override { return false; }

 private:
  template <class Call>
  bool guarded(Call&& call) {
    return detail::guarded(jump_, call);
  }
  [[noreturn]] void fail() const { in_->fail(message_[0] ? message_ : "malformed JPEG"); }

  static JpegReader& of(j_common_ptr info) { return *static_cast<JpegReader*>(info->client_data); }
  static void on_error(j_common_ptr info) {
    JpegReader& self = of(info);
    if (info->err->msg_code == JERR_NO_BACKING_STORE)
      std::snprintf(self.message_, sizeof self.message_,
                    "a progressive JPEG this large needs more than %ld MB to decode",
                    kMostDecoderMemory / 1000000);
    else
      (*info->err->format_message)(info, self.message_);
    std::longjmp(self.jump_, 1);
  }
  // Warnings that mean rows would be made up: the data ended or broke off.
  static void on_message(j_common_ptr info, int level) {
    const int code = info->err->msg_code;
    if (level < 0 && (code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER)) {
      JpegReader& self = of(info);
      std::snprintf(
          self.message_, sizeof self.message_, "%s",
          code == JWRN_JPEG_EOF ? "the file is truncated" : "the picture data breaks off");
      std::longjmp(self.jump_, 1);
    }
  }
  static boolean on_fill(j_decompress_ptr info) {
    JpegReader& self = of(reinterpret_cast<j_common_ptr>(info));
    const std::size_t got = self.in_->read(self.buffer_, sizeof self.buffer_);
    if (got == 0) {
      WARNMS(info, JWRN_JPEG_EOF);  // ends the read (on_message)
      return FALSE;
    }
    self.source_.next_input_byte = self.buffer_;
    self.source_.bytes_in_buffer = got;
    return TRUE;
  }
  static void on_skip(j_decompress_ptr info, long count) {
    JpegReader& self = of(reinterpret_cast<j_common_ptr>(info));
    if (count <= 0) return;
    const auto n = static_cast<std::size_t>(count);
    if (n <= self.source_.bytes_in_buffer) {
      self.source_.next_input_byte += n;
      self.source_.bytes_in_buffer -= n;
      return;
    }
    const std::size_t beyond = n - self.source_.bytes_in_buffer;
    self.source_.bytes_in_buffer = 0;
    if (!self.in_->skip(beyond)) WARNMS(info, JWRN_JPEG_EOF);
  }

  // Destroyed with the reader, or with its members when the constructor fails.
  struct Decoder {
    jpeg_decompress_struct info{};
    bool created = false;
    ~Decoder() {
      if (created) jpeg_destroy_decompress(&info);
    }
  };

  std::unique_ptr<Input> in_;
  Decoder decoder_;
  jpeg_decompress_struct& info_ = decoder_.info;
  jpeg_error_mgr errors_{};
  jpeg_source_mgr source_{};
  std::jmp_buf jump_;
  Colour colour_ = Colour::Grey;
  std::vector<unsigned char> row_;
  unsigned char buffer_[1 << 16];
  char message_[JMSG_LENGTH_MAX + 80] = {};
};

}  // namespace

std::unique_ptr<Reader> open_jpeg(std::unique_ptr<Input> in) {
  return std::make_unique<JpegReader>(std::move(in));
}

}  // namespace halftone::image::detail
