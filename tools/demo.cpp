// The demo command: every screen on the built-in test chart, with an
// overview page.
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "args.h"
#include "chart.h"
#include "commands.h"
#include "demo_data.h"
#include "exports/catalog.h"
#include "halftone/setup.h"
#include "image_io.h"
#include "screening.h"
#include "tool_error.h"

namespace halftone::tool {
namespace {
namespace fs = std::filesystem;

constexpr std::uint32_t kDemoBandHeight = 64;
constexpr std::uint32_t kDemoSeedTime = 1000000000;  // the same pictures on every run
constexpr int kDemoToneMode = 2;                     // curves 1 and 4, built in

// Rising levels for the tone setup: four for two-bit codes, eight for four-bit.
char const* demo_levels(int bits) {
  return bits == 4 ? "0,36,73,109,146,182,219,255," : "0,85,170,255,";
}

struct Result {
  ScreenInfo const* info;
  std::string picture;  // PNG file name, empty when skipped
  std::string file;     // PBM or PGM file name
  std::string note;     // why it was skipped
  double seconds = 0;
};

std::string escape_html(std::string const& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string overview_page(std::vector<Result> const& results, Image const& chart) {
  std::string html = R"(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"><title>halftone screens</title>
<style>
body { font-family: sans-serif; margin: 1.5em; background: #eee; }
.grid { display: flex; flex-wrap: wrap; gap: 1em; }
figure { margin: 0; padding: .5em; background: #fff; border: 1px solid #ccc; max-width: 520px; }
img { display: block; image-rendering: pixelated; max-width: 512px; }
figcaption { font-size: 85%; margin-top: .4em; }
.name { font-weight: bold; font-family: monospace; font-size: 120%; }
.skipped { color: #a00; }
</style></head><body>
<h1>halftone screens on the test chart</h1>
)";
  html += "<p>" + std::to_string(chart.width) + " &times; " + std::to_string(chart.height) +
          " grey chart, screened in bands of " + std::to_string(kDemoBandHeight) +
          " rows. One-bit results show a set bit as black (for the inverted-output screens a set"
          " bit is paper); two- and four-bit results show code 0 as white and the highest code"
          " as black. Times are for the screening calls alone.</p>\n";
  html +=
      "<div class=\"grid\">\n<figure><img src=\"source.png\" alt=\"source\"><figcaption>"
      "<span class=\"name\">source</span><br>the test chart (source.pgm)</figcaption>"
      "</figure>\n";
  for (Result const& r : results) {
    html += "<figure>";
    if (!r.picture.empty()) html += "<img src=\"" + r.picture + "\" alt=\"" + r.info->name + "\">";
    html += "<figcaption><span class=\"name\">" + escape_html(r.info->name) + "</span> &middot; " +
            std::to_string(r.info->bits) + " bit" + (r.info->bits > 1 ? "s" : "") + " &middot; " +
            escape_html(r.info->family) + "<br>" + escape_html(r.info->summary) + "<br>";
    if (r.picture.empty()) {
      html += "<span class=\"skipped\">skipped: " + escape_html(r.note) + "</span>";
    } else {
      char time[32];
      std::snprintf(time, sizeof time, "%.2f ms", r.seconds * 1000.0);
      html += std::string(time) + " &middot; <a href=\"" + r.file + "\">" + r.file + "</a>";
    }
    html += "</figcaption></figure>\n";
  }
  html += "</div>\n</body></html>\n";
  return html;
}

}  // namespace

int demo_command(std::span<char const* const> args) {
  const OptionDef options[] = {{"out", true}, {"seed-time", true}};
  const ParsedArgs parsed = parse_args(args, options);
  if (!parsed.positional.empty()) throw ToolError("demo takes no positional arguments");
  const fs::path out = parsed.value("out").value_or("halftone-demo");
  if (out.empty()) throw ToolError("--out needs a folder");
  const auto seed_time = static_cast<std::uint32_t>(
      parse_integer(parsed.value("seed-time").value_or(std::to_string(kDemoSeedTime)),
                    "--seed-time", 0, 0xFFFFFFFFll));

  const fs::path moths = out / "data" / "Moths";
  std::error_code error;
  fs::create_directories(moths, error);
  if (error) throw ToolError("cannot create " + moths.string() + ": " + error.message());

  Setup base;
  base.seed_time = seed_time;
  base.data_folder = fs::absolute(out / "data").string();
  base.pattern_size = kDemoPatternSize;
  for (DemoFile const& file : make_demo_files()) {
    write_bytes((moths / file.name).string(), file.bytes);
    base.files[file.need] = file.name;
  }

  const Image chart = make_test_chart();
  write_image((out / "source.pgm").string(), chart);
  write_image((out / "source.png").string(), chart);

  std::vector<Result> results;
  std::size_t skipped = 0;
  for (ScreenInfo const& info : catalog()) {
    Result result{&info, "", "", "", 0};
    Setup setup = base;
    if (info.needs & kNeedsToneSetup) {
      setup.mode = kDemoToneMode;
      setup.parameters = demo_levels(info.bits);
    }
    try {
      prepare(info, setup);
      Page page = page_from_image(chart, 1);
      const Screened screened = screen_page(info, page, kDemoBandHeight);
      const Image picture = render(screened);
      result.file = std::string(info.name) + (info.bits == 1 ? ".pbm" : ".pgm");
      write_image((out / result.file).string(), picture);
      write_image((out / (std::string(info.name) + ".png")).string(), picture);
      result.picture = std::string(info.name) + ".png";
      result.seconds = screened.seconds;
    } catch (ToolError const& e) {
      if (e.exit_code != kExitBadInput) throw;  // a write failure ends the run
      result.note = e.what();
      ++skipped;
    }
    results.push_back(result);
  }
  unpin_seed_time();

  const std::string html = overview_page(results, chart);
  const std::string index = (out / "index.html").string();
  write_bytes(index, {reinterpret_cast<unsigned char const*>(html.data()), html.size()});
  std::printf("screened the %u x %u test chart with %zu screen(s)", chart.width, chart.height,
              results.size() - skipped);
  if (skipped != 0) std::printf(", skipped %zu (see the page)", skipped);
  std::printf("\nopen %s\n", index.c_str());
  return 0;
}

}  // namespace halftone::tool
