// Checks that a data file can serve its loader, made before the loader runs
// so that a job refuses a wrong file with a reason instead of screening with
// a half-filled store. Each returns 0 or a result code, with `why` set.
#pragma once
#include <string>

namespace halftone {

// A bank of 256 patterns of width x height at `bits` a pixel.
int check_pattern_bank(std::string const& path, int width, int height, int bits, std::string& why);
// An uncompressed 8-bit BMP of at most 256 x 256, width a multiple of 4.
int check_bmp(std::string const& path, std::string& why);
// Decimal numbers separated by white space, ending with a CR LF.
int check_blocks(std::string const& path, std::string& why);
// A tone-curve file of 1 to 15 whole curves of 256 bytes; no file at all is
// fine (the compiled-in curves stay).
int check_tone_file(std::string const& path, std::string& why);

}  // namespace halftone
