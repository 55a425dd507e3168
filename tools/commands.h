// The program's commands, each run with options already parsed.
#pragma once
#include <cstdint>
#include <string>

namespace halftone::tool {

struct ScreenOptions {
  std::string screen, input, output;
  std::string format;       // empty: from the output's extension
  std::string compression;  // TIFF output only; empty: Group 4 for dots, LZW for codes
  bool raw = false;
  std::uint32_t band_height = 64;
  std::uint32_t planes = 1;  // grey planes stacked top to bottom in the input
  std::uint32_t threads = 1;
  std::string mode, levels, seed_time, pattern_size;  // empty: not given
  std::string data, pattern, pattern2, matrix, blocks;
  bool quiet = false;
};

struct DemoOptions {
  std::string out = "halftone-demo";
  std::string seed_time = "1000000000";
  bool quiet = false;
};

int list_command();
int screen_command(ScreenOptions const& options);
int demo_command(DemoOptions const& options);

// A decimal whole number in [min, max]; `what` names it in the message.
std::int64_t parse_number(std::string const& text, std::string const& what, std::int64_t min,
                          std::int64_t max);

}  // namespace halftone::tool
