// The program's TIFF reader on any bytes (as a file and as a stream, which
// it copies to a temporary file), then pictures written as TIFF pages and
// read back.
#include "image_fuzz.h"

using namespace halftone;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static fuzz::Scratch scratch;
  FuzzedDataProvider in(data, size);
  fuzz::read_any(scratch, data, size, in.ConsumeBool());
  fuzz::round_trip(in, image::Format::Tiff, 3);
  return 0;
}
