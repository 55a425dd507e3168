// TIFF through libtiff: every page, grey (1-16 bits), palette, RGB and CMYK,
// contiguous or separated, in strips or tiles, a row at a time.
#include <tiffio.h>

#include <cstdarg>
#include <cstring>
#include <mutex>
#include <vector>

#include "image_input.h"
#include "tiff_library.h"

namespace halftone::image::detail {
namespace {

thread_local char tiff_message[256];

void on_tiff_error(char const* module, char const* format, va_list args) {
  char text[200];
  std::vsnprintf(text, sizeof text, format, args);
  if (module != nullptr && std::strchr(text, ':') == nullptr)
    std::snprintf(tiff_message, sizeof tiff_message, "%s: %s", module, text);
  else
    std::snprintf(tiff_message, sizeof tiff_message, "%s", text);
}

std::FILE* as_file(thandle_t handle) { return static_cast<std::FILE*>(handle); }
tmsize_t read_proc(thandle_t h, void* data, tmsize_t size) {
  return static_cast<tmsize_t>(std::fread(data, 1, static_cast<std::size_t>(size), as_file(h)));
}
tmsize_t write_proc(thandle_t h, void* data, tmsize_t size) {
  return static_cast<tmsize_t>(std::fwrite(data, 1, static_cast<std::size_t>(size), as_file(h)));
}
toff_t seek_proc(thandle_t h, toff_t offset, int whence) {
  if (::fseeko(as_file(h), static_cast<off_t>(offset), whence) != 0) return static_cast<toff_t>(-1);
  return static_cast<toff_t>(::ftello(as_file(h)));
}
int close_proc(thandle_t) { return 0; }
toff_t size_proc(thandle_t h) {
  const off_t at = ::ftello(as_file(h));
  ::fseeko(as_file(h), 0, SEEK_END);
  const off_t end = ::ftello(as_file(h));
  ::fseeko(as_file(h), at, SEEK_SET);
  return static_cast<toff_t>(end);
}
int map_proc(thandle_t, void**, toff_t*) { return 0; }
void unmap_proc(thandle_t, void*, toff_t) {}

// The most samples a pixel and the largest tile band read at once.
constexpr std::uint16_t kMostSamples = 16;
constexpr std::uint64_t kMostBandBytes = 256ull << 20;

struct Closer {
  void operator()(TIFF* t) const { tiff().Close(t); }
};
using Handle = std::unique_ptr<TIFF, Closer>;

class TiffReader final : public Reader {
 public:
  explicit TiffReader(std::unique_ptr<Input> in) : in_(std::move(in)) {
    file_ = in_->seekable();
    tif_ = open_handle();
    start_page();
  }

  char const* format() const override { return "TIFF"; }

  void read_rows(unsigned char* out, std::size_t stride, std::uint32_t rows) override {
    for (std::uint32_t r = 0; r < rows; ++r, out += stride * shape_.planes) {
      if (y_ >= shape_.height) in_->fail("read past the last row");
      read_row(y_++);
      to_planes(colour_, samples_.data(), shape_.width, out, stride);
    }
  }

  bool skip_page() override { return next_page(); }  // the strips stay unread

  bool next_page() override {
    while (tiff().ReadDirectory(tif_.get())) {
      ++page_;
      std::uint32_t kind = 0;
      if (tiff().GetField(tif_.get(), TIFFTAG_SUBFILETYPE, &kind) && (kind & FILETYPE_REDUCEDIMAGE))
        continue;  // a thumbnail, not a page
      start_page();
      return true;
    }
    return false;
  }

 private:
  [[noreturn]] void fail(std::string what = "") const {
    const std::string why = tiff_error();
    in_->fail(what.empty() ? (why.empty() ? "malformed TIFF" : why)
                           : (why.empty() ? what : what + " (" + why + ")"));
  }

  Handle open_handle() {
    tiff_message[0] = 0;
    ::fseeko(file_, 0, SEEK_SET);  // libtiff reads the header from where the stream is
    Handle handle(open_tiff_stream(file_, in_->name(), "rm"));
    if (!handle) fail("not a readable TIFF");
    return handle;
  }

  template <class T>
  T field(ttag_t tag, T fallback) {
    T value = fallback;
    return tiff().GetFieldDefaulted(tif_.get(), tag, &value) ? value : fallback;
  }

  void start_page() {
    TIFF* t = tif_.get();
    std::uint32_t width = 0, height = 0;
    if (!tiff().GetField(t, TIFFTAG_IMAGEWIDTH, &width) ||
        !tiff().GetField(t, TIFFTAG_IMAGELENGTH, &height))
      fail("a page has no size");
    check_page_size(*in_, width, height);
    const auto spp = field<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
    const auto bps = field<std::uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
    const auto planar = field<std::uint16_t>(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    const auto sample_format = field<std::uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    const auto compression = field<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    std::uint16_t photometric = 0;
    if (!tiff().GetField(t, TIFFTAG_PHOTOMETRIC, &photometric))
      fail("a page has no photometric tag");
    if (spp < 1 || spp > kMostSamples)
      fail(std::to_string(spp) + " samples a pixel (1 to " + std::to_string(kMostSamples) +
           " are read)");
    if (bps != 1 && bps != 2 && bps != 4 && bps != 8 && bps != 16)
      fail(std::to_string(bps) + "-bit samples (1, 2, 4, 8 and 16 are read)");
    if (sample_format != SAMPLEFORMAT_UINT && sample_format != SAMPLEFORMAT_VOID)
      fail("samples that are not unsigned integers");
    if (!tiff().IsCODECConfigured(compression))
      fail("compression " + std::to_string(compression) + ", which this libtiff cannot decode");

    std::uint16_t extra_count = 0;
    std::uint16_t* extra = nullptr;
    tiff().GetFieldDefaulted(t, TIFFTAG_EXTRASAMPLES, &extra_count, &extra);
    const bool alpha = extra_count > 0 && extra != nullptr && extra[0] != EXTRASAMPLE_UNSPECIFIED;

    palette_.clear();
    scale_ = SampleScale{};
    scale_.bits = bps;
    scale_.maxval = (1u << bps) - 1;
    scale_.host_order16 = true;
    int used = 1;  // samples a pixel this reader takes from the file
    switch (photometric) {
      case PHOTOMETRIC_MINISWHITE:
      case PHOTOMETRIC_MINISBLACK:
        scale_.invert = photometric == PHOTOMETRIC_MINISWHITE;
        colour_ = alpha && spp >= 2 ? Colour::GreyAlpha : Colour::Grey;
        used = channels_of(colour_);
        break;
      case PHOTOMETRIC_RGB:
        if (spp < 3) fail("an RGB page with " + std::to_string(spp) + " samples a pixel");
        colour_ = alpha && spp >= 4 ? Colour::RgbAlpha : Colour::Rgb;
        used = channels_of(colour_);
        break;
      case PHOTOMETRIC_SEPARATED:
        if (field<std::uint16_t>(TIFFTAG_INKSET, INKSET_CMYK) != INKSET_CMYK || spp < 4)
          fail("a separated page that is not CMYK");
        colour_ = Colour::Cmyk;
        used = 4;
        break;
      case PHOTOMETRIC_PALETTE: {
        std::uint16_t *red = nullptr, *green = nullptr, *blue = nullptr;
        if (bps > 8 || !tiff().GetField(t, TIFFTAG_COLORMAP, &red, &green, &blue))
          fail("a palette page without a usable colour map");
        for (std::uint32_t i = 0; i < (1u << bps); ++i)
          for (std::uint16_t const* map : {red, green, blue})
            palette_.push_back(static_cast<unsigned char>(map[i] >> 8));
        scale_.maxval = 255;  // indexes stay as they are
        colour_ = Colour::Rgb;
        break;
      }
      default:
        fail("photometric interpretation " + std::to_string(photometric) +
             " (grey, palette, RGB and CMYK are read)");
    }
    separate_ = planar == PLANARCONFIG_SEPARATE && spp > 1;
    spp_ = separate_ ? 1 : spp;
    used_ = used;
    tiled_ = tiff().IsTiled(t) != 0;
    if (compression == COMPRESSION_NONE) {  // plain samples: the file must hold them all
      const std::uint64_t declared = (std::uint64_t{width} * (separate_ ? 1 : spp) * bps + 7) / 8 *
                                     height * (separate_ ? spp : 1);
      const std::uint64_t size = size_proc(file_);
      if (declared > size)
        fail("the page declares " + std::to_string(width) + " x " + std::to_string(height) +
             " pixels (" + std::to_string(declared) + " bytes) but the file holds " +
             std::to_string(size));
    }

    shape_ = PageShape{};
    shape_.width = width;
    shape_.height = height;
    shape_.planes = colour_ == Colour::Cmyk ? 4 : 1;
    float x_res = 0, y_res = 0;
    const auto unit = field<std::uint16_t>(TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    if (unit != RESUNIT_NONE && tiff().GetField(t, TIFFTAG_XRESOLUTION, &x_res) &&
        tiff().GetField(t, TIFFTAG_YRESOLUTION, &y_res)) {
      const double per_inch = unit == RESUNIT_CENTIMETER ? 2.54 : 1.0;
      shape_.x_dpi = x_res * per_inch;
      shape_.y_dpi = y_res * per_inch;
    }

    // One packed row of the samples one plane of the file holds.
    row_bytes_ = (std::uint64_t{width} * spp_ * bps + 7) / 8;
    const int file_planes = separate_ ? used_ : 1;
    unpacked_.assign(std::size_t{width} * spp_, 0);
    samples_.assign(std::size_t{width} * channels_of(colour_), 0);
    extra_.clear();
    if (tiled_) {
      std::uint32_t tile_width = 0, tile_length = 0;
      tiff().GetField(t, TIFFTAG_TILEWIDTH, &tile_width);
      tiff().GetField(t, TIFFTAG_TILELENGTH, &tile_length);
      const std::uint64_t tile_bytes = static_cast<std::uint64_t>(tiff().TileSize64(t));
      const std::uint64_t padded_row =
          (std::uint64_t{(width + tile_width - 1) / std::max(tile_width, 1u) * tile_width} * spp_ *
               bps +
           7) /
          8;
      if (tile_width == 0 || tile_length == 0 || tile_length > kMaxSide || tile_bytes == 0 ||
          padded_row * tile_length * file_planes + tile_bytes > kMostBandBytes)
        fail("tiles of " + std::to_string(tile_width) + " x " + std::to_string(tile_length) +
             " are too large to read");
      tile_width_ = tile_width;
      tile_length_ = tile_length;
      tile_.assign(tile_bytes, 0);
      band_row_bytes_ = padded_row;
      band_.assign(padded_row * tile_length * file_planes, 0);
      band_top_ = UINT32_MAX;
    } else {
      const std::uint64_t scanline = static_cast<std::uint64_t>(tiff().ScanlineSize64(t));
      if (scanline == 0 || scanline < row_bytes_) fail("malformed strips");
      line_.assign(scanline, 0);
      for (int s = 1; s < file_planes; ++s) {  // one reader a plane: each reads on in order
        extra_.push_back(open_handle());
        if (!tiff().SetDirectory(extra_.back().get(), page_)) fail();
      }
    }
    y_ = 0;
  }

  // Row y of file plane s (the whole pixel for contiguous files), packed.
  unsigned char const* packed_row(std::uint32_t y, int s) {
    if (!tiled_) {
      TIFF* handle = s == 0 ? tif_.get() : extra_[s - 1].get();
      if (tiff().ReadScanline(handle, line_.data(), y, static_cast<std::uint16_t>(s)) < 0)
        fail("cannot read row " + std::to_string(y + 1));
      return line_.data();
    }
    const std::uint32_t top = y / tile_length_ * tile_length_;
    if (top != band_top_) load_band(top);
    const std::size_t plane_bytes = band_row_bytes_ * tile_length_;
    return band_.data() + s * plane_bytes + (y - top) * band_row_bytes_;
  }

  void load_band(std::uint32_t top) {
    band_top_ = UINT32_MAX;
    const std::uint64_t tile_row_bytes = (std::uint64_t{tile_width_} * spp_ * scale_.bits + 7) / 8;
    const std::size_t plane_bytes = band_row_bytes_ * tile_length_;
    for (int s = 0; s < (separate_ ? used_ : 1); ++s)
      for (std::uint32_t x = 0; x < shape_.width; x += tile_width_) {
        if (tiff().ReadTile(tif_.get(), tile_.data(), x, top, 0, static_cast<std::uint16_t>(s)) < 0)
          fail("cannot read the tile at " + std::to_string(x) + ", " + std::to_string(top));
        const std::uint64_t at = std::uint64_t{x} / tile_width_ * tile_row_bytes;
        for (std::uint32_t r = 0; r < tile_length_ && (r + 1) * tile_row_bytes <= tile_.size(); ++r)
          std::memcpy(band_.data() + s * plane_bytes + r * band_row_bytes_ + at,
                      tile_.data() + r * tile_row_bytes, tile_row_bytes);
      }
    band_top_ = top;
  }

  void read_row(std::uint32_t y) {
    const int channels = channels_of(colour_);
    const std::uint32_t width = shape_.width;
    if (!palette_.empty()) {
      scale_.apply(packed_row(y, 0), width, unpacked_.data());
      for (std::uint32_t x = 0; x < width; ++x)
        std::memcpy(&samples_[x * 3], &palette_[unpacked_[x] * 3u], 3);
      return;
    }
    for (int s = 0; s < (separate_ ? used_ : 1); ++s) {
      scale_.apply(packed_row(y, s), width * spp_, unpacked_.data());
      if (separate_) {
        for (std::uint32_t x = 0; x < width; ++x) samples_[x * channels + s] = unpacked_[x];
      } else if (spp_ == channels) {
        std::memcpy(samples_.data(), unpacked_.data(), samples_.size());
      } else {  // extra samples beyond those used
        for (std::uint32_t x = 0; x < width; ++x)
          std::memcpy(&samples_[x * channels], &unpacked_[x * spp_], channels);
      }
    }
  }

  std::unique_ptr<Input> in_;
  std::FILE* file_ = nullptr;
  Handle tif_;
  std::vector<Handle> extra_;  // separated strips: planes 1 .. used - 1
  tdir_t page_ = 0;
  Colour colour_ = Colour::Grey;
  SampleScale scale_;
  std::vector<unsigned char> palette_;
  bool separate_ = false, tiled_ = false;
  int spp_ = 1, used_ = 1;
  std::uint64_t row_bytes_ = 0, band_row_bytes_ = 0;
  std::uint32_t tile_width_ = 0, tile_length_ = 0, band_top_ = 0, y_ = 0;
  std::vector<unsigned char> line_, tile_, band_, unpacked_, samples_;
};

}  // namespace

TIFF* open_tiff_stream(std::FILE* stream, std::string const& name, char const* mode) {
  std::string why;
  TiffLibrary const* lib = tiff_library(&why);
  if (lib == nullptr) {
    std::snprintf(tiff_message, sizeof tiff_message, "%s", why.c_str());
    return nullptr;
  }
  static std::once_flag once;
  std::call_once(once, [lib] {
    lib->SetErrorHandler(on_tiff_error);
    lib->SetWarningHandler(nullptr);
  });
  return lib->ClientOpen(name.c_str(), mode, stream, read_proc, write_proc, seek_proc, close_proc,
                         size_proc, map_proc, unmap_proc);
}

std::string tiff_error() { return tiff_message; }

std::unique_ptr<Reader> open_tiff(std::unique_ptr<Input> in) {
  return std::make_unique<TiffReader>(std::move(in));
}

}  // namespace halftone::image::detail
