// The engine's unwrapped rows: a row run with its values unwrapped, and run
// again wrapped where one leaves the 16-bit range, gives the bytes, lines and
// generator of the plain wrapped run.
#include "frame/band_engine.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "frame/state.h"
#include "halftone/setup.h"

namespace halftone {
namespace {

using engine::Dir;
using engine::Role;

// Bright pixels kick the error ahead by some 20 000, so that a run of them
// takes the value past 32 767; darker ones pass on a little. One draw a
// pixel, whichever branch is taken.
template <bool kUnwrapped>
struct Runaway : engine::PolicyBase<std::int16_t> {
  static constexpr engine::DrawCount kDraws{1, 1, 1, 1};
  static constexpr bool kUnwrappedRows = kUnwrapped;

  template <Dir D, Role R, class V, class Px, class Out, class Rng>
  engine::Shares<V> pixel(V v, Px const& px, Out& out, Rng& rng) {
    out.put(px.x, v <= 128 ? 1u : 0u);
    const V r = static_cast<V>(rng.draw() & 0xFFu);
    const V kick = px.s > 200 ? 20000 + r : r / 8;
    return {v / 2 + kick, v / 4};
  }
};

struct Bands {
  std::vector<unsigned char> dots;
  std::vector<std::int16_t> lines;  // the working and carry lines after each band but the last
  std::uint32_t next_draw = 0;
};

template <bool kUnwrapped>
Bands screen_bands(std::vector<unsigned char> const& source, std::uint32_t width,
                   std::uint32_t planes, std::uint32_t band_rows) {
  ScreenState job;
  ActiveState active(job);
  pin_seed_time(11);
  Bands run;
  const std::uint32_t src_stride = source_stride(width), out_stride = dot_stride(width);
  const std::uint32_t bands = 3;
  std::vector<unsigned char> dots(std::size_t{planes} * out_stride * band_rows);
  for (std::uint32_t b = 0; b < bands; ++b) {
    const unsigned char* src = source.data() + std::size_t{b} * planes * src_stride * band_rows;
    const std::uint32_t position = b == 0 ? 1 : b + 1 == bands ? 3 : 2;
    EXPECT_EQ(engine::screen(Runaway<kUnwrapped>{}, job.lines, src, dots.data(), width, band_rows,
                             make_control(planes, position)),
              0);
    run.dots.insert(run.dots.end(), dots.begin(), dots.end());
    if (b + 1 < bands) {
      for (std::int16_t const* line : {job.lines.ValueLineA(), job.lines.ValueLineB()})
        run.lines.insert(run.lines.end(), line, line + width);
      std::int16_t const* carry = job.lines.CarryLine(0, width);
      run.lines.insert(run.lines.end(), carry, carry + std::size_t{planes} * width);
    }
  }
  run.next_draw = job.random.draw();
  unpin_seed_time();
  return run;
}

TEST(BandEngine, UnwrappedRowsEqualWrappedOnesWhereValuesWrapAndWhereNot) {
  struct Case {
    char const* name;
    std::uint32_t bright_every;  // a bright run starts every this many pixels; 0: none
  };
  const Case cases[] = {{"no wrap", 0}, {"some rows wrap", 97}, {"most rows wrap", 13}};
  const std::uint32_t width = 61, band_rows = 5;
  for (Case const& c : cases) {
    for (std::uint32_t planes : {1u, 2u}) {
      SCOPED_TRACE(testing::Message() << c.name << ", " << planes << " planes");
      const std::uint32_t stride = source_stride(width);
      std::vector<unsigned char> source(std::size_t{3} * band_rows * planes * stride, 0);
      std::uint32_t i = 0;
      for (unsigned char& s : source) {
        ++i;
        const bool bright = c.bright_every != 0 && i % c.bright_every < 4;
        s = bright ? 230 : static_cast<unsigned char>((i * 37u) % 190u);
      }
      const Bands wrapped = screen_bands<false>(source, width, planes, band_rows);
      const Bands unwrapped = screen_bands<true>(source, width, planes, band_rows);
      EXPECT_EQ(unwrapped.dots, wrapped.dots);
      EXPECT_EQ(unwrapped.lines, wrapped.lines);
      EXPECT_EQ(unwrapped.next_draw, wrapped.next_draw);
    }
  }
}

// Packing a row's codes by multiplies gives what placing each code at its
// shift gives, for every code in every place of a byte, rows that end inside
// a byte included, and writes nothing past the row's last byte.
template <unsigned kBits>
void expect_packs_as_placed() {
  constexpr std::uint32_t kPerByte = 8 / kBits, kCodes = 1u << kBits;
  for (std::uint32_t count : {1u, kPerByte - 1, kPerByte, 3 * kPerByte + 1}) {
    if (count == 0) continue;
    for (std::uint32_t seed = 0; seed < 256; ++seed) {
      std::vector<unsigned char> codes((count + kPerByte - 1) / kPerByte * kPerByte, 0);
      std::vector<unsigned char> placed(codes.size() / kPerByte + 1, 0);
      for (std::uint32_t x = 0; x < count; ++x) {
        // Byte i's codes spell (seed + 37 i) & 255: every pattern a byte can hold.
        const std::uint32_t pattern = (seed + 37 * (x / kPerByte)) & 255;
        codes[x] = static_cast<unsigned char>(pattern >> (x % kPerByte * kBits) & (kCodes - 1));
        placed[x / kPerByte] |= codes[x] << (8 - kBits - x % kPerByte * kBits);
      }
      std::vector<unsigned char> packed(placed.size(), 0);
      engine::pack_codes<kBits>(codes.data(), count, packed.data());
      ASSERT_EQ(packed, placed) << kBits << " bits, " << count << " codes, seed " << seed;
    }
  }
}

TEST(BandEngine, RowCodesPackAsEachPlacedAtItsShift) {
  expect_packs_as_placed<1>();
  expect_packs_as_placed<2>();
  expect_packs_as_placed<4>();
}

}  // namespace
}  // namespace halftone
