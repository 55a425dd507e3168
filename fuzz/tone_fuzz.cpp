// The tone setup: any "ToneAry.ham", mode and parameter string through the
// host setup and two screens that read the curves and the levels, then a
// screen that reads curves or levels through the job API with the same file
// and any "mode" and "levels" values.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>

#include "fuzz_support.h"
#include "halftone/diffusion.h"
#include "halftone/multilevel.h"
#include "halftone/setup.h"

using namespace halftone::fuzz;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static Scratch scratch;
  static const std::vector<std::size_t> readers =
      screens_needing(HALFTONE_NEEDS_TONE_CURVES | HALFTONE_NEEDS_LEVELS);
  FuzzedDataProvider in(data, size);
  const int mode = in.ConsumeIntegralInRange(-2, 6);
  const std::string mode_text = in.ConsumeRandomLengthString(8);
  const std::size_t pick = in.ConsumeIntegral<std::uint16_t>();
  // Levels as free text, or as a list of about as many numbers as the
  // screen reads.
  std::string levels;
  if (in.ConsumeBool() || readers.empty()) {
    levels = in.ConsumeRandomLengthString(80);
  } else {
    const int count = halftone_screen_info_at(readers[pick % readers.size()])->levels +
                      in.ConsumeIntegralInRange(-1, 1);
    for (int i = 0; i < count; ++i)
      levels += (i ? "," : "") + std::to_string(in.ConsumeIntegralInRange(-2, 260));
  }
  const std::uint64_t seed = in.ConsumeIntegral<std::uint64_t>();
  // The curve file: as given, or its bytes repeated to fifteen whole curves.
  Bytes file = in.ConsumeRemainingBytes<unsigned char>();
  if (seed & 1 && !file.empty())
    for (std::size_t i = file.size(); i < 15 * 256; ++i) file.push_back(file[i % file.size()]);
  scratch.write("ToneAry.ham", file);

  halftone::set_data_folder(scratch.folder().c_str());
  check(Itsdiufiavs(mode, levels.c_str()) == 0, "Itsdiufiavs returned non-zero");
  Mix mix{seed};
  host_screen(sdiufiavs, mix, 1);
  host_screen(FastGroup, mix, 2);
  halftone::set_data_folder(nullptr);

  if (readers.empty()) return 0;
  Options options = {{"data-folder", scratch.folder()}};
  if (!mode_text.empty()) options.emplace_back("mode", mode_text);
  if (!(seed & 2)) options.emplace_back("levels", levels);
  screen_page(*halftone_screen_info_at(readers[pick % readers.size()]), options, seed);
  return 0;
}
