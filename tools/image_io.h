// Image files for the halftone program.
//
// Readers deliver a page's rows a few at a time as grey planes (one byte a
// pixel, 0 black, 255 white), so a page of any height is read in the memory
// of a band. Writers take packed rows as they come. Both report bad or
// unreadable files by throwing image::Error with a message naming the file.
#pragma once
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace halftone::image {

struct Error : std::runtime_error {
  using std::runtime_error::runtime_error;
};
// Output that could not be written (a full disk, a closed pipe).
struct WriteError : Error {
  using Error::Error;
};

// The largest side and the largest pixel count a page may declare.
constexpr std::uint32_t kMaxSide = 1u << 20;
constexpr std::uint64_t kMaxPixels = 1ull << 32;

struct PageShape {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t planes = 1;  // 1 (grey) or 4 (cyan, magenta, yellow, black)
  double x_dpi = 0;          // resolution when the file gives one, else 0
  double y_dpi = 0;
};

// Reads a file page by page and each page in rows.
//
// Grey, grey with alpha (laid on white paper), RGB (to grey by luminance) and
// palette pictures give one plane; CMYK gives four, where ink k becomes grey
// 255 - k.
class Reader {
 public:
  virtual ~Reader() = default;
  PageShape const& shape() const { return shape_; }
  // "PGM", "PNG", "TIFF", ...
  virtual char const* format() const = 0;
  // Reads the next `rows` rows of the current page into `out`, planes
  // line-interleaved: row r of plane p at out + (r * planes + p) * stride.
  virtual void read_rows(unsigned char* out, std::size_t stride, std::uint32_t rows) = 0;
  // Moves to the next page of the file (after every row of the current one
  // was read); false when there is none.
  virtual bool next_page() = 0;
  // Moves past the current page, none of whose rows was read, to the next;
  // false when there is none. Readers that can skip a page's data without
  // decoding it do; the others read its rows.
  virtual bool skip_page();
  // Passes over the next `rows` rows of the current page. Readers that can
  // seek past them do; the others read them.
  virtual void skip_rows(std::uint32_t rows);
  // Whether rows are read as they are asked for; false where the reader
  // holds the page whole (interlaced PNG).
  virtual bool streams() const { return true; }

 protected:
  PageShape shape_;
};

// Opens PNM (P1-P6), PAM, PNG, TIFF or JPEG, recognized by its first bytes; "-"
// reads standard input. A size the file declares is checked against the
// bytes it holds (where that is known) before anything is allocated for it.
std::unique_ptr<Reader> open_reader(std::string const& path);
// The same on a stream the caller keeps open (a pipe, a file, fmemopen);
// `name` is used in messages. TIFF from a stream that cannot seek is first
// copied to a temporary file.
std::unique_ptr<Reader> open_reader(std::FILE* stream, std::string const& name);

// An unnamed temporary file open for update, in $TMPDIR (else /tmp), gone
// when closed; NULL with errno set where none can be made.
std::FILE* temporary_stream();

enum class Format { Pbm, Pgm, Pam, Png, Tiff, Raw };

// "pbm", "pgm", "pam", "png", "tif"/"tiff", "raw" (any case).
std::optional<Format> format_named(std::string_view name);
// The format a file name's extension asks for, if any.
std::optional<Format> format_of_path(std::string_view path);
char const* format_name(Format format);

// How TIFF pages are compressed. Auto: CCITT Group 4 for dots, LZW for codes
// and grey. Group 4 holds one-bit pages only; the others hold any page.
enum class TiffCompression { Auto, Group4, PackBits, Lzw, Deflate, None };

// "g4", "packbits", "lzw", "deflate", "none" (any case).
std::optional<TiffCompression> tiff_compression_named(std::string_view name);

struct WriteOptions {
  TiffCompression tiff = TiffCompression::Auto;
};

// One picture of an output file: a TIFF page or a PNM/PAM/PNG image.
struct Picture {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  // 1: dots, a set bit is ink; 2 or 4: dot-size codes 0 .. top_code, 0 no
  // ink; 8: grey bytes, 0 black. Rows are packed, leftmost pixel in the most
  // significant bits, at least (width * bits + 7) / 8 bytes.
  int bits = 1;
  int top_code = 1;  // the darkest code (3 for two-bit, 7 for four-bit codes)
  std::string name;  // TIFF page name ("Cyan"), may be empty
  double x_dpi = 0;  // 0: not given
  double y_dpi = 0;
};

// Writes pictures to a stream, one after another:
//   PBM   one-bit pictures (a set bit is black);
//   PGM   grey, codes drawn from white (0) to black (top code);
//   PAM   BLACKANDWHITE for dots, GRAYSCALE with maxval = top code for codes
//         (the sample is top code - code), GRAYSCALE 255 for grey;
//   PNG   bit depth 1 for dots, grey as PGM otherwise; one picture only;
//   TIFF  a page a picture: dots compressed with CCITT Group 4 (min-is-white),
//         codes as 2- or 4-bit min-is-white samples, grey 8-bit (LZW); or
//         every page as WriteOptions::tiff says.
// PNM and PAM pictures follow one another in the stream.
class Writer {
 public:
  virtual ~Writer() = default;
  virtual void begin(Picture const& picture) = 0;
  virtual void write_row(unsigned char const* row) = 0;
  virtual void end() = 0;
  // After the last picture.
  virtual void finish() = 0;
  // False for formats that hold one picture (PNG).
  virtual bool holds_several() const { return true; }

  // Pictures written ahead, in another thread, where the format can take
  // them whole (appends_written): twin gives a writer of this one's format
  // and options onto `file` (which stays the caller's), whose pictures, once
  // it has finished, append_written copies into this writer's file as they
  // are (TIFF: strip by strip, compressed once, by the writer that made them).
  virtual bool appends_written() const { return false; }
  virtual std::unique_ptr<Writer> twin(std::FILE* /*file*/, std::string const& /*name*/) const {
    throw Error("this format cannot take pictures written apart");
  }
  // Appends every picture a finished twin wrote to `file`.
  virtual void append_written(std::FILE* /*file*/) {
    throw Error("pictures written apart cannot be appended to this format");
  }
};

// `stream` stays the caller's; `name` is used in messages. Format::Raw has
// no writer (raw output is the library's rows as they are).
std::unique_ptr<Writer> make_writer(Format format, std::FILE* stream, std::string const& name,
                                    WriteOptions const& options = {});

}  // namespace halftone::image
