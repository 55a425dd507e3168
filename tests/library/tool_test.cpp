// The command-line program: listing, screening a page file exactly as the
// library does, the demo, and bad input answered with exit 2 and no output.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "halftone/diffusion.h"
#include "halftone/setup.h"
#include "support/images.h"

namespace halftone::test {
namespace {

namespace fs = std::filesystem;

class Tool : public ::testing::Test {
 protected:
  fs::path dir = fs::temp_directory_path() / ("halftone-tool-" + std::to_string(::getpid()));

  void SetUp() override {
    if (std::string(HALFTONE_TOOL_PATH).empty()) GTEST_SKIP() << "the tool is not built";
    fs::create_directories(dir);
  }
  void TearDown() override { fs::remove_all(dir); }

  int run(std::string const& args) {
    const std::string command = std::string(HALFTONE_TOOL_PATH) + " " + args + " >" +
                                (dir / "stdout").string() + " 2>" + (dir / "stderr").string();
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  std::string read(fs::path const& p) {
    std::ifstream in(p, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  void write(fs::path const& p, std::string const& bytes) {
    std::ofstream(p, std::ios::binary) << bytes;
  }
};

TEST_F(Tool, ListsEveryScreen) {
  ASSERT_EQ(run("list"), 0);
  const std::string out = read(dir / "stdout");
  for (char const* name : {"hxkjsdi67x", "FastGroup", "RoundPump1", "WindowText", "ghskdjiekld"})
    EXPECT_NE(out.find(name), std::string::npos) << name;
}

// One band of a 20 x 10 page through the tool equals the library's own
// output, repacked from 32-bit to 8-bit row padding.
TEST_F(Tool, ScreensAPageAsTheLibraryDoes) {
  const std::uint32_t w = 20, h = 10;
  auto src = make_source(w, h, 1, Fill::RampX);
  std::string pgm = "P5\n20 10\n255\n";
  for (std::uint32_t y = 0; y < h; ++y)
    pgm.append(reinterpret_cast<char const*>(src.data() + y * source_stride(w)), w);
  write(dir / "in.pgm", pgm);
  ASSERT_EQ(run("screen sdiufiavs " + (dir / "in.pgm").string() + " " + (dir / "out.pbm").string() +
                " --band-height 64 --seed-time 77 --mode 2"),
            0)
      << read(dir / "stderr");

  pin_seed_time(77);
  Itsdiufiavs(2, "");
  Output lib(dot_stride(w) * h);
  sdiufiavs(src.data(), lib.data(), w, h, make_control(1, 1));
  sdiufiavs(src.data(), lib.data(), 0, 0, make_control(1, 3));  // release the job's lines
  unpin_seed_time();
  Itsdiufiavs(0, "");
  std::string expect = "P4\n20 10\n";
  for (std::uint32_t y = 0; y < h; ++y)
    expect.append(reinterpret_cast<char const*>(lib.data() + y * dot_stride(w)), 3);
  EXPECT_EQ(read(dir / "out.pbm"), expect);
}

TEST_F(Tool, BadInputExitsTwoWithoutOutput) {
  write(dir / "in.pgm", "P5\n4 2\n255\n\x01\x02\x03\x04\x05\x06\x07\x08");
  write(dir / "short.pgm", "P5\n4 2\n255\n\x01\x02");
  write(dir / "text.pgm", "hello");
  const std::string in = (dir / "in.pgm").string(), out = (dir / "out.pbm").string();
  for (std::string const& args : std::vector<std::string>{
           "", "frobnicate", "screen nosuchscreen " + in + " " + out,
           "screen sdiufiavs " + (dir / "missing.pgm").string() + " " + out,
           "screen sdiufiavs " + (dir / "short.pgm").string() + " " + out,
           "screen sdiufiavs " + (dir / "text.pgm").string() + " " + out,
           "screen sdiufiavs " + in + " " + out + " --band-height 0",
           "screen sdiufiavs " + in + " " + out + " --band-height x",
           "screen sdiufiavs " + in + " " + out + " --params 1,2,3,4,5,6,7,8,9,10",
           "screen sdiufiavs " + in + " " + out + " --pattern demo1.pat",
           "screen Sonicksure " + in + " " + out,
           "screen sdiufiavs " + in + " " + (dir / "no/such/folder/out.pbm").string()}) {
    EXPECT_EQ(run(args), 2) << args;
    EXPECT_FALSE(read(dir / "stderr").empty()) << args;
    EXPECT_FALSE(fs::exists(out)) << args;
    for (auto const& entry : fs::directory_iterator(dir))  // no temporary file left behind
      EXPECT_NE(entry.path().extension(), ".tmp") << args;
  }
}

TEST_F(Tool, DemoWritesPicturesAndOverviewPage) {
  ASSERT_EQ(run("demo --out " + (dir / "demo").string()), 0) << read(dir / "stderr");
  EXPECT_TRUE(fs::exists(dir / "demo" / "index.html"));
  EXPECT_TRUE(fs::exists(dir / "demo" / "FastGroup.png"));
  EXPECT_NE(read(dir / "demo" / "index.html").find("hxkjsdi67x"), std::string::npos);

  // Each pattern screen runs with its own bank's geometry: the flat black
  // patch at the chart's lower left (72 x 80 pixels) is solid ink.
  const std::string pbm = read(dir / "demo" / "Sonicksure.pbm");
  const std::string header = "P4\n512 384\n";
  ASSERT_EQ(pbm.size(), header.size() + 64 * 384);
  for (std::size_t y = 304; y < 384; ++y)
    for (std::size_t byte = 0; byte < 9; ++byte)
      ASSERT_EQ(static_cast<unsigned char>(pbm[header.size() + y * 64 + byte]), 0xFF)
          << "row " << y << " byte " << byte;
}

}  // namespace
}  // namespace halftone::test
