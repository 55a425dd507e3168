// The rules of the damped and noise-table diffusion screens, one policy of
// the band engine each; the export table runs them on the engine.
#pragma once
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "frame/band_engine.h"
#include "frame/compiler.h"
#include "frame/pixel_rules.h"
#include "screens/damped/noise_tables.h"

namespace halftone::damped {

using engine::Dir;
using engine::flip;
using engine::keep_if;
using engine::Pixel;
using engine::quantise_double;
using engine::Role;
using Out = engine::RowOut<1>;
using Shares = engine::Shares<double>;

inline constexpr std::uint16_t kRunLengths[4] = {11, 10, 11, 10};
inline constexpr double kRunDamping = 0.97;

// The runs of the random-runs screen: where each pixel's error goes, as the
// generator alone decides it. Every pixel makes a draw it does not use. A
// pixel that finds no run under way draws the next run's length index. A
// drawn index equal to the current one counts as a repeat (the index starts
// at 0 in every plane); the second repeat in a row is replaced, by 1 if it
// was 0 and by 0 otherwise. Each run flips where the error goes.
struct Runs {
  std::int16_t index = 0;    // run-length index last chosen
  std::int16_t repeats = 0;  // times in a row the drawn index equalled it
  std::uint32_t along = 0;   // 1: error to the next pixel; 0: below

  // The next run's length, from its index draw.
  std::uint32_t start(std::uint32_t draw) {
    const auto d = static_cast<std::int16_t>(draw & 3u);
    if (d == index) {
      if (++repeats == 2) {
        index = d == 0 ? 1 : 0;
        repeats = 0;
      }
    } else {
      index = d;
      repeats = 0;
    }
    along ^= 1u;
    return kRunLengths[index];
  }
};

// The generator's draws a block at a time. The draws taken are exactly
// those the pixels would make one by one; finish() leaves the generator just
// past the last draw taken.
class DrawStream {
 public:
  explicit DrawStream(FeedbackRandom& rng) : rng_(rng), before_(rng) {}

  std::uint32_t next() {
    if (at_ == have_) refill();
    return block_[at_++];
  }
  void skip(std::uint64_t n) {
    while (n != 0) {
      if (at_ == have_) refill();
      const std::uint64_t take = n < have_ - at_ ? n : have_ - at_;
      at_ += static_cast<std::size_t>(take);
      n -= take;
    }
  }
  void finish() {
    rng_ = before_;
    for (std::size_t i = 0; i < at_; ++i) (void)rng_.draw();
  }

 private:
  static constexpr std::size_t kBlock = 4096;
  void refill() {
    before_ = rng_;
    rng_.fill(block_, kBlock);
    have_ = kBlock;
    at_ = 0;
  }

  FeedbackRandom& rng_;
  FeedbackRandom before_;  // the generator before the block in hand
  std::uint32_t block_[kBlock];
  std::size_t have_ = 0;  // draws in the block
  std::size_t at_ = 0;    // draws of the block taken
};

// Random runs in doubles: each pixel's damped error goes whole to one
// neighbour, the next pixel along the row or the pixel below, and the choice
// switches after runs of 10 or 11 pixels whose lengths are drawn at random.
// No error ever reaches the carry row, so every band starts from its source
// alone; the run state and the scan direction restart at every plane.
//
// The runs never depend on the image, so every plane's runs are drawn before
// any plane is screened (one bit a pixel, in plane order, as the planes would
// draw them one after the other); the planes then screen like any other,
// several at once.
struct RandomRuns : engine::PolicyBase<double> {
  static constexpr engine::DrawCount kDraws{0, 0, 0, 0};
  // Bit x % 64 of word x / 64 of a row: 1 where pixel x sends its error along.
  std::shared_ptr<std::vector<std::uint64_t>> plan;
  std::size_t row_words = 0;
  std::size_t plane_words = 0;
  std::uint64_t const* bits = nullptr;  // the plane being screened

  // Every pixel but the band's final one advances the runs, plane after
  // plane on the one generator; a run is walked as a whole, its pixels in
  // scan order (rows alternate), and marked where it sends the error along.
  void plan_draws(std::uint32_t planes, std::uint32_t width, std::uint32_t height,
                  FeedbackRandom& rng) {
    row_words = (std::size_t{width} + 63) / 64;
    plane_words = row_words * height;
    plan = std::make_shared<std::vector<std::uint64_t>>(plane_words * planes);
    auto stream = std::make_unique<DrawStream>(rng);
    const std::uint64_t pixels = std::uint64_t{width} * height - 1;
    for (std::uint32_t p = 0; p < planes; ++p) {
      std::uint64_t* const bits_of_plane = plan->data() + p * plane_words;
      Runs runs;
      for (std::uint64_t k = 0; k < pixels;) {
        (void)stream->next();  // the run's first pixel's own draw
        const std::uint32_t length = runs.start(stream->next());
        const std::uint64_t end = k + length < pixels ? k + length : pixels;
        if (runs.along) mark(bits_of_plane, width, k, end);
        stream->skip(end - k - 1);  // one draw each for the run's other pixels
        k = end;
      }
    }
    stream->finish();
  }

  // Marks scan positions [k, end) of a plane, row by row.
  void mark(std::uint64_t* plane_bits, std::uint32_t width, std::uint64_t k,
            std::uint64_t end) const {
    while (k < end) {
      const std::uint64_t y = k / width;
      const std::uint64_t i = k % width;
      const std::uint64_t n = end - k < width - i ? end - k : width - i;
      const std::uint64_t x0 = (y & 1u) ? width - (i + n) : i;  // right to left: mirrored
      set_bits(plane_bits + y * row_words, x0, x0 + n);
      k += n;
    }
  }
  static void set_bits(std::uint64_t* row, std::uint64_t x0, std::uint64_t x1) {
    for (std::uint64_t x = x0; x < x1;) {
      const std::uint64_t bit = x & 63u;
      const std::uint64_t n = x1 - x < 64 - bit ? x1 - x : 64 - bit;
      const std::uint64_t ones = n == 64 ? ~std::uint64_t{0} : ((std::uint64_t{1} << n) - 1);
      row[x / 64] |= ones << bit;
      x += n;
    }
  }

  void begin_plane(std::uint32_t p) { bits = plan->data() + p * plane_words; }

  // Whether pixel (x, y) sends its error along: 1 or 0 for a plane, a mask a
  // lane for planes in lanes.
  std::uint32_t along(double, std::uint32_t x, std::uint32_t y) const {
    return static_cast<std::uint32_t>((bits[y * row_words + x / 64] >> (x & 63u)) & 1u);
  }
#if defined(HALFTONE_VECTORS)
  static constexpr bool kLaneRule = true;
  std::uint64_t const* lane_bits[kLanes] = {};

  void begin_lanes(std::uint32_t p, std::uint32_t n) {
    for (std::uint32_t l = 0; l < kLanes; ++l)
      lane_bits[l] = plan->data() + (p + (l < n ? l : 0)) * plane_words;
  }
  Masks64 along(DoubleLanes, std::uint32_t x, std::uint32_t y) const {
    const std::size_t at = y * row_words + x / 64;
    const std::uint32_t shift = x & 63u;
    Masks64 bit{};
    for (std::uint32_t l = 0; l < kLanes; ++l)
      bit[l] = static_cast<std::int64_t>((lane_bits[l][at] >> shift) & 1u);
    return -bit;
  }
#endif

  // Ordinary rows damp the error; a row end can only send it down, so the run
  // under way carries on into the next row. The band's last row sends the
  // error undamped along the row or drops it, and its final pixel only
  // decides its dot.
  template <Dir D, Role R, class V, class Px, class RowOut, class Rng>
  engine::Shares<V> pixel(V v, Px const& px, RowOut& out, Rng&) {
    const V e = quantise_double(v, px.x, out);
    if constexpr (R == Role::LastEnd) return {V{}, V{}};
    const auto to_next = along(V{}, px.x, px.y);
    if constexpr (R == Role::LastInner) return {keep_if(e, to_next), V{}};
    const V damped = e * kRunDamping;
    if constexpr (R == Role::RowEnd) return {V{}, keep_if(damped, flip(to_next))};
    return {keep_if(damped, to_next), keep_if(damped, flip(to_next))};
  }
};

inline constexpr double kHalfDamping = 0.985;
inline constexpr double kHalf = 0.5;

// Half split in doubles: each pixel's error, damped by 0.985, goes half to
// the next pixel along the row and half below; the last row's downward halves
// wait in the carry row for the next band's first row. Every pixel but the final one of the band's
// last row advances the generator by one unused draw. Row ends keep only the downward half; the
// final pixel of the last row passes nothing on.
struct DampedHalves : engine::PolicyBase<double> {
  static constexpr engine::DrawCount kDraws{1, 1, 1, 0};
  static constexpr bool kLaneRule = true;
  template <Dir D, Role R, class V, class Px, class RowOut, class Rng>
  engine::Shares<V> pixel(V v, Px const& px, RowOut& out, Rng& rng) {
    const V e = quantise_double(v, px.x, out);
    if constexpr (R == Role::LastEnd) return {V{}, V{}};
    (void)rng.draw();
    const V h = e * kHalfDamping * kHalf;
    if constexpr (R == Role::RowEnd) return {V{}, h};
    return {h, h};
  }
};

// Tone-banded integer diffusion: 16-bit error rows, the split of each pixel's
// error between the next pixel and the pixel below chosen by the source tone
// (at random for darker tones, by column parity for the lightest), and a
// tone-indexed noise term added to what every second pixel passes on.

using IntShares = engine::Shares<std::int32_t>;
using engine::half;
using engine::shift_half;
using engine::two_thirds;

// `one` when the next random bit is 1, else `zero`, without a branch on the bit.
template <class Rng>
inline std::int32_t on_bit(Rng& rng, std::int32_t one, std::int32_t zero) {
  return select_on_low_bit(rng.draw(), one, zero);
}

// Which pixels add the noise table's term: none; odd columns of right-to-left
// rows; or those and even columns of left-to-right rows.
enum class NoiseColumns { None, RtlOdd, Alternate };

// The frame the four screens share. Error rows are overwritten from above, one
// share a pixel, and take the shares along the row as the row is scanned. The
// carry row starts a page at the screen's priming value; after that only a
// band whose last row runs right to left (an even band height) hands its
// downward shares to the next band. The generator is reseeded on first bands
// only, so its sequence runs on through a page.
//
// Rules supplies kCarryStart, the noise table with its columns, and
// `along`: the share for the next pixel in scan order (the rest goes below).
// Every pixel of every row, row ends included, draws and splits by the same
// rule; a row end's share along the row is simply lost.
template <class Rules>
struct ToneBanded : engine::PolicyBase<std::int16_t> {
  static constexpr bool kValueLines = false;
  static constexpr bool kCarryOnlyAfterRtl = true;
  static constexpr engine::Reseed kReseed = engine::Reseed::FirstBand;
  static constexpr std::int16_t kCarryStart = Rules::kCarryStart;
  static constexpr bool kDrawsBySource = true;
  template <Dir D>
  static constexpr std::uint32_t draws_below() {
    return Rules::template draws_below<D>();
  }

  template <Dir D, Role R, class Rng>
  IntShares pixel(std::int16_t c, Pixel px, Out& out, Rng& rng) {
    const std::int32_t v = c + static_cast<std::int32_t>(px.s);
    const bool dot = v <= 128;
    out.put(px.x, dot);
    std::int32_t e = dot ? v : v - 255;
    // The noise changes only what is passed on, never the pixel's own dot.
    if constexpr (Rules::kNoiseColumns != NoiseColumns::None) {
      const bool odd = (px.x & 1u) != 0;
      if (D == Dir::Rtl ? odd : Rules::kNoiseColumns == NoiseColumns::Alternate && !odd)
        e += (*Rules::kNoise)[px.s];
    }
    const std::int32_t n = Rules::template along<D>(e, px.s, px.x, rng);
    return {n, e - n};
  }
};

struct Bands {
  std::uint32_t middle;
  std::uint32_t high;
};

// Three tone bands, set apart per direction. From the high band up: no draw,
// two thirds at even columns and the `lesser` share at odd ones. Middle band:
// one random bit, 1 the lesser share, 0 two thirds. Below: one random bit, 1
// everything along, 0 half by arithmetic shift.
template <class R>
struct ThreeBands {
  // Below the high band every pixel makes one draw.
  template <Dir D>
  static constexpr std::uint32_t draws_below() {
    return (D == Dir::Ltr ? R::kLtr : R::kRtl).high;
  }

  // The bands are tested from the darkest, the widest, up.
  template <Dir D, class Rng>
  static std::int32_t along(std::int32_t e, std::uint32_t s, std::uint32_t x, Rng& rng) {
    constexpr Bands bands = D == Dir::Ltr ? R::kLtr : R::kRtl;
    if (s < bands.middle) return on_bit(rng, e, shift_half(e));
    if (s < bands.high) return on_bit(rng, R::lesser(e), two_thirds(e));
    return (x & 1u) ? R::lesser(e) : two_thirds(e);
  }
};

// Primed with -35; noise of amplitude 31 at odd columns of right-to-left rows;
// the lesser share is half by arithmetic shift.
struct Amplitude31Rules : ThreeBands<Amplitude31Rules> {
  static constexpr std::int16_t kCarryStart = -35;
  static constexpr NoiseTable const* kNoise = &kNoiseAmplitude31;
  static constexpr NoiseColumns kNoiseColumns = NoiseColumns::RtlOdd;
  static constexpr Bands kLtr{166, 216};
  static constexpr Bands kRtl{179, 213};
  static std::int32_t lesser(std::int32_t e) { return shift_half(e); }
};

// Primed with -25; the banded noise at even columns going right and odd
// columns going left; the lesser share is three quarters by arithmetic shift.
struct Band31Rules : ThreeBands<Band31Rules> {
  static constexpr std::int16_t kCarryStart = -25;
  static constexpr NoiseTable const* kNoise = &kNoiseBand31;
  static constexpr NoiseColumns kNoiseColumns = NoiseColumns::Alternate;
  static constexpr Bands kLtr{166, 216};
  static constexpr Bands kRtl{185, 213};
  static std::int32_t lesser(std::int32_t e) { return (3 * e) >> 2; }
};

// No priming; noise of amplitude 8 at even columns going right and odd columns
// going left; five bands, the same in both directions, with truncating halves.
// The two light bands treat the directions differently on purpose.
struct FiveBandRules {
  static constexpr std::int16_t kCarryStart = 0;
  static constexpr NoiseTable const* kNoise = &kNoiseAmplitude8;
  static constexpr NoiseColumns kNoiseColumns = NoiseColumns::Alternate;

  // Below 203 every pixel makes one draw.
  template <Dir D>
  static constexpr std::uint32_t draws_below() {
    return 203;
  }
  // The bands are tested from the darkest, the widest (176 greys), up: on a
  // page of every grey most pixels then take one test where they took four.
  template <Dir D, class Rng>
  static std::int32_t along(std::int32_t e, std::uint32_t s, std::uint32_t x, Rng& rng) {
    if (s < 176) return on_bit(rng, e, half(e));
    if (s < 203) return on_bit(rng, two_thirds(e), half(e));
    if (s < 229) {
      const bool odd = (x & 1u) != 0;
      return (D == Dir::Ltr ? !odd : odd) ? two_thirds(e) : half(e);
    }
    if (s <= 240) return D == Dir::Ltr ? half(e) : two_thirds(e);
    return two_thirds(e);
  }
};

// The plain member: no priming, no noise, no draws; half along (truncating),
// the rest below.
struct HalvesRules {
  static constexpr std::int16_t kCarryStart = 0;
  static constexpr NoiseColumns kNoiseColumns = NoiseColumns::None;
  template <Dir D>
  static constexpr std::uint32_t draws_below() {
    return 0;
  }

  template <Dir D, class Rng>
  static std::int32_t along(std::int32_t e, std::uint32_t, std::uint32_t, Rng&) {
    return half(e);
  }
};

}  // namespace halftone::damped
