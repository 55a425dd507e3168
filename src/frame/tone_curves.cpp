#include "frame/tone_curves.h"

#include <cstring>
#include <fstream>
#include <vector>

#include "frame/data_folder.h"
#include "frame/state.h"
#include "halftone/result_codes.h"

namespace halftone {
namespace {

// A run of a default curve: indices first..last start at `start` and each
// further index adds `step`; `end` is the value at `last` (checked at compile
// time). A run with copy_from >= 0 copies that curve's values instead.
struct Run {
  int first, last, start, end, step, copy_from;
};
constexpr Run flat(int first, int last, int v) { return {first, last, v, v, 0, -1}; }
constexpr Run ramp(int first, int last, int start, int end, int step) {
  return {first, last, start, end, step, -1};
}
constexpr Run copy(int first, int curve) { return {first, 255, 0, 0, 0, curve}; }

constexpr bool consistent(Run const& r) {
  return r.copy_from >= 0 || r.start + r.step * (r.last - r.first) == r.end;
}

// The rise shared by curves 2-5, and its copy moved 32 places toward dark (9, 10).
#define RISE_99 \
  flat(0, 98, 0), ramp(99, 100, 1, 2, 1), ramp(101, 119, 4, 40, 2), ramp(120, 122, 41, 43, 1)
#define RISE_67 \
  flat(0, 66, 0), ramp(67, 68, 1, 2, 1), ramp(69, 87, 4, 40, 2), ramp(88, 90, 41, 43, 1)

constexpr Run kCurve1[] = {flat(0, 101, 0), ramp(102, 106, 1, 9, 2), ramp(107, 128, 10, 31, 1),
                           flat(129, 224, 31), ramp(225, 255, 30, 0, -1)};
constexpr Run kCurve2[] = {RISE_99,
                           ramp(123, 138, 45, 60, 1),
                           flat(139, 208, 60),
                           ramp(209, 220, 59, 48, -1),
                           ramp(221, 230, 46, 37, -1),
                           ramp(231, 237, 35, 29, -1),
                           ramp(238, 241, 27, 24, -1),
                           ramp(242, 246, 22, 18, -1),
                           ramp(247, 248, 16, 15, -1),
                           ramp(249, 250, 13, 12, -1),
                           ramp(251, 254, 10, 4, -2),
                           flat(255, 255, 0)};
constexpr Run kCurve3[] = {RISE_99,
                           ramp(123, 138, 45, 60, 1),
                           flat(139, 208, 60),
                           ramp(209, 220, 59, 48, -1),
                           ramp(221, 230, 46, 37, -1),
                           ramp(231, 232, 37, 36, -1),
                           ramp(233, 234, 34, 32, -2),
                           ramp(235, 237, 31, 29, -1),
                           ramp(238, 240, 27, 25, -1),
                           ramp(241, 247, 23, 11, -2),
                           ramp(248, 249, 10, 8, -2),
                           ramp(250, 251, 7, 5, -2),
                           ramp(252, 254, 4, 2, -1),
                           flat(255, 255, 0)};
constexpr Run kCurve4[] = {RISE_99,
                           ramp(123, 144, 45, 66, 1),
                           flat(145, 208, 66),
                           ramp(209, 230, 65, 44, -1),
                           ramp(231, 232, 42, 41, -1),
                           ramp(233, 234, 39, 37, -2),
                           ramp(235, 236, 36, 35, -1),
                           ramp(237, 251, 33, 5, -2),
                           ramp(252, 254, 4, 2, -1),
                           flat(255, 255, 0)};
constexpr Run kCurve5[] = {RISE_99,
                           ramp(123, 158, 45, 80, 1),
                           flat(159, 204, 80),
                           ramp(205, 224, 79, 60, -1),
                           ramp(225, 252, 58, 4, -2),
                           ramp(253, 254, 3, 2, -1),
                           flat(255, 255, 0)};
constexpr Run kCurve6[] = {flat(0, 101, 0),
                           ramp(102, 106, 1, 9, 2),
                           ramp(107, 148, 10, 51, 1),
                           flat(149, 214, 51),
                           ramp(215, 227, 50, 38, -1),
                           ramp(228, 230, 36, 34, -1),
                           ramp(231, 233, 32, 30, -1),
                           ramp(234, 236, 28, 26, -1),
                           ramp(237, 239, 24, 22, -1),
                           ramp(240, 242, 20, 18, -1),
                           ramp(243, 245, 16, 14, -1),
                           ramp(246, 247, 12, 11, -1),
                           ramp(248, 249, 9, 8, -1),
                           ramp(250, 251, 6, 5, -1),
                           ramp(252, 255, 3, 0, -1)};
constexpr Run kCurve7[] = {flat(0, 101, 0),
                           ramp(102, 106, 1, 9, 2),
                           ramp(107, 137, 10, 40, 1),
                           ramp(138, 145, 42, 49, 1),
                           ramp(146, 160, 51, 65, 1),
                           flat(161, 208, 65),
                           ramp(209, 228, 64, 45, -1),
                           ramp(229, 230, 43, 42, -1),
                           ramp(231, 232, 40, 39, -1),
                           ramp(233, 234, 37, 35, -2),
                           ramp(235, 237, 34, 30, -2),
                           ramp(238, 240, 29, 25, -2),
                           ramp(241, 243, 24, 20, -2),
                           ramp(244, 245, 19, 17, -2),
                           ramp(246, 248, 16, 12, -2),
                           ramp(249, 251, 11, 7, -2),
                           ramp(252, 255, 6, 0, -2)};
constexpr Run kCurve8[] = {flat(0, 64, 0), ramp(65, 95, 1, 31, 1), flat(96, 223, 31),
                           ramp(224, 254, 30, 0, -1), flat(255, 255, 0)};
constexpr Run kCurve9[] = {RISE_67, ramp(91, 112, 45, 66, 1), flat(113, 208, 66), copy(209, 4)};
constexpr Run kCurve10[] = {RISE_67, ramp(91, 126, 45, 80, 1), flat(127, 204, 80), copy(205, 5)};
constexpr Run kCurve11[] = {flat(0, 69, 0), ramp(70, 74, 1, 9, 2), ramp(75, 116, 10, 51, 1),
                            flat(117, 214, 51), copy(215, 6)};
constexpr Run kCurve12[] = {flat(0, 71, 0),
                            ramp(72, 76, 1, 9, 2),
                            ramp(77, 127, 10, 60, 1),
                            flat(128, 208, 60),
                            ramp(209, 227, 59, 41, -1),
                            ramp(228, 230, 39, 37, -1),
                            ramp(231, 233, 35, 33, -1),
                            ramp(234, 236, 31, 29, -1),
                            ramp(237, 239, 27, 25, -1),
                            ramp(240, 243, 23, 20, -1),
                            ramp(244, 245, 18, 16, -2),
                            ramp(246, 248, 15, 11, -2),
                            ramp(249, 251, 10, 6, -2),
                            ramp(252, 254, 5, 1, -2),
                            flat(255, 255, 0)};
constexpr Run kCurve13[] = {flat(0, 71, 0),
                            ramp(72, 76, 1, 9, 2),
                            ramp(77, 127, 10, 60, 1),
                            flat(128, 216, 60),
                            ramp(217, 230, 59, 46, -1),
                            ramp(231, 232, 44, 43, -1),
                            ramp(233, 234, 41, 39, -2),
                            ramp(235, 236, 38, 36, -2),
                            ramp(237, 239, 35, 31, -2),
                            ramp(240, 255, 30, 0, -2)};
constexpr Run kCurve14[] = {flat(0, 55, 0),
                            ramp(56, 60, 1, 9, 2),
                            ramp(61, 119, 10, 68, 1),
                            ramp(120, 124, 70, 74, 1),
                            ramp(125, 127, 76, 78, 1),
                            flat(128, 207, 80),
                            ramp(208, 229, 79, 58, -1),
                            ramp(230, 237, 56, 42, -2),
                            ramp(238, 241, 39, 33, -2),
                            ramp(242, 245, 30, 24, -2),
                            ramp(246, 248, 21, 17, -2),
                            ramp(249, 251, 14, 10, -2),
                            ramp(252, 253, 7, 5, -2),
                            ramp(254, 255, 2, 0, -2)};
#undef RISE_99
#undef RISE_67

struct CurveRuns {
  Run const* runs;
  int count;
};
template <int N>
constexpr CurveRuns runs_of(Run const (&r)[N]) {
  return {r, N};
}
constexpr CurveRuns kDefaults[kCurveCount] = {
    {nullptr, 0},      runs_of(kCurve1),  runs_of(kCurve2),  runs_of(kCurve3),  runs_of(kCurve4),
    runs_of(kCurve5),  runs_of(kCurve6),  runs_of(kCurve7),  runs_of(kCurve8),  runs_of(kCurve9),
    runs_of(kCurve10), runs_of(kCurve11), runs_of(kCurve12), runs_of(kCurve13), runs_of(kCurve14)};

constexpr bool all_consistent() {
  for (CurveRuns const& c : kDefaults)
    for (int i = 0; i < c.count; ++i)
      if (!consistent(c.runs[i])) return false;
  return true;
}
static_assert(all_consistent(), "a default curve run does not reach its stated end value");

struct Bank {
  std::uint8_t curves[kCurveCount][256] = {};
  Bank() {
    for (int k = 0; k < kCurveCount; ++k) {
      for (int i = 0; i < kDefaults[k].count; ++i) {
        Run const& r = kDefaults[k].runs[i];
        for (int x = r.first; x <= r.last; ++x)
          curves[k][x] = static_cast<std::uint8_t>(
              r.copy_from >= 0 ? curves[r.copy_from][x] : r.start + r.step * (x - r.first));
      }
    }
  }
};

Bank const& defaults() {
  static const Bank bank;
  return bank;
}

ToneState& tone() { return state().tone; }

}  // namespace

std::uint8_t (&curve_bank())[kCurveCount][256] { return tone().bank; }

std::uint8_t const (&default_curve_bank())[kCurveCount][256] { return defaults().curves; }

ActiveToneCurves active_curves() {
  ToneState& s = tone();
  return {s.bank[s.curve_a], s.bank[s.curve_b]};
}

CurvePair curves_for_mode(int mode) {
  switch (mode) {
    case 1:
      return {1, 1};
    case 2:
    case 3:
      return {1, 4};
    case 4:
      return {6, 5};
    case 5:
      return {7, 5};
    case 11:
      return {8, 8};
    case 12:
      return {8, 9};
    case 13:
      return {8, 10};
    case 14:
      return {11, 10};
    case 15:
      return {12, 10};
    case 16:
      return {13, 10};
    case 17:
      return {14, 10};
    default:
      return {0, 0};
  }
}

std::uint8_t const (&ScreenParameterBytes())[kParameterBytes] { return tone().parameters; }

namespace {

// Decimal conversion of a token: leading white space, optional sign, digits
// up to the first non-digit; an empty token gives 0.
int token_value(char const* token) {
  while (*token == ' ' || (*token >= '\t' && *token <= '\r')) ++token;
  bool negative = false;
  if (*token == '+' || *token == '-') negative = *token++ == '-';
  int value = 0;
  for (; *token >= '0' && *token <= '9'; ++token) value = value * 10 + (*token - '0');
  return negative ? -value : value;
}

}  // namespace

void parse_parameters(char const* text, std::uint8_t (&out)[kParameterBytes]) {
  std::memset(out, 0, sizeof out);
  if (text == nullptr) return;
  char token[4] = {};
  int length = 0;
  int next = 0;
  for (; *text != '\0'; ++text) {
    if (*text != ',') {
      // A token holds three characters; further characters up to the comma
      // are skipped.
      if (length < 3) token[length++] = *text;
      continue;
    }
    token[length] = '\0';
    // Values after the ninth have no byte to go to and are ignored.
    if (next < kParameterBytes)
      out[next++] = static_cast<std::uint8_t>(static_cast<unsigned>(token_value(token)) & 0xFFu);
    length = 0;
  }
}

int load_curve_file() {
  std::ifstream file(data_path("ToneAry.ham"), std::ios::binary);
  if (!file) return ERR_FILE_OPEN;
  file.seekg(0, std::ios::end);
  const std::streamoff size = file.tellg();
  if (size < 0) return ERR_FILE_READ;
  file.seekg(0, std::ios::beg);
  std::vector<char> data;
  try {
    data.resize(static_cast<std::size_t>(size) + 1);
  } catch (std::bad_alloc const&) {
    return ERR_NO_MEMORY;
  }
  if (size > 0 && !file.read(data.data(), size)) return ERR_FILE_READ;
  std::uint8_t(&bank)[kCurveCount][256] = curve_bank();
  for (int k = 0; k < kCurveCount; ++k)
    if (size >= 256 * (k + 1)) std::memcpy(bank[k], data.data() + 256 * k, 256);
  return 0;
}

void apply_tone_setup(int mode, char const* parameters) {
  (void)load_curve_file();  // a missing or unreadable file leaves the bank as it was
  const CurvePair pair = curves_for_mode(mode);
  ToneState& s = tone();
  s.curve_a = pair.a;
  s.curve_b = pair.b;
  parse_parameters(parameters, s.parameters);
}

}  // namespace halftone
