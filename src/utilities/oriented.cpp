// Oriented random-direction diffusion: the standard generator picks one of two
// (or four) neighbours for each pixel's error; the placement turns the output.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

#include "frame/feedback_random.h"
#include "frame/layout.h"
#include "utilities/entries.h"
#include "utilities/serpentine.h"
#include "utilities/standard_random.h"

namespace halftone::utilities {
namespace {

// A dot below 129 in every row. A pick is rand() mod N: with two neighbours
// 0 ahead, 1 below; with four 0 ahead, 1 below and ahead, 2 below, 3 below and
// behind. The last row draws too and loses whatever would go below.
template <int N>
struct OrientedRule {
  static_assert(N == 2 || N == 4);
  static constexpr bool kDiagonals = N == 4;
  int const* tone;
  StandardRandom rng;

  std::uint32_t value(unsigned char grey) const { return static_cast<std::uint32_t>(tone[grey]); }

  template <bool>
  void begin_row(std::uint32_t) {}

  template <bool, bool>
  bool dot(std::int32_t v) const {
    return v < 129;
  }

  template <bool, bool>
  Target pick() {
    const std::uint32_t r = rng.next();
    if constexpr (N == 2) {
      static_assert(static_cast<int>(Target::Ahead) == 0 && static_cast<int>(Target::Below) == 2);
      return static_cast<Target>((r & 1u) << 1);
    } else {
      // The four targets in the order of the picks.
      static_assert(
          static_cast<int>(Target::Ahead) == 0 && static_cast<int>(Target::BelowAhead) == 1 &&
          static_cast<int>(Target::Below) == 2 && static_cast<int>(Target::BelowBehind) == 3);
      return static_cast<Target>(r & 3u);
    }
  }
};

// Source column x becomes output row x, source row y output column y.
struct PlaceTransposed {
  static constexpr bool kTurned = true;
  unsigned char* dots;
  std::size_t stride;
  std::size_t byte = 0;
  unsigned char mask = 0;

  PlaceTransposed(unsigned char* d, std::uint32_t, std::uint32_t height)
      : dots(d), stride(dot_stride(height)) {}
  void begin_row(std::uint32_t y, Dir, bool) {
    byte = y >> 3;
    mask = static_cast<unsigned char>(0x80u >> (y & 7u));
  }
  void dot(std::uint32_t x, bool on) { dots[x * stride + byte] |= bit_if(on, mask); }
};

// Source (x, y) becomes output row width - 1 - x, column height - 1 - y; the
// bit is counted from the least significant end, aligned by the height.
struct PlaceAntiTransposed {
  static constexpr bool kTurned = true;
  unsigned char* dots;
  std::size_t stride;
  std::uint32_t width, height;
  std::size_t byte = 0;
  unsigned char mask = 0;

  PlaceAntiTransposed(unsigned char* d, std::uint32_t w, std::uint32_t h)
      : dots(d), stride(dot_stride(h)), width(w), height(h) {}
  void begin_row(std::uint32_t y, Dir, bool) {
    byte = (height - 1u - y) >> 3;
    mask = static_cast<unsigned char>(1u << ((y + 8u - height % 8u) % 8u));
  }
  void dot(std::uint32_t x, bool on) { dots[(width - 1u - x) * stride + byte] |= bit_if(on, mask); }
};

// Source row y becomes output row height - 1 - y.
struct PlaceUpsideDown {
  static constexpr bool kTurned = false;
  unsigned char* dots;
  std::size_t stride;
  std::uint32_t height;
  unsigned char* out = nullptr;

  PlaceUpsideDown(unsigned char* d, std::uint32_t width, std::uint32_t h)
      : dots(d), stride(dot_stride(width)), height(h) {}
  void begin_row(std::uint32_t y, Dir, bool) { out = dots + (height - 1u - y) * stride; }
  void dot(std::uint32_t x, bool on) { out[x >> 3] |= bit_if(on, 0x80u >> (x & 7u)); }
};

// A half turn for some rows only. Left-to-right rows above the last stay as
// they are. A right-to-left row goes to row height - 1 - y, byte
// (width - 1 - x) / 8, and a left-to-right last row to row 0, always byte
// (width - 1) / 8; both set bit (x + 8 - height mod 8) mod 8 counted from the
// least significant end, aligned by the height even though the row is as wide
// as the source. Such a bit may land in a row's padding.
struct PlacePartialHalfTurn {
  static constexpr bool kTurned = false;
  enum class Mode { Unturned, Turned, LastByte };
  unsigned char* dots;
  std::size_t stride;
  std::uint32_t width, height, align;
  unsigned char* out = nullptr;
  Mode mode = Mode::Unturned;

  PlacePartialHalfTurn(unsigned char* d, std::uint32_t w, std::uint32_t h)
      : dots(d), stride(dot_stride(w)), width(w), height(h), align(8u - h % 8u) {}
  void begin_row(std::uint32_t y, Dir dir, bool last) {
    if (dir == Dir::Ltr && !last) {
      out = dots + y * stride;
      mode = Mode::Unturned;
    } else {
      out = dots + (height - 1u - y) * stride;  // row 0 for the last row
      mode = dir == Dir::Rtl ? Mode::Turned : Mode::LastByte;
    }
  }
  void dot(std::uint32_t x, bool on) {
    const unsigned char turned = bit_if(on, 1u << ((x + align) % 8u));
    switch (mode) {
      case Mode::Unturned:
        out[x >> 3] |= bit_if(on, 0x80u >> (x & 7u));
        break;
      case Mode::Turned:
        out[(width - 1u - x) >> 3] |= turned;
        break;
      case Mode::LastByte:
        out[(width - 1u) >> 3] |= turned;
        break;
    }
  }
};

template <int N, class Place>
void diffuse(unsigned char const* source, std::uint32_t width, std::uint32_t height,
             int const* tone, Place& place) {
  OrientedRule<N> rule{tone, StandardRandom(seed_seconds())};
  serpentine(source, width, height, rule, place);
}

// Sizes of 0 or below clear nothing (the output's formulas give no bytes) and
// draw nothing.
constexpr bool empty(int width, int height) { return width <= 0 || height <= 0; }

template <int N, class Place>
int direct(unsigned char const* source, unsigned char* dots, int width, int height,
           int const* tone) {
  if (empty(width, height)) return 0;
  const auto w = static_cast<std::uint32_t>(width);
  const auto h = static_cast<std::uint32_t>(height);
  Place place(dots, w, h);
  clear_output(dots, 1, place.stride, Place::kTurned ? w : h);
  diffuse<N>(source, w, h, tone, place);
  return 0;
}

// An 8 x 8 block of bits turned about its diagonal: byte j of x (counted
// from the most significant) is row j, its bits columns 0-7 from the most
// significant; the result holds column i as byte i, row j as its bit 7 - j.
inline std::uint64_t transpose8(std::uint64_t x) {
  std::uint64_t t = (x ^ (x >> 7)) & 0x00AA00AA00AA00AAu;
  x ^= t ^ (t << 7);
  t = (x ^ (x >> 14)) & 0x0000CCCC0000CCCCu;
  x ^= t ^ (t << 14);
  t = (x ^ (x >> 28)) & 0x00000000F0F0F0F0u;
  return x ^ t ^ (t << 28);
}

// Screens into a scratch image of the source's orientation, then moves every
// scratch pixel (x, y) to output row x, column y (`Flip`: column
// height - 1 - y). Each output byte of eight columns takes its eight scratch
// rows, eight pixels at a time, as one block of bits turned about its
// diagonal; a block of no dots is skipped (the output is cleared).
template <bool Flip>
int via_scratch(unsigned char const* source, unsigned char* dots, int width, int height,
                int const* tone) {
  if (empty(width, height)) return 0;
  const auto w = static_cast<std::uint32_t>(width);
  const auto h = static_cast<std::uint32_t>(height);
  const std::size_t out_stride = dot_stride(h);
  clear_output(dots, 1, out_stride, w);

  PlaceAsSource place(nullptr, w, h);
  // The scratch rows, then one row of no dots for the columns past the last.
  std::unique_ptr<unsigned char[]> scratch(new unsigned char[place.stride * (h + 1u)]());
  place.dots = scratch.get();
  diffuse<2>(source, w, h, tone, place);

  unsigned char const* const blank = scratch.get() + place.stride * h;
  const std::uint32_t blocks = (w + 7u) >> 3;
  for (std::uint32_t b = 0; b < (h + 7u) >> 3; ++b) {
    unsigned char const* rows[8];
    for (std::uint32_t j = 0; j < 8; ++j) {
      const std::uint32_t column = b * 8u + j;
      rows[j] =
          column < h ? scratch.get() + (Flip ? h - 1u - column : column) * place.stride : blank;
    }
    for (std::uint32_t k = 0; k < blocks; ++k) {
      std::uint64_t block = 0;
      for (std::uint32_t j = 0; j < 8; ++j) block = block << 8 | rows[j][k];
      if (block == 0) continue;
      block = transpose8(block);
      const std::uint32_t n = w - k * 8u < 8u ? w - k * 8u : 8u;
      unsigned char* out = dots + std::size_t{k} * 8u * out_stride + b;
      for (std::uint32_t i = 0; i < n; ++i)
        out[i * out_stride] = static_cast<unsigned char>(block >> (56u - 8u * i));
    }
  }
  return 0;
}

}  // namespace

int four_neighbours(unsigned char const* source, unsigned char* dots, int width, int height,
                    int const* tone) {
  return direct<4, PlaceAsSource>(source, dots, width, height, tone);
}
int transposed(unsigned char const* source, unsigned char* dots, int width, int height,
               int const* tone) {
  return direct<2, PlaceTransposed>(source, dots, width, height, tone);
}
int upside_down(unsigned char const* source, unsigned char* dots, int width, int height,
                int const* tone) {
  return direct<2, PlaceUpsideDown>(source, dots, width, height, tone);
}
int partial_half_turn(unsigned char const* source, unsigned char* dots, int width, int height,
                      int const* tone) {
  return direct<2, PlacePartialHalfTurn>(source, dots, width, height, tone);
}
int anti_transposed(unsigned char const* source, unsigned char* dots, int width, int height,
                    int const* tone) {
  return direct<2, PlaceAntiTransposed>(source, dots, width, height, tone);
}
int transposed_via_scratch(unsigned char const* source, unsigned char* dots, int width, int height,
                           int const* tone) {
  return via_scratch<false>(source, dots, width, height, tone);
}
int quarter_turn_via_scratch(unsigned char const* source, unsigned char* dots, int width,
                             int height, int const* tone) {
  return via_scratch<true>(source, dots, width, height, tone);
}

}  // namespace halftone::utilities
