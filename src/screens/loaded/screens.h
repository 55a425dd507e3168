// The screen data loaders and the screens that apply the loaded data, bound
// to their exported names in the export table.
#pragma once
#include <cstdint>

namespace halftone::loaded {

// The loaders read the file at `path` (null: a file that cannot be opened);
// the exported loaders look their names up in the data folder's Moths/.
//
// Pattern banks. Return 0 or ERR_FILE_OPEN / ERR_FILE_READ / ERR_LOAD_FAULT.
int load_patterns1(char const* path, std::int32_t width, std::int32_t height);
int load_patterns2(char const* path, std::int32_t width, std::int32_t height);

// The run masks each pattern loader writes: the first and last partial byte
// of a run keep the pixels from position k on, and the first k pixels.
struct RunMasks {
  std::uint8_t head[8];
  std::uint8_t tail[8];
};
inline constexpr RunMasks kRunMasks1 = {{0xFF, 0x7F, 0x3F, 0x1F, 0x0F, 0x07, 0x03, 0x01},
                                        {0x00, 0x80, 0xC0, 0xE0, 0xF0, 0xF8, 0xFC, 0xFE}};
inline constexpr RunMasks kRunMasks2 = {{0xFF, 0x3F, 0x0F, 0x03, 0x00, 0x00, 0x00, 0x00},
                                        {0x00, 0xC0, 0xF0, 0xFC, 0xFF, 0xFF, 0xFF, 0xFF}};

// Reads the one-bit (`bits` 1) or two-bit bank as thresholds where it can be
// (PatternThresholds in frame/stores.h). The pattern loaders call it; code
// that writes a bank by other means calls it afterwards.
void derive_pattern_limits(int bits);

// Threshold matrix from an 8-bit BMP; the offset variant also derives the
// signed offsets. Threshold blocks from a text file. These return the code the
// load came to (0, ERR_FILE_OPEN, ERR_FILE_READ, ERR_NO_MEMORY); the exported
// loaders drop it and return 0.
int load_matrix_bmp(char const* path);
int load_offset_bmp(char const* path);
int load_blocks(char const* path);

// Pattern screens. The one-bit fixed-tile screen serves both exported names
// of the byte-loop and block-copy forms, whose output is the same.
int geometry_pattern_screen(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                            std::uint32_t height, std::uint32_t control);
int fixed_pattern_screen(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                         std::uint32_t height, std::uint32_t control);
int fixed_pattern2_screen(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                          std::uint32_t height, std::uint32_t control);

// Threshold screens.
int matrix_threshold(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                     std::uint32_t height, std::uint32_t control);
int clustered_threshold(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                        std::uint32_t height, std::uint32_t control);
int clustered_threshold_lines(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                              std::uint32_t height, std::uint32_t control);

// The built-in 16 x 16 clustered matrices, row-major.
extern std::uint8_t const ClusterMatrixA[256];
extern std::uint8_t const ClusterMatrixB[256];

// Rows screened so far by the clustered screens, per plane (0 for a plane
// never screened).
std::uint32_t row_counter(std::uint32_t plane);

}  // namespace halftone::loaded
