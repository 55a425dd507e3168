// The program's PNM and PAM readers on any bytes (as a file and as a
// stream), then PBM, PGM and PAM pictures written and read back.
#include "image_fuzz.h"

using namespace halftone;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  static fuzz::Scratch scratch;
  FuzzedDataProvider in(data, size);
  const bool as_stream = in.ConsumeBool();
  static constexpr image::Format kFormats[] = {image::Format::Pbm, image::Format::Pgm,
                                               image::Format::Pam};
  const image::Format format = in.PickValueInArray(kFormats);
  fuzz::read_any(scratch, data, size, as_stream);
  fuzz::round_trip(in, format, 3);
  return 0;
}
