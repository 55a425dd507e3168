// Planes screened at once: every banded screen of the registry gives, with 2
// and 3 threads, the bytes it gives with one, band after band of a four-plane
// page. (Whole-page screens take one plane, which threads leave alone.)
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "halftone/c_api.h"

namespace halftone::test {
namespace {

namespace fs = std::filesystem;

// Data files of the forms the loaders read, with random content.
struct ThreadData {
  fs::path root = fs::temp_directory_path() /
                  ("halftone-threads-" +
                   std::to_string(std::chrono::steady_clock::now().time_since_epoch().count()));
  ThreadData() {
    fs::create_directories(root);
    std::mt19937 g(5);
    auto put = [&](char const* name, std::size_t n, std::string head = {}) {
      std::ofstream f(root / name, std::ios::binary);
      f << head;
      for (std::size_t i = head.size(); i < n; ++i) f.put(static_cast<char>(g()));
    };
    put("p16.bin", 256 * 16 * 2);
    put("p256.bin", 256 * 256 * 32);
    put("q256.bin", 256 * 256 * 64);
    std::string bmp(54, '\0');
    bmp[0] = 'B', bmp[1] = 'M', bmp[10] = 0x36, bmp[11] = 0x04, bmp[14] = 40;
    bmp[19] = 1, bmp[23] = 1, bmp[26] = 1, bmp[28] = 8;  // 256 x 256, 8 bits
    put("m.bmp", 54 + 1024 + 65536, bmp);
    std::ofstream blocks(root / "b.txt", std::ios::binary);
    for (int i = 0; i < 65536; ++i) blocks << static_cast<int>(g() % 61) - 30 << ' ';
    blocks << "\r\n";
  }
  ~ThreadData() {
    std::error_code ignored;
    fs::remove_all(root, ignored);
  }
  std::string path(char const* name) const { return (root / name).string(); }
};

// One page of `planes` planes in bands of 5, 7 and 4 rows; every output byte.
std::vector<unsigned char> screen_page(halftone_screen_info const& info, ThreadData const& data,
                                       std::uint32_t planes, unsigned threads) {
  constexpr std::uint32_t kWidth = 75;
  const std::uint32_t bands[] = {5, 7, 4};
  halftone_job* job = halftone_job_new(info.id, kWidth, planes);
  EXPECT_NE(job, nullptr) << halftone_last_error();
  if (job == nullptr) return {};
  auto set = [&](char const* key, std::string const& value) {
    EXPECT_EQ(halftone_job_set(job, key, value.c_str()), 0)
        << key << ": " << halftone_job_error(job);
  };
  set("seed-time", "777");
  set("threads", std::to_string(threads));
  if (info.needs & HALFTONE_NEEDS_TONE_CURVES) set("mode", "2");
  if (info.needs & HALFTONE_NEEDS_PATTERN)
    set("pattern", data.path(info.pattern_width ? "p256.bin" : "p16.bin"));
  if (info.needs & HALFTONE_NEEDS_PATTERN2) set("pattern2", data.path("q256.bin"));
  if (info.needs & HALFTONE_NEEDS_MATRIX) set("matrix", data.path("m.bmp"));
  if (info.needs & HALFTONE_NEEDS_BLOCKS) set("blocks", data.path("b.txt"));

  std::mt19937 g(9);
  std::vector<unsigned char> all;
  for (std::uint32_t rows : bands) {
    std::vector<unsigned char> source(std::size_t{kWidth} * rows * planes);
    for (auto& v : source) v = static_cast<unsigned char>(g());
    std::uint32_t out_width = 0, out_rows = 0;
    std::size_t out_bytes = 0;
    EXPECT_EQ(halftone_job_output_shape(job, rows, &out_width, &out_rows, &out_bytes), 0);
    std::vector<unsigned char> dots(out_bytes * out_rows * planes, 0xA5);
    EXPECT_EQ(halftone_job_band(job, source.data(), kWidth, dots.data(), out_bytes, rows), 0)
        << halftone_job_error(job);
    all.insert(all.end(), dots.begin(), dots.end());
  }
  EXPECT_EQ(halftone_job_finish(job), 0);
  halftone_job_free(job);
  return all;
}

TEST(Threads, EveryScreenGivesTheBytesOfOneThread) {
  const ThreadData data;
  for (std::size_t i = 0; i < halftone_screen_count(); ++i) {
    halftone_screen_info const& info = *halftone_screen_info_at(i);
    if (info.banding == HALFTONE_BANDING_WHOLE_PAGE) continue;
    SCOPED_TRACE(info.id);
    const auto one = screen_page(info, data, 4, 1);
    ASSERT_FALSE(one.empty());
    for (unsigned threads : {2u, 3u})
      EXPECT_EQ(screen_page(info, data, 4, threads), one) << threads;
  }
}

}  // namespace
}  // namespace halftone::test
