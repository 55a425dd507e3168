// The list and screen commands, and the usage text.
#include "commands.h"

#include <cstdio>
#include <filesystem>
#include <limits>
#include <string>
#include <vector>

#include "args.h"
#include "exports/catalog.h"
#include "image_io.h"
#include "screening.h"
#include "tool_error.h"

namespace halftone::tool {

char const* usage() {
  return R"(usage: halftone COMMAND [ARGUMENTS]

  halftone list
      Every screen: output bits, banding, what it needs, and a summary.

  halftone screen NAME IN OUT [options]
      Screens IN (binary PGM or PNG, grey 0 = black) with screen NAME and
      writes OUT: PBM for one-bit screens (a set bit is drawn black; for the
      inverted-output screens that bit means paper), a grey PGM rendering of
      the dot-size codes for two- and four-bit screens (code 0 white, the
      highest code black), or PNG when OUT ends in ".png".
        --band-height N   rows a band (default 64). The page is screened with
                          band positions 1, 2, ..., 3; a page that fits one
                          band is one call with position 1.
        --planes P        IN holds P planes stacked top to bottom (default 1);
                          OUT stacks the screened planes the same way.
        --mode M          tone-curve mode for the tone setup (default 0)
        --params LIST     levels for the tone setup, e.g. 0,85,170,255
                          (at most nine values, 0-255)
        --seed-time S     use S seconds instead of the clock for every reseed
        --data DIR        folder holding ToneAry.ham and Moths/ (default: the
                          program's folder)
        --pattern FILE    one-bit pattern bank in DIR/Moths/
        --pattern2 FILE   two-bit pattern bank in DIR/Moths/
        --pattern-size WxH  size of the patterns in the bank (default 16x16)
        --matrix FILE     8-bit BMP threshold matrix in DIR/Moths/
        --blocks FILE     threshold-block text file in DIR/Moths/
        --raw             write the packed output rows exactly as the library
                          writes them (line-interleaved planes, rows padded
                          to 32 bits)
      The tone setup runs when the screen needs it or --mode/--params is given.

  halftone demo [--out DIR] [--seed-time S]
      Screens a generated test chart with every screen and writes the results
      and an overview page, DIR/index.html (default DIR: ./halftone-demo).

Exit status: 0 on success, 2 for bad arguments or unreadable input, 1 when
writing fails.
)";
}

int list_command(std::span<char const* const> args) {
  const ParsedArgs parsed = parse_args(args, {});
  if (!parsed.positional.empty()) throw ToolError("list takes no arguments");
  std::printf("%-16s %-4s %-8s %-18s %s\n", "NAME", "BITS", "BANDS", "NEEDS", "SUMMARY");
  for (ScreenInfo const& info : catalog()) {
    const char* bands = !info.banded ? "page" : info.carries ? "carried" : "banded";
    std::string summary = info.summary;
    if (info.layout == Layout::Transposed) summary += " [output is height x width]";
    std::printf("%-16s %-4d %-8s %-18s %s\n", info.name, info.bits, bands,
                needs_text(info.needs).c_str(), summary.c_str());
  }
  return 0;
}

namespace {

std::vector<OptionDef> screen_options() {
  std::vector<OptionDef> options = {
      {"band-height", true}, {"planes", true}, {"mode", true}, {"params", true},
      {"seed-time", true},   {"data", true},   {"raw", false}, {"pattern-size", true},
  };
  for (DataKind const& kind : data_kinds()) options.push_back({kind.option, true});
  return options;
}

Setup setup_from(ParsedArgs const& parsed) {
  Setup setup;
  if (auto v = parsed.value("mode"))
    setup.mode = static_cast<int>(parse_integer(*v, "--mode", std::numeric_limits<int>::min(),
                                                std::numeric_limits<int>::max()));
  if (auto v = parsed.value("params")) setup.parameters = normalize_parameters(*v);
  if (auto v = parsed.value("seed-time"))
    setup.seed_time = static_cast<std::uint32_t>(parse_integer(*v, "--seed-time", 0, 0xFFFFFFFFll));
  if (auto v = parsed.value("data")) {
    if (!std::filesystem::is_directory(*v)) throw ToolError("--data: no folder " + *v);
    setup.data_folder = *v;
  }
  if (auto v = parsed.value("pattern-size"))
    setup.pattern_size = parse_size(*v, "--pattern-size", 8, 256);
  for (DataKind const& kind : data_kinds())
    if (auto v = parsed.value(kind.option)) {
      if (v->empty()) throw ToolError(std::string("--") + kind.option + " needs a file name");
      setup.files[kind.need] = *v;
    }
  return setup;
}

}  // namespace

int screen_command(std::span<char const* const> args) {
  const std::vector<OptionDef> options = screen_options();
  const ParsedArgs parsed = parse_args(args, options);
  if (parsed.positional.size() != 3) throw ToolError("screen needs three arguments: NAME IN OUT");
  const std::string& name = parsed.positional[0];
  const std::string& in = parsed.positional[1];
  const std::string& out = parsed.positional[2];
  ScreenInfo const* info = find_screen(name.c_str());
  if (info == nullptr) throw ToolError("unknown screen '" + name + "' (see 'halftone list')");

  const auto band_height = static_cast<std::uint32_t>(
      parse_integer(parsed.value("band-height").value_or("64"), "--band-height", 1, kMaxSide));
  const auto planes = static_cast<std::uint32_t>(
      parse_integer(parsed.value("planes").value_or("1"), "--planes", 1, 255));
  const bool raw = parsed.has("raw");
  if (raw && ends_with(out, ".png")) throw ToolError("--raw output cannot be a .png file");
  if (!raw && info->bits != 1 && ends_with(out, ".pbm"))
    throw ToolError(name + " writes " + std::to_string(info->bits) +
                    "-bit codes, which a PBM cannot hold: use .pgm or .png");
  const Setup setup = setup_from(parsed);
  for (DataKind const& kind : data_kinds())
    if (setup.files.count(kind.need) && !(info->needs & kind.need))
      throw ToolError(name + " reads no " + kind.what + "; drop --" + kind.option);

  Page page = page_from_image(read_image(in), planes);
  prepare(*info, setup);
  const Screened screened = screen_page(*info, page, band_height);
  if (raw)
    write_bytes(out, screened.bytes);
  else
    write_image(out, render(screened));
  std::printf("%s: %u x %u, %u plane(s), %d bit(s) a pixel, %u band(s), %.1f ms -> %s\n",
              info->name, screened.width, screened.height, screened.planes, info->bits,
              screened.bands, screened.seconds * 1000.0, out.c_str());
  return 0;
}

}  // namespace halftone::tool
