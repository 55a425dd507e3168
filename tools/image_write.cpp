// The writers: PBM, PGM, PAM, PNG (libpng) and TIFF (libtiff).
#include <png.h>
#include <sys/stat.h>
#include <tiffio.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <vector>

#include "image_input.h"
#include "tiff_library.h"

namespace halftone::image {
namespace {

// Turns packed rows of 1, 2 or 4 bits a pixel into a byte a pixel through a
// table made once a picture: each packed byte gives its pixels at once.
class Expander {
 public:
  // `value` maps a pixel's code to its byte.
  template <class Value>
  void prepare(int bits, Value value) {
    per_byte_ = 8 / bits;
    const unsigned mask = (1u << bits) - 1u;
    for (unsigned byte = 0; byte < 256; ++byte)
      for (int i = 0; i < per_byte_; ++i)
        table_[byte][i] = value((byte >> (8 - bits * (i + 1))) & mask);
  }
  void run(unsigned char const* row, std::uint32_t width, unsigned char* out) const {
    const std::uint32_t whole = width / per_byte_;
    for (std::uint32_t b = 0; b < whole; ++b, out += per_byte_)
      std::memcpy(out, table_[row[b]], per_byte_);
    if (width % per_byte_ != 0) std::memcpy(out, table_[row[whole]], width % per_byte_);
  }

 private:
  int per_byte_ = 8;
  unsigned char table_[256][8] = {};
};

// Grey as a picture shows it: ink black, paper white.
void prepare_grey(Expander& expander, Picture const& p) {
  if (p.bits == 8) return;
  const unsigned top = p.bits == 1 ? 1u : static_cast<unsigned>(std::max(p.top_code, 1));
  expander.prepare(p.bits, [top](unsigned code) {
    return static_cast<unsigned char>(255 - std::min(code, top) * 255 / top);
  });
}
void render_grey(Expander const& expander, Picture const& p, unsigned char const* row,
                 unsigned char* out) {
  if (p.bits == 8)
    std::memcpy(out, row, p.width);
  else
    expander.run(row, p.width, out);
}

std::size_t packed_bytes(Picture const& p) {
  return (std::size_t{p.width} * static_cast<unsigned>(p.bits) + 7) / 8;
}

// A copy of a packed row with the bits beyond the last pixel cleared.
void copy_packed(Picture const& p, unsigned char const* row, unsigned char* out) {
  const std::size_t bytes = packed_bytes(p);
  std::memcpy(out, row, bytes);
  const unsigned used = static_cast<unsigned>((std::uint64_t{p.width} * p.bits) % 8);
  if (used != 0) out[bytes - 1] &= static_cast<unsigned char>(0xFF00u >> used);
}

class StreamWriter : public Writer {
 protected:
  StreamWriter(std::FILE* out, std::string name) : out_(out), name_(std::move(name)) {}
  void put(void const* data, std::size_t size) {
    if (size != 0 && std::fwrite(data, 1, size, out_) != size) write_failed();
  }
  [[noreturn]] void write_failed() const {
    throw WriteError("cannot write " + name_ + ": " + std::strerror(errno));
  }
  // Also fails where an earlier write to the stream failed unreported.
  void flush() {
    if (std::fflush(out_) != 0 || std::ferror(out_)) write_failed();
  }
  std::FILE* out_;
  std::string name_;
};

class PnmWriter final : public StreamWriter {
 public:
  PnmWriter(Format format, std::FILE* out, std::string name)
      : StreamWriter(out, std::move(name)), format_(format) {}

  void begin(Picture const& p) override {
    picture_ = p;
    std::string header;
    const std::string size = std::to_string(p.width) + " " + std::to_string(p.height) + "\n";
    if (format_ == Format::Pbm) {
      if (p.bits != 1)
        throw Error(name_ + ": a PBM holds one-bit dots, not " + std::to_string(p.bits) +
                    "-bit codes (write PGM, PAM, PNG or TIFF)");
      header = "P4\n" + size;
    } else if (format_ == Format::Pgm) {
      header = "P5\n" + size + "255\n";
    } else {
      const int maxval = p.bits == 8 ? 255 : p.bits == 1 ? 1 : p.top_code;
      header = "P7\nWIDTH " + std::to_string(p.width) + "\nHEIGHT " + std::to_string(p.height) +
               "\nDEPTH 1\nMAXVAL " + std::to_string(maxval) + "\nTUPLTYPE " +
               (p.bits == 1 ? "BLACKANDWHITE" : "GRAYSCALE") + "\nENDHDR\n";
    }
    put(header.data(), header.size());
    row_.assign(format_ == Format::Pbm ? packed_bytes(p) : p.width, 0);
    if (format_ == Format::Pam && p.bits != 8) {  // PAM samples: paper at maxval
      const unsigned top = p.bits == 1 ? 1u : static_cast<unsigned>(p.top_code);
      expander_.prepare(p.bits, [top](unsigned code) {
        return static_cast<unsigned char>(top - std::min(code, top));
      });
    } else {
      prepare_grey(expander_, p);
    }
  }

  void write_row(unsigned char const* row) override {
    Picture const& p = picture_;
    if (format_ == Format::Pbm) {
      copy_packed(p, row, row_.data());
    } else {
      render_grey(expander_, p, row, row_.data());
    }
    put(row_.data(), row_.size());
  }

  void end() override {}
  void finish() override { flush(); }

 private:
  Format format_;
  Picture picture_;
  Expander expander_;
  std::vector<unsigned char> row_;
};

class PngWriter final : public StreamWriter {
 public:
  PngWriter(std::FILE* out, std::string name) : StreamWriter(out, std::move(name)) {
    handles_.png =
        png_create_write_struct(PNG_LIBPNG_VER_STRING, this, &PngWriter::on_error, nullptr);
    if (handles_.png == nullptr ||
        (handles_.info = png_create_info_struct(handles_.png)) == nullptr)
      throw WriteError(name_ + ": out of memory");
  }

  bool holds_several() const override { return false; }

  void begin(Picture const& p) override {
    if (begun_) throw Error(name_ + ": a PNG holds one picture (write TIFF or PNM for more)");
    begun_ = true;
    picture_ = p;
    // Dots, and two-bit codes whose darkest code is 3, are PNG greys of their
    // own depth (0, 85, 170, 255 for two bits): the rows go as they are, a
    // quarter of the bytes of 8-bit grey, and read back as the same greys.
    // Four-bit codes (0-7) have no such depth and go as 8-bit grey.
    packed_ = p.bits != 8 && (1 << p.bits) - 1 == p.top_code;
    row_.assign(packed_ ? packed_bytes(p) : p.width, 0);
    prepare_grey(expander_, p);
    const int depth = packed_ ? p.bits : 8;
    guard([&] {
      png_init_io(handles_.png, out_);
      png_set_IHDR(handles_.png, handles_.info, p.width, p.height, depth, PNG_COLOR_TYPE_GRAY,
                   PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
      if (p.bits != 8 && !packed_) {
        // Eight greys in 8-bit samples: the row filters only add bytes, and
        // zlib's default level walks long match chains over so few values.
        // Level 4 writes an A4 page of them 3 times as fast, 4 % larger.
        png_set_filter(handles_.png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
        png_set_compression_level(handles_.png, 4);
      }
      if (p.x_dpi > 0 && p.y_dpi > 0)
        png_set_pHYs(handles_.png, handles_.info, static_cast<png_uint_32>(p.x_dpi / 0.0254 + 0.5),
                     static_cast<png_uint_32>(p.y_dpi / 0.0254 + 0.5), PNG_RESOLUTION_METER);
      png_write_info(handles_.png, handles_.info);
      if (packed_) png_set_invert_mono(handles_.png);  // PNG's 0 is black
    });
  }

  void write_row(unsigned char const* row) override {
    if (packed_)
      copy_packed(picture_, row, row_.data());
    else
      render_grey(expander_, picture_, row, row_.data());
    guard([&] { png_write_row(handles_.png, row_.data()); });
  }

  void end() override {
    guard([&] { png_write_end(handles_.png, nullptr); });
  }
  void finish() override { flush(); }

 private:
  struct Handles {
    png_structp png = nullptr;
    png_infop info = nullptr;
    ~Handles() { png_destroy_write_struct(&png, &info); }
  };

  template <class Call>
  void guard(Call&& call) {
    if (!detail::guarded(png_jmpbuf(handles_.png), call))
      throw WriteError("cannot write " + name_ + ": " + message_);
  }
  static void on_error(png_structp png, png_const_charp message) {
    auto* self = static_cast<PngWriter*>(png_get_error_ptr(png));
    std::snprintf(self->message_, sizeof self->message_, "%s", message);
    png_longjmp(png, 1);
  }

  Handles handles_;
  Picture picture_;
  Expander expander_;
  bool begun_ = false;
  bool packed_ = false;  // rows go as the library packs them
  std::vector<unsigned char> row_;
  char message_[200] = {};
};

class TiffWriter final : public StreamWriter {
 public:
  TiffWriter(std::FILE* out, std::string name, TiffCompression compression)
      : StreamWriter(out, std::move(name)), compression_(compression) {
    // libtiff seeks back to link its pages: streams that cannot seek get a
    // temporary file, copied out at the end.
    struct stat st {};
    const int fd = ::fileno(out);
    std::FILE* target = out;
    if (fd < 0 || ::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) || ::ftello(out) != 0) {
      spool_ = temporary_stream();
      if (spool_ == nullptr) write_failed();
      target = spool_;
    }
    tif_ = detail::open_tiff_stream(target, name_, "w");
    if (tif_ == nullptr) throw WriteError("cannot write " + name_ + ": " + detail::tiff_error());
  }

  ~TiffWriter() override {
    if (tif_ != nullptr) tiff().Cleanup(tif_);
    if (spool_ != nullptr) std::fclose(spool_);
  }

  bool appends_written() const override { return true; }
  std::unique_ptr<Writer> twin(std::FILE* file, std::string const& name) const override {
    return std::make_unique<TiffWriter>(file, name, compression_);
  }

  void append_written(std::FILE* file) override {
    ::fseeko(file, 0, SEEK_SET);  // libtiff reads the header from where the stream is
    TIFF* in = detail::open_tiff_stream(file, name_, "r");
    if (in == nullptr)
      throw WriteError("cannot read back a temporary file: " + detail::tiff_error());
    struct Cleanup {
      TIFF* t;
      ~Cleanup() { tiff().Cleanup(t); }
    } cleanup{in};
    std::vector<unsigned char> strip;
    do {
      // The page's tags as begin() sets them from its picture, and its
      // strips as they were compressed.
      Picture p;
      std::uint16_t bits = 1;
      char const* name = nullptr;
      float x_dpi = 0, y_dpi = 0;
      std::uint32_t rows_per_strip = 0;
      tiff().GetField(in, TIFFTAG_IMAGEWIDTH, &p.width);
      tiff().GetField(in, TIFFTAG_IMAGELENGTH, &p.height);
      tiff().GetFieldDefaulted(in, TIFFTAG_BITSPERSAMPLE, &bits);
      p.bits = bits;
      if (tiff().GetField(in, TIFFTAG_PAGENAME, &name) == 1 && name != nullptr) p.name = name;
      if (tiff().GetField(in, TIFFTAG_XRESOLUTION, &x_dpi) == 1 &&
          tiff().GetField(in, TIFFTAG_YRESOLUTION, &y_dpi) == 1) {
        p.x_dpi = x_dpi;
        p.y_dpi = y_dpi;
      }
      tiff().GetFieldDefaulted(in, TIFFTAG_ROWSPERSTRIP, &rows_per_strip);
      begin(p);
      tiff().SetField(tif_, TIFFTAG_ROWSPERSTRIP, rows_per_strip);
      const std::uint32_t strips = tiff().NumberOfStrips(in);
      for (std::uint32_t s = 0; s < strips; ++s) {
        const tmsize_t size = tiff().RawStripSize(in, s);
        if (size < 0)
          throw WriteError("cannot read back a temporary file: " + detail::tiff_error());
        strip.resize(static_cast<std::size_t>(size));
        if (tiff().ReadRawStrip(in, s, strip.data(), size) != size)
          throw WriteError("cannot read back a temporary file: " + detail::tiff_error());
        if (tiff().WriteRawStrip(tif_, s, strip.data(), size) != size) failed();
      }
      end();
    } while (tiff().ReadDirectory(in));
  }

  void begin(Picture const& p) override {
    picture_ = p;
    TIFF* t = tif_;
    const bool dots = p.bits == 1;
    tiff().SetField(t, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
    tiff().SetField(t, TIFFTAG_IMAGEWIDTH, p.width);
    tiff().SetField(t, TIFFTAG_IMAGELENGTH, p.height);
    tiff().SetField(t, TIFFTAG_BITSPERSAMPLE, p.bits);
    tiff().SetField(t, TIFFTAG_SAMPLESPERPIXEL, 1);
    tiff().SetField(t, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    tiff().SetField(t, TIFFTAG_PHOTOMETRIC,
                    p.bits == 8 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_MINISWHITE);
    tiff().SetField(t, TIFFTAG_COMPRESSION, compression_code(dots));
    tiff().SetField(t, TIFFTAG_FILLORDER, FILLORDER_MSB2LSB);
    // Strips of about 8 KiB: libtiff buffers a whole strip as it writes.
    tiff().SetField(t, TIFFTAG_ROWSPERSTRIP, tiff().DefaultStripSize(t, 0));
    tiff().SetField(t, TIFFTAG_PAGENUMBER, page_++, 0);
    if (!p.name.empty()) tiff().SetField(t, TIFFTAG_PAGENAME, p.name.c_str());
    if (p.x_dpi > 0 && p.y_dpi > 0) {
      tiff().SetField(t, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
      tiff().SetField(t, TIFFTAG_XRESOLUTION, static_cast<float>(p.x_dpi));
      tiff().SetField(t, TIFFTAG_YRESOLUTION, static_cast<float>(p.y_dpi));
    }
    tiff().SetField(t, TIFFTAG_SOFTWARE, "halftone");
    row_.assign(
        std::max<std::size_t>(packed_bytes(p), static_cast<std::size_t>(tiff().ScanlineSize(t))),
        0);
    y_ = 0;
  }

  void write_row(unsigned char const* row) override {
    copy_packed(picture_, row, row_.data());  // the codec may change the row it is given
    if (tiff().WriteScanline(tif_, row_.data(), y_++, 0) < 0) failed();
  }

  void end() override {
    if (!tiff().WriteDirectory(tif_)) failed();
  }

  void finish() override {
    TIFF* t = tif_;
    tif_ = nullptr;
    const bool flushed = tiff().Flush(t) != 0;
    tiff().Cleanup(t);
    if (!flushed) failed();
    if (spool_ != nullptr) {
      if (std::fflush(spool_) != 0 || std::ferror(spool_)) write_failed();
      std::rewind(spool_);
      unsigned char buffer[1 << 16];
      std::size_t got = 0;
      while ((got = std::fread(buffer, 1, sizeof buffer, spool_)) != 0) put(buffer, got);
    }
    flush();
  }

 private:
  [[noreturn]] void failed() const {
    throw WriteError("cannot write " + name_ + ": " + detail::tiff_error());
  }

  std::uint16_t compression_code(bool dots) const {
    switch (compression_) {
      case TiffCompression::Auto:
        break;
      case TiffCompression::Group4:
        if (!dots) throw Error("cannot write " + name_ + ": Group 4 holds one-bit pages only");
        break;
      case TiffCompression::PackBits:
        return COMPRESSION_PACKBITS;
      case TiffCompression::Lzw:
        return COMPRESSION_LZW;
      case TiffCompression::Deflate:
        return COMPRESSION_ADOBE_DEFLATE;
      case TiffCompression::None:
        return COMPRESSION_NONE;
    }
    return dots ? COMPRESSION_CCITTFAX4 : COMPRESSION_LZW;
  }

  TiffCompression compression_;
  TIFF* tif_ = nullptr;
  std::FILE* spool_ = nullptr;
  Picture picture_;
  std::uint16_t page_ = 0;
  std::uint32_t y_ = 0;
  std::vector<unsigned char> row_;
};

}  // namespace

std::unique_ptr<Writer> make_writer(Format format, std::FILE* stream, std::string const& name,
                                    WriteOptions const& options) {
  switch (format) {
    case Format::Pbm:
    case Format::Pgm:
    case Format::Pam:
      return std::make_unique<PnmWriter>(format, stream, name);
    case Format::Png:
      return std::make_unique<PngWriter>(stream, name);
    case Format::Tiff:
      return std::make_unique<TiffWriter>(stream, name, options.tiff);
    case Format::Raw:
      break;
  }
  throw Error(name + ": raw output has no picture writer");
}

}  // namespace halftone::image
