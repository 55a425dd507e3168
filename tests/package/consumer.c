/* A C99 host of the installed library: screens a binary PGM page through the
 * job API in bands and writes the packed rows as the library lays them out.
 *
 *   consumer SCREEN SEED BAND_HEIGHT LEVELS IN.pgm OUT.raw   (LEVELS "-": none)
 *   consumer --page WIDTH HEIGHT OUT.pgm                     (writes a test page)
 */
#include <halftone/halftone.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static int make_page(unsigned width, unsigned height, const char* path) {
  FILE* out = fopen(path, "wb");
  unsigned x, y;
  if (!out) return 1;
  fprintf(out, "P5\n%u %u\n255\n", width, height);
  for (y = 0; y < height; ++y)
    for (x = 0; x < width; ++x) fputc((int)((x * 255u / width + (x * y) % 7u) & 255u), out);
  return fclose(out) != 0;
}

/* A binary 8-bit PGM without comments. */
static unsigned char* read_pgm(const char* path, unsigned* width, unsigned* height) {
  FILE* in = fopen(path, "rb");
  unsigned max = 0;
  unsigned char* pixels = NULL;
  if (in && fscanf(in, "P5 %u %u %u", width, height, &max) == 3 && max == 255 && fgetc(in) != EOF) {
    pixels = malloc((size_t)*width * *height);
    if (pixels && fread(pixels, 1, (size_t)*width * *height, in) != (size_t)*width * *height) {
      free(pixels);
      pixels = NULL;
    }
  }
  if (in) fclose(in);
  return pixels;
}

int main(int argc, char** argv) {
  unsigned width = 0, height = 0, y, band;
  unsigned char *page, *dots;
  size_t stride, bytes;
  halftone_job* job;
  FILE* out;
  int status = 0;
  if (argc == 5 && strcmp(argv[1], "--page") == 0)
    return make_page((unsigned)atoi(argv[2]), (unsigned)atoi(argv[3]), argv[4]);
  if (argc != 7) {
    fprintf(stderr, "usage: consumer SCREEN SEED BAND_HEIGHT LEVELS IN.pgm OUT.raw\n");
    return 2;
  }
  page = read_pgm(argv[5], &width, &height);
  job = page ? halftone_job_new(argv[1], width, 1) : NULL;
  if (!job) {
    fprintf(stderr, "consumer: %s\n", page ? halftone_last_error() : "cannot read the page");
    return 1;
  }
  band = (unsigned)atoi(argv[3]);
  if (halftone_job_set(job, "seed-time", argv[2]) != 0 ||
      (strcmp(argv[4], "-") != 0 && halftone_job_set(job, "levels", argv[4]) != 0)) {
    fprintf(stderr, "consumer: %s\n", halftone_job_error(job));
    return 1;
  }
  stride = halftone_row_bytes(width, halftone_screen_bits((size_t)halftone_find_screen(argv[1])));
  dots = calloc(stride, height);
  for (y = 0; y < height && status == 0; y += band) {
    unsigned rows = height - y < band ? height - y : band;
    status =
        halftone_job_band(job, page + (size_t)y * width, width, dots + y * stride, stride, rows);
  }
  if (status == 0) status = halftone_job_finish(job);
  if (status != 0) {
    fprintf(stderr, "consumer: %s\n", halftone_job_error(job));
    return 1;
  }
  out = fopen(argv[6], "wb");
  bytes = stride * height;
  if (!out || fwrite(dots, 1, bytes, out) != bytes || fclose(out) != 0) return 1;
  halftone_job_free(job);
  free(dots);
  free(page);
  return 0;
}
