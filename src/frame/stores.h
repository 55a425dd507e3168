// The stores that the data loaders fill and the file-loaded screens (and the
// offset-matrix screens) read. Fixed size, zero until loaded; a later load of
// the same kind overwrites them. The host entry points use the process's one
// set; every job has a set of its own.
#pragma once
#include <cstdint>

namespace halftone {

// Written by both pattern loaders on every call, before the file is opened.
struct PatternGeometryStore {
  std::int32_t width;
  std::int32_t height;
  std::int32_t row_bytes;
};

// A pattern bank read as thresholds, where it can be: when every cell's code
// only grows as the grey darkens, the code of grey v at a cell is the count
// of its thresholds t with v < t (v <= t with `at_most`). The pattern loaders
// write it after every load; `usable` 0 means the bank has cells that are
// not of that kind.
template <int Levels>
struct PatternThresholds {
  std::uint8_t usable;
  std::uint8_t at_most;
  std::uint8_t t[Levels][256][256];  // level, row, column
};

struct LoadedStores {
  // One-bit pattern per grey value: 256 slots of 256 rows of 32 bytes.
  std::uint8_t TonePatternBank[256][256][32];
  // Two-bit pattern per grey value: 256 slots of 256 rows of 64 bytes.
  std::uint8_t TonePatternBank2[256][256][64];
  PatternGeometryStore PatternGeometry;
  // Rewritten by each pattern loader: masks for the first and last partial
  // byte of a run (one-bit or two-bit values, whichever loader ran last).
  std::uint8_t RunHeadMasks[8];
  std::uint8_t RunTailMasks[8];
  // The two banks as thresholds (above): one level for the one-bit bank,
  // three for the two-bit bank's codes 1 to 3.
  PatternThresholds<1> PatternLimits1;
  PatternThresholds<3> PatternLimits2;
  // 8-bit threshold matrix from a BMP: 256 rows of 256 bytes.
  std::uint8_t ThresholdMatrix8[256][256];
  // Signed offsets derived from the matrix by the offset loader.
  std::int16_t ThresholdOffsetMatrix[256][256];
  // 256 blocks of 16 x 16 signed offsets; block k, column c, row r is entry
  // k * 256 + c * 16 + r.
  std::int16_t ThresholdBlockStack[65536];
};

// The stores of the state in force on this thread (see frame/state.h).
LoadedStores& stores();

}  // namespace halftone
