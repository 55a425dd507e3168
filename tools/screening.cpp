#include "screening.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <exception>
#include <limits>
#include <map>
#include <mutex>
#include <system_error>
#include <thread>

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

std::string spool_error(char const* what) {
  return std::string("cannot ") + what + " a temporary file: " + std::strerror(errno);
}

std::FILE* temporary_file() {
  std::FILE* file = image::temporary_stream();
  if (file == nullptr) throw image::WriteError(spool_error("make"));
  return file;
}

// A progress line on a terminal: bands of a page, or pages of a file whose
// pages are screened at once (`total` 0: not known).
class Progress {
 public:
  Progress(bool wanted, std::uint64_t pixels, char const* unit, std::uint64_t total)
      : on_(wanted && pixels > kProgressPixels && ::isatty(STDERR_FILENO)),
        unit_(unit),
        total_(total) {}
  ~Progress() {
    if (shown_) std::fputs("\r\033[K", stderr);
  }
  void done(std::uint64_t count, std::uint64_t pixels_done, double seconds) {
    if (!on_) return;
    const auto now = Clock::now();
    if (count != total_ && now - last_ < std::chrono::milliseconds(200)) return;
    last_ = now;
    shown_ = true;
    const std::string of = total_ == 0 ? "" : " of " + std::to_string(total_);
    std::fprintf(stderr, "\rhalftone: %s %llu%s, %.1f megapixels a second\033[K", unit_,
                 static_cast<unsigned long long>(count), of.c_str(),
                 seconds > 0 ? pixels_done / seconds / 1e6 : 0.0);
    std::fflush(stderr);
  }

 private:
  bool on_;
  bool shown_ = false;
  char const* unit_;
  std::uint64_t total_;
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
  first_spooled_ =
      threads_ > 1 && picture_a_plane_ && page.planes > 1 && writer_.appends_written() ? 0 : 1;
  for (std::uint32_t p = first_spooled_; p < page.planes; ++p) spools_.push_back(temporary_file());
  if (first_spooled_ == 1) writer_.begin(picture(0));
}

void PictureSink::band(unsigned char const* dots, std::uint32_t rows) {
  const std::size_t stride = page_.row_bytes;
  for (std::uint32_t r = 0; r < rows; ++r) {
    unsigned char const* row = dots + std::size_t{r} * page_.planes * stride;
    if (first_spooled_ == 1) writer_.write_row(row);
    for (std::uint32_t p = first_spooled_; p < page_.planes; ++p)
      if (std::fwrite(row + p * stride, 1, packed_, spool(p)) != packed_)
        throw image::WriteError(spool_error("write"));
  }
}

// Writes the spooled rows of `plane` through `writer`, whose picture is begun.
void PictureSink::write_spooled(image::Writer& writer, std::uint32_t plane) const {
  std::vector<unsigned char> row(packed_);
  std::FILE* file = spool(plane);
  std::rewind(file);
  for (std::uint32_t y = 0; y < page_.height; ++y) {
    if (std::fread(row.data(), 1, packed_, file) != packed_)
      throw image::WriteError(spool_error("read back"));
    writer.write_row(row.data());
  }
}

void PictureSink::end_page() {
  if (first_spooled_ == 0) {
    write_spooled_at_once();
  } else {
    for (std::uint32_t p = 1; p < page_.planes; ++p) {
      if (picture_a_plane_) {
        writer_.end();
        writer_.begin(picture(p));
      }
      write_spooled(writer_, p);
    }
    writer_.end();
  }
  close_spools();
}

// Each plane a picture written by a twin of the writer into a file of its
// own, up to threads_ at once, then appended in turn.
void PictureSink::write_spooled_at_once() {
  const std::uint32_t planes = page_.planes;
  std::vector<std::FILE*> files(planes, nullptr);
  struct Close {
    std::vector<std::FILE*>& files;
    ~Close() {
      for (std::FILE* f : files)
        if (f != nullptr) std::fclose(f);
    }
  } close{files};
  std::vector<std::exception_ptr> failures(planes);
  std::atomic<std::uint32_t> next{0};
  const auto write_planes = [&] {
    for (std::uint32_t p; (p = next++) < planes;) {
      try {
        std::unique_ptr<image::Writer> twin = writer_.twin(files[p], "a temporary file");
        twin->begin(picture(p));
        write_spooled(*twin, p);
        twin->end();
        twin->finish();
      } catch (...) {
        failures[p] = std::current_exception();
      }
    }
  };
  for (std::FILE*& f : files) f = temporary_file();
  std::vector<std::thread> threads;
  for (unsigned t = 1; t < std::min<unsigned>(threads_, planes); ++t) {
    try {
      threads.emplace_back(write_planes);
    } catch (std::system_error const&) {
      break;  // no thread to be had: this one writes the rest
    }
  }
  write_planes();
  for (std::thread& t : threads) t.join();
  for (std::uint32_t p = 0; p < planes; ++p) {
    if (failures[p]) std::rethrow_exception(failures[p]);
    writer_.append_written(files[p]);
  }
}

namespace {

// A page's screened bands, kept in a temporary file until the page's turn.
class SpoolSink final : public HeldPage {
 public:
  SpoolSink() : file_(temporary_file()) {}
  ~SpoolSink() override { std::fclose(file_); }
  SpoolSink(SpoolSink const&) = delete;
  SpoolSink& operator=(SpoolSink const&) = delete;

  void begin_page(PageOut const& page) override {
    page_ = page;
    begun_ = true;
  }
  void band(unsigned char const* dots, std::uint32_t rows) override {
    const std::size_t size = band_bytes(rows);
    if (std::fwrite(&rows, sizeof rows, 1, file_) != 1 ||
        (size != 0 && std::fwrite(dots, 1, size, file_) != size))
      throw image::WriteError(spool_error("write"));
    most_rows_ = std::max(most_rows_, rows);
  }
  void end_page() override {}

  // Hands the page to `out` as screen_page would have.
  void hand_on(PageSink& out) override {
    std::rewind(file_);
    if (begun_) {
      out.begin_page(page_);
      std::vector<unsigned char> dots(band_bytes(most_rows_));
      std::uint32_t rows = 0;
      while (std::fread(&rows, sizeof rows, 1, file_) == 1) {
        const std::size_t size = band_bytes(rows);
        if (rows > most_rows_ || std::fread(dots.data(), 1, size, file_) != size)
          throw image::WriteError(spool_error("read back"));
        out.band(dots.data(), rows);
      }
    }
    out.end_page();
  }

 private:
  std::size_t band_bytes(std::uint32_t rows) const { return page_.row_bytes * page_.planes * rows; }
  std::FILE* file_;
  PageOut page_;
  bool begun_ = false;
  std::uint32_t most_rows_ = 0;
};

// A page's pictures written by a twin of the output's writer into a
// temporary file, and appended to the output whole in the page's turn.
class WrittenPage final : public HeldPage {
 public:
  WrittenPage(std::FILE* file, std::unique_ptr<image::Writer> writer, image::Writer& target,
              bool picture_a_plane, int bits, int top_code, std::vector<std::string> names)
      : file_(file),
        writer_(std::move(writer)),
        target_(target),
        sink_(*writer_, picture_a_plane, bits, top_code, std::move(names)) {}
  WrittenPage(WrittenPage const&) = delete;
  WrittenPage& operator=(WrittenPage const&) = delete;

  void begin_page(PageOut const& page) override {
    sink_.begin_page(page);
    begun_ = true;
  }
  void band(unsigned char const* dots, std::uint32_t rows) override { sink_.band(dots, rows); }
  void end_page() override {
    sink_.end_page();
    writer_->finish();
  }
  void hand_on(PageSink& /*out*/) override {
    if (begun_) target_.append_written(file_.get());
  }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  // Closed after the writer goes: a page given up unfinished (its run
  // failed) is still flushed into the file as its writer is destroyed.
  std::unique_ptr<std::FILE, Close> file_;
  std::unique_ptr<image::Writer> writer_;
  image::Writer& target_;
  PictureSink sink_;
  bool begun_ = false;
};

}  // namespace

std::unique_ptr<HeldPage> PageSink::hold() const { return std::make_unique<SpoolSink>(); }

std::unique_ptr<HeldPage> PictureSink::hold() const {
  if (!writer_.appends_written()) return PageSink::hold();
  std::FILE* file = temporary_file();
  std::unique_ptr<image::Writer> twin;
  try {
    twin = writer_.twin(file, "a temporary file");
  } catch (...) {
    std::fclose(file);
    throw;
  }
  return std::make_unique<WrittenPage>(file, std::move(twin), writer_, picture_a_plane_, bits_,
                                       top_code_, names_);
}

namespace {

// Screens the current page of `in` into `out`; gives the page's figures.
// `stop`, when given, ends the page early (with no error) once it is set.
ScreenTotals screen_page(ScreenJob const& request, image::Reader& in, PageSink& out,
                         std::atomic<bool> const* stop = nullptr) {
  halftone_screen_info const& info = *request.info;
  const bool whole_page =
      info.banding == HALFTONE_BANDING_WHOLE_PAGE || info.layout != HALFTONE_LAYOUT_SAME;
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
  if (int result = halftone_job_output_shape(job.get(), band_rows, &band_out_width, &band_out_rows,
                                             &band_row_bytes);
      result != 0)
    job_failed(job, result, info.id);

  const std::size_t source_stride = halftone_row_bytes(shape.width, 8);
  std::vector<unsigned char> source(source_stride * band_rows * shape.planes, 255);
  std::vector<unsigned char> dots(band_row_bytes * band_out_rows * shape.planes);
  const std::uint64_t bands = (shape.height + band_rows - 1) / band_rows;
  Progress progress(request.progress, std::uint64_t{shape.width} * shape.height * shape.planes,
                    "band", bands);
  bool begun = false;
  std::uint64_t band = 0;
  double seconds = 0;
  for (std::uint32_t y = 0; y < shape.height; y += band_rows) {
    if (stop != nullptr && stop->load(std::memory_order_relaxed)) return {};
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
    progress.done(++band, std::uint64_t{shape.width} * (y + rows) * shape.planes, seconds);
  }
  if (int result = job.finish(); result != 0) job_failed(job, result, info.id);
  out.end_page();
  return {1, band, std::uint64_t{shape.width} * shape.height * shape.planes, seconds, page};
}

void add(ScreenTotals& totals, ScreenTotals const& page) {
  totals.pages += page.pages;
  totals.bands += page.bands;
  totals.pixels += page.pixels;
  totals.seconds += page.seconds;
  totals.last = page.last;
}

}  // namespace

ScreenTotals screen_pages(ScreenJob const& request, image::Reader& in, PageSink& out) {
  ScreenTotals totals;
  do add(totals, screen_page(request, in, out));
  while (in.next_page());
  return totals;
}

namespace {

// The pages handed out to the workers and those they finished, in turn.
struct PageBoard {
  struct Page {
    std::unique_ptr<HeldPage> held;
    ScreenTotals totals;
    std::exception_ptr error;
  };
  std::mutex mutex;
  std::condition_variable changed;
  std::map<std::uint64_t, Page> pages;  // screened (or failed), not yet written
  std::uint64_t handed = 0;             // pages handed out
  std::uint64_t written = 0;
  std::uint64_t end = std::numeric_limits<std::uint64_t>::max();  // the first page not in the file
  std::uint64_t ahead = 0;  // pages a worker may run ahead of the output
  std::atomic<bool> stop{false};

  void halt() {
    {
      std::lock_guard<std::mutex> lock(mutex);
      stop = true;
    }
    changed.notify_all();
  }
};

// One worker: screens page `page` (handed to it already) where its reader
// stands, then the pages it is handed, moving its reader forward to each;
// each page goes to a sink `out` holds it in (out.hold()) until its turn.
void page_worker(PageBoard& board, ScreenJob const& job, OpenReader const& open,
                 PageSink const& out, std::unique_ptr<image::Reader> reader, std::uint64_t page) {
  std::uint64_t at = page;  // the reader's page
  bool read_through = false;
  for (;;) {
    PageBoard::Page result;
    bool exists = true;
    try {
      if (reader == nullptr || at > page || (at == page && read_through)) {
        reader = open();
        at = 0;
        read_through = false;
      }
      for (; at < page; ++at) {
        exists = read_through ? reader->next_page() : reader->skip_page();
        read_through = false;
        if (!exists) break;
      }
      if (exists) {
        result.held = out.hold();
        result.totals = screen_page(job, *reader, *result.held, &board.stop);
        read_through = true;
      }
    } catch (...) {
      result.error = std::current_exception();
    }
    const bool failed = result.error != nullptr;
    std::unique_lock<std::mutex> lock(board.mutex);
    if (exists)
      board.pages[page] = std::move(result);
    else
      board.end = std::min(board.end, at + 1);
    board.changed.notify_all();
    if (!exists || failed) return;
    board.changed.wait(lock, [&] {
      return board.stop || board.handed >= board.end || board.handed < board.written + board.ahead;
    });
    if (board.stop || board.handed >= board.end) return;
    page = board.handed++;
  }
}

}  // namespace

ScreenTotals screen_pages_at_once(ScreenJob const& job, OpenReader const& open,
                                  std::unique_ptr<image::Reader> first,
                                  std::unique_ptr<image::Reader> second, unsigned workers,
                                  PageSink& out) {
  ScreenJob page_job = job;
  page_job.progress = false;  // the pages' bands interleave: the line counts pages
  PageBoard board;
  board.ahead = 2 * std::uint64_t{workers};
  board.handed = 2;
  std::vector<std::thread> threads;
  struct Join {
    PageBoard& board;
    std::vector<std::thread>& threads;
    ~Join() {
      board.halt();
      for (std::thread& t : threads) t.join();
    }
  } join{board, threads};
  threads.emplace_back(page_worker, std::ref(board), std::cref(page_job), std::cref(open),
                       std::cref(out), std::move(first), 0);
  threads.emplace_back(page_worker, std::ref(board), std::cref(page_job), std::cref(open),
                       std::cref(out), std::move(second), 1);
  for (unsigned w = 2; w < workers; ++w) {
    std::unique_lock<std::mutex> lock(board.mutex);
    const std::uint64_t page = board.handed++;
    lock.unlock();
    threads.emplace_back(page_worker, std::ref(board), std::cref(page_job), std::cref(open),
                         std::cref(out), nullptr, page);
  }

  ScreenTotals totals;
  const auto start = Clock::now();
  // Every file of several pages shows it, whatever the pages' size.
  Progress progress(job.progress, std::numeric_limits<std::uint64_t>::max(), "page", 0);
  for (std::uint64_t page = 0;; ++page) {
    PageBoard::Page done;
    {
      std::unique_lock<std::mutex> lock(board.mutex);
      board.changed.wait(lock, [&] { return page >= board.end || board.pages.count(page) != 0; });
      if (page >= board.end) break;
      const auto it = board.pages.find(page);
      done = std::move(it->second);
      board.pages.erase(it);
    }
    if (done.error) std::rethrow_exception(done.error);  // `join` halts the others
    done.held->hand_on(out);
    add(totals, done.totals);
    {
      std::lock_guard<std::mutex> lock(board.mutex);
      board.written = page + 1;
    }
    board.changed.notify_all();
    progress.done(page + 1, totals.pixels,
                  std::chrono::duration<double>(Clock::now() - start).count());
  }
  return totals;
}

StackedPlanes::StackedPlanes(std::unique_ptr<image::Reader> inner, std::uint32_t planes,
                             OpenReader const& open)
    : planes_(planes) {
  const bool apart = open && inner->streams();
  readers_.push_back(std::move(inner));
  if (apart)
    for (std::uint32_t p = 1; p < planes_; ++p) readers_.push_back(open());
  start_page();
}

// Checks the page's shape; then either places plane p's reader at row p *
// height or reads the page whole.
void StackedPlanes::start_page() {
  image::PageShape const& stacked = readers_[0]->shape();
  if (stacked.planes != 1)
    throw ToolError("--planes stacks grey planes; the input already has " +
                    std::to_string(stacked.planes));
  if (stacked.height % planes_ != 0)
    throw ToolError("the input is " + std::to_string(stacked.height) +
                    " rows high, not a whole number of " + std::to_string(planes_) +
                    " stacked planes");
  shape_ = stacked;
  shape_.height = stacked.height / planes_;
  shape_.planes = planes_;
  row_ = 0;
  if (readers_.size() == 1) {
    page_.resize(std::size_t{stacked.width} * stacked.height);
    readers_[0]->read_rows(page_.data(), stacked.width, stacked.height);
    return;
  }
  for (std::uint32_t p = 1; p < planes_; ++p) {
    image::PageShape const& own = readers_[p]->shape();
    if (own.width != stacked.width || own.height != stacked.height || own.planes != 1)
      throw ToolError("the input changed while it was read");
    readers_[p]->skip_rows(p * shape_.height);
  }
}

void StackedPlanes::read_rows(unsigned char* out, std::size_t stride, std::uint32_t rows) {
  const std::size_t width = shape_.width;
  if (readers_.size() > 1) {
    // Plane p's rows land every `planes_` rows, from row p.
    for (std::uint32_t p = 0; p < planes_; ++p)
      readers_[p]->read_rows(out + p * stride, stride * planes_, rows);
    row_ += rows;
    return;
  }
  for (std::uint32_t r = 0; r < rows; ++r, ++row_)
    for (std::uint32_t p = 0; p < planes_; ++p)
      std::memcpy(out + (std::size_t{r} * planes_ + p) * stride,
                  page_.data() + (std::size_t{p} * shape_.height + row_) * width, width);
}

bool StackedPlanes::next_page() {
  if (readers_.size() > 1) {
    // Each reader passes over the planes below its own.
    for (std::uint32_t p = 0; p < planes_; ++p) {
      readers_[p]->skip_rows((planes_ - 1 - p) * shape_.height + shape_.height - row_);
      if (!readers_[p]->next_page()) {
        if (p == 0) return false;
        throw ToolError("the input changed while it was read");
      }
    }
  } else if (!readers_[0]->next_page()) {
    return false;
  }
  start_page();
  return true;
}

}  // namespace halftone::tool
