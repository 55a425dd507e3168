// A plain model of the damped and noise-table screens, written straight from
// their rules with per-pixel loops: its own generator, its own carried rows,
// no shared engine. The tests compare the library with it byte for byte.
#pragma once
#include <cstdint>
#include <vector>

namespace halftone::test {

// The 31-word additive generator with lag 3, seeded as the screens seed it.
class RefRandom {
 public:
  void seed(std::uint32_t s);
  std::uint32_t draw();

 private:
  std::uint32_t state_[31] = {};
  int front_ = 3;
  int rear_ = 0;
};

enum class Model { Runs, HalfSplit, Amplitude31, Band31, FiveBand, Halves };

class Reference {
 public:
  // What every later reseed from the clock uses, as halftone::pin_seed_time.
  void pin_seconds(std::uint32_t seconds) { seconds_ = seconds; }

  // One call, with the arguments of the exported screen.
  void screen(Model model, unsigned char const* source, unsigned char* dots, std::uint32_t width,
              std::uint32_t height, std::uint32_t control);

  RefRandom& random() { return rng_; }

 private:
  struct Lines {
    bool held = false;
    std::uint32_t width = 0;
    std::size_t size = 0;
  };
  // Allocates as the band protocol says: on a first band, or when nothing
  // (or too little) is held. Returns true when it did.
  static bool begin(Lines& lines, bool first, std::uint32_t planes, std::uint32_t width);

  void runs(unsigned char const* src, unsigned char* dots, std::uint32_t w, std::uint32_t h,
            std::uint32_t planes, bool half_split);
  void tone_banded(Model model, unsigned char const* src, unsigned char* dots, std::uint32_t w,
                   std::uint32_t h, std::uint32_t planes);

  std::uint32_t seconds_ = 0;
  RefRandom rng_;
  Lines double_lines_;
  std::vector<double> double_carry_;
  Lines int_lines_;
  std::vector<std::int16_t> int_carry_;
};

}  // namespace halftone::test
