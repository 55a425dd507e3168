// The threshold screens: the loaded 256 x 256 matrix shifted per plane, and
// the two built-in 16 x 16 clustered-dot matrices.
#include <cstddef>
#include <vector>

#include "frame/band_lines.h"
#include "frame/layout.h"
#include "frame/state.h"
#include "frame/threshold_planes.h"
#include "halftone/result_codes.h"
#include "screens/loaded/screens.h"

namespace halftone::loaded {

// Two complementary 8 x 8 clustered cells in a checkerboard.
std::uint8_t const ClusterMatrixA[256] = {
    64, 59,  51,  41,  42,  52,  60,  61, 65, 70,  78,  88,  87,  77,  69,  68,  //
    58, 34,  28,  19,  20,  29,  35,  53, 71, 95,  101, 110, 109, 100, 94,  76,  //
    50, 27,  14,  12,  13,  16,  30,  45, 79, 102, 115, 117, 116, 113, 99,  84,  //
    40, 18,  5,   4,   3,   10,  21,  43, 89, 111, 124, 125, 126, 119, 108, 86,  //
    39, 17,  6,   1,   2,   11,  22,  44, 90, 112, 123, 128, 127, 118, 107, 85,  //
    49, 26,  9,   7,   8,   15,  31,  46, 80, 103, 120, 122, 121, 114, 98,  83,  //
    57, 33,  25,  24,  23,  32,  36,  54, 72, 96,  104, 105, 106, 97,  93,  75,  //
    63, 56,  48,  38,  37,  47,  55,  62, 66, 73,  81,  91,  92,  82,  74,  67,  //
    65, 70,  78,  88,  87,  77,  69,  68, 64, 59,  51,  41,  42,  52,  60,  61,  //
    71, 95,  101, 110, 109, 100, 94,  76, 58, 34,  28,  19,  20,  29,  35,  53,  //
    79, 102, 115, 117, 116, 113, 99,  84, 50, 27,  14,  12,  13,  16,  30,  45,  //
    89, 111, 124, 125, 126, 119, 108, 86, 40, 18,  5,   4,   3,   10,  21,  43,  //
    90, 112, 123, 128, 127, 118, 107, 85, 39, 17,  6,   1,   2,   11,  22,  44,  //
    80, 103, 120, 122, 121, 114, 98,  83, 49, 26,  9,   7,   8,   15,  31,  46,  //
    72, 96,  104, 105, 106, 97,  93,  75, 57, 33,  25,  24,  23,  32,  36,  54,  //
    66, 73,  81,  91,  92,  82,  74,  67, 63, 56,  48,  38,  37,  47,  55,  62,  //
};

// The same dot, its thresholds scattered over the tile.
std::uint8_t const ClusterMatrixB[256] = {
    64,  7,   51,  41,  42,  52,  60,  61,  65,  70,  78,  88,  87,  77,  69,  68,  //
    58,  34,  115, 20,  124, 13,  35,  53,  71,  3,   99,  17,  101, 57,  94,  76,  //
    50,  27,  90,  117, 29,  6,   121, 30,  79,  102, 28,  116, 12,  113, 9,   84,  //
    40,  66,  47,  74,  95,  46,  21,  43,  14,  111, 19,  125, 24,  119, 26,  86,  //
    39,  109, 45,  1,   128, 22,  104, 10,  112, 8,   123, 127, 2,   118, 107, 85,  //
    49,  108, 59,  110, 89,  93,  31,  120, 44,  80,  38,  122, 16,  114, 98,  83,  //
    100, 33,  25,  126, 23,  32,  36,  54,  72,  96,  11,  105, 106, 97,  15,  75,  //
    63,  56,  48,  103, 37,  5,   55,  62,  18,  73,  81,  91,  92,  82,  4,   67,  //
    65,  70,  78,  88,  87,  77,  69,  68,  64,  7,   51,  41,  42,  52,  60,  61,  //
    71,  3,   99,  17,  101, 57,  94,  76,  58,  34,  115, 20,  124, 13,  35,  53,  //
    79,  102, 28,  116, 12,  113, 9,   84,  50,  27,  90,  117, 29,  6,   121, 30,  //
    14,  111, 19,  125, 24,  119, 26,  86,  40,  66,  47,  74,  95,  46,  21,  43,  //
    112, 8,   123, 127, 2,   118, 107, 85,  39,  109, 45,  1,   128, 22,  104, 10,  //
    80,  38,  122, 16,  114, 98,  83,  49,  108, 59,  110, 89,  93,  31,  120, 44,  //
    72,  96,  11,  105, 106, 97,  15,  75,  100, 33,  25,  126, 23,  32,  36,  54,  //
    18,  73,  81,  91,  92,  82,  4,   67,  63,  56,  48,  103, 37,  5,   55,  62,  //
};

namespace {

// Per-plane row counts of the clustered screens; they only accumulate. The
// table grows to the largest plane count seen.
std::vector<std::uint32_t>& row_counters() { return state().row_counters; }

void count_rows(std::size_t plane, std::uint32_t height) {
  std::vector<std::uint32_t>& counters = row_counters();
  if (plane >= counters.size()) counters.resize(plane + 1, 0);
  counters[plane] += height;
}

// A clustered matrix as comparison values: a grey below 2T - 1 is inked
// (T is 1-128, so 2T - 1 is a byte, 1-255), also as threshold rows.
struct ClusterLimits {
  std::int32_t v[256];
  ThresholdRing rows[16];
  explicit ClusterLimits(std::uint8_t const* matrix) {
    std::uint8_t bytes[256];
    for (std::size_t i = 0; i < 256; ++i) {
      v[i] = 2 * static_cast<std::int32_t>(matrix[i]) - 1;
      bytes[i] = static_cast<std::uint8_t>(v[i]);
    }
    for (std::uint32_t r = 0; r < 16; ++r) rows[r].assign(bytes + r * 16u, 16);
  }
};

}  // namespace

std::uint32_t row_counter(std::uint32_t plane) {
  const std::vector<std::uint32_t>& counters = row_counters();
  return plane < counters.size() ? counters[plane] : 0;
}

// Plane p reads the matrix 16 p rows down and 16 p columns right (mod 256).
int matrix_threshold(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                     std::uint32_t height, std::uint32_t control) {
  const std::uint32_t stride = dot_stride(width);
  const PlaneCall call(source, dots, width, height, control, stride, false);
  if (width == 0) return 0;
  auto const& matrix = stores().ThresholdMatrix8;
  threshold_planes(call, width, height, stride, DotTest::AtMost, [&] {
    return [&matrix, ring = ThresholdRing{}](std::uint32_t p, std::uint32_t y) mutable {
      const std::uint32_t shift = p * 16u;
      ring.assign(matrix[(shift + y) & 255u], 256);
      return ThresholdRow{&ring, shift};
    };
  });
  return 0;
}

int clustered_threshold(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                        std::uint32_t height, std::uint32_t control) {
  static const ClusterLimits limits(ClusterMatrixA);
  const std::uint32_t stride = dot_stride(width);
  const PlaneCall call(source, dots, width, height, control, stride, false);
  threshold_planes(call, width, height, stride, DotTest::Below, [&] {
    return [&](std::uint32_t, std::uint32_t y) { return ThresholdRow{&limits.rows[y & 15u], 0}; };
  });
  for (std::size_t p = 0; p < call.planes; ++p) count_rows(p, height);
  return 0;
}

// The same threshold test against matrix B, its grey values passed through
// the shared line set: the first row of each plane picks up the carry line's
// first width entries (which are then cleared), and each row loads the next
// source row into the other line as it is screened. Lines are taken on a
// first band, or on demand when none are held, and released on a last band.
int clustered_threshold_lines(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                              std::uint32_t height, std::uint32_t control) {
  static const ClusterLimits limits(ClusterMatrixB);
  BandLines<std::int16_t>& lines = shared_lines();
  const bool held = lines.try_begin(ScreenControl(control), width);
  const auto [planes, src, out] =
      PlaneCall(source, dots, width, height, control, dot_stride(width));
  if (!held) return ERR_NO_MEMORY;
  if (planes == 0) return 0;
  // The lines hold the source values, plus, on each plane's first row, the
  // carry line's first width entries, which are then cleared: only a row
  // that meets a carry left by another screen differs from a plain threshold
  // of the source, and only that row is screened from the lines (so at most
  // the first plane's, as planes go one after the other).
  for (std::size_t p = 0; p < planes && height != 0; ++p) {
    std::int16_t* carry = lines.CarryLine(0, width);
    bool carried = false;
    for (std::uint32_t x = 0; x < width; ++x) carried = carried || carry[x] != 0;
    unsigned char const* row0 = src.row(p, 0);
    unsigned char* o = out.row(p, 0);
    if (!carried) {
      threshold_pack_row(row0, o, width, limits.rows[0], 0, DotTest::Below);
      continue;
    }
    for (std::uint32_t x = 0; x < width; ++x) {
      if (wrap16(row0[x] + carry[x]) < limits.v[x & 15u]) set_dot(o, x);
      carry[x] = 0;
    }
  }
  // The other rows row after row across the planes, in the source's order.
  for (std::uint32_t y = 1; y < height; ++y)
    for (std::size_t p = 0; p < planes; ++p)
      threshold_pack_row(src.row(p, y), out.row(p, y), width, limits.rows[y & 15u], 0,
                         DotTest::Below);
  for (std::size_t p = 0; p < planes; ++p) count_rows(p, height);
  lines.end(ScreenControl(control));
  return 0;
}

}  // namespace halftone::loaded
