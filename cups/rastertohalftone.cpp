// rastertohalftone: a CUPS filter that screens 8-bit K, W, SW and CMYK raster
// pages with a halftone screen and writes 1-, 2- or 4-bit raster pages.
//
//   rastertohalftone job-id user title copies options [file]
//
// Reads the raster from `file` or standard input, writes to standard output,
// and reports on standard error with CUPS' ERROR:, INFO: and PAGE: lines.
#include <fcntl.h>
#include <halftone/halftone.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <thread>
#include <vector>

#include "raster.h"
#include "settings.h"

namespace halftone::cups_filter {
namespace {

volatile sig_atomic_t g_stop = 0;

extern "C" void on_terminate(int) { g_stop = 1; }

void report(char const* kind, char const* format, ...) {
  std::va_list args;
  va_start(args, format);
  std::fprintf(stderr, "%s: ", kind);
  std::vfprintf(stderr, format, args);
  std::fputc('\n', stderr);
  va_end(args);
}

// Standard input read for libcups; a read broken by SIGTERM ends the stream.
ssize_t read_input(void* context, unsigned char* buffer, std::size_t length) {
  const int fd = *static_cast<int*>(context);
  for (;;) {
    const ssize_t n = ::read(fd, buffer, length);
    if (n >= 0) return n;
    if (errno != EINTR) return -1;
    if (g_stop) return 0;
  }
}

// A job for one page, with the filter's settings applied.
struct PageJob {
  halftone::Job job;
  std::string error;
};

PageJob make_job(std::string const& screen, Settings const& settings, std::uint32_t width,
                 std::uint32_t planes) {
  PageJob made{halftone::Job(screen.c_str(), width, planes), {}};
  if (!made.job) {
    made.error = made.job.error();
    return made;
  }
  struct Key {
    char const* key;
    std::string const& value;
    char const* option;
  };
  const Key keys[] = {{"levels", settings.levels, "HalftoneLevels"},
                      {"seed-time", settings.seed_time, "HalftoneSeedTime"}};
  for (Key const& k : keys) {
    if (k.value.empty()) continue;
    if (made.job.set(k.key, k.value) != 0) {
      made.error = std::string(k.option) + "=" + k.value + ": " + made.job.error();
      return made;
    }
  }
  if (planes > 1) {
    // Planes screened side by side give the same dots; a library without the key is no fault.
    const unsigned cores = std::max(1u, std::thread::hardware_concurrency());
    made.job.set("threads", std::to_string(std::min(planes, cores)));
  }
  return made;
}

class Filter {
 public:
  Filter(Settings settings, ppd_file_t* ppd) : settings_(std::move(settings)), ppd_(ppd) {}
  Filter(Filter const&) = delete;
  Filter& operator=(Filter const&) = delete;
  ~Filter() {
    if (out_ != nullptr) cupsRasterClose(out_);
  }

  // Screens every page from `in` to standard output. Returns the exit status.
  int run(cups_raster_t* in) {
    cups_page_header2_t header;
    while (!g_stop && cupsRasterReadHeader2(in, &header)) {
      ++page_number_;
      if (!screen_page(in, header)) return 1;
    }
    if (g_stop) {
      report("INFO", "Stopped on request after %d page(s)", page_number_);
      return 0;
    }
    if (page_number_ == 0) {
      report("ERROR", "No pages found in the raster stream");
      return 1;
    }
    report("INFO", "Screened %d page(s)", page_number_);
    return 0;
  }

 private:
  bool fail(std::string const& why) {
    report("ERROR", "Page %d: %s", page_number_, why.c_str());
    return false;
  }

  bool screen_page(cups_raster_t* in, cups_page_header2_t const& header) {
    InputPage page;
    if (std::string why = read_input_page(header, page); !why.empty()) return fail(why);
    const std::string screen = screen_for(settings_, ppd_, page.planes);
    if (screen.empty()) return fail("no screen chosen: set HalftoneScreen");
    const long index = halftone_find_screen(screen.c_str());
    if (index < 0) return fail("no screen is called \"" + screen + "\"");
    if (std::string why = unusable_reason(static_cast<std::size_t>(index)); !why.empty())
      return fail(why);
    halftone_screen_info const* info = halftone_screen_info_at(static_cast<std::size_t>(index));
    const int bits = info->bits;
    // CUPS's one-bit raster sets a bit for ink: paper bits are flipped.
    const bool invert = bits == 1 && info->paper_bits != 0;
    PageJob job = make_job(screen, settings_, page.width, page.planes);
    if (!job.error.empty()) return fail(job.error);

    cups_page_header2_t out_header = output_header(header, page.planes, bits);
    const std::uint32_t band = std::min(settings_.band_height, page.height);
    const std::size_t grey_stride = halftone_row_bytes(page.width, 8);
    const std::size_t dots_stride = halftone_row_bytes(page.width, bits);
    std::vector<unsigned char> line, grey, dots, out_line;
    try {
      line.resize(page.line_bytes);
      grey.resize(grey_stride * page.planes * band);
      dots.resize(dots_stride * page.planes * band);
      out_line.resize(out_header.cupsBytesPerLine);
    } catch (std::bad_alloc const&) {
      return fail("not enough memory for bands of " + std::to_string(band) + " rows");
    }
    // The output opens with the first page, so that a refused start writes nothing.
    if (out_ == nullptr && (out_ = cupsRasterOpen(1, CUPS_RASTER_WRITE_COMPRESSED)) == nullptr)
      return fail(std::string("cannot open the output: ") + cupsRasterErrorString());
    if (!cupsRasterWriteHeader2(out_, &out_header)) return fail("cannot write the page header");
    report("INFO", "Screening page %d (%u x %u, %s) with %s, %d bit(s) a colour", page_number_,
           page.width, page.height, page.planes == 1 ? "grey" : "CMYK", screen.c_str(), bits);
    std::fprintf(stderr, "PAGE: %d %u\n", page_number_, std::max(header.NumCopies, 1u));

    const auto line_length = static_cast<unsigned>(page.line_bytes);
    const auto out_length = static_cast<unsigned>(out_header.cupsBytesPerLine);
    for (std::uint32_t y = 0; y < page.height; y += band) {
      const std::uint32_t rows = std::min(band, page.height - y);
      for (std::uint32_t r = 0; r < rows; ++r) {
        if (g_stop || cupsRasterReadPixels(in, line.data(), line_length) != line_length) {
          if (g_stop) return blank_rest(out_line, page.height - y);
          return fail("the raster stream ends after line " + std::to_string(y + r) + " of " +
                      std::to_string(page.height) + " (truncated input)");
        }
        line_to_grey(page, line.data(), grey.data() + std::size_t{r} * page.planes * grey_stride,
                     grey_stride);
      }
      if (job.job.band(grey.data(), grey_stride, dots.data(), dots_stride, rows) != 0)
        return fail(job.job.error());
      for (std::uint32_t r = 0; r < rows; ++r) {
        dots_to_line(out_header, dots.data() + std::size_t{r} * page.planes * dots_stride,
                     dots_stride, invert, out_line.data());
        if (cupsRasterWritePixels(out_, out_line.data(), out_length) != out_length)
          return fail("cannot write the screened page");
      }
    }
    if (job.job.finish() != 0) return fail(job.job.error());
    return true;
  }

  // Ends the page with blank lines so that the output stays a whole raster stream.
  bool blank_rest(std::vector<unsigned char>& out_line, std::uint32_t lines) {
    std::fill(out_line.begin(), out_line.end(), 0);
    const auto length = static_cast<unsigned>(out_line.size());
    for (std::uint32_t i = 0; i < lines; ++i)
      if (cupsRasterWritePixels(out_, out_line.data(), length) != length) break;
    return true;
  }

  Settings settings_;
  ppd_file_t* ppd_;
  int page_number_ = 0;
  cups_raster_t* out_ = nullptr;
};

int run(int argc, char** argv) {
  if (argc < 6 || argc > 7) {
    std::fputs("Usage: rastertohalftone job-id user title copies options [file]\n", stderr);
    return 1;
  }
  struct sigaction action {};
  action.sa_handler = on_terminate;
  sigemptyset(&action.sa_mask);
  action.sa_flags = 0;  // no restart: a blocked read returns and the filter stops
  sigaction(SIGTERM, &action, nullptr);

  int fd = 0;
  if (argc == 7 && (fd = ::open(argv[6], O_RDONLY)) < 0) {
    report("ERROR", "Cannot open %s: %s", argv[6], std::strerror(errno));
    return 1;
  }
  cups_option_t* options = nullptr;
  const int num_options = cupsParseOptions(argv[5], 0, &options);
  ppd_file_t* ppd = nullptr;
  if (char const* path = std::getenv("PPD"); path != nullptr && path[0] != '\0') {
    if ((ppd = ppdOpenFile(path)) == nullptr) {
      int line = 0;
      report("ERROR", "Cannot read the PPD file %s: %s (line %d)", path,
             ppdErrorString(ppdLastError(&line)), line);
      cupsFreeOptions(num_options, options);
      return 1;
    }
  }
  Settings settings;
  const std::string refused = read_settings(num_options, options, ppd, settings);
  cupsFreeOptions(num_options, options);
  int status = 1;
  if (!refused.empty()) {
    report("ERROR", "%s", refused.c_str());
  } else {
    cups_raster_t* in = cupsRasterOpenIO(read_input, &fd, CUPS_RASTER_READ);
    if (in == nullptr) {
      report("ERROR", "No pages found: the input is empty or not a CUPS raster stream");
    } else {
      status = Filter(settings, ppd).run(in);
      cupsRasterClose(in);
    }
  }
  if (ppd != nullptr) ppdClose(ppd);
  if (fd != 0) ::close(fd);
  return status;
}

}  // namespace
}  // namespace halftone::cups_filter

int main(int argc, char** argv) { return halftone::cups_filter::run(argc, argv); }
