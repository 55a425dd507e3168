// The serpentine core of the single-plane utilities.
//
// One plane is mapped through a tone table into two working lines and scanned
// in serpentine rows, left to right first. Every pixel's whole error goes to
// one neighbour. Two small parameters set a utility apart:
//
//   Rule  (what a pixel does)
//     std::uint32_t value(unsigned char grey)       working value of a grey
//     template <bool Last> void begin_row(std::uint32_t width)  before each row
//     template <bool Last, bool Final> bool dot(std::int32_t v)
//     template <bool Last, bool Final> Target pick()  draws as the rule needs
//     static constexpr bool kDiagonals  pick() may go below-ahead or -behind
//   Place (where a dot goes)
//     void begin_row(std::uint32_t y, Dir dir, bool last)
//     void dot(std::uint32_t x, bool on)            sets the bit of (x, y) if on
//
// `Last` is the image's last row (nothing below), `Final` the last pixel of a
// row in scan direction (nothing ahead). A target that does not exist drops
// the error.
//
// Working values wrap modulo 2^32: a tone table may hold any values and
// errors accumulate freely, so sums are kept in unsigned arithmetic and read
// back as signed two's complement for the dot test.
#pragma once
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

#include "frame/layout.h"

namespace halftone::utilities {

enum class Dir { Ltr, Rtl };

// Where a pixel's error goes, seen in scan direction.
enum class Target : std::uint8_t { Ahead, BelowAhead, Below, BelowBehind, Drop };

// For each target, all ones for the neighbour it names, in Target's order.
inline constexpr std::uint32_t kSendsTo[5][4] = {
    {~0u, 0, 0, 0}, {0, ~0u, 0, 0}, {0, 0, ~0u, 0}, {0, 0, 0, ~0u}, {0, 0, 0, 0}};

// `mask` when `on`, else 0: an unconditional write that sets a bit or nothing.
constexpr unsigned char bit_if(bool on, unsigned mask) {
  return static_cast<unsigned char>(mask * static_cast<unsigned>(on));
}

namespace detail {

template <Dir D>
constexpr std::uint32_t ahead(std::uint32_t x) {
  return D == Dir::Ltr ? x + 1u : x - 1u;
}
template <Dir D>
constexpr std::uint32_t behind(std::uint32_t x) {
  return D == Dir::Ltr ? x - 1u : x + 1u;
}

// Carried from pixel to pixel of a row: the error sent ahead, and the cells
// below the pixel and behind it, whose sums are still open. Each below cell
// is stored once, when no later pixel of the row can add to it.
struct Open {
  std::uint32_t ahead = 0;   // error for the next pixel
  std::uint32_t cell = 0;    // below the pixel
  std::uint32_t behind = 0;  // below the pixel before (diagonal rules only)
};

template <Dir D, bool Last, bool Final, class Rule, class Place>
inline void pixel(std::uint32_t const* cur, std::uint32_t* below, unsigned char const* source_below,
                  std::uint32_t x, bool has_behind, Open& open, Rule& rule, Place& place) {
  const std::uint32_t v = cur[x] + open.ahead;
  const bool on = rule.template dot<Last, Final>(static_cast<std::int32_t>(v));
  place.dot(x, on);
  const std::uint32_t e = on ? v : v - 255u;
  // Every neighbour takes the error or nothing: no unpredictable branch on
  // the dot or the random pick.
  const Target t = rule.template pick<Last, Final>();
  const auto share = [&](Target k) {
    // Four targets: each share's mask from a table, where compares took
    // four instructions a share.
    if constexpr (Rule::kDiagonals)
      return e & kSendsTo[static_cast<int>(t)][static_cast<int>(k)];
    else
      return e & (0u - static_cast<std::uint32_t>(t == k));
  };
  if constexpr (!Final) open.ahead = share(Target::Ahead);
  if constexpr (!Last) {
    // The next cell below holds its grey's value before any error reaches it.
    std::uint32_t next = 0;
    if constexpr (!Final) next = rule.value(source_below[ahead<D>(x)]);
    open.cell += share(Target::Below);
    if constexpr (Rule::kDiagonals) {
      if constexpr (!Final) next += share(Target::BelowAhead);
      if (has_behind) below[behind<D>(x)] = open.behind + share(Target::BelowBehind);
      open.behind = open.cell;
      if constexpr (Final) below[x] = open.cell;
    } else {
      below[x] = open.cell;
    }
    open.cell = next;
  }
}

// One row of `cur`, writing the row below from `source_below` and the
// errors that reach it.
template <Dir D, bool Last, class Rule, class Place>
inline void row(std::uint32_t const* cur, std::uint32_t* below, unsigned char const* source_below,
                std::uint32_t width, Rule& rule, Place& place) {
  rule.template begin_row<Last>(width);
  std::uint32_t x = D == Dir::Ltr ? 0u : width - 1u;
  Open open;
  if constexpr (!Last) open.cell = rule.value(source_below[x]);
  for (std::uint32_t i = 0; i + 1u < width; ++i, x = ahead<D>(x))
    pixel<D, Last, false>(cur, below, source_below, x, i != 0, open, rule, place);
  pixel<D, Last, true>(cur, below, source_below, x, width > 1u, open, rule, place);
}

}  // namespace detail

// Screens a width x height plane (both at least 1). Throws std::bad_alloc,
// having done nothing, when the working lines cannot be allocated.
template <class Rule, class Place>
void serpentine(unsigned char const* source, std::uint32_t width, std::uint32_t height, Rule& rule,
                Place& place) {
  std::unique_ptr<std::uint32_t[]> lines(new std::uint32_t[2 * static_cast<std::size_t>(width)]);
  std::uint32_t* cur = lines.get();
  std::uint32_t* below = cur + width;
  for (std::uint32_t x = 0; x < width; ++x) cur[x] = rule.value(source[x]);

  const std::size_t stride = source_stride(width);
  std::uint32_t y = 0;
  for (; y + 1u < height; ++y) {
    unsigned char const* next = source + (static_cast<std::size_t>(y) + 1u) * stride;
    if ((y & 1u) == 0) {
      place.begin_row(y, Dir::Ltr, false);
      detail::row<Dir::Ltr, false>(cur, below, next, width, rule, place);
    } else {
      place.begin_row(y, Dir::Rtl, false);
      detail::row<Dir::Rtl, false>(cur, below, next, width, rule, place);
    }
    std::swap(cur, below);
  }
  if ((y & 1u) == 0) {
    place.begin_row(y, Dir::Ltr, true);
    detail::row<Dir::Ltr, true>(cur, nullptr, nullptr, width, rule, place);
  } else {
    place.begin_row(y, Dir::Rtl, true);
    detail::row<Dir::Rtl, true>(cur, nullptr, nullptr, width, rule, place);
  }
}

// Dots in the source's own orientation: row y, column x, height rows of the
// width's stride. (Placements take the output and the source's size; a turned
// one writes width rows of the height's stride.)
struct PlaceAsSource {
  static constexpr bool kTurned = false;
  unsigned char* dots;
  std::size_t stride;
  unsigned char* out = nullptr;

  PlaceAsSource(unsigned char* d, std::uint32_t width, std::uint32_t)
      : dots(d), stride(dot_stride(width)) {}

  void begin_row(std::uint32_t y, Dir, bool) { out = dots + static_cast<std::size_t>(y) * stride; }
  void dot(std::uint32_t x, bool on) { out[x >> 3] |= bit_if(on, 0x80u >> (x & 7u)); }
};

}  // namespace halftone::utilities
