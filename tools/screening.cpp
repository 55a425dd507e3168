#include "screening.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "tool_error.h"

namespace halftone::tool {
namespace {

using Clock = std::chrono::steady_clock;

// Pages above this many pixels (planes counted) show a progress line.
constexpr std::uint64_t kProgressPixels = 4'000'000;

// Library results caused by what the user gave (options, data files) exit 2.
int exit_code_for(int result) {
  switch (result) {
    case HALFTONE_ERR_FILE_OPEN:
    case HALFTONE_ERR_FILE_READ:
    case HALFTONE_ERR_LOAD_FAULT:
    case HALFTONE_ERR_BAD_DATA:
    case HALFTONE_ERR_BAD_VALUE:
    case HALFTONE_ERR_UNKNOWN_KEY:
      return kExitBadInput;
    default:
      return kExitFailure;
  }
}

[[noreturn]] void job_failed(halftone::Job const& job, int result, std::string const& what) {
  std::string why = job.error();
  if (why.empty()) why = "result " + std::to_string(result);
  throw ToolError(what + ": " + why, exit_code_for(result));
}

class Progress {
 public:
  Progress(bool wanted, std::uint64_t pixels, std::uint64_t bands)
      : on_(wanted && pixels > kProgressPixels && ::isatty(STDERR_FILENO)), bands_(bands) {}
  ~Progress() {
    if (shown_) std::fputs("\r\033[K", stderr);
  }
  void band_done(std::uint64_t band, std::uint64_t pixels_done, double seconds) {
    if (!on_) return;
    const auto now = Clock::now();
    if (band != bands_ && now - last_ < std::chrono::milliseconds(200)) return;
    last_ = now;
    shown_ = true;
    std::fprintf(stderr, "\rhalftone: band %llu of %llu, %.1f megapixels a second\033[K",
                 static_cast<unsigned long long>(band), static_cast<unsigned long long>(bands_),
                 seconds > 0 ? pixels_done / seconds / 1e6 : 0.0);
    std::fflush(stderr);
  }

 private:
  bool on_;
  bool shown_ = false;
  std::uint64_t bands_;
  Clock::time_point last_{};
};

}  // namespace

void RawSink::band(unsigned char const* dots, std::uint32_t rows) {
  const std::size_t size = page_.row_bytes * page_.planes * rows;
  if (size != 0 && std::fwrite(dots, 1, size, out_) != size)
    throw image::WriteError("cannot write " + name_ + ": " + std::strerror(errno));
}

PictureSink::PictureSink(image::Writer& writer, bool picture_a_plane, int bits, int top_code,
                         std::vector<std::string> plane_names)
    : writer_(writer),
      picture_a_plane_(picture_a_plane),
      bits_(bits),
      top_code_(top_code),
      names_(std::move(plane_names)) {}

PictureSink::~PictureSink() { close_spools(); }

void PictureSink::close_spools() {
  for (std::FILE* spool : spools_) std::fclose(spool);
  spools_.clear();
}

image::Picture PictureSink::picture(std::uint32_t plane) const {
  image::Picture p;
  p.width = page_.width;
  p.height = picture_a_plane_ ? page_.height : page_.height * page_.planes;
  p.bits = bits_;
  p.top_code = top_code_;
  p.x_dpi = page_.x_dpi;
  p.y_dpi = page_.y_dpi;
  if (picture_a_plane_ && page_.planes > 1)
    p.name = plane < names_.size() ? names_[plane] : "plane " + std::to_string(plane + 1);
  return p;
}

void PictureSink::begin_page(PageOut const& page) {
  page_ = page;
  packed_ = (std::size_t{page.width} * static_cast<unsigned>(bits_) + 7) / 8;
  close_spools();
  for (std::uint32_t p = 1; p < page.planes; ++p) {
    std::FILE* spool = std::tmpfile();
    if (spool == nullptr)
      throw image::WriteError(std::string("cannot make a temporary file: ") + std::strerror(errno));
    spools_.push_back(spool);
  }
  writer_.begin(picture(0));
}

void PictureSink::band(unsigned char const* dots, std::uint32_t rows) {
  const std::size_t stride = page_.row_bytes;
  for (std::uint32_t r = 0; r < rows; ++r) {
    unsigned char const* row = dots + std::size_t{r} * page_.planes * stride;
    writer_.write_row(row);
    for (std::uint32_t p = 1; p < page_.planes; ++p)
      if (std::fwrite(row + p * stride, 1, packed_, spools_[p - 1]) != packed_)
        throw image::WriteError(std::string("cannot write a temporary file: ") +
                                std::strerror(errno));
  }
}

void PictureSink::end_page() {
  std::vector<unsigned char> row(packed_);
  for (std::uint32_t p = 1; p < page_.planes; ++p) {
    if (picture_a_plane_) {
      writer_.end();
      writer_.begin(picture(p));
    }
    std::FILE* spool = spools_[p - 1];
    std::rewind(spool);
    for (std::uint32_t y = 0; y < page_.height; ++y) {
      if (std::fread(row.data(), 1, packed_, spool) != packed_)
        throw image::WriteError("cannot read back a temporary file");
      writer_.write_row(row.data());
    }
  }
  writer_.end();
  close_spools();
}

ScreenTotals screen_pages(ScreenJob const& request, image::Reader& in, PageSink& out) {
  halftone_screen_info const& info = *request.info;
  const bool whole_page =
      info.banding == HALFTONE_BANDING_WHOLE_PAGE || info.layout != HALFTONE_LAYOUT_SAME;
  ScreenTotals totals;
  do {
    image::PageShape const shape = in.shape();
    if (whole_page && shape.planes != 1)
      throw ToolError(std::string(info.id) + " screens one plane; the input has " +
                      std::to_string(shape.planes));
    halftone::Job job(info.id, shape.width, shape.planes);
    if (!job) throw ToolError(std::string(info.id) + ": " + job.error(), kExitFailure);
    for (auto const& [key, value] : request.keys)
      if (int result = job.set(key.c_str(), value); result != 0)
        job_failed(job, result, "option " + key + " " + value);

    const std::uint32_t band_rows =
        whole_page ? shape.height : std::min(request.band_height, shape.height);
    PageOut page;
    page.planes = shape.planes;
    page.x_dpi = shape.x_dpi;
    page.y_dpi = shape.y_dpi;
    std::uint32_t band_out_width = 0, band_out_rows = 0;
    if (int result = halftone_job_output_shape(job.get(), shape.height, &page.width, &page.height,
                                               &page.row_bytes);
        result != 0)
      job_failed(job, result, info.id);
    if (info.layout != HALFTONE_LAYOUT_SAME) std::swap(page.x_dpi, page.y_dpi);
    std::size_t band_row_bytes = 0;
    if (int result = halftone_job_output_shape(job.get(), band_rows, &band_out_width,
                                               &band_out_rows, &band_row_bytes);
        result != 0)
      job_failed(job, result, info.id);

    const std::size_t source_stride = halftone_row_bytes(shape.width, 8);
    std::vector<unsigned char> source(source_stride * band_rows * shape.planes, 255);
    std::vector<unsigned char> dots(band_row_bytes * band_out_rows * shape.planes);
    const std::uint64_t bands = (shape.height + band_rows - 1) / band_rows;
    Progress progress(request.progress, std::uint64_t{shape.width} * shape.height * shape.planes,
                      bands);
    bool begun = false;
    std::uint64_t band = 0;
    double seconds = 0;
    for (std::uint32_t y = 0; y < shape.height; y += band_rows) {
      const std::uint32_t rows = std::min(band_rows, shape.height - y);
      in.read_rows(source.data(), source_stride, rows);
      const auto start = Clock::now();
      if (int result = job.band(source.data(), source_stride, dots.data(), band_row_bytes, rows);
          result != 0)
        job_failed(job, result, info.id);
      seconds += std::chrono::duration<double>(Clock::now() - start).count();
      if (!begun) {  // nothing reaches the output before the first band is screened
        out.begin_page(page);
        begun = true;
      }
      std::uint32_t out_width = 0, out_rows = 0;
      std::size_t out_row_bytes = 0;
      halftone_job_output_shape(job.get(), rows, &out_width, &out_rows, &out_row_bytes);
      out.band(dots.data(), out_rows);
      progress.band_done(++band, std::uint64_t{shape.width} * (y + rows) * shape.planes, seconds);
    }
    if (int result = job.finish(); result != 0) job_failed(job, result, info.id);
    out.end_page();
    ++totals.pages;
    totals.bands += band;
    totals.pixels += std::uint64_t{shape.width} * shape.height * shape.planes;
    totals.seconds += seconds;
    totals.last = page;
  } while (in.next_page());
  return totals;
}

StackedPlanes::StackedPlanes(std::unique_ptr<image::Reader> inner, std::uint32_t planes)
    : inner_(std::move(inner)), planes_(planes) {
  load();
}

void StackedPlanes::load() {
  image::PageShape const& stacked = inner_->shape();
  if (stacked.planes != 1)
    throw ToolError("--planes stacks grey planes; the input already has " +
                    std::to_string(stacked.planes));
  if (stacked.height % planes_ != 0)
    throw ToolError("the input is " + std::to_string(stacked.height) +
                    " rows high, not a whole number of " + std::to_string(planes_) +
                    " stacked planes");
  page_.resize(std::size_t{stacked.width} * stacked.height);
  inner_->read_rows(page_.data(), stacked.width, stacked.height);
  shape_ = stacked;
  shape_.height = stacked.height / planes_;
  shape_.planes = planes_;
  row_ = 0;
}

void StackedPlanes::read_rows(unsigned char* out, std::size_t stride, std::uint32_t rows) {
  const std::size_t width = shape_.width;
  for (std::uint32_t r = 0; r < rows; ++r, ++row_)
    for (std::uint32_t p = 0; p < planes_; ++p)
      std::memcpy(out + (std::size_t{r} * planes_ + p) * stride,
                  page_.data() + (std::size_t{p} * shape_.height + row_) * width, width);
}

bool StackedPlanes::next_page() {
  if (!inner_->next_page()) return false;
  load();
  return true;
}

}  // namespace halftone::tool
