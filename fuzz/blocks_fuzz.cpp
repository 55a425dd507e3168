// Threshold block files: any text through the host loader and the
// block-offset screen, then a screen that reads blocks through the job
// API with the same file.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>

#include "fuzz_support.h"
#include "halftone/loaded.h"
#include "halftone/page.h"
#include "halftone/setup.h"

using namespace halftone::fuzz;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static Scratch scratch;
  FuzzedDataProvider in(data, size);
  const std::uint64_t seed = in.ConsumeIntegral<std::uint64_t>();
  const Bytes file = in.ConsumeRemainingBytes<unsigned char>();
  const std::string path = scratch.write("Moths/blocks.txt", file);

  halftone::set_data_folder(scratch.folder().c_str());
  const int loaded = NiceMents("blocks.txt", 0, 0);
  check(loaded == 0, "host block loader result", std::to_string(loaded));
  Mix mix{seed};
  host_screen(CrisixOut, mix, 1);
  halftone::set_data_folder(nullptr);

  if (halftone_screen_info const* info = screen_needing(HALFTONE_NEEDS_BLOCKS, seed >> 40))
    screen_page(*info, {{"blocks", path}}, seed);
  return 0;
}
