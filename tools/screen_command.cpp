// The list and screen commands.
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>

#include "commands.h"
#include "image_io.h"
#include "output_file.h"
#include "registry.h"
#include "screening.h"
#include "tool_error.h"

namespace halftone::tool {
namespace {
namespace fs = std::filesystem;

char const* banding_name(halftone_banding banding) {
  switch (banding) {
    case HALFTONE_BANDING_WHOLE_PAGE:
      return "page";
    case HALFTONE_BANDING_BANDED:
      return "banded";
    default:
      return "carried";
  }
}

// A data file named on the command line: as given (relative to the current
// folder), else inside the --data folder or its Moths/ folder.
std::string data_file(std::string const& file, char const* option, std::string const& data) {
  std::vector<fs::path> tried = {fs::path(file)};
  if (!data.empty() && fs::path(file).is_relative()) {
    tried.push_back(fs::path(data) / file);
    tried.push_back(fs::path(data) / "Moths" / file);
  }
  for (fs::path const& path : tried) {
    std::error_code error;
    if (fs::is_regular_file(path, error)) return fs::absolute(path).string();
  }
  std::string where;
  for (fs::path const& path : tried) where += (where.empty() ? "" : ", ") + path.string();
  throw ToolError(std::string("--") + option + ": no file " + where);
}

struct DataOption {
  unsigned need;
  char const* key;  // the job's key and the command line's option
  char const* article;
  char const* what;
  std::string ScreenOptions::*value;
};
const DataOption kDataOptions[] = {
    {HALFTONE_NEEDS_PATTERN, "pattern", "a", "one-bit pattern bank", &ScreenOptions::pattern},
    {HALFTONE_NEEDS_PATTERN2, "pattern2", "a", "two-bit pattern bank", &ScreenOptions::pattern2},
    {HALFTONE_NEEDS_MATRIX, "matrix", "an", "8-bit BMP threshold matrix", &ScreenOptions::matrix},
    {HALFTONE_NEEDS_BLOCKS, "blocks", "a", "threshold-block text file", &ScreenOptions::blocks},
};

// The job's options for the screen, every one checked against what the
// screen reads. Tells which levels it chose unless quiet.
std::vector<std::pair<std::string, std::string>> job_keys(ScreenOptions const& o,
                                                          halftone_screen_info const& info) {
  const std::string id = info.id;
  std::vector<std::pair<std::string, std::string>> keys;
  auto refuse = [&](std::string const& what, std::string const& option) {
    throw ToolError(id + " reads no " + what + "; drop " + option);
  };
  // Without --seed-time, every page seeds from the clock as the program starts.
  keys.emplace_back(
      "seed-time", o.seed_time.empty()
                       ? std::to_string(static_cast<std::uint32_t>(std::time(nullptr)))
                       : std::to_string(parse_number(o.seed_time, "--seed-time", 0, 0xFFFFFFFFll)));
  if (!o.mode.empty()) {
    if (!(info.needs & HALFTONE_NEEDS_TONE_CURVES)) refuse("tone curves", "--mode");
    const auto mode = parse_number(o.mode, "--mode", -1000, 1000);
    if (!is_curve_mode(mode))
      throw ToolError("--mode " + o.mode + " selects no tone curves; use " + curve_modes_text());
    keys.emplace_back("mode", std::to_string(mode));
  }
  const bool reads_levels = (info.needs & HALFTONE_NEEDS_LEVELS) && info.levels > 0;
  if (!o.levels.empty()) {
    if (!reads_levels) refuse("levels", "--levels");
    keys.emplace_back("levels", checked_levels(o.levels, info));
  } else if (reads_levels) {
    keys.emplace_back("levels", info.default_levels);
    if (!o.quiet)
      std::fprintf(stderr,
                   "halftone: %s reads %d levels; using evenly spread %s (--levels sets them)\n",
                   info.id, info.levels, keys.back().second.c_str());
  }
  if (!o.data.empty()) {
    std::error_code error;
    if (!fs::is_directory(o.data, error)) throw ToolError("--data: no folder " + o.data);
    keys.emplace_back("data-folder", fs::absolute(o.data).string());
  }
  for (DataOption const& d : kDataOptions) {
    std::string const& file = o.*d.value;
    if (!(info.needs & d.need)) {
      if (!file.empty()) refuse(d.what, std::string("--") + d.key);
      continue;
    }
    if (file.empty())
      throw ToolError(id + " needs " + d.article + " " + d.what + ": give --" + d.key + " FILE");
    keys.emplace_back(d.key, data_file(file, d.key, o.data));
  }
  const bool reads_pattern = info.needs & (HALFTONE_NEEDS_PATTERN | HALFTONE_NEEDS_PATTERN2);
  if (!o.pattern_size.empty() && !reads_pattern) refuse("pattern bank", "--pattern-size");
  if (reads_pattern) {
    std::string size = "16x16";
    if (info.pattern_width > 0) {
      size = std::to_string(info.pattern_width) + "x" + std::to_string(info.pattern_height);
      if (!o.pattern_size.empty() && o.pattern_size != size)
        throw ToolError(id + " reads patterns of " + size + " only; drop --pattern-size");
    } else if (!o.pattern_size.empty()) {
      const auto x = o.pattern_size.find_first_of("xX");
      if (x == std::string::npos)
        throw ToolError("--pattern-size is written WIDTHxHEIGHT, e.g. 16x16, not " +
                        o.pattern_size);
      const auto width = parse_number(o.pattern_size.substr(0, x), "the pattern width", 8, 256);
      const auto height = parse_number(o.pattern_size.substr(x + 1), "the pattern height", 1, 256);
      if (width % 8 != 0) throw ToolError("the pattern width must be a multiple of 8");
      size = std::to_string(width) + "x" + std::to_string(height);
    }
    keys.emplace_back("pattern-size", size);
  }
  return keys;
}

// Whether the input can be opened again and read twice over (a regular file).
bool opens_again(std::string const& input) {
  std::error_code error;
  return input != "-" && fs::is_regular_file(input, error);
}

// Pages can be screened at once where the input opens again and no state
// runs on from page to page outside the pages' jobs (the utilities share one
// generator for the life of the process).
bool pages_at_once(halftone_screen_info const& info, std::string const& input) {
  return opens_again(input) && std::strcmp(info.family, "utilities") != 0;
}

image::Format output_format(ScreenOptions const& o, halftone_screen_info const& info) {
  image::Format format;
  if (o.raw) {
    format = image::Format::Raw;
  } else if (!o.format.empty()) {
    auto named = image::format_named(o.format);
    if (!named)
      throw ToolError("--format " + o.format + " is not one of pbm, pgm, pam, png, tiff, raw");
    format = *named;
  } else if (o.output == "-") {
    format = info.bits == 1 ? image::Format::Pbm : image::Format::Pgm;
  } else {
    auto by_name = image::format_of_path(o.output);
    if (!by_name)
      throw ToolError("cannot tell the format of " + o.output +
                      ": end it in .pbm, .pgm, .pam, .png, .tif or .raw, or give --format");
    format = *by_name;
  }
  if (!o.compression.empty() && format != image::Format::Tiff)
    throw ToolError("--compression is for TIFF output; " + o.output + " is written as " +
                    image::format_name(format));
  if (format == image::Format::Pbm && info.bits != 1)
    throw ToolError(std::string(info.id) + " writes " + std::to_string(info.bits) +
                    "-bit codes, which a PBM cannot hold: write .pgm, .pam, .png or .tif");
  return format;
}

image::WriteOptions output_options(ScreenOptions const& o, halftone_screen_info const& info) {
  image::WriteOptions options;
  if (o.compression.empty()) return options;
  const auto named = image::tiff_compression_named(o.compression);
  if (!named)
    throw ToolError("--compression " + o.compression +
                    " is not one of g4, packbits, lzw, deflate, none");
  if (*named == image::TiffCompression::Group4 && info.bits != 1)
    throw ToolError(std::string(info.id) + " writes " + std::to_string(info.bits) +
                    "-bit codes, which Group 4 cannot hold: use packbits, lzw, deflate or none");
  options.tiff = *named;
  return options;
}

}  // namespace

std::int64_t parse_number(std::string const& text, std::string const& what, std::int64_t min,
                          std::int64_t max) {
  std::int64_t value = 0;
  char const* first = text.data();
  char const* last = first + text.size();
  if (first != last && *first == '+') ++first;
  auto [end, error] = std::from_chars(first, last, value);
  if (text.empty() || error != std::errc() || end != last)
    throw ToolError(what + " must be a whole number, not '" + text + "'");
  if (value < min || value > max)
    throw ToolError(what + " must be between " + std::to_string(min) + " and " +
                    std::to_string(max) + ", not " + text);
  return value;
}

int list_command() {
  std::printf(
      "Every screen of the library. Name a screen by its ID or its ENTRY (the fixed entry\n"
      "point name). BITS: output bits a pixel (1 dots; 2 and 4 dot-size codes). BANDS: page\n"
      "(one plane, the whole page at once), banded (nothing carried between bands) or\n"
      "carried (error runs on from band to band). NEEDS: what the screen reads besides the\n"
      "page: tone-curves (--mode), levels(N) (--levels, N values), pattern / pattern2\n"
      "(--pattern / --pattern2 banks of the size shown, else --pattern-size), matrix\n"
      "(--matrix BMP), blocks (--blocks text file), built-matrix (made by the library).\n"
      "A screen marked [turned] writes a height x width page.\n\n");
  const auto screens = all_screens();
  int id_w = 2, entry_w = 5, needs_w = 5;
  for (auto const* info : screens) {
    id_w = std::max(id_w, static_cast<int>(std::strlen(info->id)));
    entry_w = std::max(entry_w, static_cast<int>(std::strlen(info->entry)));
    needs_w = std::max(needs_w, static_cast<int>(needs_text(*info).size()));
  }
  std::printf("%-*s  %-*s  %-10s  %-4s  %-7s  %-*s  %s\n", id_w, "ID", entry_w, "ENTRY", "FAMILY",
              "BITS", "BANDS", needs_w, "NEEDS", "SUMMARY");
  for (auto const* info : screens)
    std::printf("%-*s  %-*s  %-10s  %-4d  %-7s  %-*s  %s%s\n", id_w, info->id, entry_w, info->entry,
                info->family, info->bits, banding_name(info->banding), needs_w,
                needs_text(*info).c_str(), info->summary,
                info->layout == HALFTONE_LAYOUT_SAME ? "" : " [turned]");
  return 0;
}

int screen_command(ScreenOptions const& o) {
  halftone_screen_info const& info = find_screen(o.screen);
  const image::Format format = output_format(o, info);
  const image::WriteOptions write_options = output_options(o, info);
  ScreenJob job;
  job.info = &info;
  job.keys = job_keys(o, info);
  job.band_height = o.band_height;
  job.progress = !o.quiet;

  // Stacked planes are read a reader a plane where the input opens again.
  const bool reopens = opens_again(o.input);
  const OpenReader open_input = [&o] { return image::open_reader(o.input); };
  const OpenReader open = [&] {
    std::unique_ptr<image::Reader> reader = open_input();
    if (o.planes > 1)
      reader = std::make_unique<StackedPlanes>(std::move(reader), o.planes,
                                               reopens ? open_input : OpenReader{});
    return reader;
  };
  std::unique_ptr<image::Reader> reader = open();
  const bool cmyk = reader->shape().planes == 4 && o.planes == 1;
  // A file of several pages screens them at once, a page a thread: a second
  // reader of the file, at its second page, shows there is one. Otherwise
  // the threads screen the planes of each page.
  std::unique_ptr<image::Reader> second;
  if (o.threads > 1 && pages_at_once(info, o.input)) {
    second = open();
    if (!second->skip_page()) second.reset();
  }
  if (o.threads > 1 && !second) job.keys.emplace_back("threads", std::to_string(o.threads));

  remove_pending_on_signals();
  OutputFile output(o.output);
  std::unique_ptr<image::Writer> writer;
  std::unique_ptr<PageSink> sink;
  if (format == image::Format::Raw) {
    sink = std::make_unique<RawSink>(output.stream(), o.output);
  } else {
    writer = image::make_writer(format, output.stream(), o.output, write_options);
    std::vector<std::string> names;
    if (cmyk) names = {"Cyan", "Magenta", "Yellow", "Black"};
    auto pictures = std::make_unique<PictureSink>(*writer, format == image::Format::Tiff, info.bits,
                                                  info.top_code, names);
    if (!second) pictures->pictures_at_once(o.threads);  // a page's separations
    sink = std::move(pictures);
  }
  const ScreenTotals totals = second ? screen_pages_at_once(job, open, std::move(reader),
                                                            std::move(second), o.threads, *sink)
                                     : screen_pages(job, *reader, *sink);
  if (writer) writer->finish();
  output.commit();

  if (!o.quiet) {
    PageOut const& page = totals.last;
    std::fprintf(stderr,
                 "halftone: %s (%s): %u page%s of %u x %u, %u plane%s, %d bit%s a pixel, "
                 "%llu band%s, %.1f ms screening -> %s (%s)\n",
                 info.id, info.entry, totals.pages, totals.pages == 1 ? "" : "s", page.width,
                 page.height, page.planes, page.planes == 1 ? "" : "s", info.bits,
                 info.bits == 1 ? "" : "s", static_cast<unsigned long long>(totals.bands),
                 totals.bands == 1 ? "" : "s", totals.seconds * 1000.0,
                 o.output == "-" ? "standard output" : o.output.c_str(),
                 image::format_name(format));
  }
  return 0;
}

}  // namespace halftone::tool
