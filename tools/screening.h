// Screening a whole page with one catalog entry: preparing what the entry
// reads, running it band by band, and turning its output into an image.
#pragma once
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "args.h"
#include "exports/catalog.h"
#include "image_io.h"

namespace halftone::tool {

// Line-interleaved planes, as the screens read them.
struct Page {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t planes = 1;
  std::vector<unsigned char> bytes;
};

// Splits an image holding `planes` planes stacked top to bottom.
Page page_from_image(Image const& stacked, std::uint32_t planes);

// An entry's output for a page, exactly as the library wrote it.
struct Screened {
  ScreenInfo const* info = nullptr;
  std::uint32_t width = 0;  // output size: height x width for transposed entries
  std::uint32_t height = 0;
  std::uint32_t planes = 1;
  std::uint32_t stride = 0;
  std::uint32_t bands = 0;
  double seconds = 0;
  std::vector<unsigned char> bytes;
};

// Screens the page in bands of `band_height` rows with the band protocol:
// positions 1, 2, ..., 3, or 1 alone for a page that fits one band. Entries
// that are not banded, and transposed ones, get the whole page in one call.
Screened screen_page(ScreenInfo const& info, Page& page, std::uint32_t band_height);

// The output as a picture, planes stacked top to bottom: a bilevel image for
// one-bit entries (set bit black), grey for dot-size codes (code 0 white,
// the highest code black).
Image render(Screened const& screened);

// A kind of screen data file, what loads it and how the command line names it.
struct DataKind {
  unsigned need;       // the catalog's kNeeds... flag
  char const* option;  // command-line option giving the file name
  char const* what;    // for messages
  bool sized;          // the loader takes the pattern size
  int bits;            // bits a pattern pixel (pattern banks)
  int (*load)(char const* file, int width, int height);
  // Throws ToolError when the file at `path` cannot serve the loader.
  void (*check)(std::string const& path, Size pattern_size, int bits);
};
std::span<DataKind const> data_kinds();

// Everything a run may set up before screening.
struct Setup {
  std::optional<int> mode;
  std::optional<std::string> parameters;  // already normalized
  std::optional<std::uint32_t> seed_time;
  std::optional<std::string> data_folder;
  std::map<unsigned, std::string> files;  // need flag -> file name inside Moths/
  Size pattern_size{16, 16};
};

// Sets up the library for `info`: data folder, pinned seed time, tone setup
// (when asked for or needed), the dither matrix, and the data files it needs
// (only those: the two pattern loaders share the pattern geometry). A needed
// file that is missing or unusable throws ToolError.
void prepare(ScreenInfo const& info, Setup const& setup);

// "tone, pattern" etc., or "-" for an entry that needs nothing.
std::string needs_text(unsigned needs);

}  // namespace halftone::tool
