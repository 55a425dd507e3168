// halftone-cups-ppd: writes the PPD of the halftone raster printer, with one
// HalftoneScreen choice for every screen of the registry that
// rastertohalftone can run.
//
//   halftone-cups-ppd OUTPUT.ppd GREY-SCREEN CMYK-SCREEN
//
// The two screens are the defaults of the Gray and CMYK colour models.
#include <halftone/halftone.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

#include "settings.h"

namespace {

using halftone::cups_filter::kDefaultBandHeight;
using halftone::cups_filter::kMaxBandHeight;
using halftone::cups_filter::unusable_reason;

// A PPD translation string: printable ASCII without ':' or '"', at most 80
// bytes, cut at a word.
std::string translation(std::string const& text) {
  constexpr std::size_t kMax = 80;
  std::string out;
  for (char c : text) out += c == ':' ? ',' : (c == '"' || c < ' ' || c > '~') ? ' ' : c;
  if (out.size() > kMax) {
    const std::size_t space = out.rfind(' ', kMax);
    out.resize(space == std::string::npos ? kMax : space);
    while (!out.empty() && (out.back() == ',' || out.back() == ' ')) out.pop_back();
  }
  return out;
}

constexpr int kMargin = 12;  // points on every side that the printer cannot reach

struct Media {
  char const* name;
  char const* text;
  int width, height;  // points
};
const Media kMedia[] = {
    {"A4", "A4", 595, 842},           {"Letter", "US Letter", 612, 792},
    {"Legal", "US Legal", 612, 1008}, {"A5", "A5", 420, 595},
    {"A6", "A6", 297, 420},
};
const int kResolutions[] = {75, 150, 300, 600, 1200};
const unsigned kBandHeights[] = {16, 32, 64, 128, 256};

void pick_one(std::ostream& ppd, char const* option, char const* text, int order,
              std::string const& default_choice) {
  ppd << "\n*OpenUI *" << option << "/" << text << ": PickOne\n"
      << "*OrderDependency: " << order << " AnySetup *" << option << "\n"
      << "*Default" << option << ": " << default_choice << "\n";
}

void close_ui(std::ostream& ppd, char const* option) { ppd << "*CloseUI: *" << option << "\n"; }

std::string write_ppd(std::ostream& ppd, std::string const& grey, std::string const& cmyk) {
  for (std::string const& screen : {grey, cmyk}) {
    const long index = halftone_find_screen(screen.c_str());
    if (index < 0) return "no screen is called \"" + screen + "\"";
    if (std::string why = unusable_reason(static_cast<std::size_t>(index)); !why.empty())
      return why;
  }
  ppd << "*PPD-Adobe: \"4.3\"\n"
      << "*% The halftone raster printer: CUPS raster screened by rastertohalftone.\n"
      << "*% Written by halftone-cups-ppd from the library's screen registry.\n"
      << "*FormatVersion: \"4.3\"\n"
      << "*FileVersion: \"" << halftone_version() << "\"\n"
      << "*LanguageVersion: English\n"
      << "*LanguageEncoding: ISOLatin1\n"
      << "*PCFileName: \"HALFTONE.PPD\"\n"
      << "*Manufacturer: \"Halftone\"\n"
      << "*Product: \"(Halftone Raster Printer)\"\n"
      << "*ModelName: \"Halftone Raster Printer\"\n"
      << "*ShortNickName: \"Halftone Raster Printer\"\n"
      << "*NickName: \"Halftone Raster Printer, screened raster\"\n"
      << "*PSVersion: \"(3010.000) 0\"\n"
      << "*LanguageLevel: \"3\"\n"
      << "*ColorDevice: True\n"
      << "*DefaultColorSpace: Gray\n"
      << "*FileSystem: False\n"
      << "*Throughput: \"1\"\n"
      << "*LandscapeOrientation: Plus90\n"
      << "*TTRasterizer: Type42\n"
      << "*cupsVersion: 2.4\n"
      << "*cupsModelNumber: 0\n"
      << "*cupsManualCopies: True\n"
      << "*cupsFilter2: \"application/vnd.cups-raster application/vnd.halftone-raster 100 "
         "rastertohalftone\"\n"
      << "*HalftoneAutoScreen Gray: \"" << grey << "\"\n"
      << "*HalftoneAutoScreen CMYK: \"" << cmyk << "\"\n";

  pick_one(ppd, "PageSize", "Media Size", 10, "A4");
  for (Media const& m : kMedia)
    ppd << "*PageSize " << m.name << "/" << m.text << ": \"<</PageSize[" << m.width << " "
        << m.height << "]/ImagingBBox null>>setpagedevice\"\n";
  close_ui(ppd, "PageSize");
  pick_one(ppd, "PageRegion", "Media Size", 10, "A4");
  for (Media const& m : kMedia)
    ppd << "*PageRegion " << m.name << "/" << m.text << ": \"<</PageSize[" << m.width << " "
        << m.height << "]/ImagingBBox null>>setpagedevice\"\n";
  close_ui(ppd, "PageRegion");
  ppd << "*DefaultImageableArea: A4\n";
  for (Media const& m : kMedia)
    ppd << "*ImageableArea " << m.name << "/" << m.text << ": \"" << kMargin << " " << kMargin
        << " " << m.width - kMargin << " " << m.height - kMargin << "\"\n";
  ppd << "*DefaultPaperDimension: A4\n";
  for (Media const& m : kMedia)
    ppd << "*PaperDimension " << m.name << "/" << m.text << ": \"" << m.width << " " << m.height
        << "\"\n";

  pick_one(ppd, "Resolution", "Resolution", 20, "300dpi");
  for (int dpi : kResolutions)
    ppd << "*Resolution " << dpi << "dpi/" << dpi << " DPI: \"<</HWResolution[" << dpi << " " << dpi
        << "]>>setpagedevice\"\n";
  close_ui(ppd, "Resolution");

  // Grey pages arrive as K (ink), CMYK pages in banded order: both as the filter reads them.
  pick_one(ppd, "ColorModel", "Colour", 30, "Gray");
  ppd << "*ColorModel Gray/Grey: \"<</cupsColorOrder 0/cupsColorSpace 3/cupsBitsPerColor "
         "8>>setpagedevice\"\n"
      << "*ColorModel CMYK/CMYK: \"<</cupsColorOrder 1/cupsColorSpace 6/cupsBitsPerColor "
         "8>>setpagedevice\"\n";
  close_ui(ppd, "ColorModel");

  pick_one(ppd, "HalftoneScreen", "Halftone Screen", 40, "Auto");
  ppd << "*HalftoneScreen Auto/" << translation("Automatic (grey " + grey + ", CMYK " + cmyk + ")")
      << ": \"\"\n";
  for (std::size_t i = 0; i < halftone_screen_count(); ++i) {
    if (!unusable_reason(i).empty()) continue;
    halftone_screen_info const* info = halftone_screen_info_at(i);
    ppd << "*HalftoneScreen " << info->id << "/"
        << translation(std::string(info->id) + " (" + std::to_string(info->bits) + "-bit), " +
                       info->summary)
        << ": \"\"\n";
  }
  close_ui(ppd, "HalftoneScreen");

  pick_one(ppd, "HalftoneLevels", "Dot Levels", 41, "Default");
  ppd << "*HalftoneLevels Default/The screen's own: \"\"\n";
  close_ui(ppd, "HalftoneLevels");
  ppd << "*CustomHalftoneLevels True/Custom Levels: \"\"\n"
      << "*ParamCustomHalftoneLevels Levels/Greys 0-255, comma-separated: 1 string 1 40\n";

  pick_one(ppd, "HalftoneSeedTime", "Random Seed", 42, "Clock");
  ppd << "*HalftoneSeedTime Clock/From the clock: \"\"\n";
  close_ui(ppd, "HalftoneSeedTime");
  ppd << "*CustomHalftoneSeedTime True/Fixed Seconds: \"\"\n"
      << "*ParamCustomHalftoneSeedTime Seconds/Seconds: 1 int 0 2147483647\n";

  pick_one(ppd, "HalftoneBandHeight", "Band Height", 43, std::to_string(kDefaultBandHeight));
  for (unsigned rows : kBandHeights)
    ppd << "*HalftoneBandHeight " << rows << "/" << rows << " rows: \"\"\n";
  close_ui(ppd, "HalftoneBandHeight");
  ppd << "*CustomHalftoneBandHeight True/Custom Band Height: \"\"\n"
      << "*ParamCustomHalftoneBandHeight Rows/Rows: 1 int 1 " << kMaxBandHeight << "\n";

  // The tone-curve modes, for the screens that read the curves.
  pick_one(ppd, "HalftoneMode", "Tone Curves", 44, "None");
  ppd << "*HalftoneMode None/None: \"\"\n";
  for (int mode : {1, 2, 3, 4, 5, 11, 12, 13, 14, 15, 16, 17})
    ppd << "*HalftoneMode " << mode << "/Mode " << mode << ": \"\"\n";
  close_ui(ppd, "HalftoneMode");
  ppd << "*% End of the halftone raster printer\n";
  return "";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fputs("usage: halftone-cups-ppd OUTPUT.ppd GREY-SCREEN CMYK-SCREEN\n", stderr);
    return 2;
  }
  std::ostringstream text;
  if (std::string why = write_ppd(text, argv[2], argv[3]); !why.empty()) {
    std::fprintf(stderr, "halftone-cups-ppd: %s\n", why.c_str());
    return 2;
  }
  std::ofstream out(argv[1], std::ios::binary);
  out << text.str();
  if (!out.flush()) {
    std::fprintf(stderr, "halftone-cups-ppd: cannot write %s\n", argv[1]);
    return 2;
  }
  return 0;
}
