// Pattern banks of any bytes and any declared geometry: the host loaders and
// the screens that tile the process-wide banks, then a screen that reads a
// bank through the job API with the same file and size.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>

#include "fuzz_support.h"
#include "halftone/loaded.h"
#include "halftone/page.h"
#include "halftone/setup.h"

using namespace halftone::fuzz;

namespace {

// What the host loader must answer for a file of `size` bytes.
int expected_load(int width, int height, int bits, std::size_t size) {
  if (width < 0 || width > 256 || height < 0 || height > 256) return ERR_LOAD_FAULT;
  const std::size_t row = static_cast<std::size_t>(width) * static_cast<std::size_t>(bits) / 8;
  if (height == 0) return 0;
  if (row == 0) return ERR_FILE_READ;
  return size >= 256 * static_cast<std::size_t>(height) * row ? 0 : ERR_FILE_READ;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static Scratch scratch;
  FuzzedDataProvider in(data, size);
  const bool two_bit = in.ConsumeBool();
  // Mostly the sizes banks come in, sometimes anything.
  static constexpr int kSides[] = {8, 16, 32, 64, 1, 0, 7, 9, 256, 257, -1};
  const bool any_size = in.ConsumeIntegralInRange(0, 7) == 0;
  const int width = any_size ? in.ConsumeIntegralInRange(-300, 300) : in.PickValueInArray(kSides);
  const int height = any_size ? in.ConsumeIntegralInRange(-300, 300) : in.PickValueInArray(kSides);
  // The file: as given, or its bytes repeated to the size the geometry asks
  // for, one byte short of it, or one byte over.
  const int shape = in.ConsumeIntegralInRange(0, 3);
  const std::uint64_t seed = in.ConsumeIntegral<std::uint64_t>();
  Bytes file = in.ConsumeRemainingBytes<unsigned char>();
  const int bits = two_bit ? 2 : 1;
  if (shape != 0 && !file.empty() && width > 0 && width <= 256 && height > 0 && height <= 256) {
    std::size_t want = 256 * static_cast<std::size_t>(height) * static_cast<std::size_t>(width) *
                       static_cast<std::size_t>(bits) / 8;
    want = shape == 1 ? want : shape == 2 ? want - (want > 0) : want + 1;
    for (std::size_t i = file.size(); i < want; ++i) file.push_back(file[i % file.size()]);
    file.resize(want);
  }
  const std::string path = scratch.write("Moths/bank", file);

  // The host loaders, on the process-wide banks.
  halftone::set_data_folder(scratch.folder().c_str());
  const int loaded = two_bit ? NingJing("bank", width, height) : KaiDuaning("bank", width, height);
  check(loaded == expected_load(width, height, bits, file.size()), "host loader result",
        std::to_string(loaded) + " for " + std::to_string(width) + "x" + std::to_string(height) +
            " and " + std::to_string(file.size()) + " bytes");
  Mix mix{seed};
  host_screen(Sonicksure, mix, 1);
  host_screen(MutexWindow, mix, 1);
  host_screen(TextDownload, mix, 2);
  halftone::set_data_folder(nullptr);

  // The job API, with a screen that reads a bank.
  const std::string size_text = std::to_string(width) + "x" + std::to_string(height);
  halftone_screen_info const* info =
      screen_needing(HALFTONE_NEEDS_PATTERN | HALFTONE_NEEDS_PATTERN2, seed >> 40);
  if (info == nullptr) return 0;
  Options options;
  if (info->needs & HALFTONE_NEEDS_PATTERN) options.emplace_back("pattern", path);
  if (info->needs & HALFTONE_NEEDS_PATTERN2) options.emplace_back("pattern2", path);
  if (!(seed & 1)) options.emplace_back("pattern-size", size_text);
  screen_page(*info, options, seed);
  return 0;
}
