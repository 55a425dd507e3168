// Threshold matrices: any bytes as an 8-bit BMP through both host loaders and
// the screens that read the matrix and its offsets, then a screen that
// reads a matrix through the job API with the same file.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>

#include "fuzz_support.h"
#include "halftone/loaded.h"
#include "halftone/matrix.h"
#include "halftone/page.h"
#include "halftone/setup.h"

using namespace halftone::fuzz;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static Scratch scratch;
  FuzzedDataProvider in(data, size);
  const bool offsets = in.ConsumeBool();
  const std::uint64_t seed = in.ConsumeIntegral<std::uint64_t>();
  const Bytes file = in.ConsumeRemainingBytes<unsigned char>();
  const std::string path = scratch.write("Moths/matrix.bmp", file);

  // The host loaders answer 0 whatever the file holds.
  halftone::set_data_folder(scratch.folder().c_str());
  const int loaded = offsets ? PuaningFa13("matrix.bmp", 0, 0) : PuaningFa("matrix.bmp", 0, 0);
  check(loaded == 0, "host matrix loader result", std::to_string(loaded));
  Mix mix{seed};
  host_screen(WindowText, mix, 1);
  host_screen(Kaocosyx1, mix, 1);
  host_screen(Kaocosyx13, mix, 2);
  halftone::set_data_folder(nullptr);

  if (halftone_screen_info const* info = screen_needing(HALFTONE_NEEDS_MATRIX, seed >> 40))
    screen_page(*info, {{"matrix", path}}, seed);
  return 0;
}
