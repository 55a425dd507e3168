// Shared by the fuzz targets: a scratch data folder, the result codes a call
// may give, and one screening job run from start to end through the public
// job API with its output gathered row by row.
#pragma once
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "halftone/c_api.h"
#include "halftone/page.h"
#include "support/split_mix.h"

namespace halftone::fuzz {

using Bytes = std::vector<unsigned char>;

// Stops the run with a message when something that must hold does not.
[[noreturn]] inline void fail(char const* what, std::string const& detail = {}) {
  std::fprintf(stderr, "fuzz check failed: %s%s%s\n", what, detail.empty() ? "" : ": ",
               detail.c_str());
  std::abort();
}
inline void check(bool ok, char const* what, std::string const& detail = {}) {
  if (!ok) fail(what, detail);
}

// 0 or one of the codes c_api.h documents.
inline bool documented(int code) {
  switch (code) {
    case HALFTONE_OK:
    case HALFTONE_ERR_FILE_OPEN:
    case HALFTONE_ERR_FILE_READ:
    case HALFTONE_ERR_LOAD_FAULT:
    case HALFTONE_ERR_NO_MEMORY:
    case HALFTONE_ERR_ARGUMENT:
    case HALFTONE_ERR_UNKNOWN_KEY:
    case HALFTONE_ERR_BAD_VALUE:
    case HALFTONE_ERR_BAD_DATA:
    case HALFTONE_ERR_SEQUENCE:
      return true;
    default:
      return false;
  }
}

// A folder of its own under the temporary folder for the life of the process,
// with a Moths/ sub-folder for the host loaders. Files are rewritten in place
// for every input, so a long run leaves nothing behind but this folder.
class Scratch {
 public:
  Scratch() {
    std::string pattern =
        (std::filesystem::temp_directory_path() / "halftone-fuzz-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) fail("cannot make a scratch folder", pattern);
    root_ = pattern;
    std::filesystem::create_directories(root_ / "Moths");
  }
  ~Scratch() {
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
  }
  Scratch(Scratch const&) = delete;
  Scratch& operator=(Scratch const&) = delete;

  std::string folder() const { return root_.string(); }
  // Writes `size` bytes to `name` (relative to the folder) and returns its path.
  std::string write(std::string const& name, void const* data, std::size_t size) const {
    const std::filesystem::path path = root_ / name;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(static_cast<char const*>(data), static_cast<std::streamsize>(size));
    if (!out) fail("cannot write a scratch file", path.string());
    return path.string();
  }
  std::string write(std::string const& name, Bytes const& bytes) const {
    return write(name, bytes.data(), bytes.size());
  }

 private:
  std::filesystem::path root_;
};

// One page through a job: options, the band heights, and the page's source.
struct Page {
  std::uint32_t width = 0;
  std::uint32_t planes = 1;
  std::vector<std::uint32_t> bands;  // rows of each band call
  std::size_t source_pad = 0;        // bytes added to each source row's stride
  std::size_t dots_pad = 0;          // bytes added to each output row's stride
  Bytes source;                      // rows() x planes rows of width bytes

  std::uint32_t rows() const {
    std::uint32_t n = 0;
    for (std::uint32_t b : bands) n += b;
    return n;
  }
};

using Options = std::vector<std::pair<std::string, std::string>>;

struct Outcome {
  int code = HALFTONE_OK;  // the first non-zero result, or 0
  std::string step;        // which call gave it
  std::string message;     // halftone_job_error then
  Bytes dots;              // every band's output rows, row_bytes each, in order
};

constexpr unsigned char kGuard = 0xA5;

// Checks one result: documented, with a message exactly when it is non-zero.
inline void check_result(halftone_job const* job, int code, char const* step) {
  check(documented(code), "undocumented result",
        std::string(step) + " gave " + std::to_string(code));
  const std::string message = halftone_job_error(job);
  check((code == 0) == message.empty(), "a failure without a message or a message without failure",
        std::string(step) + " gave " + std::to_string(code) + " \"" + message + "\"");
}

// Runs `page` through an open job: every band, then the finish. Each band's
// output goes to a buffer of its own whose row padding is filled with a guard
// that must survive, and whose bits past the last pixel must stay clear.
// Output strides run from the row's pixel bytes up, short of the library's
// padded rows or past them. `between(n)` runs before band n after the first
// (to try calls out of order).
inline Outcome run_page(halftone_job* job, halftone_screen_info const& info, Page const& page,
                        std::function<void(std::size_t)> const& between = {}) {
  Outcome out;
  const int bits = info.bits;
  const std::string where = std::string(info.id) + ", ";
  const bool utility = std::string(info.family) == "utilities";
  const std::size_t source_stride = page.width + page.source_pad;
  std::size_t done = 0;  // source rows consumed so far
  for (std::size_t n = 0; n < page.bands.size(); ++n) {
    const std::uint32_t rows = page.bands[n];
    if (n > 0 && between) between(n);
    std::uint32_t out_width = 0, out_rows = 0;
    std::size_t padded = 0;
    int code = halftone_job_output_shape(job, rows, &out_width, &out_rows, &padded);
    check(documented(code), "undocumented output_shape result", std::to_string(code));
    if (code != 0) return {code, "output_shape", halftone_job_error(job), {}};
    check(padded == halftone_row_bytes(out_width, bits), "output row size",
          std::to_string(padded) + " for width " + std::to_string(out_width));
    // The least stride: the bytes the row's pixels fill.
    const std::size_t row_bytes = (std::size_t{out_width} * static_cast<std::size_t>(bits) + 7) / 8;

    Bytes band(source_stride * rows * page.planes, 0);
    for (std::size_t r = 0; r < std::size_t{rows} * page.planes; ++r)
      std::copy_n(page.source.begin() + static_cast<std::ptrdiff_t>((done + r) * page.width),
                  page.width, band.begin() + static_cast<std::ptrdiff_t>(r * source_stride));
    done += std::size_t{rows} * page.planes;

    const std::size_t dots_stride = row_bytes + page.dots_pad;
    const std::size_t out_lines = std::size_t{out_rows} * page.planes;
    Bytes dots(dots_stride * out_lines, kGuard);
    band.push_back(0), dots.push_back(kGuard);  // never null, even for an empty band
    code = halftone_job_band(job, band.data(), source_stride, dots.data(), dots_stride, rows);
    check_result(job, code, "band");
    if (code != 0) return {code, "band", halftone_job_error(job), {}};
    check(dots.back() == kGuard, "a byte past the output was written", info.id);

    const std::size_t used_bits = std::size_t{out_width} * static_cast<std::size_t>(bits);
    for (std::size_t r = 0; r < out_lines; ++r) {
      unsigned char const* row = dots.data() + r * dots_stride;
      // Past the pixels: the library's row padding may come out cleared,
      // nothing beyond it is touched.
      for (std::size_t i = row_bytes; i < dots_stride; ++i)
        check(row[i] == kGuard || (row[i] == 0 && i < padded),
              "a byte past the output row was written",
              where + "row " + std::to_string(r) + " byte " + std::to_string(i));
      // (The oriented utilities place turned dots by rules of their own that
      // may reach the last byte's spare bits.)
      for (std::size_t bit = used_bits; bit < row_bytes * 8 && !utility; ++bit)
        check((row[bit / 8] >> (7 - bit % 8) & 1) == 0, "a bit past the last pixel is set",
              where + "row " + std::to_string(r) + " bit " + std::to_string(bit));
      out.dots.insert(out.dots.end(), row, row + row_bytes);
    }
  }
  const int code = halftone_job_finish(job);
  check_result(job, code, "finish");
  if (code != 0) return {code, "finish", halftone_job_error(job), {}};
  return out;
}

// A job for `screen` with `options` set in order; a refused option ends the
// outcome there (each result is checked).
struct JobRun {
  halftone_job* job = nullptr;
  Outcome refused;

  JobRun(char const* screen, std::uint32_t width, std::uint32_t planes, Options const& options) {
    job = halftone_job_new(screen, width, planes);
    if (job == nullptr) {
      const std::string why = halftone_last_error();
      check(!why.empty(), "halftone_job_new failed without a message");
      refused = {HALFTONE_ERR_ARGUMENT, "new", why, {}};
      return;
    }
    check(std::string(halftone_job_error(job)).empty(), "a new job reports an error");
    for (auto const& [key, value] : options) {
      const int code = halftone_job_set(job, key.c_str(), value.c_str());
      check_result(job, code, ("set " + key).c_str());
      if (code != 0) {
        refused = {code, "set " + key, halftone_job_error(job), {}};
        return;
      }
    }
  }
  ~JobRun() { halftone_job_free(job); }
  JobRun(JobRun const&) = delete;
  JobRun& operator=(JobRun const&) = delete;

  bool ready() const { return job != nullptr && refused.code == 0; }
};

// The screens whose registry entry reads any of `needs`.
inline std::vector<std::size_t> screens_needing(unsigned needs) {
  std::vector<std::size_t> found;
  for (std::size_t i = 0; i < halftone_screen_count(); ++i)
    if (halftone_screen_info_at(i)->needs & needs) found.push_back(i);
  return found;
}

// Whether a page's bytes depend only on the page, its options and the seed
// time. The utilities draw from the library's one utility generator, which
// is never reseeded and runs on from job to job, so their bytes depend on
// what ran before.
inline bool repeatable(halftone_screen_info const& info) {
  return std::string(info.family) != "utilities";
}

// One of the screens that read any of `needs`, chosen by `pick` (a job holds
// every store, so each input screens with one of them to keep the pace up).
inline halftone_screen_info const* screen_needing(unsigned needs, std::uint64_t pick) {
  static std::vector<std::size_t> const* cache[64] = {};
  auto const*& found = cache[needs & 63];
  if (found == nullptr) found = new std::vector<std::size_t>(screens_needing(needs));
  if (found->empty()) return nullptr;
  return halftone_screen_info_at((*found)[pick % found->size()]);
}

// Pages and band splits from one fuzzed seed.
using Mix = halftone::test::SplitMix;

inline std::vector<std::uint32_t> random_bands(Mix& mix, std::uint32_t rows) {
  std::vector<std::uint32_t> bands;
  while (rows > 0) {
    const std::uint32_t take = std::min(rows, mix.below(7));
    bands.push_back(take);
    rows -= take;
  }
  bands.push_back(0);
  return bands;
}

// A small page for `info`: 1-40 pixels wide, 1-10 rows, 1-3 planes (one for
// whole-page screens), grey runs of random length.
inline Page random_page(Mix& mix, halftone_screen_info const& info) {
  Page page;
  page.width = 1 + mix.below(40);
  page.planes = info.banding == HALFTONE_BANDING_WHOLE_PAGE ? 1 : 1 + mix.below(3);
  const std::uint32_t rows = 1 + mix.below(10);
  page.bands = {rows};
  page.source.resize(std::size_t{rows} * page.planes * page.width);
  unsigned char grey = 0;
  for (std::size_t i = 0; i < page.source.size(); ++i) {
    if (mix.below(4) == 0) grey = static_cast<unsigned char>(mix.next());
    page.source[i] = grey;
  }
  return page;
}

// One band of a small page, then an empty last band, through a host entry
// point on buffers of exactly the page's size, so the sanitizer sees any
// stray byte. Entry points return 0.
template <class Screen>
void host_screen(Screen screen, Mix& mix, unsigned bits) {
  const std::uint32_t width = 1 + mix.below(48), height = 1 + mix.below(6);
  const std::uint32_t planes = 1 + mix.below(3);
  Bytes source(std::size_t{halftone::row_bytes(width, 8)} * height * planes);
  for (auto& b : source) b = static_cast<unsigned char>(mix.next() >> 56);
  Bytes dots(std::size_t{halftone::row_bytes(width, bits)} * height * planes);
  const int first = screen(source.data(), dots.data(), width, height, control_word(planes, 1));
  const int last = screen(source.data(), dots.data(), width, 0u, control_word(planes, 3));
  check(first == 0 && last == 0, "a host entry point returned non-zero");
}

// A screen that carries nothing from band to band gives each band the bytes
// of a page made of that band alone.
inline void check_bands_alone(halftone_job* job, halftone_screen_info const& info, Page const& page,
                              Outcome const& banded) {
  std::size_t rows_before = 0, bytes_before = 0;
  for (std::uint32_t rows : page.bands) {
    Page alone = page;
    alone.bands = {rows};
    const std::size_t lines = std::size_t{rows} * page.planes;
    alone.source.assign(
        page.source.begin() + static_cast<std::ptrdiff_t>(rows_before * page.width),
        page.source.begin() + static_cast<std::ptrdiff_t>((rows_before + lines) * page.width));
    const Outcome one = run_page(job, info, alone);
    check(one.code == 0, "a band screened alone fails", std::string(info.id) + ": " + one.message);
    check(bytes_before + one.dots.size() <= banded.dots.size() &&
              std::equal(one.dots.begin(), one.dots.end(),
                         banded.dots.begin() + static_cast<std::ptrdiff_t>(bytes_before)),
          "a band differs from the same rows screened alone", info.id);
    rows_before += lines;
    bytes_before += one.dots.size();
  }
}

// Screens a small page with the screen `info`, the options given and a
// pinned seed time, through one job: the page in one band, again in random
// bands, and once more in one band. Checks every result, that the repeat
// gives the same bytes, and that a screen that carries nothing from band to
// band gives each band the bytes of that band alone. Returns the first outcome.
inline Outcome screen_page(halftone_screen_info const& info, Options options, std::uint64_t seed) {
  Mix mix{seed};
  Page page = random_page(mix, info);
  options.emplace_back("seed-time", std::to_string(mix.below(100000)));
  JobRun run(info.id, page.width, page.planes, options);
  if (!run.ready()) return run.refused;

  const Outcome whole = run_page(run.job, info, page);
  if (whole.code != 0) return whole;
  if (info.banding != HALFTONE_BANDING_WHOLE_PAGE) {
    Page banded = page;
    banded.bands = random_bands(mix, page.rows());
    banded.source_pad = mix.below(6);
    banded.dots_pad = mix.below(6);
    const Outcome split = run_page(run.job, info, banded);
    check(split.code == 0, "a page that screens in one band fails in bands",
          std::string(info.id) + ": " + split.message);
    if (info.banding == HALFTONE_BANDING_BANDED) check_bands_alone(run.job, info, banded, split);
  }
  const Outcome again = run_page(run.job, info, page);
  check(again.code == 0 && (again.dots == whole.dots || !repeatable(info)),
        "the same page twice differs", info.id);
  return whole;
}

}  // namespace halftone::fuzz
