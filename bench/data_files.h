// Screen data files for the benchmark, written once into a temporary folder
// of the run: pattern banks, a threshold matrix and threshold blocks of the
// forms the loaders read, with content of the kind a print job uses.
#pragma once
#include <string>

namespace halftone::bench {

struct DataFiles {
  std::string folder;    // also the jobs' data folder
  std::string pattern;   // one-bit bank
  std::string pattern2;  // two-bit bank
  std::string matrix;    // 8-bit BMP, 256 x 256
  std::string blocks;    // text, 256 blocks of 16 x 16
};

// Pattern banks of `width` x `height` pixels; written on first use, removed
// at exit. Empty names when the folder cannot be written.
DataFiles const& data_files(int pattern_width, int pattern_height);

}  // namespace halftone::bench
