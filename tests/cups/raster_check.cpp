// pages FILE: a line a page (width height bits colours space order).
// compare IN OUT SCREEN SEED BAND [LEVELS] [--paper] [--mode=N]: OUT holds the job API's dots for
// IN.
#include <cups/raster.h>
#include <fcntl.h>
#include <halftone/halftone.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

struct Raster {
  int fd = -1;
  cups_raster_t* stream = nullptr;
  explicit Raster(char const* path) : fd(open(path, O_RDONLY)) {
    if (fd >= 0) stream = cupsRasterOpen(fd, CUPS_RASTER_READ);
  }
  ~Raster() {
    if (stream != nullptr) cupsRasterClose(stream);
    if (fd >= 0) close(fd);
  }
};

int fail(std::string const& why) {
  std::fprintf(stderr, "cups_raster_check: %s\n", why.c_str());
  return 1;
}

int pages(char const* path) {
  Raster in(path);
  if (in.stream == nullptr) return fail(std::string("cannot read ") + path);
  cups_page_header2_t h;
  std::vector<unsigned char> line;
  while (cupsRasterReadHeader2(in.stream, &h)) {
    std::printf("%u %u %u %u %u %u\n", h.cupsWidth, h.cupsHeight, h.cupsBitsPerColor,
                h.cupsNumColors, static_cast<unsigned>(h.cupsColorSpace),
                static_cast<unsigned>(h.cupsColorOrder));
    line.resize(h.cupsBytesPerLine);
    for (unsigned y = 0; y < h.cupsHeight; ++y)
      if (cupsRasterReadPixels(in.stream, line.data(), h.cupsBytesPerLine) != h.cupsBytesPerLine)
        return fail("page cut short");
  }
  return 0;
}

// A whole input page as line-interleaved grey planes (0 black), read plainly.
bool read_grey_page(cups_raster_t* in, cups_page_header2_t const& h, unsigned planes,
                    std::size_t stride, std::vector<unsigned char>& grey) {
  const bool ink = h.cupsColorSpace == CUPS_CSPACE_K || h.cupsColorSpace == CUPS_CSPACE_CMYK;
  grey.assign(stride * planes * h.cupsHeight, 0);
  std::vector<unsigned char> line(h.cupsBytesPerLine);
  for (unsigned y = 0; y < h.cupsHeight; ++y) {
    if (cupsRasterReadPixels(in, line.data(), h.cupsBytesPerLine) != h.cupsBytesPerLine)
      return false;
    for (unsigned p = 0; p < planes; ++p)
      for (unsigned x = 0; x < h.cupsWidth; ++x) {
        const unsigned char v = h.cupsColorOrder == CUPS_ORDER_CHUNKED ? line[x * planes + p]
                                                                       : line[p * h.cupsWidth + x];
        grey[(std::size_t{y} * planes + p) * stride + x] = ink ? 255 - v : v;
      }
  }
  return true;
}

int compare(int argc, char** argv) {
  bool paper = false;
  std::string mode;  // --mode=N: the tone-curve mode the filter was given
  for (; argc > 7 && std::string(argv[argc - 1]).rfind("--", 0) == 0; --argc) {
    const std::string flag = argv[argc - 1];
    if (flag == "--paper")
      paper = true;
    else if (flag.rfind("--mode=", 0) == 0)
      mode = flag.substr(7);
    else
      return fail("unknown flag " + flag);
  }
  if (argc > 8) return fail("too many arguments");
  char const* screen = argv[4];
  const long index = halftone_find_screen(screen);
  if (index < 0) return fail(std::string("no screen ") + screen);
  const int bits = halftone_screen_bits(static_cast<std::size_t>(index));
  const auto band = static_cast<unsigned>(std::atoi(argv[6]));
  Raster in(argv[2]), out(argv[3]);
  if (in.stream == nullptr || out.stream == nullptr) return fail("cannot read the rasters");

  cups_page_header2_t ih, oh;
  int page = 0;
  while (cupsRasterReadHeader2(in.stream, &ih)) {
    ++page;
    const unsigned planes = ih.cupsColorSpace == CUPS_CSPACE_CMYK ? 4 : 1;
    const std::size_t stride = halftone_row_bytes(ih.cupsWidth, 8);
    const std::size_t dots_stride = halftone_row_bytes(ih.cupsWidth, bits);
    std::vector<unsigned char> grey, dots(dots_stride * planes * ih.cupsHeight, 0);
    if (!read_grey_page(in.stream, ih, planes, stride, grey)) return fail("input page cut short");

    halftone::Job job(screen, ih.cupsWidth, planes);
    if (!job || job.set("seed-time", argv[5]) != 0 ||
        (argc == 8 && job.set("levels", argv[7]) != 0) ||
        (!mode.empty() && job.set("mode", mode.c_str()) != 0))
      return fail(job.error());
    for (unsigned y = 0; y < ih.cupsHeight; y += band) {
      const unsigned rows = std::min(band, ih.cupsHeight - y);
      const std::size_t at = std::size_t{y} * planes;
      if (job.band(grey.data() + at * stride, stride, dots.data() + at * dots_stride, dots_stride,
                   rows) != 0)
        return fail(job.error());
    }
    if (job.finish() != 0) return fail(job.error());

    if (!cupsRasterReadHeader2(out.stream, &oh)) return fail("the output has fewer pages");
    const cups_cspace_t space = planes == 1 ? CUPS_CSPACE_K : CUPS_CSPACE_CMYK;
    if (oh.cupsWidth != ih.cupsWidth || oh.cupsHeight != ih.cupsHeight ||
        oh.cupsBitsPerColor != static_cast<unsigned>(bits) || oh.cupsNumColors != planes ||
        oh.cupsColorSpace != space || (planes == 4 && oh.cupsColorOrder != CUPS_ORDER_BANDED))
      return fail("page " + std::to_string(page) + ": output header does not match");
    const std::size_t run = (std::size_t{ih.cupsWidth} * bits + 7) / 8;
    std::vector<unsigned char> line(oh.cupsBytesPerLine);
    std::size_t set = 0, differing = 0;
    for (unsigned y = 0; y < ih.cupsHeight; ++y) {
      if (cupsRasterReadPixels(out.stream, line.data(), oh.cupsBytesPerLine) != oh.cupsBytesPerLine)
        return fail("output page cut short");
      for (unsigned p = 0; p < planes; ++p)
        for (unsigned x = 0; x < ih.cupsWidth * static_cast<unsigned>(bits); ++x) {
          auto bit = [x](unsigned char const* row) { return (row[x / 8] >> (7 - x % 8)) & 1; };
          const int want =
              bit(&dots[(std::size_t{y} * planes + p) * dots_stride]) ^ (paper ? 1 : 0);
          const int got = bit(&line[p * run]);
          set += static_cast<std::size_t>(got);
          if (got != want && differing++ == 0)
            std::fprintf(stderr, "page %d: first difference at row %u, plane %u, bit %u\n", page, y,
                         p, x);
        }
    }
    std::printf("page %d: %ux%u, %u colour(s), %d bit(s): %zu bits differ, %zu set\n", page,
                ih.cupsWidth, ih.cupsHeight, planes, bits, differing, set);
    if (differing != 0) return 1;
  }
  if (page == 0) return fail("no input pages");
  if (cupsRasterReadHeader2(out.stream, &oh)) return fail("the output has more pages");
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 3 && std::string(argv[1]) == "pages") return pages(argv[2]);
  if (argc >= 7 && std::string(argv[1]) == "compare") return compare(argc, argv);
  return fail(
      "usage: pages FILE | compare INPUT OUTPUT SCREEN SEED BAND [LEVELS] [--paper] [--mode=N]");
}
