#include "frame/band_lines.h"

namespace halftone {

BandLines<std::int16_t>& shared_lines() {
  static BandLines<std::int16_t> lines;
  return lines;
}

BandLines<double>& damped_lines() {
  static BandLines<double> lines;
  return lines;
}

BandLines<double>& block_offset_double_lines() {
  static BandLines<double> lines;
  return lines;
}

}  // namespace halftone
