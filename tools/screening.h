// Screening pages band by band through the library's job API: rows come from
// an image reader, screened bands go to a sink as they are made.
#pragma once
#include <halftone/halftone.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "image_io.h"

namespace halftone::tool {

// The screened page as the sink receives it.
struct PageOut {
  std::uint32_t width = 0;  // output size (turned screens swap the sides)
  std::uint32_t height = 0;
  std::uint32_t planes = 1;
  std::size_t row_bytes = 0;  // the library's packed row
  double x_dpi = 0, y_dpi = 0;
};

class HeldPage;

// Takes screened pages: bands of line-interleaved planes, rows of row_bytes.
class PageSink {
 public:
  virtual ~PageSink() = default;
  virtual void begin_page(PageOut const& page) = 0;
  virtual void band(unsigned char const* dots, std::uint32_t rows) = 0;
  virtual void end_page() = 0;
  // A sink for a page screened ahead of its turn (in another thread), which
  // keeps it until hand_on gives it here. By default it keeps the page's
  // bands in a temporary file; called from any thread.
  virtual std::unique_ptr<HeldPage> hold() const;
};

// A page screened ahead of its turn.
class HeldPage : public PageSink {
 public:
  // Gives the page to `out`, the sink whose hold() made this one.
  virtual void hand_on(PageSink& out) = 0;
};

// The library's rows exactly as it writes them, pages one after another.
class RawSink final : public PageSink {
 public:
  RawSink(std::FILE* out, std::string name) : out_(out), name_(std::move(name)) {}
  void begin_page(PageOut const& page) override { page_ = page; }
  void band(unsigned char const* dots, std::uint32_t rows) override;
  void end_page() override {}

 private:
  std::FILE* out_;
  std::string name_;
  PageOut page_;
};

// Pictures through an image writer. Planes either stack top to bottom in one
// picture a page or each make a picture of their own (`picture_a_plane`);
// planes after the first wait in temporary files until their turn.
class PictureSink final : public PageSink {
 public:
  PictureSink(image::Writer& writer, bool picture_a_plane, int bits, int top_code,
              std::vector<std::string> plane_names);
  ~PictureSink() override;
  void begin_page(PageOut const& page) override;
  void band(unsigned char const* dots, std::uint32_t rows) override;
  void end_page() override;
  // Where the writer can append pictures written apart (TIFF), a page held
  // is written, and compressed, by the thread that screened it.
  std::unique_ptr<HeldPage> hold() const override;
  // Up to `threads` pictures of a page at once: where each plane is a
  // picture and the writer appends pictures written apart, every plane
  // waits in a temporary file and the page's end writes (compresses) them
  // on that many threads, then appends them in turn.
  void pictures_at_once(unsigned threads) { threads_ = threads; }

 private:
  image::Picture picture(std::uint32_t plane) const;
  void close_spools();
  std::FILE* spool(std::uint32_t plane) const { return spools_[plane - first_spooled_]; }
  void write_spooled(image::Writer& writer, std::uint32_t plane) const;
  void write_spooled_at_once();

  image::Writer& writer_;
  bool picture_a_plane_;
  int bits_, top_code_;
  std::vector<std::string> names_;
  PageOut page_;
  std::size_t packed_ = 0;
  unsigned threads_ = 1;
  std::uint32_t first_spooled_ = 1;  // 0 when every plane is spooled (pictures at once)
  std::vector<std::FILE*> spools_;   // planes first_spooled_ .. planes - 1
};

struct ScreenJob {
  halftone_screen_info const* info = nullptr;
  std::vector<std::pair<std::string, std::string>> keys;  // job options
  std::uint32_t band_height = 64;
  bool progress = false;  // a progress line on stderr for large pages
};

struct ScreenTotals {
  std::uint32_t pages = 0;
  std::uint64_t bands = 0;
  std::uint64_t pixels = 0;  // source pixels, planes counted
  double seconds = 0;        // in the library's screening calls
  PageOut last;              // the last page's output
};

// Screens every page `in` holds into `out`. Throws ToolError for refused
// options or data (exit 2) and library failures (exit 1), image::Error for
// bad input.
ScreenTotals screen_pages(ScreenJob const& job, image::Reader& in, PageSink& out);

// Opens the input afresh, at its first page.
using OpenReader = std::function<std::unique_ptr<image::Reader>()>;

// Screens the pages of a file of several pages on `workers` threads at once
// (two or more), each page a job of its own, and hands them to `out` in page
// order: the same pages screen_pages gives. `first` is the input at its first
// page, `second` another opening of it already at its second; further
// workers open their own. A page screened before its turn waits in a
// temporary file; no worker runs more than twice `workers` pages ahead of
// the output.
ScreenTotals screen_pages_at_once(ScreenJob const& job, OpenReader const& open,
                                  std::unique_ptr<image::Reader> first,
                                  std::unique_ptr<image::Reader> second, unsigned workers,
                                  PageSink& out);

// Serves an image of `planes` grey planes stacked top to bottom as
// line-interleaved planes. Where `open` can open the input afresh (a
// regular file) and the input streams its rows, each plane has a reader of
// its own, placed at the plane's first row, so that the memory taken does
// not grow with the page; otherwise (standard input, interlaced PNG) each
// page is read whole.
class StackedPlanes final : public image::Reader {
 public:
  StackedPlanes(std::unique_ptr<image::Reader> inner, std::uint32_t planes, OpenReader const& open);
  char const* format() const override { return readers_[0]->format(); }
  void read_rows(unsigned char* out, std::size_t stride, std::uint32_t rows) override;
  bool next_page() override;

 private:
  void start_page();
  std::vector<std::unique_ptr<image::Reader>> readers_;  // one, or one a plane
  std::uint32_t planes_;
  std::vector<unsigned char> page_;  // with one reader: the page, whole
  std::uint32_t row_ = 0;
};

}  // namespace halftone::tool
