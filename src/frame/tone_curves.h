// The bank of fifteen tone curves, the active pair and the parameter bytes.
#pragma once
#include <cstdint>

namespace halftone {

using ToneCurve = std::uint8_t[256];

constexpr int kCurveCount = 15;
constexpr int kParameterBytes = 9;

// The bank as it stands (compiled-in contents until a "ToneAry.ham" replaces curves).
std::uint8_t (&curve_bank())[kCurveCount][256];
// The compiled-in contents, independent of any loaded file.
std::uint8_t const (&default_curve_bank())[kCurveCount][256];

// Curve A (left-to-right push in most screens) and curve B.
struct ActiveToneCurves {
  std::uint8_t const* a;
  std::uint8_t const* b;
};
ActiveToneCurves active_curves();

// Curve numbers selected by a mode.
struct CurvePair {
  int a;
  int b;
};
CurvePair curves_for_mode(int mode);

// The nine parameter bytes parsed from the parameter string.
std::uint8_t const (&ScreenParameterBytes())[kParameterBytes];

// Parses a parameter string into `out` (the rules of Itsdiufiavs).
void parse_parameters(char const* text, std::uint8_t (&out)[kParameterBytes]);

// Loads "ToneAry.ham" from the data folder into the bank. Returns 0 or a
// result code; the bank keeps every curve the file does not reach.
int load_curve_file();

// The whole tone setup: reload the bank, select the pair by `mode`, parse the
// parameter string.
void apply_tone_setup(int mode, char const* parameters);

}  // namespace halftone
