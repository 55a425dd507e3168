// The program's PNG reader on any bytes (as a file and as a stream), then a
// picture written as PNG and read back.
#include "image_fuzz.h"

using namespace halftone;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static fuzz::Scratch scratch;
  FuzzedDataProvider in(data, size);
  fuzz::read_any(scratch, data, size, in.ConsumeBool());
  fuzz::round_trip(in, image::Format::Png, 1);
  return 0;
}
