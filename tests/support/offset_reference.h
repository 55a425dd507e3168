// Comparing banded screens with plain per-pixel models on random jobs.
#pragma once
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <random>
#include <string>
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

// The offset screens' models on error-only lines: `pixel(value, grey, x, y,
// ltr, output row)` writes its dot or code and returns {along, down}; cells of
// row y start from `base(y, x)`; only a right-to-left last row fills the carry.
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
// Model call: source, output, width, height, planes, band position,
// the seconds the generator is seeded from.
using ModelFn = std::function<void(unsigned char const*, unsigned char*, std::uint32_t,
                                   std::uint32_t, std::uint32_t, std::uint32_t, std::uint32_t)>;

// A random job's shape; ragged jobs also have stray, empty and wider bands.
struct Job {
  std::uint32_t planes, width, bands, height;  // height 0: 1-20 rows a band
  Fill fill;
  unsigned char flat;
  bool ragged;
};

inline Job random_job(std::mt19937& gen, std::uint32_t planes, std::uint32_t width,
                      std::uint32_t bands, bool ragged) {
  const std::uint32_t p = ragged && gen() % 16 == 0 ? 0 : 1 + gen() % planes;
  const std::uint32_t w = 1 + gen() % width, b = 1 + gen() % bands;
  return {p, w, b, 0, static_cast<Fill>(gen() % 5), static_cast<unsigned char>(gen()), ragged};
}

// Random jobs run band by band through `screen` and `model`, each band on a
// newly pinned clock, in a random tone mode unless `shape` sets one; `agree`
// checks further state after each band.
inline void compare_jobs(ScreenFn const& screen, ModelFn const& model,
                         std::function<Job(std::mt19937&)> const& shape, int jobs,
                         std::uint32_t seed, int bits = 1,
                         std::function<bool()> const& agree = {}) {
  std::mt19937 gen(seed);
  for (int j = 0; j < jobs; ++j) {
    Itsdiufiavs(static_cast<int>(gen() % 20) - 1, "");
    const Job job = shape(gen);
    std::uint32_t w = job.width;
    for (std::uint32_t b = 0; b < job.bands; ++b) {
      std::uint32_t band = b == 0 ? 1 : b + 1 == job.bands ? 3 : (gen() & 1) * 2;
      std::uint32_t h = job.height ? job.height : 1 + gen() % 20;
      if (job.ragged && (b == 0 || b + 1 == job.bands) && gen() % 8 == 0) band = gen() % 4;
      if (job.ragged && gen() % 8 == 0) w = gen() % 8 ? 1 + gen() % 70 : 0;
      if (job.ragged && gen() % 16 == 0) h = 0;
      const std::uint32_t seconds = gen();
      pin_seed_time(seconds);
      auto src = make_source(w, h, job.planes, job.fill, gen(), job.flat);
      const auto before = src;
      const std::size_t n = std::size_t{(bits * w + 31) / 32 * 4} * h * job.planes;
      Output out(n), expect(n);
      SCOPED_TRACE("job " + std::to_string(j) + " band " + std::to_string(b) + " (position " +
                   std::to_string(band) + ") " + std::to_string(w) + "x" + std::to_string(h) +
                   " planes " + std::to_string(job.planes));
      ASSERT_EQ(screen(src.data(), out.data(), w, h, make_control(job.planes, band)), 0);
      model(src.data(), expect.data(), w, h, job.planes, band, seconds);
      ASSERT_EQ(out.bytes, expect.bytes);  // the guard bytes too
      ASSERT_EQ(src, before);
      ASSERT_TRUE(!agree || agree());
    }
  }
  unpin_seed_time();
  Itsdiufiavs(0, "");
}

// Ordinary jobs; `prepare` fills the data stores for each.
inline void compare_random_jobs(ScreenFn const& screen, ModelFn const& model,
                                std::function<void(std::mt19937&)> const& prepare, int jobs,
                                std::uint32_t seed, int bits = 1) {
  auto shape = [&](std::mt19937& gen) { return prepare(gen), random_job(gen, 4, 300, 5, false); };
  compare_jobs(screen, model, shape, jobs, seed, bits);
}

}  // namespace halftone::test
