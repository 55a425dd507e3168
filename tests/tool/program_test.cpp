// The halftone program as a user drives it: pipes, formats, CMYK jobs,
// streaming memory, output kinds kept, interrupted runs, refused input.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <halftone/halftone.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <tiffio.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "tiff_file.h"

extern char** environ;

namespace halftone::test {
namespace {

namespace fs = std::filesystem;
using Bytes = std::vector<unsigned char>;

struct Result {
  int status = -1;  // exit status, or -signal
  std::string out, err;
  long max_rss_kb = 0;
};

class Program : public ::testing::Test {
 protected:
  fs::path dir = fs::temp_directory_path() / ("halftone-tool-" + std::to_string(::getpid()));
  void SetUp() override { fs::create_directories(dir); }
  void TearDown() override { fs::remove_all(dir); }
  std::string at(std::string const& name) const { return (dir / name).string(); }

  // stdin from `in` ("" for /dev/null), or a pipe whose write end goes to `feed`.
  pid_t start(std::vector<std::string> const& args, std::string const& in = "",
              int* feed = nullptr) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    int pipe_fds[2] = {-1, -1};
    if (feed != nullptr) {
      EXPECT_EQ(::pipe(pipe_fds), 0);
      posix_spawn_file_actions_adddup2(&actions, pipe_fds[0], 0);
      posix_spawn_file_actions_addclose(&actions, pipe_fds[1]);
    } else {
      posix_spawn_file_actions_addopen(&actions, 0, in.empty() ? "/dev/null" : in.c_str(), O_RDONLY,
                                       0);
    }
    for (int fd : {1, 2})
      posix_spawn_file_actions_addopen(&actions, fd, at(fd == 1 ? "stdout" : "stderr").c_str(),
                                       O_WRONLY | O_CREAT | O_TRUNC, 0644);
    std::vector<char*> argv = {const_cast<char*>(HALFTONE_TOOL_PATH)};
    for (auto const& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    pid_t pid = -1;
    EXPECT_EQ(posix_spawn(&pid, HALFTONE_TOOL_PATH, &actions, nullptr, argv.data(), environ), 0);
    posix_spawn_file_actions_destroy(&actions);
    if (feed != nullptr) {
      ::close(pipe_fds[0]);
      *feed = pipe_fds[1];
    }
    return pid;
  }
  Result finish(pid_t pid) {
    Result r;
    int status = 0;
    struct rusage usage {};
    ::wait4(pid, &status, 0, &usage);
    r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    r.max_rss_kb = usage.ru_maxrss;
    r.out = slurp(dir / "stdout");
    r.err = slurp(dir / "stderr");
    return r;
  }
  Result run(std::vector<std::string> const& args, std::string const& in = "") {
    return finish(start(args, in));
  }

  std::string pgm(std::uint32_t width, std::uint32_t height) {
    std::string s = "P5\n" + std::to_string(width) + " " + std::to_string(height) + "\n255\n";
    for (std::uint32_t y = 0; y < height; ++y)
      for (std::uint32_t x = 0; x < width; ++x)
        s += static_cast<char>((x * 255 / (width - 1) + (y % 7) * 3) & 0xFF);
    return s;
  }
  std::string write(std::string const& name, std::string const& bytes) {
    std::ofstream(dir / name, std::ios::binary) << bytes;
    return at(name);
  }
  // Files in the folder besides the captured streams and `expected`.
  std::vector<std::string> leftovers(std::vector<std::string> const& expected) {
    std::vector<std::string> found;
    for (auto const& entry : fs::directory_iterator(dir)) {
      const std::string name = entry.path().filename().string();
      if (name != "stdout" && name != "stderr" &&
          std::find(expected.begin(), expected.end(), name) == expected.end())
        found.push_back(name);
    }
    return found;
  }
};

// A carried screen of the registry with the given bits and needs.
halftone_screen_info const* registry_screen(int bits, unsigned needs = 0) {
  for (std::size_t i = 0; i < halftone_screen_count(); ++i) {
    auto const* info = halftone_screen_info_at(i);
    if (info->bits == bits && info->needs == needs && info->banding == HALFTONE_BANDING_CARRIED &&
        info->layout == HALFTONE_LAYOUT_SAME)
      return info;
  }
  return nullptr;
}

// The four planes of a CMYK TIFF screened through the job API, one job.
Bytes job_planes(halftone_screen_info const& screen, Bytes const& cmyk, std::uint32_t width,
                 std::uint32_t height) {
  const std::size_t in_stride = halftone_row_bytes(width, 8);
  const std::size_t out_stride = halftone_row_bytes(width, screen.bits);
  Bytes source(in_stride * height * 4), dots(out_stride * height * 4);
  for (std::uint32_t y = 0; y < height; ++y)
    for (std::uint32_t p = 0; p < 4; ++p)
      for (std::uint32_t x = 0; x < width; ++x)
        source[(y * 4 + p) * in_stride + x] = 255 - cmyk[(y * width + x) * 4 + p];
  halftone::Job job(screen.id, width, 4);
  job.set("seed-time", "11");
  const std::uint32_t band = 16;
  for (std::uint32_t y = 0; y < height; y += band)
    EXPECT_EQ(job.band(&source[y * 4 * in_stride], in_stride, &dots[y * 4 * out_stride], out_stride,
                       std::min(band, height - y)),
              0);
  EXPECT_EQ(job.finish(), 0);
  return dots;
}

// Separations are compressed on the run's threads (a page's planes at
// once, or pages at once) and copied into the output: the file is the one
// one thread writes.
TEST_F(Program, CmykTiffGivesFourSeparationsAsTheJobApiInEveryCompression) {
  const std::uint32_t width = 45, height = 1100;  // strips of 1024 rows: two a page
  Bytes cmyk(width * height * 4);
  for (std::size_t i = 0; i < cmyk.size(); ++i) cmyk[i] = static_cast<unsigned char>(i * 7 % 256);
  const TiffPage page{width, height, PHOTOMETRIC_SEPARATED, 8, 4, false, false, cmyk};
  tiff(at("one.tif"), {page});
  tiff(at("in.tif"), {page, page});  // two pages, each four separations out

  auto const* screen = registry_screen(1);
  const Bytes expect = job_planes(*screen, cmyk, width, height);
  const std::size_t stride = halftone_row_bytes(width, 1);
  struct Case {
    char const* compression;  // "" for the default
    std::uint16_t expect;
  };
  for (char const* input : {"one.tif", "in.tif"})
    for (Case const c :
         {Case{"", COMPRESSION_CCITTFAX4}, Case{"G4", COMPRESSION_CCITTFAX4},
          Case{"packbits", COMPRESSION_PACKBITS}, Case{"lzw", COMPRESSION_LZW},
          Case{"deflate", COMPRESSION_ADOBE_DEFLATE}, Case{"none", COMPRESSION_NONE}}) {
      SCOPED_TRACE(std::string(input) + " " + c.compression);
      std::string serial;
      for (char const* threads : {"1", "3"}) {
        std::vector<std::string> args = {"screen",      screen->id, at(input),       at("out.tif"),
                                         "--seed-time", "11",       "--band-height", "16",
                                         "--threads",   threads};
        if (*c.compression != '\0') args.insert(args.end(), {"--compression", c.compression});
        ASSERT_EQ(run(args).status, 0);
        if (serial.empty())
          serial = slurp(dir / "out.tif");
        else
          ASSERT_EQ(slurp(dir / "out.tif"), serial) << threads << " threads";
      }
      TIFF* out = TIFFOpen(at("out.tif").c_str(), "r");
      ASSERT_NE(out, nullptr);
      int pages = 0;
      do {
        std::uint16_t compression = 0;
        std::uint32_t w = 0, h = 0;
        TIFFGetField(out, TIFFTAG_COMPRESSION, &compression);
        TIFFGetField(out, TIFFTAG_IMAGEWIDTH, &w);
        TIFFGetField(out, TIFFTAG_IMAGELENGTH, &h);
        EXPECT_EQ(compression, c.expect);
        ASSERT_EQ(w, width);
        ASSERT_EQ(h, height);
        Bytes row(TIFFScanlineSize(out));
        for (std::uint32_t y = 0; y < height; ++y) {
          ASSERT_EQ(TIFFReadScanline(out, row.data(), y, 0), 1);
          ASSERT_EQ(0, std::memcmp(row.data(), &expect[(y * 4 + pages % 4) * stride], row.size()))
              << "page " << pages << " row " << y;
        }
        ++pages;
      } while (TIFFReadDirectory(out));
      TIFFClose(out);
      EXPECT_EQ(pages, input == std::string("one.tif") ? 4 : 8);
    }
  // A PNG holds one picture: the second page is refused, and nothing is left.
  EXPECT_EQ(run({"screen", screen->id, at("in.tif"), at("out.png")}).status, 2);
  EXPECT_FALSE(fs::exists(dir / "out.png"));
  // Compressions that cannot hold the output, or are not known.
  auto const* codes = registry_screen(2, HALFTONE_NEEDS_TONE_CURVES | HALFTONE_NEEDS_LEVELS);
  ASSERT_NE(codes, nullptr);
  struct Refused {
    char const* screen;
    char const* out;
    char const* compression;
    char const* message;
  };
  for (Refused const r : {Refused{codes->id, "out.tif", "g4", "which Group 4 cannot hold"},
                          Refused{screen->id, "out.pbm", "none", "--compression is for TIFF"},
                          Refused{screen->id, "out.tif", "zip", "is not one of"}}) {
    fs::remove(dir / r.out);
    const Result result =
        run({"screen", r.screen, at("in.tif"), at(r.out), "--compression", r.compression});
    EXPECT_EQ(result.status, 2) << r.compression;
    EXPECT_NE(result.err.find(r.message), std::string::npos) << result.err;
    EXPECT_FALSE(fs::exists(dir / r.out)) << r.compression;
  }
}

// Fills strip `strip` of page `page` of a TIFF with bytes no codec decodes.
void break_strip(std::string const& path, tdir_t page, std::uint32_t strip) {
  TIFF* t = TIFFOpen(path.c_str(), "r");
  ASSERT_NE(t, nullptr);
  ASSERT_EQ(TIFFSetDirectory(t, page), 1);
  std::uint64_t *offsets = nullptr, *counts = nullptr;
  ASSERT_EQ(TIFFGetField(t, TIFFTAG_STRIPOFFSETS, &offsets), 1);
  ASSERT_EQ(TIFFGetField(t, TIFFTAG_STRIPBYTECOUNTS, &counts), 1);
  ASSERT_LT(strip, TIFFNumberOfStrips(t));
  const std::uint64_t offset = offsets[strip], count = counts[strip];
  TIFFClose(t);
  std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
  file.seekp(static_cast<std::streamoff>(offset));
  file << std::string(count, '\xFF');
}

// The pages of a file screened at once, a page a thread, come out as they do
// one after another; a bad page fails the run as it does then, also when it
// breaks off part way while the pages after it are being written.
TEST_F(Program, PagesAtOnceGiveThePagesInTurn) {
  const std::string pages = pgm(40, 30) + pgm(23, 51) + pgm(64, 9) + pgm(40, 30) + pgm(17, 70);
  write("pages.pgm", pages);
  write("bad.pgm", pages + "P5\n9 9\n255\n" + std::string(20, 'x'));
  Bytes cmyk(31 * 19 * 4), rgb(26 * 22 * 3);
  for (std::size_t i = 0; i < cmyk.size(); ++i) cmyk[i] = static_cast<unsigned char>(i * 7);
  for (std::size_t i = 0; i < rgb.size(); ++i) rgb[i] = static_cast<unsigned char>(i * 5);
  tiff(at("pages.tif"), {{31, 19, PHOTOMETRIC_SEPARATED, 8, 4, false, false, cmyk},
                         {26, 22, PHOTOMETRIC_RGB, 8, 3, false, true, rgb},
                         {31, 19, PHOTOMETRIC_SEPARATED, 8, 4, true, false, cmyk}});
  Bytes grey(30 * 40);
  for (std::size_t i = 0; i < grey.size(); ++i) grey[i] = static_cast<unsigned char>(i * 13);
  const TiffPage plain{30, 40, PHOTOMETRIC_MINISBLACK, 8, 1, false, false, grey};
  tiff(at("bad.tif"), {plain, plain, plain, plain});
  break_strip(at("bad.tif"), 1, 10);  // rows 20-21 of the second page
  const std::string id = registry_screen(1)->id;
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"pages.pgm", "out.pbm"}, {"pages.pgm", "out.raw"}, {"pages.tif", "out.tif"},
      {"pages.tif", "out.pbm"}, {"bad.pgm", "out.pbm"},   {"bad.tif", "out.tif"}};
  for (auto const& [in, out] : cases) {
    SCOPED_TRACE(in + " " + out);
    Result runs[2];
    std::string outputs[2];
    for (int i = 0; i < 2; ++i) {
      runs[i] = run({"screen", id, at(in), at(out), "--seed-time", "3", "--band-height", "8",
                     "--threads", i == 0 ? "1" : "3", "-q"});
      outputs[i] = slurp(dir / out);
      fs::remove(dir / out);
    }
    EXPECT_EQ(runs[1].status, runs[0].status);
    EXPECT_EQ(runs[1].err, runs[0].err);
    EXPECT_EQ(outputs[1], outputs[0]);
    EXPECT_EQ(outputs[0].empty(), in.rfind("bad", 0) == 0) << runs[0].err;
  }
}

// Stacked planes read from a file, a reader a plane placed at the plane's
// rows, give what the same input gives read whole from standard input:
// seeking (binary PGM), reading past rows (plain PGM, TIFF), pages of
// different sizes, and a page that does not divide into the planes.
TEST_F(Program, StackedPlanesReadApartGiveWhatAPageReadWholeGives) {
  write("pages.pgm", pgm(37, 3 * 21) + pgm(20, 3 * 5) + pgm(37, 3 * 2));
  std::string plain = "P2\n9 12\n255\n";
  for (int i = 0; i < 9 * 12; ++i)
    plain += std::to_string(i * 29 % 256) + (i % 9 == 8 ? "\n" : " ");
  write("plain.pgm", plain);
  Bytes grey(29 * 33);
  for (std::size_t i = 0; i < grey.size(); ++i) grey[i] = static_cast<unsigned char>(i * 11);
  tiff(at("pages.tif"), {{29, 33, PHOTOMETRIC_MINISBLACK, 8, 1, false, false, grey},
                         {29, 33, PHOTOMETRIC_MINISBLACK, 8, 1, false, true, grey}});
  write("uneven.pgm", pgm(10, 3 * 4) + pgm(10, 7));
  const std::string id = registry_screen(1)->id;
  for (std::string const in : {"pages.pgm", "plain.pgm", "pages.tif", "uneven.pgm"}) {
    SCOPED_TRACE(in);
    Result runs[2];
    std::string outputs[2];
    for (int i = 0; i < 2; ++i) {
      runs[i] = run({"screen", id, i == 0 ? "-" : at(in), at("out.raw"), "--planes", "3",
                     "--band-height", "4", "--seed-time", "5", "-q"},
                    i == 0 ? at(in) : "");
      outputs[i] = slurp(dir / "out.raw");
      fs::remove(dir / "out.raw");
    }
    EXPECT_EQ(runs[1].status, runs[0].status);
    EXPECT_EQ(runs[1].err, runs[0].err);
    EXPECT_EQ(outputs[1], outputs[0]);
    EXPECT_EQ(outputs[0].empty(), in == "uneven.pgm") << runs[0].err;
  }
}

TEST_F(Program, RefusedInputWritesNothing) {
  const std::string in = write("in.pgm", pgm(20, 10));
  write("lie.pgm", "P5\n32768 32768\n255\n");  // 19 bytes declaring 1 GiB
  write("short.pgm", "P5\n4 2\n255\n\x01\x02");
  fs::create_directory(dir / "folder");
  auto const* one = registry_screen(1);
  auto const* two = registry_screen(2, HALFTONE_NEEDS_TONE_CURVES | HALFTONE_NEEDS_LEVELS);
  ASSERT_NE(two, nullptr);
  const std::string out = at("out.pbm");
  const std::vector<std::vector<std::string>> cases = {
      {},
      {"frobnicate"},
      {"screen", "no-such-screen", in, out},
      {"screen", one->id, at("missing.pgm"), out},
      {"screen", one->id, at("lie.pgm"), out},
      {"screen", one->id, at("short.pgm"), out},
      {"screen", one->id, in, at("out.xyz")},
      {"screen", one->id, in, at("no/such/folder/out.pbm")},
      {"screen", one->id, in, at("folder")},
      {"screen", one->id, in, out, "--band-height", "0"},
      {"screen", one->id, in, out, "--format", "gif"},
      {"screen", one->id, in, out, "--mode", "1"},
      {"screen", one->id, in, out, "--levels", "0,255"},
      {"screen", one->id, in, out, "--pattern", in},
      {"screen", two->id, in, out},
      {"screen", two->id, in, at("o.pgm"), "--levels", "0,85,170"},
      {"screen", two->id, in, at("o.pgm"), "--levels", "0,170,85,255"},
      {"screen", two->id, in, at("o.pgm"), "--mode", "7"},
  };
  for (auto const& args : cases) {
    std::string line;
    for (auto const& a : args) line += a + " ";
    SCOPED_TRACE(line);
    const Result r = run(args);
    EXPECT_EQ(r.status, 2);
    EXPECT_FALSE(r.err.empty());
    EXPECT_TRUE(r.out.empty());
    EXPECT_LT(r.max_rss_kb, 64 * 1024);  // no allocation for the lying header
    EXPECT_EQ(leftovers({"in.pgm", "lie.pgm", "short.pgm", "folder"}), std::vector<std::string>{});
  }
  const Result near = run({"screen", one->id + std::string("x"), in, out});
  EXPECT_NE(near.err.find(std::string("did you mean ") + one->id), std::string::npos) << near.err;
}

TEST_F(Program, SpecialOutputsKeepTheirKind) {
  const std::string in = write("in.pgm", pgm(30, 20));
  const std::string id = registry_screen(1)->id;
  ASSERT_EQ(run({"screen", id, in, at("ref.pbm"), "--seed-time", "5"}).status, 0);
  const std::string expect = slurp(dir / "ref.pbm");

  // A symbolic link: its target is replaced, the link stays.
  fs::create_directory(dir / "real");
  fs::create_symlink("real/target.pbm", dir / "link.pbm");
  ASSERT_EQ(run({"screen", id, in, at("link.pbm"), "--seed-time", "5"}).status, 0);
  EXPECT_TRUE(fs::is_symlink(dir / "link.pbm"));
  EXPECT_EQ(slurp(dir / "real/target.pbm"), expect);

  // A FIFO: written straight through.
  ASSERT_EQ(::mkfifo(at("fifo").c_str(), 0600), 0);
  std::string through;
  std::thread reader([&] { through = slurp(dir / "fifo"); });
  const Result fifo = run({"screen", id, in, at("fifo"), "--format", "pbm", "--seed-time", "5"});
  reader.join();
  EXPECT_EQ(fifo.status, 0) << fifo.err;
  EXPECT_TRUE(fs::is_fifo(dir / "fifo"));
  EXPECT_EQ(through, expect);

  EXPECT_EQ(run({"screen", id, in, "/dev/null", "--format", "tiff"}).status, 0);
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
}

TEST_F(Program, InterruptedRunLeavesNoFile) {
  for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGKILL}) {
    SCOPED_TRACE(signal);
    int feed = -1;
    const pid_t pid = start({"screen", registry_screen(1)->id, "-", at("out.tif")}, "", &feed);
    const std::string header = "P5 1000 100000 255\n";
    ASSERT_EQ(::write(feed, header.data(), header.size()), static_cast<ssize_t>(header.size()));
    const std::string rows(1000 * 200, '\x80');  // some bands, then the run waits for more
    ASSERT_EQ(::write(feed, rows.data(), rows.size()), static_cast<ssize_t>(rows.size()));
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    ::kill(pid, signal);
    ::close(feed);  // should the signal be ignored, the run ends at the short input
    const Result r = finish(pid);
    EXPECT_EQ(r.status, -signal);
    EXPECT_EQ(leftovers({}), std::vector<std::string>{});
  }
}

// Ways of saying the same thing give the same bytes; a status line goes to
// stderr unless -q, never into the output.
TEST_F(Program, EquivalentOptionsGiveTheSameOutput) {
  const std::string in = write("in.pgm", pgm(48, 30));
  write("stacked.pgm", pgm(48, 90));
  fs::create_directories(dir / "data/Moths");
  std::string bank(256 * 16 * 2, '\0');
  for (std::size_t i = 0; i < bank.size(); ++i) bank[i] = static_cast<char>(i * 37 % 251);
  write("data/Moths/bank.pat", bank);
  std::string pattern_screen, level_screen;
  for (std::size_t i = 0; i < halftone_screen_count(); ++i) {
    auto const* s = halftone_screen_info_at(i);
    if (s->needs == HALFTONE_NEEDS_PATTERN && s->pattern_width == 0) pattern_screen = s->id;
    if (s->needs == (HALFTONE_NEEDS_LEVELS | HALFTONE_NEEDS_TONE_CURVES) && s->levels == 4)
      level_screen = s->id;
  }
  ASSERT_FALSE(pattern_screen.empty());
  ASSERT_FALSE(level_screen.empty());
  const std::string carried = registry_screen(1)->id;
  using Args = std::vector<std::string>;
  std::vector<std::pair<Args, Args>> cases = {
      {{level_screen, in, "A.pam"}, {level_screen, in, "B.pam", "--levels", "0,85,170,255"}},
      {{level_screen, in, "A.pam", "--params", "9,80,160,250"},
       {level_screen, in, "B.pam", "--levels", "9,80,160,250"}},
      {{pattern_screen, in, "A.pbm", "--pattern", at("data/Moths/bank.pat")},
       {pattern_screen, in, "B.pbm", "--data", at("data"), "--pattern", "bank.pat"}},
      {{carried, at("stacked.pgm"), "A.raw", "--planes", "3"},
       {carried, at("stacked.pgm"), "B.raw", "--planes", "3", "--threads", "3"}},
      {{carried, in, "A.tif"}, {carried, in, "-", "--format", "tiff"}},
      {{carried, in, "A.pbm"}, {carried, "-", "-"}},
      {{carried, "-", "-"}, {carried, "-", "-", "-q"}},
  };
  for (int bits : {1, 2, 4})  // a screen by its id and by its entry name
    if (auto const* screen = registry_screen(bits))
      cases.push_back({{screen->id, in, "A.pam"}, {screen->entry, in, "B.pam"}});
  for (auto const& [a, b] : cases) {  // A.* and B.* are outputs in the test folder
    SCOPED_TRACE(a[0] + " " + b[0] + " " + b.back());
    std::string outputs[2];
    for (int i = 0; i < 2; ++i) {
      Args args = {"screen"};
      for (std::string const& word : i == 0 ? a : b)
        args.push_back(word.size() == 5 && word[1] == '.' ? at(word) : word);
      const bool quiet = args.back() == "-q";
      args.insert(args.end(), {"--seed-time", "8"});
      const Result r = run(args, in);
      ASSERT_EQ(r.status, 0) << r.err;
      EXPECT_EQ(r.err.empty(), quiet) << r.err;
      EXPECT_TRUE(args[3] == "-" || r.out.empty());
      outputs[i] = args[3] == "-" ? r.out : slurp(args[3]);
    }
    EXPECT_FALSE(outputs[0].empty());
    EXPECT_EQ(outputs[0], outputs[1]);
  }
}

// Mean ink of the codes (0 none, top code full) against the source's.
double mean_ink(std::string const& pam, int top) {
  const std::size_t data = pam.find("ENDHDR\n") + 7;
  double sum = 0;
  for (std::size_t i = data; i < pam.size(); ++i)
    sum += top - static_cast<unsigned char>(pam[i]);  // PAM samples: top code - code
  return sum / top / static_cast<double>(pam.size() - data);
}

TEST_F(Program, MultiLevelScreensWithoutLevelsKeepTheSourceTone) {
  std::string page = "P5 200 120 255\n";
  double ink = 0;  // of the source, 0-1
  for (int i = 0; i < 200 * 120; ++i) {
    const int grey = 40 + i % 200 * 180 / 200;
    page += static_cast<char>(grey);
    ink += (255 - grey) / 255.0 / (200 * 120);
  }
  const std::string in = write("in.pgm", page);
  int checked = 0;
  for (std::size_t i = 0; i < halftone_screen_count(); ++i) {
    auto const* info = halftone_screen_info_at(i);
    if (!(info->needs & HALFTONE_NEEDS_LEVELS) ||
        (info->needs & ~(HALFTONE_NEEDS_LEVELS | HALFTONE_NEEDS_TONE_CURVES)) != 0)
      continue;
    SCOPED_TRACE(info->id);
    const Result r = run({"screen", info->id, in, at("out.pam"), "--seed-time", "2"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NEAR(mean_ink(slurp(dir / "out.pam"), info->bits == 2 ? 3 : 7), ink, 0.04);
    ++checked;
  }
  EXPECT_GT(checked, 0);
}

// Sanitizers keep freed memory aside: peak memory says nothing under them.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define HALFTONE_SANITIZED 1
#endif
#endif
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) && !defined(HALFTONE_SANITIZED)
TEST_F(Program, PeakMemoryIsFlatInPageHeight) {
  const std::string id = registry_screen(1)->id;
  long peak[2] = {};
  const std::uint32_t heights[2] = {1000, 100000};
  for (int i = 0; i < 2; ++i) {
    int feed = -1;
    const pid_t pid = start({"screen", id, "-", at("out.tif"), "-q"}, "", &feed);
    const std::string header = "P5 1000 " + std::to_string(heights[i]) + " 255\n";
    std::string row(1000, '\0');
    for (int x = 0; x < 1000; ++x) row[x] = static_cast<char>(x % 256);
    bool written = ::write(feed, header.data(), header.size()) > 0;
    for (std::uint32_t y = 0; written && y < heights[i]; ++y)
      written = ::write(feed, row.data(), row.size()) == static_cast<ssize_t>(row.size());
    ::close(feed);
    const Result r = finish(pid);
    ASSERT_EQ(r.status, 0) << r.err;
    peak[i] = r.max_rss_kb;
  }
  EXPECT_LT(peak[1], peak[0] * 11 / 10) << peak[0] << " KiB at 1 000 rows";
}
#endif

TEST_F(Program, DemoShowsEveryScreen) {
  const Result r = run({"demo", "--out", at("demo"), "-q"});
  ASSERT_EQ(r.status, 0) << r.err;
  const std::string index = slurp(dir / "demo/index.html");
  for (std::size_t i = 0; i < halftone_screen_count(); ++i) {
    const std::string id = halftone_screen_id(i);
    EXPECT_TRUE(fs::exists(dir / "demo" / (id + ".png"))) << id;
    EXPECT_NE(index.find("<img src=\"" + id + ".png\""), std::string::npos) << id;
  }
}

}  // namespace
}  // namespace halftone::test
