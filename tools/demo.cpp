// The demo command: every screen of the registry on the built-in test chart,
// with an overview page.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "chart.h"
#include "commands.h"
#include "demo_data.h"
#include "image_io.h"
#include "output_file.h"
#include "registry.h"
#include "screening.h"
#include "tool_error.h"

namespace halftone::tool {
namespace {
namespace fs = std::filesystem;

constexpr std::uint32_t kBandHeight = 64;
constexpr char const* kToneMode = "2";  // curves 1 and 4, built in

// The chart as an image reader.
class ChartReader final : public image::Reader {
 public:
  explicit ChartReader(GreyImage const& chart) : chart_(chart) {
    shape_.width = chart.width;
    shape_.height = chart.height;
  }
  char const* format() const override { return "chart"; }
  void read_rows(unsigned char* out, std::size_t stride, std::uint32_t rows) override {
    for (std::uint32_t r = 0; r < rows; ++r, ++y_)
      std::memcpy(out + r * stride, chart_.row(y_), chart_.width);
  }
  bool next_page() override { return false; }

 private:
  GreyImage const& chart_;
  std::uint32_t y_ = 0;
};

// Keeps a one-plane page's packed rows.
class KeepSink final : public PageSink {
 public:
  void begin_page(PageOut const& page) override {
    page_ = page;
    rows_.clear();
  }
  void band(unsigned char const* dots, std::uint32_t rows) override {
    rows_.insert(rows_.end(), dots, dots + page_.row_bytes * rows);
  }
  void end_page() override {}
  PageOut page_;
  std::vector<unsigned char> rows_;
};

void write_picture(fs::path const& path, image::Format format, image::Picture const& picture,
                   unsigned char const* rows, std::size_t stride) {
  OutputFile file(path.string());
  auto writer = image::make_writer(format, file.stream(), path.string());
  writer->begin(picture);
  for (std::uint32_t y = 0; y < picture.height; ++y) writer->write_row(rows + y * stride);
  writer->end();
  writer->finish();
  file.commit();
}

void write_text(fs::path const& path, std::string const& text) {
  OutputFile file(path.string());
  if (std::fwrite(text.data(), 1, text.size(), file.stream()) != text.size())
    throw image::WriteError("cannot write " + path.string());
  file.commit();
}

std::string escape_html(std::string const& text) {
  std::string out;
  for (char c : text) {
    if (c == '&')
      out += "&amp;";
    else if (c == '<')
      out += "&lt;";
    else if (c == '>')
      out += "&gt;";
    else if (c == '"')
      out += "&quot;";
    else
      out += c;
  }
  return out;
}

struct Card {
  halftone_screen_info const* info;
  std::vector<std::string> used;  // the data and settings it ran with
  std::string picture, file;      // PNG and PBM/PGM names; empty when it failed
  std::string failure;
  double seconds = 0;
};

// The screen data files, written once each into the data folder.
class DataFolder {
 public:
  explicit DataFolder(fs::path folder) : folder_(std::move(folder)) {}

  // The file for one need of a screen; `size` is "WxH" for pattern banks.
  std::string file(unsigned need, std::string const& size, std::string* described) {
    std::string name, what;
    if (need == HALFTONE_NEEDS_PATTERN || need == HALFTONE_NEEDS_PATTERN2) {
      const int bits = need == HALFTONE_NEEDS_PATTERN ? 1 : 2;
      name = "pattern" + std::to_string(bits) + "-" + size + ".pat";
      what = "256 " + std::to_string(bits) + "-bit clustered-dot patterns of " + size;
    } else if (need == HALFTONE_NEEDS_MATRIX) {
      name = "matrix.bmp";
      what = "256 x 256 clustered-dot threshold BMP";
    } else {
      name = "blocks.txt";
      what = "threshold blocks toward 8 x 8 dot centres";
    }
    const fs::path path = folder_ / name;
    if (!written_.count(name)) {
      std::vector<unsigned char> bytes;
      if (need == HALFTONE_NEEDS_MATRIX) {
        bytes = threshold_bmp();
      } else if (need == HALFTONE_NEEDS_BLOCKS) {
        bytes = threshold_blocks();
      } else {
        const auto x = size.find('x');
        bytes = pattern_bank(need == HALFTONE_NEEDS_PATTERN ? 1 : 2, std::stoi(size.substr(0, x)),
                             std::stoi(size.substr(x + 1)));
      }
      write_text(path, std::string(bytes.begin(), bytes.end()));
      written_[name] = true;
    }
    *described = "data/" + name + " (" + what + ")";
    return fs::absolute(path).string();
  }

 private:
  fs::path folder_;
  std::map<std::string, bool> written_;
};

Card screen_card(halftone_screen_info const& info, GreyImage const& chart, DataFolder& data,
                 std::string const& seed_time, fs::path const& out) {
  Card card{&info, {}, "", "", "", 0};
  ScreenJob job;
  job.info = &info;
  job.band_height = kBandHeight;
  job.keys.emplace_back("seed-time", seed_time);
  if (info.needs & HALFTONE_NEEDS_TONE_CURVES) {
    job.keys.emplace_back("mode", kToneMode);
    card.used.push_back(std::string("tone mode ") + kToneMode);
  }
  if ((info.needs & HALFTONE_NEEDS_LEVELS) && info.levels > 0) {
    job.keys.emplace_back("levels", info.default_levels);
    card.used.push_back("levels " + job.keys.back().second);
  }
  std::string size = "16x16";
  if (info.pattern_width > 0)
    size = std::to_string(info.pattern_width) + "x" + std::to_string(info.pattern_height);
  const std::pair<unsigned, char const*> files[] = {{HALFTONE_NEEDS_PATTERN, "pattern"},
                                                    {HALFTONE_NEEDS_PATTERN2, "pattern2"},
                                                    {HALFTONE_NEEDS_MATRIX, "matrix"},
                                                    {HALFTONE_NEEDS_BLOCKS, "blocks"}};
  for (auto const& [need, key] : files)
    if (info.needs & need) {
      std::string described;
      job.keys.emplace_back(key, data.file(need, size, &described));
      card.used.push_back(described);
    }
  if (info.needs & (HALFTONE_NEEDS_PATTERN | HALFTONE_NEEDS_PATTERN2))
    job.keys.emplace_back("pattern-size", size);
  if (info.needs & HALFTONE_NEEDS_BUILT_MATRIX) card.used.push_back("the built-in dither matrix");

  ChartReader reader(chart);
  KeepSink kept;
  try {
    card.seconds = screen_pages(job, reader, kept).seconds;
  } catch (ToolError const& e) {
    if (e.exit_code != kExitBadInput) throw;
    card.failure = e.what();
    return card;
  }
  image::Picture picture;
  picture.width = kept.page_.width;
  picture.height = kept.page_.height;
  picture.bits = info.bits;
  picture.top_code = info.top_code;
  const std::string id = info.id;
  card.picture = id + ".png";
  card.file = id + (info.bits == 1 ? ".pbm" : ".pgm");
  write_picture(out / card.picture, image::Format::Png, picture, kept.rows_.data(),
                kept.page_.row_bytes);
  write_picture(out / card.file, info.bits == 1 ? image::Format::Pbm : image::Format::Pgm, picture,
                kept.rows_.data(), kept.page_.row_bytes);
  return card;
}

std::string overview(std::vector<Card> const& cards, GreyImage const& chart, bool report) {
  std::string html = R"(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><title>halftone screens</title>
<style>
body { font-family: sans-serif; margin: 1.5em; background: #eee; }
.grid { display: flex; flex-wrap: wrap; gap: 1em; }
figure { margin: 0; padding: .5em; background: #fff; border: 1px solid #ccc; max-width: 520px; }
img { display: block; image-rendering: pixelated; max-width: 512px; }
figcaption { font-size: 85%; margin-top: .4em; }
.name { font-weight: bold; font-family: monospace; font-size: 120%; }
.used { color: #555; }
.failed { color: #a00; }
</style></head><body>
<h1>halftone screens on the test chart</h1>
)";
  html += "<p>" + std::to_string(chart.width) + " &times; " + std::to_string(chart.height) +
          " grey chart, screened in bands of " + std::to_string(kBandHeight) +
          " rows through the job API. One-bit results show a set bit as black (for the"
          " inverted-output screens a set bit is paper); two- and four-bit results show code 0"
          " as white and the highest code as black. Each card says which data and settings it"
          " used (data files are in <a href=\"data/\">data/</a>). Times are for the screening"
          " calls alone.</p>\n";
  if (report) html += "<p><a href=\"report/index.html\">Quality report</a></p>\n";
  html +=
      "<div class=\"grid\">\n<figure><img src=\"source.png\" alt=\"source\"><figcaption>"
      "<span class=\"name\">source</span><br>the test chart (<a href=\"source.pgm\">"
      "source.pgm</a>)</figcaption></figure>\n";
  for (Card const& c : cards) {
    const std::string id = c.info->id;
    html += "<figure id=\"" + escape_html(id) + "\">";
    if (!c.picture.empty()) html += "<img src=\"" + c.picture + "\" alt=\"" + id + "\">";
    html += "<figcaption><span class=\"name\">" + escape_html(id) + "</span> (" +
            escape_html(c.info->entry) + ") &middot; " + std::to_string(c.info->bits) + " bit" +
            (c.info->bits > 1 ? "s" : "") + " &middot; " + escape_html(c.info->family) + "<br>" +
            escape_html(c.info->summary) + "<br>";
    if (!c.used.empty()) {
      std::string used;
      for (std::string const& u : c.used) used += (used.empty() ? "" : "; ") + u;
      html += "<span class=\"used\">used: " + escape_html(used) + "</span><br>";
    }
    if (c.picture.empty()) {
      html += "<span class=\"failed\">not screened: " + escape_html(c.failure) + "</span>";
    } else {
      char time[32];
      std::snprintf(time, sizeof time, "%.2f ms", c.seconds * 1000.0);
      html += std::string(time) + " &middot; <a href=\"" + c.file + "\">" + c.file + "</a>";
    }
    html += "</figcaption></figure>\n";
  }
  html += "</div>\n</body></html>\n";
  return html;
}

}  // namespace

int demo_command(DemoOptions const& o) {
  const std::string seed_time =
      std::to_string(parse_number(o.seed_time, "--seed-time", 0, 0xFFFFFFFFll));
  if (o.out.empty()) throw ToolError("--out needs a folder");
  const fs::path out(o.out);
  std::error_code error;
  fs::create_directories(out / "data", error);
  if (error) throw ToolError("cannot create " + (out / "data").string() + ": " + error.message());
  remove_pending_on_signals();

  const GreyImage chart = make_test_chart();
  image::Picture source;
  source.width = chart.width;
  source.height = chart.height;
  source.bits = 8;
  write_picture(out / "source.pgm", image::Format::Pgm, source, chart.pixels.data(), chart.width);
  write_picture(out / "source.png", image::Format::Png, source, chart.pixels.data(), chart.width);

  DataFolder data(out / "data");
  std::vector<Card> cards;
  std::size_t failed = 0;
  for (auto const* info : all_screens()) {
    cards.push_back(screen_card(*info, chart, data, seed_time, out));
    if (cards.back().picture.empty()) ++failed;
  }
  const bool report = fs::exists(out / "report" / "index.html", error);
  write_text(out / "index.html", overview(cards, chart, report));
  if (!o.quiet) {
    std::fprintf(stderr, "halftone: screened the %u x %u test chart with %zu screen(s)",
                 chart.width, chart.height, cards.size() - failed);
    if (failed != 0) std::fprintf(stderr, "; %zu could not run (see the page)", failed);
    std::fprintf(stderr, "\nopen %s\n", (out / "index.html").string().c_str());
  }
  return failed == 0 ? 0 : kExitFailure;
}

}  // namespace halftone::tool
