// The job API against the entry points by hand, for every screen, at any strides,
// interleaved; planes in threads and in lanes with and without AVX2; a code for
// every bad call.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "exports/registry.h"
#include "frame/cpu.h"
#include "frame/feedback_random.h"
#include "halftone/halftone.h"
#include "support/data_folder.h"

namespace halftone::test {
namespace {

constexpr std::uint32_t kSeed = 4242;
constexpr char kLevels4[] = "10,90,160,240";
constexpr char kLevels8[] = "0,30,70,100,140,180,220,250";

struct Data {
  DataFolder folder;
  std::string path(char const* name) const { return (folder.root / "Moths" / name).string(); }
  Data() {
    std::mt19937 g(7);
    auto noise = [&](std::size_t n) {
      Bytes b(n);
      for (auto& x : b) x = static_cast<unsigned char>(g());
      return b;
    };
    folder.write_beside("ToneAry.ham", noise(15 * 256));
    folder.write("p16.bin", noise(256 * 16 * 2));
    folder.write("p256.bin", noise(256 * 256 * 32));
    folder.write("q256.bin", noise(256 * 256 * 64));
    Bytes bmp(54 + 1024 + 256 * 256, 0);
    bmp[0] = 'B', bmp[1] = 'M', bmp[10] = 0x36, bmp[11] = 0x04, bmp[14] = 40;
    bmp[19] = 1, bmp[23] = 1, bmp[26] = 1, bmp[28] = 8;  // 256 x 256, one plane, 8 bits
    for (std::size_t i = 54 + 1024; i < bmp.size(); ++i) bmp[i] = static_cast<unsigned char>(g());
    folder.write("m.bmp", bmp);
    std::string blocks;
    for (int i = 0; i < 65536; ++i) blocks += std::to_string(static_cast<int>(g() % 61) - 30) + " ";
    blocks += "\r\n";
    folder.write("b.txt", Bytes(blocks.begin(), blocks.end()));
  }
};

Data const& data() {
  static Data d;
  return d;
}

char const* levels_of(Screen const& s) { return s.info.levels == 8 ? kLevels8 : kLevels4; }

void configure(halftone_job* job, Screen const& s, std::uint32_t seed = kSeed) {
  auto set = [&](char const* key, std::string const& value) {
    EXPECT_EQ(halftone_job_set(job, key, value.c_str()), 0)
        << key << ": " << halftone_job_error(job);
  };
  set("seed-time", std::to_string(seed));
  set("data-folder", data().folder.root.string());
  set("mode", "2");
  const unsigned n = s.info.needs;
  if (n & HALFTONE_NEEDS_LEVELS) set("levels", levels_of(s));
  if (n & HALFTONE_NEEDS_PATTERN)
    set("pattern", data().path(s.info.pattern_width ? "p256.bin" : "p16.bin"));
  if (n & HALFTONE_NEEDS_PATTERN2) set("pattern2", data().path("q256.bin"));
  if (n & HALFTONE_NEEDS_MATRIX) set("matrix", data().path("m.bmp"));
  if (n & HALFTONE_NEEDS_BLOCKS) set("blocks", data().path("b.txt"));
}

void prepare_by_hand(Screen const& s) {
  pin_seed_time(kSeed);
  set_data_folder(data().folder.root.string().c_str());
  Itsdiufiavs(2, s.info.levels ? (std::string(levels_of(s)) + ",").c_str() : "");
  SincesKai();
  const unsigned n = s.info.needs;
  if (n & HALFTONE_NEEDS_PATTERN)
    KaiDuaning(s.info.pattern_width ? "p256.bin" : "p16.bin", s.info.pattern_width ? 256 : 16,
               s.info.pattern_width ? 256 : 16);
  if (n & HALFTONE_NEEDS_PATTERN2) NingJing("q256.bin", 256, 256);
  if (n & HALFTONE_NEEDS_MATRIX) PuaningFa13("m.bmp", 0, 0);
  if (n & HALFTONE_NEEDS_BLOCKS) NiceMents("b.txt", 0, 0);
}

struct Page {
  std::uint32_t width, height, planes, band;
  Bytes source;
};

Page page_for(Screen const& s, std::uint32_t width, std::uint32_t height, std::uint32_t planes,
              std::uint32_t band, unsigned seed) {
  const bool single = s.info.banding == HALFTONE_BANDING_WHOLE_PAGE;
  Page p{width, height, single ? 1u : planes, single ? height : band, {}};
  p.source.resize(std::size_t{row_bytes(width, 8)} * height * p.planes);
  std::mt19937 g(seed);
  for (std::size_t i = 0; i < p.source.size(); ++i)  // a ramp with noise
    p.source[i] = static_cast<unsigned char>((i % width) * 255 / width / 2 + g() % 128);
  return p;
}

std::uint32_t out_width(Screen const& s, Page const& p) {
  return s.info.layout == HALFTONE_LAYOUT_SAME ? p.width : p.height;
}
std::uint32_t out_rows(Screen const& s, Page const& p) {
  return s.info.layout == HALFTONE_LAYOUT_SAME ? p.height : p.width;
}

// The entry point by hand: bands 1, 2 ..., 3, with 4 guard bytes after.
Bytes by_hand(Screen const& s, Page p) {
  const std::uint32_t stride = output_stride(s, out_width(s, p));
  Bytes out(std::size_t{stride} * out_rows(s, p) * p.planes + 4, 0xA5);
  prepare_by_hand(s);
  const std::size_t src_band = std::size_t{row_bytes(p.width, 8)} * p.planes;
  const std::size_t out_band = std::size_t{stride} * p.planes;
  for (std::uint32_t y = 0; y < p.height; y += p.band) {
    const std::uint32_t rows = std::min(p.band, p.height - y);
    const unsigned position = y == 0 ? 1u : (y + rows == p.height ? 3u : 2u);
    s.run(p.source.data() + y * src_band, out.data() + y * out_band, p.width, rows,
          control_word(p.planes, position));
  }
  unpin_seed_time();
  set_data_folder(nullptr);
  return out;
}

// One job at the given strides (0: the library's); bytes past each row stay untouched.
struct JobRun {
  Screen const& s;
  Page const& p;
  std::size_t src_stride = 0, dot_stride = 0;
  halftone_job* job = nullptr;
  Bytes src, out;
  std::uint32_t y = 0;

  JobRun(Screen const& screen, Page const& page, std::size_t ss = 0, std::size_t ds = 0)
      : s(screen),
        p(page),
        src_stride(ss ? ss : row_bytes(page.width, 8)),
        dot_stride(ds ? ds : output_stride(screen, out_width(screen, page))) {
    job = halftone_job_new(s.info.id, p.width, p.planes);
    EXPECT_NE(job, nullptr) << halftone_last_error();
    configure(job, s);
    src.assign(src_stride * p.height * p.planes, 0x5A);
    const std::size_t lib = row_bytes(p.width, 8);
    for (std::size_t i = 0; i < std::size_t{p.height} * p.planes; ++i)
      std::memcpy(&src[i * src_stride], &p.source[i * lib], p.width);
    out.assign(dot_stride * out_rows(s, p) * p.planes + 4, 0xA5);
  }
  ~JobRun() { halftone_job_free(job); }
  bool done() const { return y >= p.height; }
  void next_band() {
    const std::uint32_t rows = std::min(p.band, p.height - y);
    const std::size_t lines = std::size_t{y} * p.planes;
    ASSERT_EQ(halftone_job_band(job, &src[lines * src_stride], src_stride, &out[lines * dot_stride],
                                dot_stride, rows),
              0)
        << s.info.id << ": " << halftone_job_error(job);
    y += rows;
    if (done()) {
      ASSERT_EQ(halftone_job_finish(job), 0);
    }
  }
  Bytes result() {
    while (!done()) next_band();
    const std::size_t lib = output_stride(s, out_width(s, p));
    const std::size_t n = std::size_t{out_rows(s, p)} * p.planes;
    Bytes packed(lib * n + 4, 0);  // the library's rows clear their padding
    for (std::size_t i = 0; i < n; ++i) {
      std::memcpy(&packed[i * lib], &out[i * dot_stride], std::min(lib, dot_stride));
      for (std::size_t b = lib; b < dot_stride; ++b)
        EXPECT_EQ(out[i * dot_stride + b], 0xA5) << s.info.id << " wrote past its row";
    }
    std::memcpy(&packed[lib * n], &out[dot_stride * n], 4);
    return packed;
  }
};

TEST(Job, EveryScreenGivesTheEntryPointsBytes) {
  unsigned seed = 1;
  for (Screen const& s : registry()) {
    SCOPED_TRACE(s.info.id);
    for (auto [w, h, planes, band] : {std::array<std::uint32_t, 4>{37, 23, 3, 7},
                                      std::array<std::uint32_t, 4>{64, 40, 2, 40}}) {
      const Page p = page_for(s, w, h, planes, band, seed++);
      // The never-reseeded utility generator restarts for each run.
      utility_random() = FeedbackRandom();
      const Bytes expected = by_hand(s, p);
      utility_random() = FeedbackRandom();
      // The library's strides, wider ones on both sides, and the narrowest allowed.
      const std::uint32_t lib = output_stride(s, out_width(s, p));
      for (auto [ss, ds] : {std::pair<std::size_t, std::size_t>{0, 0},
                            {p.width + 13, lib + 5},
                            {p.width, (out_width(s, p) * s.info.bits + 7) / 8}}) {
        utility_random() = FeedbackRandom();
        EXPECT_EQ(JobRun(s, p, ss, ds).result(), expected) << ss << " " << ds;
      }
    }
  }
}

// Jobs of every banded screen side by side, a band of each in turn: on one
// thread, and dealt out to four threads that run at once (pages in
// parallel). Each gives the bytes it gives alone.
TEST(Job, JobsSideBySideGiveTheirOwnBytes) {
  std::vector<Screen const*> screens;
  for (Screen const& s : registry())
    if (s.info.banding == HALFTONE_BANDING_CARRIED) screens.push_back(&s);
  std::vector<Page> pages;
  std::vector<Bytes> alone;
  for (Screen const* s : screens) {
    pages.push_back(page_for(*s, 45, 30, 2, 6, 99));
    alone.push_back(JobRun(*s, pages.back()).result());
  }
  for (unsigned threads : {1u, 4u}) {
    SCOPED_TRACE(testing::Message() << threads << " threads");
    std::vector<std::unique_ptr<JobRun>> runs;
    for (std::size_t i = 0; i < screens.size(); ++i)
      runs.push_back(std::make_unique<JobRun>(*screens[i], pages[i]));
    auto run_share = [&](unsigned t) {
      for (bool more = true; more;) {
        more = false;
        for (std::size_t i = t; i < runs.size(); i += threads)
          if (!runs[i]->done()) runs[i]->next_band(), more = true;
      }
    };
    std::vector<std::thread> others;
    for (unsigned t = 1; t < threads; ++t) others.emplace_back(run_share, t);
    run_share(0);
    for (std::thread& t : others) t.join();
    for (std::size_t i = 0; i < runs.size(); ++i)
      EXPECT_EQ(runs[i]->result(), alone[i]) << screens[i]->info.id;
  }
}

// A white page: the screens whose set bit is paper set most of its bits, the
// others few or none. (Where patterns or thresholds come from a data file,
// the file decides; these tests' files are noise.)
TEST(Registry, PaperBitsAreWhatAWhitePageShows) {
  constexpr unsigned kFromData = HALFTONE_NEEDS_PATTERN | HALFTONE_NEEDS_PATTERN2 |
                                 HALFTONE_NEEDS_MATRIX | HALFTONE_NEEDS_BLOCKS;
  for (Screen const& s : registry()) {
    SCOPED_TRACE(s.info.id);
    if (s.info.bits != 1 || (s.info.needs & kFromData)) {
      EXPECT_EQ(s.info.paper_bits, 0);
      continue;
    }
    Page p = page_for(s, 32, 8, 1, 8, 1);
    std::fill(p.source.begin(), p.source.end(), 255);
    const Bytes dots = JobRun(s, p).result();
    int set = 0;
    for (std::size_t i = 0; i + 4 < dots.size(); ++i) set += std::popcount(dots[i]);
    EXPECT_EQ(set * 2 > 32 * 8, s.info.paper_bits != 0) << set << " bits set";
  }
}

// No screen writes a code above its top code, and the screens of each cell
// size, on a black page and a noisy ramp, reach the top code they declare.
TEST(Registry, TopCodeIsTheDarkestCodeWritten) {
  std::map<int, std::pair<int, int>> by_bits;  // bits: top code declared, darkest seen
  for (Screen const& s : registry()) {
    SCOPED_TRACE(s.info.id);
    const int bits = s.info.bits;
    int darkest = 0;
    for (bool black : {false, true}) {
      Page p = page_for(s, 32, 8, 1, 8, 1);
      if (black) std::fill(p.source.begin(), p.source.end(), 0);
      const Bytes codes = JobRun(s, p).result();
      for (std::size_t i = 0; i + 4 < codes.size(); ++i)  // the guard bytes left out
        for (int shift = 8 - bits; shift >= 0; shift -= bits)
          darkest = std::max(darkest, (codes[i] >> shift) & ((1 << bits) - 1));
    }
    EXPECT_LE(darkest, s.info.top_code);
    auto [entry, fresh] = by_bits.try_emplace(bits, s.info.top_code, darkest);
    EXPECT_EQ(entry->second.first, s.info.top_code) << "differs among " << bits << "-bit screens";
    if (!fresh) entry->second.second = std::max(entry->second.second, darkest);
  }
  for (auto const& [bits, top] : by_bits) EXPECT_EQ(top.second, top.first) << bits << " bits";
}

// A four-plane page in bands of 5, 7 and 4 rows with the given threads: every byte.
Bytes screen_planes(Screen const& s, unsigned threads) {
  constexpr std::uint32_t kWidth = 75, kPlanes = 4;
  halftone_job* job = halftone_job_new(s.info.id, kWidth, kPlanes);
  EXPECT_NE(job, nullptr) << halftone_last_error();
  if (job == nullptr) return {};
  configure(job, s, 777);
  EXPECT_EQ(halftone_job_set(job, "threads", std::to_string(threads).c_str()), 0);
  std::mt19937 g(9);
  Bytes all;
  for (std::uint32_t rows : {5u, 7u, 4u}) {
    Bytes source(std::size_t{kWidth} * rows * kPlanes);
    for (auto& v : source) v = static_cast<unsigned char>(g());
    std::uint32_t out_width = 0, out_rows = 0;
    std::size_t out_bytes = 0;
    EXPECT_EQ(halftone_job_output_shape(job, rows, &out_width, &out_rows, &out_bytes), 0);
    Bytes dots(out_bytes * out_rows * kPlanes, 0xA5);
    EXPECT_EQ(halftone_job_band(job, source.data(), kWidth, dots.data(), out_bytes, rows), 0)
        << halftone_job_error(job);
    all.insert(all.end(), dots.begin(), dots.end());
  }
  EXPECT_EQ(halftone_job_finish(job), 0);
  halftone_job_free(job);
  return all;
}

TEST(Threads, EveryBandedScreenGivesTheBytesOfOneThread) {
  for (Screen const& s : registry()) {
    if (s.info.banding == HALFTONE_BANDING_WHOLE_PAGE) continue;
    SCOPED_TRACE(s.info.id);
    const Bytes one = screen_planes(s, 1);
    ASSERT_FALSE(one.empty());
    for (unsigned threads : {2u, 3u}) EXPECT_EQ(screen_planes(s, threads), one) << threads;
    // The planes in lanes (one thread) as a processor without AVX2 runs them.
    cpu_allow_avx2(false);
    EXPECT_EQ(screen_planes(s, 1), one) << "without AVX2";
    cpu_allow_avx2(true);
  }
}

TEST(Job, BadCallsGetACodeAndAReason) {
  EXPECT_EQ(halftone_job_new("no-such-screen", 10, 1), nullptr);
  EXPECT_NE(std::string(halftone_last_error()).find("no-such-screen"), std::string::npos);
  EXPECT_EQ(halftone_job_new("tone-push", 0, 1), nullptr);
  EXPECT_EQ(halftone_job_new("tone-push", 10, 256), nullptr);
  EXPECT_EQ(halftone_job_new("random-direction-page", 10, 2), nullptr);

  struct Case {
    char const* screen;
    char const* key;
    char const* value;
    int code;
  };
  const std::string missing = (data().folder.root / "none").string();
  const std::string bmp = data().path("m.bmp"), p16 = data().path("p16.bin");
  const Case cases[] = {
      {"four-level", "levels", "0,85,170,255", 0},
      {"four-level", "levels", "0,85,170,255,", 0},
      {"four-level", "levels", "0,85,170", HALFTONE_ERR_BAD_VALUE},
      {"four-level", "levels", "0,170,85,255", HALFTONE_ERR_BAD_VALUE},
      {"four-level", "levels", "0,85,170,256", HALFTONE_ERR_BAD_VALUE},
      {"four-level", "levels", "0,x,170,255", HALFTONE_ERR_BAD_VALUE},
      {"tone-push", "levels", "0,255", HALFTONE_ERR_BAD_VALUE},
      {"tone-push", "mode", "17", 0},
      {"tone-push", "mode", "7", HALFTONE_ERR_BAD_VALUE},
      {"tone-push", "mode", "-1", HALFTONE_ERR_BAD_VALUE},
      {"tone-push", "seed-time", "4294967295", 0},
      {"tone-push", "seed-time", "4294967296", HALFTONE_ERR_BAD_VALUE},
      {"tone-push", "data-folder", missing.c_str(), HALFTONE_ERR_BAD_VALUE},
      {"tone-push", "pattern", p16.c_str(), HALFTONE_ERR_BAD_VALUE},
      {"pattern-tiled", "pattern-size", "16x16", 0},
      {"pattern-tiled", "pattern-size", "12x16", HALFTONE_ERR_BAD_VALUE},
      {"pattern-tiled", "pattern-size", "16x0", HALFTONE_ERR_BAD_VALUE},
      {"pattern-256", "pattern-size", "256x256", 0},
      {"pattern-256", "pattern-size", "16x16", HALFTONE_ERR_BAD_VALUE},  // its tile is 256 x 256
      {"pattern2-256", "pattern-size", "256x128", HALFTONE_ERR_BAD_VALUE},
      {"tone-push", "pattern-size", "16x16", HALFTONE_ERR_BAD_VALUE},  // reads no bank
      {"pattern-tiled", "threads", "0", HALFTONE_ERR_BAD_VALUE},
      {"pattern-tiled", "colour", "red", HALFTONE_ERR_UNKNOWN_KEY},
      {"pattern-tiled", "pattern", nullptr, HALFTONE_ERR_ARGUMENT},
  };
  for (Case const& c : cases) {
    halftone_job* job = halftone_job_new(c.screen, 16, 1);
    ASSERT_NE(job, nullptr);
    // A reason left by an earlier failed call goes once a call succeeds.
    EXPECT_EQ(halftone_job_set(job, "colour", "red"), HALFTONE_ERR_UNKNOWN_KEY);
    EXPECT_EQ(halftone_job_set(job, c.key, c.value), c.code) << c.screen << " " << c.key;
    EXPECT_EQ(std::string(halftone_job_error(job)).empty(), c.code == 0) << c.key << " " << c.value;
    halftone_job_free(job);
  }

  // Data that cannot serve the screen: refused at the first band.
  const struct {
    char const* screen;
    char const* key;
    std::string path;
    int code;
  } files[] = {{"threshold-matrix", "matrix", p16, HALFTONE_ERR_BAD_DATA},
               {"threshold-matrix", "matrix", missing, HALFTONE_ERR_FILE_OPEN},
               {"pattern-256", "pattern", p16, HALFTONE_ERR_BAD_DATA},
               {"block-offset", "blocks", bmp, HALFTONE_ERR_BAD_DATA},
               {"block-offset", nullptr, "", HALFTONE_ERR_SEQUENCE}};
  unsigned char src[16] = {}, dots[4] = {};
  for (auto const& f : files) {
    halftone_job* job = halftone_job_new(f.screen, 16, 1);
    if (f.key) {
      ASSERT_EQ(halftone_job_set(job, f.key, f.path.c_str()), 0);
    }
    EXPECT_EQ(halftone_job_band(job, src, 16, dots, 4, 1), f.code) << f.screen << " " << f.path;
    EXPECT_FALSE(std::string(halftone_job_error(job)).empty());
    halftone_job_free(job);
  }

  // Strides too small or too large to address the band's lines, null
  // buffers, bands of more rows than the entry points take: refused before
  // anything is read or written. A huge stride over a single line is fine.
  const struct {
    unsigned char const* source;
    std::size_t source_stride;
    unsigned char* dots;
    std::size_t dots_stride;
    std::uint32_t rows;
    int code;
  } bands[] = {{src, 15, dots, 4, 1, HALFTONE_ERR_ARGUMENT},
               {src, 16, dots, 1, 1, HALFTONE_ERR_ARGUMENT},
               {nullptr, 16, dots, 4, 1, HALFTONE_ERR_ARGUMENT},
               {src, 16, nullptr, 4, 1, HALFTONE_ERR_ARGUMENT},
               {src, SIZE_MAX / 2, dots, 4, 2, HALFTONE_ERR_ARGUMENT},
               {src, 16, dots, SIZE_MAX / 2, 2, HALFTONE_ERR_ARGUMENT},
               {src, std::size_t{0} - 16, dots, 4, 2, HALFTONE_ERR_ARGUMENT},  // a "negative" one
               {src, 16, dots, 4, 0x80000000u, HALFTONE_ERR_ARGUMENT},
               {src, SIZE_MAX, dots, SIZE_MAX, 1, 0}};
  halftone_job* job = halftone_job_new("tone-push", 16, 1);
  for (auto const& b : bands) {
    std::fill(std::begin(dots), std::end(dots), 0xA5);
    EXPECT_EQ(halftone_job_band(job, b.source, b.source_stride, b.dots, b.dots_stride, b.rows),
              b.code)
        << b.source_stride << " " << b.dots_stride << " " << b.rows;
    EXPECT_EQ(std::string(halftone_job_error(job)).empty(), b.code == 0);
    if (b.code != 0) {
      EXPECT_EQ(std::count(std::begin(dots), std::end(dots), 0xA5), 4) << "output was written";
    }
  }
  // Keys during a page.
  EXPECT_EQ(halftone_job_set(job, "mode", "1"), HALFTONE_ERR_SEQUENCE);
  EXPECT_EQ(halftone_job_finish(job), 0);
  EXPECT_EQ(halftone_job_set(job, "mode", "1"), 0);
  halftone_job_free(job);
  EXPECT_EQ(halftone_job_band(nullptr, src, 16, dots, 4, 1), HALFTONE_ERR_ARGUMENT);
}

}  // namespace
}  // namespace halftone::test
