// Small screen data files for the demonstration, made on the fly: pattern
// banks of clustered dots (of any size), a threshold matrix and a
// threshold-block file.
#pragma once
#include <vector>

namespace halftone::tool {

// 256 patterns of width x height, `bits` (1 or 2) a pixel, the pattern for
// grey 255 first, as the pattern screens read them.
std::vector<unsigned char> pattern_bank(int bits, int width, int height);
// A 256 x 256 8-bit BMP of clustered-dot thresholds.
std::vector<unsigned char> threshold_bmp();
// 256 blocks of 16 x 16 offsets that pull the diffusion toward dot centres.
std::vector<unsigned char> threshold_blocks();

}  // namespace halftone::tool
