#include "pages_at_once.h"

#include <pthread.h>
#include <signal.h>

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include "spool.h"

namespace halftone::cups_filter {
namespace {

// Starts a thread with every signal blocked, so that SIGTERM reaches the
// reading thread and breaks the read it may be waiting in.
template <class Work>
bool spawn(std::thread& thread, Work work) {
  sigset_t all, before;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, &before);
  bool started = true;
  try {
    thread = std::thread(std::move(work));
  } catch (std::system_error const&) {
    started = false;
  }
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return started;
}

// One page on its way from the stream to the output.
struct Flight {
  int number = 0;
  cups_page_header2_t header{};
  std::string refused;  // why the page cannot be screened: nothing of it is written
  PagePlan plan;
  std::optional<halftone::Job> job;
  Spool grey;   // its grey rows, band by band as read
  Spool lines;  // its output lines, band by band as screened
  std::thread worker;

  // Guarded by the mutex of PagesAtOnce.
  std::uint32_t rows_read = 0;  // rows of whole bands spooled
  bool read_ended = false;      // no more rows will come
  std::string read_fault;       // why they stopped short (empty: the stream ended or SIGTERM)
  std::uint32_t rows_screened = 0;
  bool screen_ended = false;
  std::string screen_fault;
};

class PagesAtOnce {
 public:
  PagesAtOnce(bool const& input_ended, Settings const& settings, ppd_file_t* ppd, unsigned threads,
              Output& out)
      : input_ended_(input_ended), settings_(settings), ppd_(ppd), threads_(threads), out_(out) {}

  int run(cups_raster_t* in) {
    int status = 1;
    std::thread writer;
    if (!spawn(writer, [this, &status] { status = write_pages(); })) return -1;
    read_pages(in);
    writer.join();
    for (auto& flight : flights_)  // pages left unwritten after a fault
      if (flight->worker.joinable()) flight->worker.join();
    return status;
  }

 private:
  using Lock = std::unique_lock<std::mutex>;

  // The reading thread: a page's header, its job, then its rows into the spool.
  void read_pages(cups_raster_t* in) {
    int number = 0;
    for (;;) {
      std::size_t ahead = 0;
      {
        Lock lock(mutex_);
        changed_.wait(lock, [&] { return flights_.size() < threads_ || abandon_; });
        if (abandon_) break;
        ahead = flights_.size();
      }
      auto flight = std::make_unique<Flight>();
      if (g_stop) break;
      if (!cupsRasterReadHeader2(in, &flight->header)) {
        // A header libcups refuses is the writer's to report, in its turn.
        flight->refused = header_refused(input_ended_);
        if (flight->refused.empty()) break;
        flight->number = ++number;
        {
          Lock lock(mutex_);
          flights_.push_back(std::move(flight));
        }
        break;
      }
      flight->number = ++number;
      // The cores the pages ahead of this one leave free go to its planes.
      const auto planes_threads = static_cast<unsigned>(threads_ / (ahead + 1));
      set_up(*flight, planes_threads);
      Flight& page = *flight;
      const bool screened =
          page.refused.empty() && spawn(page.worker, [this, &page] { screen(page); });
      if (page.refused.empty() && !screened) page.refused = "cannot start a thread";
      {
        Lock lock(mutex_);
        flights_.push_back(std::move(flight));
      }
      changed_.notify_all();
      if (!screened || !read_rows(in, page)) break;
    }
    {
      Lock lock(mutex_);
      all_read_ = true;
    }
    changed_.notify_all();
  }

  void set_up(Flight& page, unsigned planes_threads) {
    page.refused = plan_page(page.header, settings_, ppd_, page.plan);
    if (!page.refused.empty()) return;
    page.job = make_job(page.plan, settings_, planes_threads, page.refused);
    if (!page.refused.empty()) return;
    page.refused = page.grey.open();
    if (page.refused.empty()) page.refused = page.lines.open();
  }

  // Spools the page's rows a band at a time. False when the page stopped
  // short (cut stream, SIGTERM, a fault elsewhere): no page follows it.
  bool read_rows(cups_raster_t* in, Flight& page) {
    PagePlan const& plan = page.plan;
    BandBuffers buffers;
    std::string fault = buffers.allocate(plan, BandBuffers::kReading);
    const std::uint64_t row_bytes = std::uint64_t{plan.grey_stride} * plan.page.planes;
    std::uint32_t y = 0;
    for (; fault.empty() && y < plan.page.height && !abandoned(); y += plan.band) {
      const std::uint32_t rows = std::min(plan.band, plan.page.height - y);
      const std::uint32_t got = read_band(in, plan, buffers, rows);
      if (got < rows) {
        if (!g_stop) fault = truncated_at(y + got, plan);
        break;
      }
      fault = page.grey.write(buffers.grey.data(), rows * row_bytes, y * row_bytes);
      if (!fault.empty()) break;
      {
        Lock lock(mutex_);
        page.rows_read = y + rows;
      }
      changed_.notify_all();
    }
    const bool whole = fault.empty() && y >= plan.page.height;
    {
      Lock lock(mutex_);
      page.read_ended = true;
      page.read_fault = fault;
    }
    changed_.notify_all();
    return whole;
  }

  // A page's thread: each band once it is spooled, into the page's line spool.
  void screen(Flight& page) {
    PagePlan const& plan = page.plan;
    BandBuffers buffers;
    std::string fault = buffers.allocate(plan, BandBuffers::kScreening);
    const std::uint64_t row_bytes = std::uint64_t{plan.grey_stride} * plan.page.planes;
    const std::uint64_t line_bytes = plan.out_header.cupsBytesPerLine;
    std::uint32_t y = 0;
    for (; fault.empty() && y < plan.page.height; y += plan.band) {
      const std::uint32_t rows = std::min(plan.band, plan.page.height - y);
      {
        Lock lock(mutex_);
        changed_.wait(lock,
                      [&] { return page.rows_read >= y + rows || page.read_ended || abandon_; });
        if (abandon_ || page.rows_read < y + rows) break;
      }
      if (g_stop) break;
      fault = page.grey.read(buffers.grey.data(), rows * row_bytes, y * row_bytes);
      if (fault.empty()) fault = screen_band(*page.job, plan, buffers, rows);
      if (fault.empty())
        fault = page.lines.write(buffers.lines.data(), rows * line_bytes, y * line_bytes);
      if (!fault.empty()) break;
      {
        Lock lock(mutex_);
        page.rows_screened = y + rows;
      }
      changed_.notify_all();
    }
    if (fault.empty() && y >= plan.page.height && page.job->finish() != 0)
      fault = page.job->error();
    {
      Lock lock(mutex_);
      page.screen_ended = true;
      page.screen_fault = fault;
    }
    changed_.notify_all();
  }

  // The writing thread: the pages in their order, each band once it is screened.
  int write_pages() {
    int written = 0;
    BandBuffers buffers;
    for (;;) {
      Flight* page = nullptr;
      {
        Lock lock(mutex_);
        changed_.wait(lock, [&] { return !flights_.empty() || all_read_; });
        if (flights_.empty()) break;
        page = flights_.front().get();
      }
      if (!page->refused.empty()) return fail(*page, page->refused);
      PagePlan const& plan = page->plan;
      if (std::string why = buffers.allocate(plan, BandBuffers::kLines); !why.empty())
        return fail(*page, why);
      if (std::string why = out_.begin_page(page->number, page->header, plan); !why.empty())
        return fail(*page, why);
      const std::size_t line_bytes = plan.out_header.cupsBytesPerLine;
      std::uint32_t done = 0;
      for (;;) {
        std::uint32_t ready = 0;
        bool ended = false;
        {
          Lock lock(mutex_);
          changed_.wait(lock, [&] { return page->rows_screened > done || page->screen_ended; });
          ready = page->rows_screened;
          ended = page->screen_ended;
        }
        for (; done < ready; done += std::min(plan.band, ready - done)) {
          const std::uint32_t rows = std::min(plan.band, ready - done);
          std::string why = page->lines.read(buffers.lines.data(), rows * line_bytes,
                                             std::uint64_t{done} * line_bytes);
          if (why.empty()) why = out_.write(buffers.lines.data(), rows, line_bytes);
          if (!why.empty()) return fail(*page, why);
        }
        if (ended) break;
      }
      page->worker.join();
      std::string fault;
      {
        // The last band can be screened before the reader has let go of the
        // page: it is freed below, so wait until its reading has ended.
        Lock lock(mutex_);
        changed_.wait(lock, [&] { return page->read_ended; });
        fault = !page->screen_fault.empty() ? page->screen_fault : page->read_fault;
      }
      if (!fault.empty()) return fail(*page, fault);
      if (done < plan.page.height) {  // stopped by SIGTERM: the page ends blank
        out_.blank(plan.page.height - done, buffers.lines.data(), line_bytes);
        return stopped(page->number);
      }
      ++written;
      {
        Lock lock(mutex_);
        flights_.pop_front();
      }
      changed_.notify_all();
    }
    if (g_stop) return stopped(written);
    if (written == 0) {
      report("ERROR", "No pages found in the raster stream");
      return 1;
    }
    report("INFO", "Screened %d page(s)", written);
    return 0;
  }

  bool abandoned() {
    Lock lock(mutex_);
    return abandon_;
  }

  // Ends the stream's work: the reader and the pages' threads stop.
  void abandon() {
    {
      Lock lock(mutex_);
      abandon_ = true;
    }
    changed_.notify_all();
  }

  int fail(Flight const& page, std::string const& why) {
    report("ERROR", "Page %d: %s", page.number, why.c_str());
    abandon();
    return 1;
  }

  int stopped(int pages) {
    report("INFO", "Stopped on request after %d page(s)", pages);
    abandon();
    return 0;
  }

  bool const& input_ended_;  // read by the reading thread alone
  Settings const& settings_;
  ppd_file_t* ppd_;
  const std::size_t threads_;
  Output& out_;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::unique_ptr<Flight>> flights_;  // read and not yet written, in order
  bool all_read_ = false;
  bool abandon_ = false;
};

}  // namespace

int screen_pages_at_once(cups_raster_t* in, bool const& input_ended, Settings const& settings,
                         ppd_file_t* ppd, unsigned threads, Output& out) {
  {
    Spool probe;  // a spool that cannot be made leaves the pages to one at a time
    if (std::string why = probe.open(); !why.empty()) {
      report("INFO", "Pages one at a time: %s", why.c_str());
      return -1;
    }
  }
  return PagesAtOnce(input_ended, settings, ppd, threads, out).run(in);
}

}  // namespace halftone::cups_filter
