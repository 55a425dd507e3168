// The C API: the registry's rows, and screening jobs that own their state.

// clang-format off
#include "frame/exported.h"  // first: the exported declarations with default visibility
// clang-format on
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <limits>
#include <mutex>
#include <new>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "exports/data_checks.h"
#include "exports/registry.h"
#include "frame/data_folder.h"
#include "frame/layout.h"
#include "frame/state.h"
#include "frame/tone_curves.h"
#include "halftone/result_codes.h"
#include "screens/loaded/screens.h"
#include "screens/matrix/ordered_dither.h"

namespace {

using halftone::Screen;

thread_local std::string t_last_error;

// The never-reseeded utility generator is process-wide by nature: jobs of the
// utilities take turns with it.
std::mutex g_utility_generator;

Screen const* screen_at(std::size_t index) {
  const auto all = halftone::registry();
  return index < all.size() ? &all[index] : nullptr;
}

// A decimal number in [low, high], nothing else.
bool parse_number(std::string_view text, long long low, long long high, long long& out) {
  long long v = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), v);
  if (error != std::errc() || end != text.data() + text.size() || v < low || v > high) return false;
  out = v;
  return true;
}

bool curve_mode(long long mode) { return (mode >= 0 && mode <= 5) || (mode >= 11 && mode <= 17); }

}  // namespace

struct halftone_job {
  Screen const* screen = nullptr;
  std::uint32_t width = 0;
  std::uint32_t planes = 0;
  halftone::ScreenState state;

  // Options.
  int mode = 0;
  std::string levels;  // normalised, one comma after every value
  std::string pattern, pattern2, matrix, blocks;
  int pattern_width = 16;
  int pattern_height = 16;
  bool pattern_size_set = false;
  unsigned threads = 1;  // "threads": planes screened at once (the band runs them)

  bool prepared = false;  // data loaded and tone set up
  bool in_page = false;   // a first band has run and no finish since
  std::string error;
  std::vector<unsigned char> source_rows;  // rows re-laid at the library's strides
  std::vector<unsigned char> dot_rows;

  int fail(int code, std::string message) {
    error = std::move(message);
    return code;
  }
  halftone_screen_info const& info() const { return screen->info; }
  bool reads(unsigned need) const { return (info().needs & need) != 0; }

  int set(std::string_view key, char const* value);
  int prepare();
  int band(unsigned char const* source, std::size_t source_stride, unsigned char* dots,
           std::size_t dots_stride, std::uint32_t rows);
  int finish();
};

int halftone_job::set(std::string_view key, char const* value) {
  std::string quoted(1, '"');
  quoted.append(key).push_back('"');
  if (value == nullptr) return fail(HALFTONE_ERR_ARGUMENT, "no value given for " + quoted);
  const std::string_view v(value);
  long long n = 0;
  if (key == "levels") {
    if (info().levels == 0)
      return fail(HALFTONE_ERR_BAD_VALUE, std::string(info().id) + " reads no levels");
    std::string normalised;
    int count = 0, previous = -1;
    for (std::size_t start = 0; start <= v.size();) {
      std::size_t comma = v.find(',', start);
      if (comma == std::string_view::npos) comma = v.size();
      const std::string_view token = v.substr(start, comma - start);
      start = comma + 1;
      if (token.empty() && comma == v.size() && count > 0) break;  // a closing comma
      if (!parse_number(token, 0, 255, n) || n <= previous)
        return fail(HALFTONE_ERR_BAD_VALUE,
                    std::string(info().id) + " reads " + std::to_string(info().levels) +
                        " rising greys 0-255 as \"levels\", such as \"" + info().default_levels +
                        "\"; got \"" + std::string(v) + "\"");
      previous = static_cast<int>(n);
      normalised += std::to_string(n) + ",";
      ++count;
    }
    if (count != info().levels)
      return fail(HALFTONE_ERR_BAD_VALUE,
                  std::string(info().id) + " reads " + std::to_string(info().levels) +
                      " levels; got " + std::to_string(count) + " in \"" + std::string(v) + "\"");
    levels = normalised;
  } else if (key == "mode") {
    if (!parse_number(v, 0, 17, n) || !curve_mode(n))
      return fail(HALFTONE_ERR_BAD_VALUE,
                  "\"mode\" selects the tone curves: 0-5 or 11-17; got \"" + std::string(v) + "\"");
    mode = static_cast<int>(n);
  } else if (key == "seed-time") {
    if (!parse_number(v, 0, 0xFFFFFFFFll, n))
      return fail(HALFTONE_ERR_BAD_VALUE,
                  "\"seed-time\" is whole seconds 0-4294967295; got \"" + std::string(v) + "\"");
    state.seed_pinned = true;
    state.seed_time = static_cast<std::uint32_t>(n);
  } else if (key == "data-folder") {
    std::error_code ignored;
    if (!std::filesystem::is_directory(std::string(v), ignored))
      return fail(HALFTONE_ERR_BAD_VALUE, "data folder " + std::string(v) + " is not a folder");
    state.has_data_folder = true;
    state.data_folder = halftone::folder_with_separator(std::string(v));
  } else if (key == "pattern" || key == "pattern2" || key == "matrix" || key == "blocks") {
    const unsigned need = key == "pattern"    ? HALFTONE_NEEDS_PATTERN
                          : key == "pattern2" ? HALFTONE_NEEDS_PATTERN2
                          : key == "matrix"   ? HALFTONE_NEEDS_MATRIX
                                              : HALFTONE_NEEDS_BLOCKS;
    if (!reads(need))
      return fail(HALFTONE_ERR_BAD_VALUE, std::string(info().id) + " reads no " + quoted + " file");
    if (v.empty()) return fail(HALFTONE_ERR_BAD_VALUE, quoted + " needs a file path");
    std::string& slot = key == "pattern"    ? pattern
                        : key == "pattern2" ? pattern2
                        : key == "matrix"   ? matrix
                                            : blocks;
    slot = std::string(v);
  } else if (key == "pattern-size") {
    if (!reads(HALFTONE_NEEDS_PATTERN | HALFTONE_NEEDS_PATTERN2))
      return fail(HALFTONE_ERR_BAD_VALUE, std::string(info().id) + " reads no pattern bank");
    const std::size_t x = v.find('x');
    long long w = 0, h = 0;
    if (x == std::string_view::npos || !parse_number(v.substr(0, x), 8, 256, w) || w % 8 != 0 ||
        !parse_number(v.substr(x + 1), 1, 256, h))
      return fail(HALFTONE_ERR_BAD_VALUE,
                  "\"pattern-size\" is WxH, W a multiple of 8 from 8 to 256, H 1-256, such as "
                  "\"16x16\"; got \"" +
                      std::string(v) + "\"");
    // A screen with a tile of its own reads banks of that size only.
    if (info().pattern_width != 0 && (w != info().pattern_width || h != info().pattern_height))
      return fail(HALFTONE_ERR_BAD_VALUE, std::string(info().id) + " reads patterns of " +
                                              std::to_string(info().pattern_width) + "x" +
                                              std::to_string(info().pattern_height) +
                                              " only; got \"" + std::string(v) + "\"");
    pattern_width = static_cast<int>(w);
    pattern_height = static_cast<int>(h);
    pattern_size_set = true;
  } else if (key == "threads") {
    if (!parse_number(v, 1, 64, n))
      return fail(HALFTONE_ERR_BAD_VALUE, "\"threads\" is 1-64; got \"" + std::string(v) + "\"");
    threads = static_cast<unsigned>(n);
    state.threads = threads;
    state.plane_split = {};
  } else {
    return fail(HALFTONE_ERR_UNKNOWN_KEY,
                "unknown key " + quoted +
                    "; keys: levels, mode, seed-time, data-folder, pattern, pattern2, "
                    "pattern-size, matrix, blocks, threads");
  }
  prepared = false;  // data and tone setup are redone for the next page
  error.clear();
  return HALFTONE_OK;
}

int halftone_job::prepare() {
  namespace l = halftone::loaded;
  halftone::ActiveState active(state);
  if (reads(HALFTONE_NEEDS_TONE_CURVES) || reads(HALFTONE_NEEDS_LEVELS)) {
    std::string why;
    if (const int code = halftone::check_tone_file(halftone::data_path("ToneAry.ham"), why))
      return fail(code, why);
    const std::string text =
        levels.empty() && info().default_levels ? std::string(info().default_levels) + "," : levels;
    halftone::apply_tone_setup(mode, text.c_str());
  }
  if (reads(HALFTONE_NEEDS_BUILT_MATRIX)) halftone::matrix::build_dither_matrix();
  struct Data {
    unsigned need;
    std::string const* path;
    char const* key;
  };
  const Data data[] = {{HALFTONE_NEEDS_PATTERN, &pattern, "pattern"},
                       {HALFTONE_NEEDS_PATTERN2, &pattern2, "pattern2"},
                       {HALFTONE_NEEDS_MATRIX, &matrix, "matrix"},
                       {HALFTONE_NEEDS_BLOCKS, &blocks, "blocks"}};
  for (Data const& d : data) {
    if (!reads(d.need)) continue;
    if (d.path->empty())
      return fail(HALFTONE_ERR_SEQUENCE, std::string(info().id) + " needs a \"" + d.key +
                                             "\" file: set it before the first band");
    int w = pattern_width, h = pattern_height;
    if (info().pattern_width != 0 && !pattern_size_set) {
      w = info().pattern_width;
      h = info().pattern_height;
    }
    const int bits = d.need == HALFTONE_NEEDS_PATTERN2 ? 2 : 1;
    std::string why;
    int code = HALFTONE_OK;
    switch (d.need) {
      case HALFTONE_NEEDS_PATTERN:
      case HALFTONE_NEEDS_PATTERN2:
        code = halftone::check_pattern_bank(*d.path, w, h, bits, why);
        if (code == HALFTONE_OK)
          code = bits == 1 ? l::load_patterns1(d.path->c_str(), w, h)
                           : l::load_patterns2(d.path->c_str(), w, h);
        break;
      case HALFTONE_NEEDS_MATRIX:
        code = halftone::check_bmp(*d.path, why);
        if (code == HALFTONE_OK) code = l::load_offset_bmp(d.path->c_str());
        break;
      default:
        code = halftone::check_blocks(*d.path, why);
        if (code == HALFTONE_OK) code = l::load_blocks(d.path->c_str());
        break;
    }
    if (code != HALFTONE_OK)
      return fail(code, why.empty() ? *d.path + ": the file could not be loaded (code " +
                                          std::to_string(code) + ")"
                                    : why);
  }
  prepared = true;
  return HALFTONE_OK;
}

int halftone_job::band(unsigned char const* source, std::size_t source_stride, unsigned char* dots,
                       std::size_t dots_stride, std::uint32_t rows) {
  if (source == nullptr || dots == nullptr)
    return fail(HALFTONE_ERR_ARGUMENT, "no source or output buffer given");
  // The entry points of signed sizes would screen nothing at all.
  if (rows > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max()))
    return fail(HALFTONE_ERR_ARGUMENT,
                "a band is at most 2147483647 rows; got " + std::to_string(rows));
  std::uint32_t out_width = 0, out_rows = 0;
  halftone_job_output_shape(this, rows, &out_width, &out_rows, nullptr);
  // The least output stride: the bytes the row's pixels fill.
  const std::size_t out_bytes =
      (std::size_t{out_width} * static_cast<unsigned>(info().bits) + 7u) / 8u;
  if (source_stride < width)
    return fail(HALFTONE_ERR_ARGUMENT, "the source stride " + std::to_string(source_stride) +
                                           " is less than the row of " + std::to_string(width) +
                                           " bytes");
  if (dots_stride < out_bytes)
    return fail(HALFTONE_ERR_ARGUMENT, "the output stride " + std::to_string(dots_stride) +
                                           " is less than the row of " + std::to_string(out_bytes) +
                                           " bytes");
  // Every line of the band must be addressable: no stride wraps around.
  const std::size_t lines = static_cast<std::size_t>(rows) * planes;
  const std::size_t out_lines = static_cast<std::size_t>(out_rows) * planes;
  const auto spans = [](std::size_t stride, std::size_t line_count, std::size_t row) {
    const std::size_t largest =
        static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max());
    return line_count < 2 || stride <= (largest - row) / (line_count - 1);
  };
  const auto too_wide = [&](char const* which, std::size_t stride, std::uint32_t count) {
    return fail(HALFTONE_ERR_ARGUMENT, std::string("the ") + which + " stride " +
                                           std::to_string(stride) + " cannot address " +
                                           std::to_string(count) + " rows of " +
                                           std::to_string(planes) + " planes in memory");
  };
  if (!spans(source_stride, lines, width)) return too_wide("source", source_stride, rows);
  if (!spans(dots_stride, out_lines, out_bytes)) return too_wide("output", dots_stride, out_rows);
  const bool whole_page = info().banding == HALFTONE_BANDING_WHOLE_PAGE;
  if (!in_page && !prepared) {
    const int code = prepare();
    if (code != HALFTONE_OK) return code;
  }
  if (rows == 0) {
    error.clear();
    return HALFTONE_OK;
  }

  const std::size_t lib_source = halftone::source_stride(width);
  const std::size_t lib_dots = halftone::output_stride(*screen, out_width);
  // Rows at other strides are copied to and from buffers at the library's.
  unsigned char const* src = source;
  unsigned char* out = dots;
  if (source_stride != lib_source) {
    source_rows.assign(lines * lib_source, 0);
    for (std::size_t i = 0; i < lines; ++i)
      std::memcpy(&source_rows[i * lib_source], source + i * source_stride, width);
    src = source_rows.data();
  }
  if (dots_stride != lib_dots) {
    dot_rows.assign(out_lines * lib_dots, 0);
    out = dot_rows.data();
  }

  const std::uint32_t position = whole_page || !in_page ? 1u : 2u;
  int code = HALFTONE_OK;
  {
    halftone::ActiveState active(state);
    std::unique_lock<std::mutex> turn(g_utility_generator, std::defer_lock);
    if (std::strcmp(info().family, "utilities") == 0) turn.lock();
    code = screen->run(const_cast<unsigned char*>(src), out, width, rows,
                       halftone::make_control(planes, position));
  }
  if (code != HALFTONE_OK) {
    in_page = false;
    return fail(code, code == HALFTONE_ERR_NO_MEMORY
                          ? "out of memory for the band's lines"
                          : "the screen failed (code " + std::to_string(code) + ")");
  }
  // A row goes out as the library wrote it, padding cleared, as far as the
  // caller's stride reaches.
  if (out != dots)
    for (std::size_t i = 0; i < out_lines; ++i)
      std::memcpy(dots + i * dots_stride, &dot_rows[i * lib_dots], std::min(lib_dots, dots_stride));
  in_page = !whole_page;
  error.clear();
  return HALFTONE_OK;
}

int halftone_job::finish() {
  // The last-band step: a last band screens as a middle band and then
  // releases what the job carries, so releasing is all that is left.
  state.lines.release();
  state.damped_lines.release();
  state.block_double_lines.release();
  in_page = false;
  error.clear();
  return HALFTONE_OK;
}

extern "C" {

size_t halftone_screen_count(void) { return halftone::registry().size(); }

const char* halftone_screen_id(size_t index) {
  Screen const* s = screen_at(index);
  return s ? s->info.id : nullptr;
}

const char* halftone_screen_entry(size_t index) {
  Screen const* s = screen_at(index);
  return s ? s->info.entry : nullptr;
}

int halftone_screen_bits(size_t index) {
  Screen const* s = screen_at(index);
  return s ? s->info.bits : 0;
}

const halftone_screen_info* halftone_screen_info_at(size_t index) {
  Screen const* s = screen_at(index);
  return s ? &s->info : nullptr;
}

long halftone_find_screen(const char* name) {
  Screen const* s = halftone::find_screen(name);
  return s ? static_cast<long>(s - halftone::registry().data()) : -1;
}

const char* halftone_version(void) { return HALFTONE_VERSION_STRING; }

size_t halftone_row_bytes(uint32_t width, int bits) {
  return ((static_cast<std::size_t>(width) * static_cast<std::size_t>(bits) + 31u) >> 3) &
         ~std::size_t{3};
}

const char* halftone_last_error(void) { return t_last_error.c_str(); }

halftone_job* halftone_job_new(const char* screen, uint32_t width, uint32_t planes) {
  try {
    t_last_error.clear();
    Screen const* s = halftone::find_screen(screen);
    if (s == nullptr) {
      t_last_error = std::string("no screen named \"") + (screen ? screen : "(null)") + "\"";
      return nullptr;
    }
    if (width == 0 || width > (1u << 24)) {
      t_last_error = "the width must be 1 to 16777216 pixels; got " + std::to_string(width);
      return nullptr;
    }
    const bool single = s->info.banding == HALFTONE_BANDING_WHOLE_PAGE;
    if (planes == 0 || planes > 255 || (single && planes != 1)) {
      t_last_error = std::string(s->info.id) +
                     (single ? " screens one plane; got " : " screens 1 to 255 planes; got ") +
                     std::to_string(planes);
      return nullptr;
    }
    auto* job = new halftone_job;
    job->screen = s;
    job->width = width;
    job->planes = planes;
    return job;
  } catch (std::bad_alloc const&) {
    t_last_error = "out of memory";
  } catch (...) {
    t_last_error = "the job could not be made";
  }
  return nullptr;
}

int halftone_job_set(halftone_job* job, const char* key, const char* value) {
  if (job == nullptr) return HALFTONE_ERR_ARGUMENT;
  try {
    if (key == nullptr) return job->fail(HALFTONE_ERR_ARGUMENT, "no key given");
    if (job->in_page)
      return job->fail(HALFTONE_ERR_SEQUENCE,
                       std::string("\"") + key + "\" set while a page is under way");
    return job->set(key, value);
  } catch (std::bad_alloc const&) {
    return job->fail(HALFTONE_ERR_NO_MEMORY, "out of memory");
  } catch (...) {
    return job->fail(HALFTONE_ERR_ARGUMENT, "the option could not be set");
  }
}

int halftone_job_output_shape(const halftone_job* job, uint32_t rows, uint32_t* out_width,
                              uint32_t* out_rows, size_t* out_row_bytes) {
  if (job == nullptr) return HALFTONE_ERR_ARGUMENT;
  const bool turned = job->info().layout != HALFTONE_LAYOUT_SAME;
  const std::uint32_t w = turned ? rows : job->width;
  const std::uint32_t r = turned ? job->width : rows;
  if (out_width) *out_width = w;
  if (out_rows) *out_rows = r;
  if (out_row_bytes) *out_row_bytes = halftone_row_bytes(w, job->info().bits);
  return HALFTONE_OK;
}

int halftone_job_band(halftone_job* job, const unsigned char* source, size_t source_stride,
                      unsigned char* dots, size_t dots_stride, uint32_t rows) {
  if (job == nullptr) return HALFTONE_ERR_ARGUMENT;
  try {
    return job->band(source, source_stride, dots, dots_stride, rows);
  } catch (std::bad_alloc const&) {
    job->in_page = false;
    return job->fail(HALFTONE_ERR_NO_MEMORY, "out of memory");
  } catch (...) {
    job->in_page = false;
    return job->fail(HALFTONE_ERR_ARGUMENT, "the band could not be screened");
  }
}

int halftone_job_finish(halftone_job* job) {
  if (job == nullptr) return HALFTONE_ERR_ARGUMENT;
  return job->finish();
}

const char* halftone_job_error(const halftone_job* job) {
  return job == nullptr ? "no job" : job->error.c_str();
}

void halftone_job_free(halftone_job* job) { delete job; }

}  // extern "C"
