// The program's TIFF reader on any bytes (as a file and as a stream, which
// it copies to a temporary file), then pictures written as TIFF pages and
// read back.
#include "image_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  halftone::fuzz::read_and_round_trip(data, size, {halftone::image::Format::Tiff}, 3);
  return 0;
}
