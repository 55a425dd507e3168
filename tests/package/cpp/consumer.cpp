// A C++17 host of the installed library: the same job as consumer.c, through
// the Job wrapper.  consumer SCREEN SEED BAND_HEIGHT LEVELS IN.pgm OUT.raw
#include <halftone/halftone.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <vector>

int main(int argc, char** argv) {
  if (argc != 7) {
    std::cerr << "usage: consumer SCREEN SEED BAND_HEIGHT LEVELS IN.pgm OUT.raw\n";
    return 2;
  }
  std::ifstream in(argv[5], std::ios::binary);
  std::string magic;
  unsigned width = 0, height = 0, max = 0;
  in >> magic >> width >> height >> max;
  in.get();
  std::vector<unsigned char> page(std::size_t{width} * height);
  in.read(reinterpret_cast<char*>(page.data()), static_cast<std::streamsize>(page.size()));
  if (magic != "P5" || max != 255 || !in) return 1;

  halftone::Job job(argv[1], width, 1);
  if (!job || job.set("seed-time", argv[2]) != 0 ||
      (std::string(argv[4]) != "-" && job.set("levels", argv[4]) != 0)) {
    std::cerr << "consumer: " << job.error() << "\n";
    return 1;
  }
  const unsigned band = static_cast<unsigned>(std::stoul(argv[3]));
  const std::size_t stride =
      halftone_row_bytes(width, halftone_screen_bits(std::size_t(halftone_find_screen(argv[1]))));
  std::vector<unsigned char> dots(stride * height);
  for (unsigned y = 0; y < height; y += band) {
    const unsigned rows = height - y < band ? height - y : band;
    if (job.band(&page[std::size_t{y} * width], width, &dots[y * stride], stride, rows) != 0) {
      std::cerr << "consumer: " << job.error() << "\n";
      return 1;
    }
  }
  if (job.finish() != 0) return 1;
  std::ofstream(argv[6], std::ios::binary)
      .write(reinterpret_cast<char const*>(dots.data()), static_cast<std::streamsize>(dots.size()));
  return 0;
}
