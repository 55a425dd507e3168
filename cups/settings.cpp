#include "settings.h"

#include <halftone/halftone.h>

#include <cstdlib>
#include <cstring>

namespace halftone::cups_filter {
namespace {

// The option's value from the job, else the PPD's default choice; "" if neither.
std::string option_value(char const* name, int num_options, cups_option_t* options,
                         ppd_file_t* ppd) {
  std::string value;
  if (char const* given = cupsGetOption(name, num_options, options)) {
    value = given;
  } else if (ppd != nullptr) {
    if (ppd_option_t* option = ppdFindOption(ppd, name)) value = option->defchoice;
  }
  if (value.rfind("Custom.", 0) == 0) value.erase(0, 7);
  return value;
}

// "" for the words that leave a setting to its default.
std::string unless_default(std::string value, char const* word) {
  return value == word ? std::string() : value;
}

}  // namespace

std::string read_settings(int num_options, cups_option_t* options, ppd_file_t* ppd,
                          Settings& settings) {
  settings = Settings{};
  settings.screen =
      unless_default(option_value("HalftoneScreen", num_options, options, ppd), "Auto");
  settings.levels =
      unless_default(option_value("HalftoneLevels", num_options, options, ppd), "Default");
  settings.seed_time =
      unless_default(option_value("HalftoneSeedTime", num_options, options, ppd), "Clock");
  const std::string band = option_value("HalftoneBandHeight", num_options, options, ppd);
  if (!band.empty()) {
    char* end = nullptr;
    const unsigned long rows = std::strtoul(band.c_str(), &end, 10);
    if (*end != '\0' || band[0] < '0' || band[0] > '9' || rows < 1 || rows > kMaxBandHeight)
      return "HalftoneBandHeight must be a whole number of rows from 1 to " +
             std::to_string(kMaxBandHeight) + ", not \"" + band + "\"";
    settings.band_height = static_cast<std::uint32_t>(rows);
  }
  return "";
}

std::string screen_for(Settings const& settings, ppd_file_t* ppd, std::uint32_t planes) {
  if (!settings.screen.empty()) return settings.screen;
  char const* model = planes == 1 ? "Gray" : "CMYK";
  if (ppd != nullptr) {
    ppd_attr_t* attr = ppdFindAttr(ppd, "HalftoneAutoScreen", model);
    if (attr != nullptr && attr->value != nullptr && attr->value[0] != '\0') return attr->value;
  }
  return planes == 1 ? HALFTONE_CUPS_GREY_SCREEN : HALFTONE_CUPS_CMYK_SCREEN;
}

std::string unusable_reason(std::size_t index) {
  halftone_screen_info const* info = halftone_screen_info_at(index);
  if (info == nullptr) return "no such screen";
  if (info->layout != HALFTONE_LAYOUT_SAME)
    return std::string(info->id) + " turns the page, which a raster stream cannot carry";
  if (info->banding == HALFTONE_BANDING_WHOLE_PAGE)
    return std::string(info->id) + " needs the whole page at once; the filter screens in bands";
  const unsigned files = HALFTONE_NEEDS_PATTERN | HALFTONE_NEEDS_PATTERN2 | HALFTONE_NEEDS_MATRIX |
                         HALFTONE_NEEDS_BLOCKS;
  if ((info->needs & files) != 0)
    return std::string(info->id) + " reads screen data files, which the filter does not load";
  return "";
}

}  // namespace halftone::cups_filter
