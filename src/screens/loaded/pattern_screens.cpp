// The run-length pattern screens: each source row is walked in runs of equal
// grey, and each run is copied from its grey value's stored pattern as whole
// bytes, merging only a partial first and last byte through the run masks.
// Where the bank reads as thresholds, the rows are compared and packed
// instead, to the same bytes.
#include <algorithm>
#include <cstddef>
#include <cstring>

#include "frame/layout.h"
#include "frame/state.h"
#include "frame/threshold_pack.h"
#include "screens/loaded/screens.h"

namespace halftone::loaded {
namespace {

// x mod n, with a mask when n is a power of two.
struct Modulus {
  std::uint64_t n;
  bool pow2;
  explicit Modulus(std::uint64_t value) : n(value), pow2((value & (value - 1)) == 0) {}
  std::uint64_t operator()(std::uint64_t x) const { return pow2 ? x & (n - 1) : x % n; }
};

// Where a screen takes its patterns from. The bank is read as one flat block:
// a pattern row longer than the row pitch runs on into the next storage row,
// and bytes past the end of the bank read as 0.
struct PatternTile {
  std::uint8_t const* bank;
  std::size_t bank_size;
  std::size_t slot_pitch;
  std::size_t row_pitch;
  Modulus tile_width;   // pixels: px = x mod tile width
  Modulus tile_height;  // rows: py = y mod tile height
  Modulus row_bytes;    // whole-byte copies wrap after this many bytes
  // The run masks the last pattern load left, read once a call.
  std::uint8_t const* head_masks = stores().RunHeadMasks;
  std::uint8_t const* tail_masks = stores().RunTailMasks;
};

// One output row. `Shift` is 3 for eight pixels a byte, 2 for four.
template <unsigned Shift>
class RowRenderer {
 public:
  static constexpr std::uint64_t kPerByte = 1u << Shift;
  static constexpr std::uint64_t kInByte = kPerByte - 1;

  RowRenderer(PatternTile const& tile, std::uint32_t y, unsigned char* out, std::size_t out_bytes)
      : tile_(tile),
        row_offset_(tile.tile_height(y) * tile.row_pitch),
        out_(out),
        out_bytes_(out_bytes) {}

  // Runs of equal grey; a run is flushed when a different grey ends it or
  // when it reaches the row's last pixel. A run that starts at the last pixel
  // is never flushed, so a row of width 1 stays empty.
  void render(unsigned char const* source, std::uint32_t width) {
    if (width < 2) return;
    unsigned char v = source[0];
    std::uint64_t start = 0;
    for (std::uint32_t i = 1; i < width; ++i) {
      if (source[i] == v) {
        if (i == width - 1) flush(start, width - start, v);
        continue;
      }
      flush(start, i - start, v);
      v = source[i];
      start = i;
    }
  }

 private:
  void flush(std::uint64_t x0, std::uint64_t length, unsigned char v) {
    std::uint8_t const* prow = pattern_row(v);
    std::uint64_t px0 = tile_.tile_width(x0);
    auto len = static_cast<std::int64_t>(length);
    const std::uint64_t k = px0 & kInByte;
    if (k != 0) {
      // The run starts inside a byte: merge with the bits already placed.
      auto b = static_cast<std::uint8_t>(carry_ | (prow[px0 >> Shift] & tile_.head_masks[k]));
      if (len < static_cast<std::int64_t>(kPerByte - k)) b &= tile_.tail_masks[k + len];
      out_[x0 >> Shift] = b;
      carry_ = b;
      x0 += kPerByte - k;
      px0 += kPerByte - k;
      len -= static_cast<std::int64_t>(kPerByte - k);
      if (len <= 0) return;
    }
    const auto rest = static_cast<std::uint64_t>(len);
    // Whole bytes, in pieces of at most one pattern row.
    std::uint64_t index = tile_.row_bytes(px0 >> Shift);
    unsigned char* to = out_ + (x0 >> Shift);
    for (std::uint64_t bytes = rest >> Shift; bytes != 0;) {
      const std::uint64_t piece = std::min(bytes, tile_.row_bytes.n - index);
      std::memcpy(to, prow + index, piece);
      to += piece;
      bytes -= piece;
      index = 0;
    }
    const std::uint64_t end = px0 + rest;
    if ((end & kInByte) == 0) {
      carry_ = 0;
      return;
    }
    // The run ends inside a byte. That byte can only lie past the output row
    // when the tile's column phase differs from the row's (a tile width that
    // is not a multiple of 8) and the run ends the row; nothing is written
    // there, as the row has no further runs to merge with it.
    carry_ = static_cast<std::uint8_t>(prow[tile_.row_bytes(end >> Shift)] &
                                       tile_.tail_masks[end & kInByte]);
    const std::uint64_t at = (x0 + rest) >> Shift;
    if (at < out_bytes_) out_[at] = carry_;
  }

  // Slot v's row for this output row, at least one row pitch and row-bytes
  // long; the part past the end of the bank reads as zeros.
  std::uint8_t const* pattern_row(unsigned char v) {
    const std::size_t offset = v * tile_.slot_pitch + row_offset_;
    const std::size_t needed = std::max<std::size_t>(tile_.row_pitch, tile_.row_bytes.n);
    if (offset + needed <= tile_.bank_size) return tile_.bank + offset;
    std::memset(edge_, 0, sizeof edge_);
    std::memcpy(edge_, tile_.bank + offset, tile_.bank_size - offset);
    return edge_;
  }

  PatternTile const& tile_;
  std::size_t row_offset_;
  unsigned char* out_;
  std::size_t out_bytes_;
  std::uint8_t carry_ = 0;
  std::uint8_t edge_[128];
};

template <unsigned Shift>
int pattern_screen(PatternTile const& tile, unsigned char const* source, unsigned char* dots,
                   std::uint32_t width, std::uint32_t height, std::uint32_t control) {
  const std::uint32_t out_stride = Shift == 3 ? dot_stride(width) : dot2_stride(width);
  const auto [planes, src, out] = PlaneCall(source, dots, width, height, control, out_stride);
  for (std::size_t p = 0; p < planes; ++p)
    for (std::uint32_t y = 0; y < height; ++y)
      RowRenderer<Shift>(tile, y, out.row(p, y), out_stride).render(src.row(p, y), width);
  return 0;
}

// Whether the run walk comes to every flushed pixel's own code: the masks are
// those of the bank's loader, and the tile's rows are whole bytes that wrap
// where the tile does.
bool masks_are(RunMasks const& masks) {
  return std::memcmp(stores().RunHeadMasks, masks.head, 8) == 0 &&
         std::memcmp(stores().RunTailMasks, masks.tail, 8) == 0;
}

// The screens on a threshold bank (PatternThresholds): each row compared with
// its pattern row's thresholds, `tile_width` a power of two. The run walk
// comes to the same, save for the last pixel of a row that differs from the
// one before it, which no run flushes, and a row of one pixel.
template <int Levels>
int threshold_pattern_screen(PatternThresholds<Levels> const& limits, std::uint32_t tile_width,
                             Modulus tile_height, unsigned char const* source, unsigned char* dots,
                             std::uint32_t width, std::uint32_t height, std::uint32_t control) {
  constexpr unsigned kBits = Levels == 1 ? 1 : 2;
  const std::uint32_t out_stride = kBits == 1 ? dot_stride(width) : dot2_stride(width);
  const auto [planes, src, out] = PlaneCall(source, dots, width, height, control, out_stride);
  if (width < 2) return 0;
  const DotTest test = limits.at_most ? DotTest::AtMost : DotTest::Below;
  const std::uint32_t last = width - 1;
  const auto last_bits =
      static_cast<unsigned char>(~(((1u << kBits) - 1u) << (8 - kBits - (last * kBits) % 8)));
  ThresholdRing rings[Levels];
  for (std::uint32_t y = 0; y < height; ++y) {
    for (int k = 0; k < Levels; ++k) rings[k].assign(limits.t[k][tile_height(y)], tile_width);
    for (std::size_t p = 0; p < planes; ++p) {
      unsigned char const* s = src.row(p, y);
      unsigned char* o = out.row(p, y);
      if constexpr (Levels == 1)
        threshold_pack_row(s, o, width, rings[0], 0, test);
      else
        threshold_pack2_row(s, o, width, rings, 0, test);
      if (s[last] != s[last - 1]) o[last * kBits / 8] &= last_bits;
    }
  }
  return 0;
}

// The fixed 256 x 256 tiles, addressed by the low 8 bits of row and column.
PatternTile fixed_tile(std::uint8_t const* bank, std::size_t bank_size, std::size_t slot_pitch,
                       std::size_t row_pitch) {
  return {bank, bank_size, slot_pitch, row_pitch, Modulus(256), Modulus(256), Modulus(row_pitch)};
}

}  // namespace

// A geometry that describes no pattern inside the bank (nothing loaded yet, a
// pattern narrower than 8 pixels, or the geometry of a refused load) screens
// nothing: the output is cleared and the call returns 0.
int geometry_pattern_screen(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                            std::uint32_t height, std::uint32_t control) {
  const PatternGeometryStore g = stores().PatternGeometry;
  const bool usable = g.width >= 1 && g.width <= 256 && g.height >= 1 && g.height <= 256 &&
                      g.row_bytes >= 1 && g.row_bytes <= 64;
  if (!usable) {
    const ScreenControl ctl(control);
    clear_output(dots, ctl.planes, dot_stride(width), height);
    return 0;
  }
  const PatternTile tile = {&stores().TonePatternBank[0][0][0],
                            sizeof stores().TonePatternBank,
                            sizeof stores().TonePatternBank[0],
                            sizeof stores().TonePatternBank[0][0],
                            Modulus(static_cast<std::uint32_t>(g.width)),
                            Modulus(static_cast<std::uint32_t>(g.height)),
                            Modulus(static_cast<std::uint32_t>(g.row_bytes))};
  if (stores().PatternLimits1.usable && masks_are(kRunMasks1) && tile.tile_width.pow2 &&
      g.width >= 8 && g.row_bytes * 8 == g.width)
    return threshold_pattern_screen(stores().PatternLimits1,
                                    static_cast<std::uint32_t>(tile.tile_width.n), tile.tile_height,
                                    source, dots, width, height, control);
  return pattern_screen<3>(tile, source, dots, width, height, control);
}

int fixed_pattern_screen(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                         std::uint32_t height, std::uint32_t control) {
  if (stores().PatternLimits1.usable && masks_are(kRunMasks1))
    return threshold_pattern_screen(stores().PatternLimits1, 256, Modulus(256), source, dots, width,
                                    height, control);
  const PatternTile tile =
      fixed_tile(&stores().TonePatternBank[0][0][0], sizeof stores().TonePatternBank,
                 sizeof stores().TonePatternBank[0], sizeof stores().TonePatternBank[0][0]);
  return pattern_screen<3>(tile, source, dots, width, height, control);
}

int fixed_pattern2_screen(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                          std::uint32_t height, std::uint32_t control) {
  if (stores().PatternLimits2.usable && masks_are(kRunMasks2))
    return threshold_pattern_screen(stores().PatternLimits2, 256, Modulus(256), source, dots, width,
                                    height, control);
  const PatternTile tile =
      fixed_tile(&stores().TonePatternBank2[0][0][0], sizeof stores().TonePatternBank2,
                 sizeof stores().TonePatternBank2[0], sizeof stores().TonePatternBank2[0][0]);
  return pattern_screen<2>(tile, source, dots, width, height, control);
}

}  // namespace halftone::loaded
