// Jobs of any screen with any widths, planes, options and band sequences
// through the public job API. Every result is 0 or a documented code with a
// message. A page gives the same bytes whatever the thread count, with
// refused out-of-order calls between its bands, and when run again; a screen
// that carries nothing from band to band gives each band the bytes of that
// band screened alone.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>

#include "fuzz_support.h"

using namespace halftone::fuzz;

namespace {

constexpr char const* kKeys[] = {"levels",  "mode",         "seed-time", "data-folder",
                                 "pattern", "pattern2",     "matrix",    "blocks",
                                 "threads", "pattern-size", "",          "Levels"};

// Data files the options may name: well-formed ones, written once.
struct DataFiles {
  Scratch scratch;
  std::string pattern, pattern2, matrix, blocks;

  DataFiles() {
    Mix mix{7};
    Bytes bank(256 * 16 * 2);
    for (auto& b : bank) b = static_cast<unsigned char>(mix.next());
    pattern = scratch.write("pattern.bin", bank);
    bank.resize(256 * 16 * 4);
    for (auto& b : bank) b = static_cast<unsigned char>(mix.next());
    pattern2 = scratch.write("pattern2.bin", bank);
    Bytes bmp(54 + 1024 + 32 * 32, 0);
    bmp[0] = 'B', bmp[1] = 'M', bmp[11] = 0x04, bmp[10] = 54;  // pixels at 54 + 1024
    bmp[14] = 40, bmp[18] = 32, bmp[22] = 32, bmp[26] = 1, bmp[28] = 8;
    for (std::size_t i = 54 + 1024; i < bmp.size(); ++i)
      bmp[i] = static_cast<unsigned char>(mix.next());
    matrix = scratch.write("matrix.bmp", bmp);
    std::string text;
    for (int i = 0; i < 4096; ++i) text += std::to_string(mix.below(300)) + (i % 16 ? " " : "\r\n");
    blocks = scratch.write("blocks.txt", text.data(), text.size());
    Bytes curves(15 * 256);
    for (auto& b : curves) b = static_cast<unsigned char>(mix.below(40));
    scratch.write("ToneAry.ham", curves);
  }
};

std::string value_for(std::string const& key, FuzzedDataProvider& in, DataFiles const& files) {
  const std::string folder = files.scratch.folder();
  const int pick = in.ConsumeIntegralInRange(0, 4);
  std::string const* path = key == "pattern"       ? &files.pattern
                            : key == "pattern2"    ? &files.pattern2
                            : key == "matrix"      ? &files.matrix
                            : key == "blocks"      ? &files.blocks
                            : key == "data-folder" ? &folder
                                                   : nullptr;
  if (path == nullptr) return in.ConsumeRandomLengthString(24);
  // Never a fuzzed path: it might name a device that never ends.
  switch (pick) {
    case 0:
      return folder + "/missing";
    case 1:
      return key == "data-folder" ? folder + "/pattern.bin" : folder;
    case 2:
      return "";
    default:
      return *path;
  }
}

// Calls that must be refused in the middle of a page, and leave it as it was.
void out_of_order(halftone_job* job, std::uint32_t width, int kind) {
  int code = 0;
  unsigned char byte = 0;
  switch (kind) {
    case 0:
      code = halftone_job_set(job, "mode", "1");
      check(code == HALFTONE_ERR_SEQUENCE, "an option set mid-page", std::to_string(code));
      return;
    case 1:
      code = halftone_job_band(job, nullptr, width, &byte, 4096, 1);
      break;
    case 2:
      code = halftone_job_band(job, &byte, 0, &byte, 4096, 1);
      break;
    default:
      code = halftone_job_band(job, &byte, 4096, nullptr, 4096, 1);
      break;
  }
  check(code == HALFTONE_ERR_ARGUMENT, "a bad argument mid-page", std::to_string(code));
  check(*halftone_job_error(job) != '\0', "a refused call without a message");
}

// Extreme sizes: only calls that need no page-sized buffer.
void wild(FuzzedDataProvider& in, halftone_screen_info const& info) {
  const auto width = in.ConsumeIntegral<std::uint32_t>();
  const auto planes = in.ConsumeBool() ? in.ConsumeIntegral<std::uint32_t>()
                                       : in.ConsumeIntegralInRange<std::uint32_t>(0, 300);
  const auto rows = in.ConsumeIntegral<std::uint32_t>();
  (void)halftone_row_bytes(width, info.bits);
  halftone_job* job = halftone_job_new(info.entry, width, planes);
  if (job == nullptr) {
    check(*halftone_last_error() != '\0', "halftone_job_new failed without a message");
    return;
  }
  std::uint32_t out_width = 0, out_rows = 0;
  std::size_t row_bytes = 0;
  check_result(job, halftone_job_output_shape(job, rows, &out_width, &out_rows, &row_bytes),
               "output_shape");
  check_result(job, halftone_job_band(job, nullptr, 0, nullptr, 0, 0), "empty band");
  check_result(job, halftone_job_finish(job), "finish");
  halftone_job_free(job);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static DataFiles files;
  static const std::size_t count = halftone_screen_count();
  FuzzedDataProvider in(data, size);

  // The registry's edges.
  const std::size_t past = count + in.ConsumeIntegral<std::uint8_t>();
  check(halftone_screen_id(past) == nullptr && halftone_screen_entry(past) == nullptr &&
            halftone_screen_bits(past) == 0 && halftone_screen_info_at(past) == nullptr,
        "a registry entry past the end");
  if (count == 0) return 0;
  halftone_screen_info const& info =
      *halftone_screen_info_at(in.ConsumeIntegral<std::uint16_t>() % count);
  if (in.ConsumeIntegralInRange(0, 15) == 0) {
    const std::string name = in.ConsumeRandomLengthString(16);
    const long found = halftone_find_screen(name.c_str());
    check(found >= -1 && found < static_cast<long>(count), "find_screen", name);
    wild(in, info);
    return 0;
  }

  Page page;
  page.width = in.ConsumeIntegralInRange<std::uint32_t>(0, 64);
  page.planes = in.ConsumeIntegralInRange<std::uint32_t>(1, 4);
  const bool keep_planes = in.ConsumeIntegralInRange(0, 7) == 0;  // whole-page screens: 1 mostly
  if (info.banding == HALFTONE_BANDING_WHOLE_PAGE && !keep_planes) page.planes = 1;
  Options options;
  for (int n = in.ConsumeIntegralInRange(0, 4); n > 0; --n) {
    std::string key = in.PickValueInArray(kKeys);
    options.emplace_back(key, value_for(key, in, files));
  }
  const std::string seed_time = std::to_string(in.ConsumeIntegral<std::uint32_t>());
  std::uint32_t rows = 0;
  for (int n = in.ConsumeIntegralInRange(1, 6); n > 0; --n) {
    page.bands.push_back(in.ConsumeIntegralInRange<std::uint32_t>(0, 8));
    rows += page.bands.back();
  }
  if (info.banding == HALFTONE_BANDING_WHOLE_PAGE) page.bands = {rows};
  page.source_pad = in.ConsumeIntegralInRange<std::size_t>(0, 5);
  page.dots_pad = in.ConsumeIntegralInRange<std::size_t>(0, 5);
  const std::string threads = std::to_string(in.ConsumeIntegralInRange(2, 4));
  const int disturb = in.ConsumeIntegralInRange(0, 4);  // 4: none
  const char* name = in.ConsumeBool() ? info.entry : info.id;
  const Bytes grey = in.ConsumeRemainingBytes<unsigned char>();
  page.source.resize(std::size_t{rows} * page.planes * page.width);
  Mix mix{rows};
  for (std::size_t i = 0; i < page.source.size(); ++i)
    page.source[i] = grey.empty() ? static_cast<unsigned char>(mix.next()) : grey[i % grey.size()];

  Options first = options, second = options;
  first.insert(first.end(), {{"seed-time", seed_time}, {"threads", "1"}});
  second.insert(second.end(), {{"seed-time", seed_time}, {"threads", threads}});
  JobRun a(name, page.width, page.planes, first);
  JobRun b(name, page.width, page.planes, second);
  check(a.refused.code == b.refused.code && a.refused.step == b.refused.step,
        "the thread count changes which option is refused",
        a.refused.step + " / " + b.refused.step);
  if (!a.ready()) return 0;

  const Outcome one = run_page(a.job, info, page);
  const bool started = !page.bands.empty() && page.bands[0] > 0;
  const Outcome other = run_page(b.job, info, page, [&](std::size_t) {
    if (disturb < 4 && started && page.width > 0) out_of_order(b.job, page.width, disturb);
  });
  check(one.code == other.code, "the thread count or a refused call changes the result",
        std::to_string(one.code) + " " + one.step + " / " + std::to_string(other.code) + " " +
            other.step);
  if (one.code != 0) return 0;
  check(one.dots == other.dots || !repeatable(info),
        "the thread count or a refused call changes the bytes", info.id);

  if (info.banding == HALFTONE_BANDING_BANDED) check_bands_alone(a.job, info, page, one);
  const Outcome again = run_page(a.job, info, page);
  check(again.code == 0 && (again.dots == one.dots || !repeatable(info)),
        "the same page twice differs", info.id);
  return 0;
}
