// The program's JPEG reader on any bytes, as a file and as a stream (the
// program writes no JPEG, so there is nothing to read back).
#include "image_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static halftone::fuzz::Scratch scratch;
  halftone::fuzz::read_any(scratch, data, size, size > 0 && (data[size - 1] & 1u));
  return 0;
}
