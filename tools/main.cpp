// halftone: list the screens, screen pages, or run the demonstration.
#include <halftone/halftone.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <string>

#include "commands.h"
#include "image_io.h"
#include "tool_error.h"

namespace {

using namespace halftone::tool;

constexpr char const* kExitStatus =
    "Exit status: 0 done; 2 bad arguments, input or data files (nothing is written); 1 the\n"
    "output could not be written or the library failed. Messages go to standard error.";

constexpr char const* kScreenFooter =
    "IN and OUT may be '-' (standard input, standard output). IN is PBM, PGM or PPM (plain\n"
    "or binary, 8 or 16 bits), PAM (GRAYSCALE, GRAYSCALE_ALPHA, RGB, RGB_ALPHA, CMYK), PNG,\n"
    "TIFF (grey, palette, RGB or CMYK; every page) or JPEG. Colour becomes grey by luminance; a\n"
    "CMYK page becomes four planes (ink k is grey 255 - k) screened in one job.\n"
    "OUT's format follows its extension (.pbm .pgm .pam .png .tif .tiff .raw) or --format;\n"
    "'-' writes PBM for one-bit screens and PGM for the others:\n"
    "  pbm   a set bit is black (for the inverted-output screens it is paper)\n"
    "  pgm   grey: code 0 white, the highest code black\n"
    "  pam   the codes kept: GRAYSCALE with MAXVAL the highest code (sample = MAXVAL - code)\n"
    "  png   one picture; grey of bit depth 1 for dots, 2 for two-bit codes, 8 for four-bit\n"
    "  tiff  a page a plane (CMYK gives Cyan, Magenta, Yellow, Black); dots in CCITT Group 4,\n"
    "        codes as 2- or 4-bit samples (0 white) in LZW, or as --compression says\n"
    "  raw   the library's rows as they are: planes line-interleaved, rows padded to 32 bits\n"
    "Planes of PBM, PGM, PAM and PNG pictures are stacked top to bottom; pages follow one\n"
    "another (PNG holds one page).";

void add_screen(CLI::App& app, ScreenOptions& o) {
  CLI::App* screen = app.add_subcommand("screen", "Screen the pages of an image file.");
  screen->add_option("SCREEN", o.screen, "screen id or entry name ('halftone list')")->required();
  screen->add_option("IN", o.input, "input image, '-' for standard input")->required();
  screen->add_option("OUT", o.output, "output file, '-' for standard output")->required();
  screen->add_option("--format", o.format,
                     "pbm, pgm, pam, png, tiff or raw (default: OUT's extension)");
  screen->add_flag("--raw", o.raw, "the same as --format raw");
  screen->add_option("--compression", o.compression,
                     "TIFF pages: g4, packbits, lzw, deflate or none "
                     "(default: g4 for dots, lzw for codes)");
  screen->add_option("--band-height", o.band_height, "rows a band (default 64)")
      ->check(CLI::Range(1u, halftone::image::kMaxSide));
  screen
      ->add_option("--planes", o.planes,
                   "IN is a grey image of P planes stacked top to bottom (from stdin: read whole)")
      ->check(CLI::Range(1u, 255u));
  screen
      ->add_option("--threads", o.threads,
                   "pages of a file, else planes, screened at once (1-64); output unchanged")
      ->check(CLI::Range(1u, 64u));
  screen->add_option("--mode", o.mode, "tone-curve mode: 0 (none), 1-5 or 11-17");
  screen->add_option("--levels,--params", o.levels,
                     "levels from dark to light, e.g. 0,85,170,255 (default: evenly spread)");
  screen->add_option("--seed-time", o.seed_time,
                     "seconds the random screens seed from (default: the clock at the start)");
  screen->add_option("--data", o.data,
                     "folder of ToneAry.ham; data files are also looked up "
                     "there and in its Moths/");
  screen->add_option("--pattern", o.pattern, "one-bit pattern bank file");
  screen->add_option("--pattern2", o.pattern2, "two-bit pattern bank file");
  screen->add_option("--pattern-size", o.pattern_size,
                     "WxH of the patterns, for screens that take any size (default 16x16)");
  screen->add_option("--matrix", o.matrix, "8-bit BMP threshold matrix file");
  screen->add_option("--blocks", o.blocks, "threshold-block text file");
  screen->add_flag("-q,--quiet", o.quiet, "no status line, no notes, no progress");
  screen->footer(std::string(kScreenFooter) + "\n\n" + kExitStatus);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app("Screens grey and CMYK pages into dots with the halftone library.", "halftone");
  app.set_version_flag("--version", std::string("halftone ") + halftone_version());
  app.require_subcommand(1);
  app.footer(std::string("Run 'halftone COMMAND --help' for a command's options.\n\n") +
             kExitStatus);

  CLI::App* list = app.add_subcommand(
      "list", "Every screen: id, entry name, family, bits, banding, what it reads, summary.");
  ScreenOptions screen_options;
  add_screen(app, screen_options);
  DemoOptions demo_options;
  CLI::App* demo = app.add_subcommand(
      "demo", "Screen a built-in test chart with every screen; write an overview page.");
  demo->add_option("--out", demo_options.out, "folder to write (default ./halftone-demo)");
  demo->add_option("--seed-time", demo_options.seed_time, "seconds the random screens seed from");
  demo->add_flag("-q,--quiet", demo_options.quiet, "no status line");

  bool known = argc < 2 || argv[1][0] == '-';
  for (CLI::App* command : app.get_subcommands([](CLI::App*) { return true; }))
    known = known || command->check_name(argv[1]);
  if (!known) {
    std::fprintf(stderr, "halftone: unknown command '%s' (list, screen, demo)\n", argv[1]);
    return kExitBadInput;
  }
  try {
    app.parse(argc, argv);
  } catch (CLI::ParseError const& e) {
    if (e.get_exit_code() == 0) return app.exit(e);  // --help, --version
    std::fprintf(stderr, "halftone: %s\nRun 'halftone --help' or 'halftone COMMAND --help'.\n",
                 e.what());
    return kExitBadInput;
  }

  try {
    if (list->parsed()) return list_command();
    if (demo->parsed()) return demo_command(demo_options);
    return screen_command(screen_options);
  } catch (ToolError const& e) {
    std::fprintf(stderr, "halftone: %s\n", e.what());
    return e.exit_code;
  } catch (halftone::image::WriteError const& e) {
    std::fprintf(stderr, "halftone: %s\n", e.what());
    return kExitFailure;
  } catch (halftone::image::Error const& e) {
    std::fprintf(stderr, "halftone: %s\n", e.what());
    return kExitBadInput;
  } catch (std::bad_alloc const&) {
    std::fprintf(stderr, "halftone: out of memory\n");
    return kExitFailure;
  } catch (std::exception const& e) {
    std::fprintf(stderr, "halftone: %s\n", e.what());
    return kExitFailure;
  }
}
