// Tone-table noise diffusion: one random bit sends each pixel's error ahead or
// below, drawn from the utility generator, whose sequence runs on across calls.
#include <cstdint>
#include <memory>

#include "frame/feedback_random.h"
#include "frame/layout.h"
#include "utilities/entries.h"
#include "utilities/serpentine.h"

namespace halftone::utilities {
namespace {

// Inner rows: a dot below 128; a 1 sends the error below, a 0 ahead.
// The last row keeps a 0 in the row and drops a 1. `Plain` gives its final
// pixel the inverted test (a dot above 127) and no draw; the reseeded variant
// tests below 129 throughout the last row and draws it from `last`.
template <NoiseVariant V>
struct NoiseRule {
  static constexpr bool kDiagonals = false;
  unsigned char const* tone;
  FeedbackRandom& rows;
  FeedbackRandom& last;
  std::uint32_t* draws;  // a row's draws, made before the row
  std::uint32_t const* next = nullptr;

  std::uint32_t value(unsigned char grey) const { return tone[grey]; }

  // Every pixel draws, but the last row's final one.
  template <bool Last>
  void begin_row(std::uint32_t width) {
    (Last ? last : rows).fill(draws, Last ? width - 1u : width);
    next = draws;
  }

  template <bool Last, bool Final>
  bool dot(std::int32_t v) const {
    if constexpr (Last && V == NoiseVariant::ReseededLastRow) return v < 129;
    if constexpr (Last && Final) return v > 127;
    return v < 128;
  }

  template <bool Last, bool Final>
  Target pick() {
    if constexpr (Last && Final) return Target::Drop;
    return (*next++ & 1u) ? Target::Below : Target::Ahead;
  }
};

template <NoiseVariant V>
void run(unsigned char const* source, std::uint32_t width, std::uint32_t height,
         unsigned char const* tone, PlaceAsSource& place) {
  // Both generators are drawn through local copies and handed back, so their
  // sequences continue exactly as if the shared instances had been drawn.
  std::unique_ptr<std::uint32_t[]> draws(new std::uint32_t[width]);
  FeedbackRandom rows = utility_random();
  FeedbackRandom last = screening_random();
  NoiseRule<V> rule{tone, rows, V == NoiseVariant::Plain ? rows : last, draws.get()};
  serpentine(source, width, height, rule, place);
  utility_random() = rows;
  screening_random() = last;
}

}  // namespace

int tone_noise(unsigned char const* source, unsigned char* dots, std::uint32_t width,
               std::uint32_t height, unsigned char const* tone, NoiseVariant variant) {
  if (width == 0 || height == 0) return 0;  // nothing to clear, nothing drawn
  PlaceAsSource place(dots, width, height);
  clear_output(dots, 1, place.stride, height);
  reseed_screening();
  if (variant == NoiseVariant::Plain)
    run<NoiseVariant::Plain>(source, width, height, tone, place);
  else
    run<NoiseVariant::ReseededLastRow>(source, width, height, tone, place);
  return 0;
}

}  // namespace halftone::utilities
