// The serpentine band in plain loops for the diffusing screens' models: a
// pixel's rule decides its dot or code and splits its error ahead and down;
// the band's last row sends its shares down into the next band's carry.
#pragma once
#include <cstdint>
#include <type_traits>
#include <vector>

#include "frame/layout.h"
#include "support/ref_random.h"

namespace halftone::test {

// What a 16-bit line cell keeps of a value.
inline std::int32_t w16(std::int64_t v) { return static_cast<std::int16_t>(v & 0xFFFF); }

enum class Role { Inner, RowEnd, LastInner, LastEnd };

struct Pixel {
  std::uint32_t x, y, plane, s;  // s: the source grey
  bool ltr;
  Role role;
  bool last_row() const { return role == Role::LastInner || role == Role::LastEnd; }
  bool row_end() const { return role == Role::RowEnd || role == Role::LastEnd; }
};

// A rule's answer: the code written and the shares ahead and down (or carried).
template <class T>
struct Outcome {
  std::uint32_t code;
  T ahead, down;
};

struct Alternate {
  bool operator()(std::uint32_t, std::uint32_t y) const { return y % 2 == 0; }
};
struct NoOffset {
  int operator()(std::uint32_t, std::uint32_t) const { return 0; }
};

struct SerpentineModel {
  int bits = 1;                  // output bits a pixel: 1, 2 or 4
  bool value_lines = true;       // cells start from the grey, else from zero (error only)
  bool carry_after_rtl = false;  // only a right-to-left last row fills the carry
  bool reseed_each_call = true;  // else on a first band only
  std::int32_t carry_start = 0;  // the cells of a newly allocated carry line
  std::uint32_t seconds = 0;     // the generator's seed
  RefRandom rng;

  // One call on T cells (std::int32_t holding 16-bit values, or double).
  // `rule(Pixel, cell)` gives an Outcome<T>; `row(plane, y)` whether row y
  // runs left to right; `offset(y, x)` is added to every cell as it starts.
  template <class T, class Rule, class Row = Alternate, class Offset = NoOffset>
  void run(unsigned char const* src, unsigned char* out, std::uint32_t w, std::uint32_t h,
           std::uint32_t planes, std::uint32_t band, Rule rule, Row row = {}, Offset offset = {}) {
    constexpr bool ints = std::is_integral_v<T>;
    auto keep = [](auto v) { return ints ? T(w16(std::int64_t(v))) : T(v); };
    std::vector<double>& carry = carry_[ints];
    // Lines are allocated on a first band, or when none (or too few) are held.
    if (band == 1 || w > held_[ints] || carry.size() < std::size_t{planes} * w)
      carry.assign(std::size_t{planes} * w, carry_start), held_[ints] = w;
    const std::size_t S = source_stride(w), D = (std::size_t{w} * bits + 31) / 32 * 4;
    std::fill_n(out, D * h * planes, 0);
    if (reseed_each_call || band == 1) rng.seed(seconds);
    std::vector<T> lines[2] = {std::vector<T>(w), std::vector<T>(w)};
    for (std::uint32_t p = 0; p < planes && w != 0 && h != 0; ++p) {
      auto grey = [&](std::uint32_t y, std::uint32_t x) { return src[(y * planes + p) * S + x]; };
      auto start = [&](std::uint32_t y, std::uint32_t x) {
        return (value_lines ? T(grey(y, x)) : T(0)) + T(offset(y, x));
      };
      double* c = carry.data() + std::size_t{p} * w;  // exact for 16-bit values too
      for (std::uint32_t x = 0; x < w; ++x) lines[0][x] = keep(start(0, x) + T(c[x])), c[x] = 0;
      for (std::uint32_t y = 0; y < h; ++y) {
        const bool ltr = row(p, y), last = y + 1 == h;
        std::vector<T>&cur = lines[y % 2], &below = lines[1 - y % 2];
        unsigned char* o = out + (std::size_t{y} * planes + p) * D;
        for (std::uint32_t i = 0; i < w; ++i) {
          const std::uint32_t x = ltr ? i : w - 1 - i;
          const bool end = i + 1 == w;
          const Role role =
              last ? (end ? Role::LastEnd : Role::LastInner) : (end ? Role::RowEnd : Role::Inner);
          const Outcome<T> r = rule(Pixel{x, y, p, grey(y, x), ltr, role}, cur[x]);
          o[x * bits / 8] |= static_cast<unsigned char>(r.code << (8 - bits - x * bits % 8));
          if (!end) cur[ltr ? x + 1 : x - 1] = keep(cur[ltr ? x + 1 : x - 1] + r.ahead);
          if (!last)
            below[x] = keep(start(y + 1, x) + r.down);
          else if (!ltr || !carry_after_rtl)
            c[x] = keep(r.down);
        }
      }
    }
    if (band == 3) held_[ints] = -1;
  }

 private:
  std::vector<double> carry_[2];     // for double and integer lines
  std::int64_t held_[2] = {-1, -1};  // their held width; -1: none
};

}  // namespace halftone::test
