// One page of rastertohalftone: what it is screened with, worked out from its
// header before any of its lines is read; its bands' way from the raster
// stream to the job and on to the output; and the filter's reports.
#pragma once
#include <cups/ppd.h>
#include <cups/raster.h>
#include <halftone/halftone.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "raster.h"
#include "settings.h"

namespace halftone::cups_filter {

// Set by SIGTERM: the filter ends the page it began and stops. Lock-free, so
// that the signal handler may set it and every thread may read it.
extern std::atomic<bool> g_stop;
static_assert(std::atomic<bool>::is_always_lock_free);

// One line on standard error: "KIND: message" (CUPS' ERROR:, INFO: ...).
void report(char const* kind, char const* format, ...);

// What a page is screened with.
struct PagePlan {
  InputPage page;
  std::string screen;
  int bits = 1;
  bool invert = false;  // CUPS' one-bit raster sets a bit for ink: paper bits are flipped
  cups_page_header2_t out_header{};
  std::uint32_t band = 0;       // rows a band
  std::size_t grey_stride = 0;  // bytes of one plane's grey row
  std::size_t dots_stride = 0;  // bytes of one plane's dot row

  std::size_t grey_band_bytes() const { return grey_stride * page.planes * band; }
  std::size_t line_band_bytes() const { return std::size_t{out_header.cupsBytesPerLine} * band; }
};

// Plans the page with this input header. Returns "" or why it cannot be screened.
std::string plan_page(cups_page_header2_t const& header, Settings const& settings, ppd_file_t* ppd,
                      PagePlan& plan);

// A job for the planned page, its planes screened on up to `threads` threads;
// empty with `why` set when the library refuses it.
std::optional<halftone::Job> make_job(PagePlan const& plan, Settings const& settings,
                                      unsigned threads, std::string& why);

// A band's buffers: an input line, the grey rows, the dots and the output lines.
struct BandBuffers {
  enum Part : unsigned { kLine = 1, kGrey = 2, kDots = 4, kLines = 8 };
  static constexpr unsigned kReading = kLine | kGrey;
  static constexpr unsigned kScreening = kGrey | kDots | kLines;

  std::vector<unsigned char> line, grey, dots, lines;
  // Sizes the `parts` for the plan. Returns "" or why not.
  std::string allocate(PagePlan const& plan, unsigned parts);
};

// Reads `rows` raster lines into the buffers' grey rows. Returns the rows read:
// fewer when the stream ends or SIGTERM stops it.
std::uint32_t read_band(cups_raster_t* in, PagePlan const& plan, BandBuffers& buffers,
                        std::uint32_t rows);

// Why a page read up to `line` of its lines is cut short.
std::string truncated_at(std::uint32_t line, PagePlan const& plan);

// Why cupsRasterReadHeader2 gave no next page: "" when the input has ended
// (`input_ended`: a read found its end; the stream may have been cut inside a
// header) or SIGTERM stopped it, else the header libcups refused, which must
// not end the job as though the document were done.
std::string header_refused(bool input_ended);

// Screens `rows` grey rows of the buffers into output lines. Returns "" or why not.
std::string screen_band(halftone::Job& job, PagePlan const& plan, BandBuffers& buffers,
                        std::uint32_t rows);

// The screened raster on standard output, opened with the first page so that
// a refused start writes nothing.
class Output {
 public:
  Output() = default;
  Output(Output const&) = delete;
  Output& operator=(Output const&) = delete;
  ~Output();

  // Writes the page's header and its INFO: and PAGE: lines. Returns "" or why not.
  std::string begin_page(int number, cups_page_header2_t const& input, PagePlan const& plan);
  // Writes `count` output lines of `line_bytes` each. Returns "" or why not.
  std::string write(unsigned char* lines, std::uint32_t count, std::size_t line_bytes);
  // Ends a page cut short by SIGTERM with `count` blank lines, so that the
  // output stays a whole raster stream; `line` is scratch of `line_bytes`.
  void blank(std::uint32_t count, unsigned char* line, std::size_t line_bytes);

 private:
  cups_raster_t* out_ = nullptr;
};

}  // namespace halftone::cups_filter
