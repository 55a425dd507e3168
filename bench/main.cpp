// The benchmark program: Google Benchmark's flags, and the page size.
//   --height=N   rows of the page (default 7016, A4 at 600 dpi); a few
//                hundred rows give a quick look
//   --planes=N   planes of the banded screens (default 4)
//   --threads=N  planes screened at once by each job (default 1)
//   --cpu-time   rates over the process's CPU time instead of the wall clock:
//                steadier on a machine others are loading (single-thread runs)
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "page.h"

namespace {

// Reads `--name=N` into `value`; false when `arg` is not that flag.
bool read_flag(char const* arg, char const* name, std::uint32_t& value, std::uint32_t low,
               std::uint32_t high) {
  const std::size_t n = std::strlen(name);
  if (std::strncmp(arg, name, n) != 0 || arg[n] != '=') return false;
  char* end = nullptr;
  const unsigned long v = std::strtoul(arg + n + 1, &end, 10);
  if (end == arg + n + 1 || *end != '\0' || v < low || v > high) {
    std::fprintf(stderr, "halftone_bench: %s wants a number from %u to %u\n", name, low, high);
    std::exit(2);
  }
  value = static_cast<std::uint32_t>(v);
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  auto& size = halftone::bench::page_size();
  std::vector<char*> rest;
  for (int i = 0; i < argc; ++i)
    if (i > 0 && std::strcmp(argv[i], "--cpu-time") == 0)
      size.cpu_time = true;
    else if (i == 0 || !(read_flag(argv[i], "--height", size.height, 1, 1u << 16) ||
                         read_flag(argv[i], "--planes", size.planes, 1, 255) ||
                         read_flag(argv[i], "--threads", size.threads, 1, 64)))
      rest.push_back(argv[i]);
  int count = static_cast<int>(rest.size());
  rest.push_back(nullptr);
  benchmark::Initialize(&count, rest.data());
  if (benchmark::ReportUnrecognizedArguments(count, rest.data())) return 2;
  halftone::bench::register_yardsticks();
  halftone::bench::register_screens();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
