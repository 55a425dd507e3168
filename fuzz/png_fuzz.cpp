// The program's PNG reader on any bytes (as a file and as a stream), then a
// picture written as PNG and read back.
#include "image_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  halftone::fuzz::read_and_round_trip(data, size, {halftone::image::Format::Png}, 1);
  return 0;
}
