#include "page.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

namespace halftone::cups_filter {

std::atomic<bool> g_stop{false};

void report(char const* kind, char const* format, ...) {
  char message[1024];
  std::va_list args;
  va_start(args, format);
  std::vsnprintf(message, sizeof message, format, args);
  va_end(args);
  std::fprintf(stderr, "%s: %s\n", kind, message);  // one call: threads' lines never mix
}

std::string plan_page(cups_page_header2_t const& header, Settings const& settings, ppd_file_t* ppd,
                      PagePlan& plan) {
  plan = PagePlan{};
  if (std::string why = read_input_page(header, plan.page); !why.empty()) return why;
  plan.screen = screen_for(settings, ppd, plan.page.planes);
  if (plan.screen.empty()) return "no screen chosen: set HalftoneScreen";
  const long index = halftone_find_screen(plan.screen.c_str());
  if (index < 0) return "no screen is called \"" + plan.screen + "\"";
  if (std::string why = unusable_reason(static_cast<std::size_t>(index)); !why.empty()) return why;
  halftone_screen_info const* info = halftone_screen_info_at(static_cast<std::size_t>(index));
  plan.bits = info->bits;
  plan.invert = plan.bits == 1 && info->paper_bits != 0;
  plan.out_header = output_header(header, plan.page.planes, plan.bits);
  plan.band = std::min(settings.band_height, plan.page.height);
  plan.grey_stride = halftone_row_bytes(plan.page.width, 8);
  plan.dots_stride = halftone_row_bytes(plan.page.width, plan.bits);
  return "";
}

std::optional<halftone::Job> make_job(PagePlan const& plan, Settings const& settings,
                                      unsigned threads, std::string& why) {
  halftone::Job job(plan.screen.c_str(), plan.page.width, plan.page.planes);
  if (!job) {
    why = job.error();
    return std::nullopt;
  }
  struct Key {
    char const* key;
    std::string const& value;
    char const* option;
  };
  const Key keys[] = {{"levels", settings.levels, "HalftoneLevels"},
                      {"seed-time", settings.seed_time, "HalftoneSeedTime"},
                      {"mode", settings.mode, "HalftoneMode"}};
  for (Key const& k : keys) {
    if (k.value.empty()) continue;
    if (job.set(k.key, k.value) != 0) {
      why = std::string(k.option) + "=" + k.value + ": " + job.error();
      return std::nullopt;
    }
  }
  // Planes screened side by side give the same dots; a library without the key is no fault.
  const unsigned planes_at_once = std::min(plan.page.planes, std::max(threads, 1u));
  if (planes_at_once > 1) job.set("threads", std::to_string(planes_at_once));
  return job;
}

std::string BandBuffers::allocate(PagePlan const& plan, unsigned parts) {
  try {
    if (parts & kLine) line.resize(plan.page.line_bytes);
    if (parts & kGrey) grey.resize(plan.grey_band_bytes());
    if (parts & kDots) dots.resize(plan.dots_stride * plan.page.planes * plan.band);
    if (parts & kLines) lines.resize(plan.line_band_bytes());
  } catch (std::bad_alloc const&) {
    return "not enough memory for bands of " + std::to_string(plan.band) + " rows";
  }
  return "";
}

std::uint32_t read_band(cups_raster_t* in, PagePlan const& plan, BandBuffers& buffers,
                        std::uint32_t rows) {
  const auto length = static_cast<unsigned>(plan.page.line_bytes);
  const std::size_t row_set = plan.grey_stride * plan.page.planes;
  for (std::uint32_t r = 0; r < rows; ++r) {
    if (g_stop || cupsRasterReadPixels(in, buffers.line.data(), length) != length) return r;
    line_to_grey(plan.page, buffers.line.data(), buffers.grey.data() + r * row_set,
                 plan.grey_stride);
  }
  return rows;
}

std::string truncated_at(std::uint32_t line, PagePlan const& plan) {
  return "the raster stream ends after line " + std::to_string(line) + " of " +
         std::to_string(plan.page.height) + " (truncated input)";
}

std::string header_refused(bool input_ended) {
  if (input_ended || g_stop) return "";
  std::string why = "the page header is not valid CUPS raster";
  char const* detail = cupsRasterErrorString();  // newer libcups say which field
  if (detail == nullptr || detail[0] == '\0' || detail[0] == '\n')
    return why + " (such as a width, height or line length of 0)";
  return why + ": " + std::string(detail, std::strcspn(detail, "\n"));
}

std::string screen_band(halftone::Job& job, PagePlan const& plan, BandBuffers& buffers,
                        std::uint32_t rows) {
  if (job.band(buffers.grey.data(), plan.grey_stride, buffers.dots.data(), plan.dots_stride,
               rows) != 0)
    return job.error();
  const std::size_t row_set = plan.dots_stride * plan.page.planes;
  for (std::uint32_t r = 0; r < rows; ++r)
    dots_to_line(plan.out_header, buffers.dots.data() + r * row_set, plan.dots_stride, plan.invert,
                 buffers.lines.data() + std::size_t{r} * plan.out_header.cupsBytesPerLine);
  return "";
}

Output::~Output() {
  if (out_ != nullptr) cupsRasterClose(out_);
}

std::string Output::begin_page(int number, cups_page_header2_t const& input, PagePlan const& plan) {
  if (out_ == nullptr && (out_ = cupsRasterOpen(1, CUPS_RASTER_WRITE_COMPRESSED)) == nullptr)
    return std::string("cannot open the output: ") + cupsRasterErrorString();
  cups_page_header2_t header = plan.out_header;
  if (!cupsRasterWriteHeader2(out_, &header)) return "cannot write the page header";
  report("INFO", "Screening page %d (%u x %u, %s) with %s, %d bit(s) a colour", number,
         plan.page.width, plan.page.height, plan.page.planes == 1 ? "grey" : "CMYK",
         plan.screen.c_str(), plan.bits);
  std::fprintf(stderr, "PAGE: %d %u\n", number, std::max(input.NumCopies, 1u));
  return "";
}

std::string Output::write(unsigned char* lines, std::uint32_t count, std::size_t line_bytes) {
  const auto length = static_cast<unsigned>(line_bytes);
  for (std::uint32_t i = 0; i < count; ++i, lines += line_bytes)
    if (cupsRasterWritePixels(out_, lines, length) != length)
      return "cannot write the screened page";
  return "";
}

void Output::blank(std::uint32_t count, unsigned char* line, std::size_t line_bytes) {
  std::fill(line, line + line_bytes, 0);
  const auto length = static_cast<unsigned>(line_bytes);
  for (std::uint32_t i = 0; i < count; ++i)
    if (cupsRasterWritePixels(out_, line, length) != length) break;
}

}  // namespace halftone::cups_filter
