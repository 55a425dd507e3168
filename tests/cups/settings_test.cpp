// The filter's settings from job options and from the PPD the build writes.
#include "settings.h"

#include <gtest/gtest.h>
#include <halftone/halftone.h>

#include <cstring>
#include <set>
#include <string>

namespace halftone::cups_filter {
namespace {

struct Ppd {
  ppd_file_t* file = ppdOpenFile(HALFTONE_CUPS_PPD);
  ~Ppd() {
    if (file != nullptr) ppdClose(file);
  }
};

Settings settings_from(char const* options, ppd_file_t* ppd, std::string* refused = nullptr) {
  cups_option_t* parsed = nullptr;
  const int count = cupsParseOptions(options, 0, &parsed);
  Settings settings;
  const std::string why = read_settings(count, parsed, ppd, settings);
  cupsFreeOptions(count, parsed);
  if (refused != nullptr) *refused = why;
  return settings;
}

TEST(FilterSettings, PpdDefaultsLeaveTheScreenToTheColourModel) {
  Ppd ppd;
  ASSERT_NE(ppd.file, nullptr) << HALFTONE_CUPS_PPD;
  const Settings settings = settings_from("", ppd.file);
  EXPECT_EQ(settings.screen, "");
  EXPECT_EQ(screen_for(settings, ppd.file, 1), HALFTONE_CUPS_GREY_SCREEN);
  EXPECT_EQ(screen_for(settings, ppd.file, 4), HALFTONE_CUPS_CMYK_SCREEN);
  EXPECT_EQ(screen_for(settings, nullptr, 4), HALFTONE_CUPS_CMYK_SCREEN);
}

TEST(FilterSettings, JobOptionsWin) {
  Ppd ppd;
  struct Case {
    char const* options;
    char const* screen;
    char const* levels;
    char const* seed;
    unsigned band;
    unsigned threads = 0;
    char const* mode = "";
  };
  const Case cases[] = {
      {"HalftoneScreen=four-level HalftoneLevels=Custom.0,85,170,255", "four-level", "0,85,170,255",
       "", 64},
      {"HalftoneSeedTime=Custom.1000 HalftoneBandHeight=Custom.7", "", "", "1000", 7},
      {"HalftoneSeedTime=42 HalftoneBandHeight=16 HalftoneScreen=Auto", "", "", "42", 16},
      {"HalftoneThreads=1 HalftoneMode=12", "", "", "", 64, 1, "12"},
      {"HalftoneMode=None", "", "", "", 64},
      {"HalftoneMode=0", "", "", "", 64},
      {"HalftoneMode=5", "", "", "", 64, 0, "5"},
      {"HalftoneThreads=256 HalftoneBandHeight=4096", "", "", "", 4096, 256},
      {"HalftoneLevels=Default HalftoneSeedTime=Clock HalftoneScreen=sdiufiavs", "sdiufiavs", "",
       "", 64},
  };
  for (Case const& c : cases) {
    SCOPED_TRACE(c.options);
    std::string refused;
    const Settings s = settings_from(c.options, ppd.file, &refused);
    EXPECT_EQ(refused, "");
    EXPECT_EQ(s.screen, c.screen);
    EXPECT_EQ(s.levels, c.levels);
    EXPECT_EQ(s.seed_time, c.seed);
    EXPECT_EQ(s.band_height, c.band);
    EXPECT_EQ(s.threads, c.threads);
    EXPECT_EQ(s.mode, c.mode);
  }
  for (char const* bad :
       {"HalftoneBandHeight=0", "HalftoneBandHeight=-3", "HalftoneBandHeight=12x",
        "HalftoneBandHeight=4097", "HalftoneThreads=0", "HalftoneThreads=257",
        "HalftoneThreads=two", "HalftoneScreen=nope", "HalftoneMode=7", "HalftoneMode=18",
        "HalftoneMode=x", "HalftoneScreen=oriented-quarter-turn", "HalftoneScreen=pattern-256"}) {
    std::string refused;
    settings_from(bad, ppd.file, &refused);
    const std::string option(bad, std::strchr(bad, '='));
    EXPECT_NE(refused.find(option), std::string::npos) << bad;
  }
}

TEST(FilterSettings, PpdOffersEveryScreenTheFilterRuns) {
  Ppd ppd;
  ppd_option_t* option = ppdFindOption(ppd.file, "HalftoneScreen");
  ASSERT_NE(option, nullptr);
  std::set<std::string> offered;
  for (int i = 0; i < option->num_choices; ++i) {
    const std::string choice = option->choices[i].choice;
    if (choice == "Auto") continue;
    const long index = halftone_find_screen(choice.c_str());
    ASSERT_GE(index, 0) << choice;
    EXPECT_EQ(unusable_reason(static_cast<std::size_t>(index)), "") << choice;
    offered.insert(choice);
  }
  std::size_t runnable = 0;
  for (std::size_t i = 0; i < halftone_screen_count(); ++i)
    runnable += unusable_reason(i).empty() ? 1 : 0;
  EXPECT_EQ(offered.size(), runnable);
  EXPECT_GT(runnable, 0u);
  EXPECT_LT(runnable, halftone_screen_count()) << "whole-page and turning screens are not offered";
}

}  // namespace
}  // namespace halftone::cups_filter
