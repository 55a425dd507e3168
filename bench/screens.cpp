// Every screen of the registry through the job API on the benchmark's page:
// banded screens on all planes in bands, whole-page screens on one plane in
// one call. Each row reports MP/s and its share of the yardstick of its kind:
// screens that carry nothing from pixel to pixel against the threshold loop,
// the others against the serial diffusion loop.
#include <cstring>
#include <string>
#include <vector>

#include "data_files.h"
#include "halftone/c_api.h"
#include "page.h"
#include "yardsticks.h"

namespace halftone::bench {
namespace {

// A screen whose dots do not depend on their neighbours is measured against
// the threshold loop: one banded without carried state, or one whose summary
// names a threshold matrix and no diffusion (its lines carry source values).
Yardstick yardstick_of(halftone_screen_info const& info) {
  const bool threshold =
      info.banding == HALFTONE_BANDING_BANDED ||
      (std::strstr(info.summary, "threshold") && !std::strstr(info.summary, "diffusion"));
  return threshold ? Yardstick::Threshold : Yardstick::Diffusion;
}

// Sets what the screen reads: curves, data files, a fixed seed time.
bool prepare(benchmark::State& state, halftone_job* job, halftone_screen_info const& info) {
  const int pw = info.pattern_width > 0 ? info.pattern_width : 64;
  const int ph = info.pattern_height > 0 ? info.pattern_height : 64;
  std::vector<std::pair<char const*, std::string>> options = {{"seed-time", "1000"}};
  if (info.needs & HALFTONE_NEEDS_TONE_CURVES) options.emplace_back("mode", "2");
  const unsigned data = HALFTONE_NEEDS_PATTERN | HALFTONE_NEEDS_PATTERN2 | HALFTONE_NEEDS_MATRIX |
                        HALFTONE_NEEDS_BLOCKS;
  if (info.needs & data) {
    DataFiles const& files = data_files(pw, ph);  // written on first use
    if (files.folder.empty()) {
      state.SkipWithError("the screen's data files could not be written");
      return false;
    }
    options.emplace_back("data-folder", files.folder);
    if (info.needs & (HALFTONE_NEEDS_PATTERN | HALFTONE_NEEDS_PATTERN2))
      options.emplace_back("pattern-size", std::to_string(pw) + "x" + std::to_string(ph));
    if (info.needs & HALFTONE_NEEDS_PATTERN) options.emplace_back("pattern", files.pattern);
    if (info.needs & HALFTONE_NEEDS_PATTERN2) options.emplace_back("pattern2", files.pattern2);
    if (info.needs & HALFTONE_NEEDS_MATRIX) options.emplace_back("matrix", files.matrix);
    if (info.needs & HALFTONE_NEEDS_BLOCKS) options.emplace_back("blocks", files.blocks);
  }
  if (page_size().threads > 1) options.emplace_back("threads", std::to_string(page_size().threads));
  for (auto const& [key, value] : options)
    if (halftone_job_set(job, key, value.c_str()) != 0) {
      state.SkipWithError(halftone_job_error(job));
      return false;
    }
  return true;
}

void run_screen(benchmark::State& state, halftone_screen_info const* info) {
  const PageSize size = page_size();
  const bool whole_page = info->banding == HALFTONE_BANDING_WHOLE_PAGE;
  const std::uint32_t planes = whole_page ? 1 : size.planes;
  const std::uint32_t band = whole_page ? size.height : size.band_height;
  halftone_job* job = halftone_job_new(info->id, size.width, planes);
  if (job == nullptr) {
    state.SkipWithError(halftone_last_error());
    return;
  }
  struct Free {
    halftone_job* job;
    ~Free() { halftone_job_free(job); }
  } free_job{job};
  if (!prepare(state, job, *info)) return;

  std::uint32_t out_width = 0, out_rows = 0;
  std::size_t out_row = 0;
  if (halftone_job_output_shape(job, band, &out_width, &out_rows, &out_row) != 0) {
    state.SkipWithError(halftone_job_error(job));
    return;
  }
  auto const& page = test_page(planes);
  const std::size_t src_row = packed_row(size.width, 8);
  // A band's output rows for every band of the page (turned whole-page
  // screens: one band of out_rows rows).
  const std::size_t bands = (size.height + band - 1) / band;
  std::vector<unsigned char> out(out_row * out_rows * planes * bands);
  const double yardstick = yardstick_rate(yardstick_of(*info));

  const Stopwatch watch;
  for (auto _ : state) {
    for (std::uint32_t y = 0; y < size.height; y += band) {
      const std::uint32_t rows = size.height - y < band ? size.height - y : band;
      const int result =
          halftone_job_band(job, page.data() + std::size_t{y} * planes * src_row, src_row,
                            out.data() + (y / band) * out_row * out_rows * planes, out_row, rows);
      if (result != 0) {
        state.SkipWithError(halftone_job_error(job));
        return;
      }
    }
    if (halftone_job_finish(job) != 0) {
      state.SkipWithError(halftone_job_error(job));
      return;
    }
    benchmark::DoNotOptimize(out.data());
    benchmark::ClobberMemory();
  }
  report_megapixels(state, std::uint64_t{size.width} * size.height * planes, watch.seconds(),
                    yardstick);
}

}  // namespace

void register_screens() {
  for (std::size_t i = 0; i < halftone_screen_count(); ++i) {
    halftone_screen_info const* info = halftone_screen_info_at(i);
    benchmark::RegisterBenchmark((std::string(info->id) + "/" + info->entry).c_str(), run_screen,
                                 info)
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
  }
}

}  // namespace halftone::bench
