// Helpers for comparing banded screens with plain per-pixel models: a copy of
// the library's generator written from its rules, 16-bit storage, and a driver
// that runs random multi-plane banded jobs through a screen and its model.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <random>
#include <vector>

#include "halftone/setup.h"
#include "support/images.h"
#include "support/ref_random.h"
#include "support/serpentine_model.h"

namespace halftone::test {

inline void model_dot(unsigned char* row, std::uint32_t x) { row[x >> 3] |= 0x80u >> (x & 7u); }

// One-bit threshold screens pixel by pixel: a dot where `dot(grey, x, y, plane)`.
template <class Dot>
std::vector<unsigned char> threshold_model(std::vector<unsigned char> const& src, std::uint32_t w,
                                           std::uint32_t h, std::uint32_t planes, Dot dot) {
  std::vector<unsigned char> out(std::size_t{dot_stride(w)} * h * planes, 0);
  for (std::uint32_t r = 0; r < h * planes; ++r)
    for (std::uint32_t x = 0; x < w; ++x)
      if (dot(unsigned{src[r * source_stride(w) + x]}, x, r / planes, r % planes))
        model_dot(out.data() + r * dot_stride(w), x);
  return out;
}

// The offset screens' models on the shared serpentine, on lines of T that
// hold error only: a pixel's `pixel(line value, grey, x, y, ltr, output row)`
// writes its dot or code and returns its shares {along, down}; a cell of the
// row below row y - 1 starts from `base(y, x)`; only a right-to-left last
// row's shares down reach the carry.
template <class T>
struct Serpentine : SerpentineModel {
  template <class Pixel, class Base>
  void run(unsigned char const* src, unsigned char* out, std::uint32_t w, std::uint32_t h,
           std::uint32_t planes, std::uint32_t band, std::uint32_t out_stride, Pixel pixel,
           Base base) {
    value_lines = false, carry_after_rtl = true;
    bits = out_stride == dot_stride(w) ? 1 : 2;  // for clearing: the pixels write themselves
    auto rule = [&](test::Pixel const& px, T v) {
      const auto [along, down] =
          pixel(v, px.s, px.x, px.y, px.ltr, out + (px.y * planes + px.plane) * out_stride);
      return Outcome<T>{0, T(along), T(down)};
    };
    SerpentineModel::run<T>(src, out, w, h, planes, band, rule, Alternate{}, base);
  }
};

using ScreenFn =
    std::function<int(unsigned char*, unsigned char*, std::uint32_t, std::uint32_t, std::uint32_t)>;
// Model call: source, cleared output, width, height, planes, band position,
// the seconds the generator is seeded from.
using ModelFn = std::function<void(unsigned char const*, unsigned char*, std::uint32_t,
                                   std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t)>;

// Random jobs (1-4 planes, widths 1-300, bands of 1-20 rows, band positions
// 1, 2 or 0 ..., 3 or a single first band, random tone mode and fill) run
// through `screen` and `model`; `prepare` fills the data stores for each job.
// The clock is unpinned and tone mode 0 selected afterwards.
inline void compare_random_jobs(ScreenFn const& screen, ModelFn const& model,
                                std::function<void(std::mt19937&)> const& prepare, int jobs,
                                std::uint32_t seed, int bits = 1) {
  std::mt19937 gen(seed);
  for (int j = 0; j < jobs; ++j) {
    const std::uint32_t planes = 1 + gen() % 4, width = 1 + gen() % 300;
    Itsdiufiavs(static_cast<int>(gen() % 20) - 1, "");
    const std::uint32_t seconds = gen();
    pin_seed_time(seconds);
    prepare(gen);
    const Fill fill = static_cast<Fill>(gen() % 5);
    const auto flat = static_cast<unsigned char>(gen());
    const std::uint32_t bands = gen() % 3 == 0 ? 1 : 2 + gen() % 4;
    for (std::uint32_t b = 0; b < bands; ++b) {
      const std::uint32_t band = b == 0 ? 1 : b + 1 == bands ? 3 : (gen() & 1) * 2;
      const std::uint32_t height = 1 + gen() % 20;
      auto src = make_source(width, height, planes, fill, gen(), flat);
      const std::size_t n =
          std::size_t{bits == 2 ? dot2_stride(width) : dot_stride(width)} * height * planes;
      Output out(n);
      std::vector<unsigned char> expect(n, 0);
      screen(src.data(), out.data(), width, height, make_control(planes, band));
      model(src.data(), expect.data(), width, height, planes, band, seconds);
      ASSERT_EQ(out.body(), expect) << "job " << j << " band " << b << " width " << width
                                    << " height " << height << " planes " << planes;
      ASSERT_TRUE(out.guard_intact()) << "job " << j;
    }
  }
  unpin_seed_time();
  Itsdiufiavs(0, "");
}

}  // namespace halftone::test
