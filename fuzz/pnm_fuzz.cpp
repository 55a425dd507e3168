// The program's PNM and PAM readers on any bytes (as a file and as a
// stream), then PBM, PGM and PAM pictures written and read back.
#include "image_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  using halftone::image::Format;
  halftone::fuzz::read_and_round_trip(data, size, {Format::Pbm, Format::Pgm, Format::Pam}, 3);
  return 0;
}
