// What rastertohalftone screens with: the job's options, the PPD's defaults
// and the screens of the registry the filter can run.
#pragma once
#include <cups/cups.h>
#include <cups/ppd.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace halftone::cups_filter {

// The screens used when HalftoneScreen is Auto and the PPD names none
// (the build sets them; the PPD generator checks them against the registry).
#ifndef HALFTONE_CUPS_GREY_SCREEN
#define HALFTONE_CUPS_GREY_SCREEN ""
#endif
#ifndef HALFTONE_CUPS_CMYK_SCREEN
#define HALFTONE_CUPS_CMYK_SCREEN ""
#endif

constexpr std::uint32_t kDefaultBandHeight = 64;
constexpr std::uint32_t kMaxBandHeight = 4096;
constexpr unsigned kMaxThreads = 256;

struct Settings {
  std::string screen;     // id or entry name; "" for the colour model's default
  std::string levels;     // "" for the screen's own
  std::string seed_time;  // "" for the clock
  std::string mode;       // the tone-curve mode, 1-5 or 11-17; "" for none (0)
  std::uint32_t band_height = kDefaultBandHeight;
  unsigned threads = 0;  // pages and planes screened at once; 0 for the processor's cores
};

// Reads HalftoneScreen, HalftoneLevels, HalftoneSeedTime, HalftoneMode,
// HalftoneBandHeight and HalftoneThreads from the job's options, else from the PPD's defaults
// (`ppd` may be null). PPD choice words (Auto, Default, Clock, None) mean "not set";
// a "Custom." prefix is dropped. Returns "" or why a value is refused.
std::string read_settings(int num_options, cups_option_t* options, ppd_file_t* ppd,
                          Settings& settings);

// The screen for pages of `planes` colours: the chosen one, else the PPD's
// "*HalftoneAutoScreen Gray:" or "CMYK:" attribute, else the build's default.
std::string screen_for(Settings const& settings, ppd_file_t* ppd, std::uint32_t planes);

// Why the filter cannot run the registry's screen `index` on a raster stream
// ("" when it can): it must write pages as wide and as high as it reads them,
// in bands, and read no data files.
std::string unusable_reason(std::size_t index);

}  // namespace halftone::cups_filter
