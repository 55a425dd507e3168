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

// Reads a decimal whole number from `low` to `high` into `number`; false if
// `value` is not one.
bool whole_number(std::string const& value, unsigned long low, unsigned long high,
                  unsigned long& number) {
  char* end = nullptr;
  number = std::strtoul(value.c_str(), &end, 10);
  return *end == '\0' && value[0] >= '0' && value[0] <= '9' && number >= low && number <= high;
}

// Reads a whole number from `low` to `high` into `number`; "" or why not.
std::string read_count(std::string const& value, char const* option, char const* what,
                       unsigned long low, unsigned long high, unsigned long& number) {
  if (whole_number(value, low, high, number)) return "";
  return std::string(option) + " must be a whole number of " + what + " from " +
         std::to_string(low) + " to " + std::to_string(high) + ", not \"" + value + "\"";
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
  settings.mode = unless_default(option_value("HalftoneMode", num_options, options, ppd), "None");
  if (!settings.mode.empty()) {
    unsigned long mode = 0;
    if (!whole_number(settings.mode, 0, 17, mode) || (mode >= 6 && mode <= 10))
      return "HalftoneMode must be 0-5 or 11-17 (the tone-curve modes), not \"" + settings.mode +
             "\"";
    if (mode == 0) settings.mode.clear();
  }
  if (!settings.screen.empty()) {
    const long index = halftone_find_screen(settings.screen.c_str());
    if (index < 0) return "HalftoneScreen: no screen is called \"" + settings.screen + "\"";
    if (std::string why = unusable_reason(static_cast<std::size_t>(index)); !why.empty())
      return "HalftoneScreen: " + why;
  }
  struct Count {
    char const* option;
    char const* what;
    unsigned long high;
    unsigned long number = 0;
  };
  Count counts[] = {{"HalftoneBandHeight", "rows", kMaxBandHeight},
                    {"HalftoneThreads", "threads", kMaxThreads}};
  for (Count& c : counts) {
    const std::string value = option_value(c.option, num_options, options, ppd);
    if (value.empty()) continue;
    if (std::string why = read_count(value, c.option, c.what, 1, c.high, c.number); !why.empty())
      return why;
  }
  if (counts[0].number != 0) settings.band_height = static_cast<std::uint32_t>(counts[0].number);
  settings.threads = static_cast<unsigned>(counts[1].number);
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
