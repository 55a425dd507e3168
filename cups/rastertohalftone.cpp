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
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <thread>

#include "page.h"
#include "pages_at_once.h"
#include "raster.h"
#include "settings.h"

namespace halftone::cups_filter {
namespace {

extern "C" void on_terminate(int) { g_stop = true; }

// The raster input as libcups reads it.
struct Input {
  int fd = 0;
  bool ended = false;  // a read found the end (or failed, or SIGTERM broke it)
};

// The input read for libcups; a read broken by SIGTERM ends the stream.
ssize_t read_input(void* context, unsigned char* buffer, std::size_t length) {
  auto& input = *static_cast<Input*>(context);
  for (;;) {
    const ssize_t n = ::read(input.fd, buffer, length);
    if (n > 0) return n;
    if (n < 0 && errno == EINTR && !g_stop) continue;
    input.ended = true;
    return n < 0 && errno != EINTR ? -1 : 0;
  }
}

// Screens the stream's pages one at a time, each straight from the stream.
class OnePageAtATime {
 public:
  OnePageAtATime(Settings const& settings, ppd_file_t* ppd, unsigned threads, Output& out,
                 bool const& input_ended)
      : settings_(settings), ppd_(ppd), threads_(threads), out_(out), input_ended_(input_ended) {}

  // Returns the exit status.
  int run(cups_raster_t* in) {
    cups_page_header2_t header;
    while (!g_stop && cupsRasterReadHeader2(in, &header)) {
      ++page_number_;
      if (!screen_page(in, header)) return 1;
    }
    if (std::string why = header_refused(input_ended_); !why.empty()) {
      ++page_number_;
      fail(why);
      return 1;
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
    PagePlan plan;
    if (std::string why = plan_page(header, settings_, ppd_, plan); !why.empty()) return fail(why);
    std::string why;
    std::optional<halftone::Job> job = make_job(plan, settings_, threads_, why);
    if (!job) return fail(why);
    BandBuffers buffers;
    if (why = buffers.allocate(plan, BandBuffers::kReading | BandBuffers::kScreening); !why.empty())
      return fail(why);
    if (why = out_.begin_page(page_number_, header, plan); !why.empty()) return fail(why);
    const std::size_t line_bytes = plan.out_header.cupsBytesPerLine;
    for (std::uint32_t y = 0; y < plan.page.height; y += plan.band) {
      const std::uint32_t rows = std::min(plan.band, plan.page.height - y);
      if (const std::uint32_t got = read_band(in, plan, buffers, rows); got < rows) {
        if (!g_stop) return fail(truncated_at(y + got, plan));
        out_.blank(plan.page.height - y, buffers.lines.data(), line_bytes);
        return true;
      }
      if (why = screen_band(*job, plan, buffers, rows); !why.empty()) return fail(why);
      if (why = out_.write(buffers.lines.data(), rows, line_bytes); !why.empty()) return fail(why);
    }
    if (job->finish() != 0) return fail(job->error());
    return true;
  }

  Settings const& settings_;
  ppd_file_t* ppd_;
  unsigned threads_;
  Output& out_;
  bool const& input_ended_;
  int page_number_ = 0;
};

// Pages at once where there are cores for them, else one at a time.
int screen_stream(cups_raster_t* in, bool const& input_ended, Settings const& settings,
                  ppd_file_t* ppd) {
  const unsigned threads =
      settings.threads != 0 ? settings.threads : std::max(1u, std::thread::hardware_concurrency());
  Output out;
  if (threads > 1)
    if (const int status = screen_pages_at_once(in, input_ended, settings, ppd, threads, out);
        status >= 0)
      return status;
  return OnePageAtATime(settings, ppd, threads, out, input_ended).run(in);
}

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

  Input input;
  if (argc == 7 && (input.fd = ::open(argv[6], O_RDONLY)) < 0) {
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
    cups_raster_t* in = cupsRasterOpenIO(read_input, &input, CUPS_RASTER_READ);
    if (in == nullptr) {
      report("ERROR", "No pages found: the input is empty or not a CUPS raster stream");
    } else {
      status = screen_stream(in, input.ended, settings, ppd);
      cupsRasterClose(in);
    }
  }
  if (ppd != nullptr) ppdClose(ppd);
  if (input.fd != 0) ::close(input.fd);
  return status;
}

}  // namespace
}  // namespace halftone::cups_filter

int main(int argc, char** argv) { return halftone::cups_filter::run(argc, argv); }
