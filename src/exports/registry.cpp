// The one table of screens and utilities: readable id, fixed entry name,
// family, bits, layout, banding, needs, levels, pattern geometry, summary,
// default levels, whether a set bit is paper, the code of a full dot.
#include "exports/registry.h"

#include <array>
#include <cstring>

#include "frame/layout.h"
#include "halftone/halftone.h"

namespace halftone {
namespace {

// The uniform call for an entry point whose sizes are signed ints.
template <int (*Entry)(unsigned char*, unsigned char*, int, int, unsigned int)>
int run_signed(unsigned char* s, unsigned char* o, std::uint32_t w, std::uint32_t h,
               std::uint32_t control) {
  return Entry(s, o, static_cast<int>(w), static_cast<int>(h), control);
}

int run_page(unsigned char* s, unsigned char* o, std::uint32_t w, std::uint32_t h, std::uint32_t) {
  return hxkjsdi67x(s, o, w, h);
}

// The utilities are called with an identity tone table.
template <class T>
constexpr std::array<T, 256> identity_table() {
  std::array<T, 256> t{};
  for (int i = 0; i < 256; ++i) t[static_cast<std::size_t>(i)] = static_cast<T>(i);
  return t;
}
std::array<unsigned char, 256> g_byte_identity = identity_table<unsigned char>();
std::array<int, 256> g_int_identity = identity_table<int>();

template <int (*Entry)(unsigned char*, unsigned char*, unsigned int, unsigned int,
                       unsigned char* const)>
int run_noise(unsigned char* s, unsigned char* o, std::uint32_t w, std::uint32_t h, std::uint32_t) {
  return Entry(s, o, w, h, g_byte_identity.data());
}
template <int (*Entry)(unsigned char*, unsigned char*, int, int, int* const, unsigned char*)>
int run_oriented(unsigned char* s, unsigned char* o, std::uint32_t w, std::uint32_t h,
                 std::uint32_t) {
  return Entry(s, o, static_cast<int>(w), static_cast<int>(h), g_int_identity.data(), nullptr);
}
template <int (*Entry)(unsigned char*, unsigned char*&, int, int, int* const, unsigned char*)>
int run_by_reference(unsigned char* s, unsigned char* o, std::uint32_t w, std::uint32_t h,
                     std::uint32_t) {
  return Entry(s, o, static_cast<int>(w), static_cast<int>(h), g_int_identity.data(), nullptr);
}

constexpr halftone_layout kSame = HALFTONE_LAYOUT_SAME;
constexpr halftone_layout kTurned = HALFTONE_LAYOUT_TRANSPOSED;
constexpr halftone_layout kRotated = HALFTONE_LAYOUT_ROTATED;
constexpr halftone_banding kPage = HALFTONE_BANDING_WHOLE_PAGE;
constexpr halftone_banding kBanded = HALFTONE_BANDING_BANDED;
constexpr halftone_banding kCarried = HALFTONE_BANDING_CARRIED;
constexpr unsigned kNone = HALFTONE_NEEDS_NOTHING;
constexpr unsigned kCurves = HALFTONE_NEEDS_TONE_CURVES;
constexpr unsigned kLevels = HALFTONE_NEEDS_TONE_CURVES | HALFTONE_NEEDS_LEVELS;
constexpr unsigned kLevelsOnly = HALFTONE_NEEDS_LEVELS;
constexpr unsigned kPattern = HALFTONE_NEEDS_PATTERN;
constexpr unsigned kPattern2 = HALFTONE_NEEDS_PATTERN2;
constexpr unsigned kMatrix = HALFTONE_NEEDS_MATRIX;
constexpr unsigned kBlocks = HALFTONE_NEEDS_BLOCKS;
constexpr unsigned kBuilt = HALFTONE_NEEDS_BUILT_MATRIX;

// Evenly spread levels, round(255 k / (n - 1)).
constexpr char kEven4[] = "0,85,170,255";
constexpr char kEven8[] = "0,36,73,109,146,182,219,255";

constexpr char kDiffusion[] = "diffusion";
constexpr char kMatrixFamily[] = "matrix";
constexpr char kDamped[] = "damped";
constexpr char kMultilevel[] = "multilevel";
constexpr char kLoaded[] = "loaded";
constexpr char kUtilities[] = "utilities";

// id, entry, family, bits, layout, banding, needs, levels, pattern w x h, summary,
// default levels, paper bits, top code; call
const Screen kScreens[] = {
    // Error diffusion.
    {{"random-direction-page", "hxkjsdi67x", kDiffusion, 1, kSame, kPage, kNone, 0, 0, 0,
      "random-direction diffusion, one plane, whole page in one call", nullptr, 0, 1},
     run_page},
    {{"random-direction", "jsdi6yruis", kDiffusion, 1, kSame, kCarried, kNone, 0, 0, 0,
      "banded random-direction diffusion", nullptr, 0, 1},
     run_signed<jsdi6yruis>},
    {{"random-direction-unsigned", "irpduix7sg", kDiffusion, 1, kSame, kCarried, kNone, 0, 0, 0,
      "banded random-direction diffusion (unsigned sizes)", nullptr, 0, 1},
     irpduix7sg},
    {{"tone-push", "sdiufiavs", kDiffusion, 1, kSame, kCarried, kCurves, 0, 0, 0,
      "thirds split with tone push from the active curves", nullptr, 0, 1},
     run_signed<sdiufiavs>},
    {{"conserving-split", "sdiufiavs1", kDiffusion, 1, kSame, kCarried, kNone, 0, 0, 0,
      "conserving split, random sequence runs on across bands", nullptr, 0, 1},
     sdiufiavs1},
    {{"counter-driven", "highforces", kDiffusion, 1, kSame, kCarried, kNone, 0, 0, 0,
      "13-state counter, scan direction runs on across bands", nullptr, 0, 1},
     highforces},
    {{"inverted-thirds", "mandfanes", kDiffusion, 1, kSame, kCarried, kNone, 0, 0, 0,
      "thirds split, inverted output (set bit = paper)", nullptr, 1, 1},
     run_signed<mandfanes>},
    {{"inverted-quarters", "orangecagn", kDiffusion, 1, kSame, kCarried, kNone, 0, 0, 0,
      "quarters split, inverted output (set bit = paper)", nullptr, 1, 1},
     run_signed<orangecagn>},
    // Ordered dither and offset matrix.
    {{"ordered-16", "Kaocosyx", kMatrixFamily, 1, kSame, kBanded, kBuilt, 0, 0, 0,
      "ordered dither against the built-in 16 x 16 matrix, phase restarts every call", nullptr, 0,
      1},
     Kaocosyx},
    {{"offset-matrix", "Kaocosyx1", kMatrixFamily, 1, kSame, kCarried, kCurves | kMatrix, 0, 0, 0,
      "offset-matrix diffusion (240 tile) with tone-curve noise", nullptr, 0, 1},
     run_signed<Kaocosyx1>},
    {{"offset-random-split", "Kaocosyx10", kMatrixFamily, 1, kSame, kCarried, kCurves, 0, 0, 0,
      "random thirds-or-quarters split diffusion with tone-curve noise", nullptr, 0, 1},
     Kaocosyx10},
    {{"offset-matrix-four-level", "Kaocosyx13", kMatrixFamily, 2, kSame, kCarried,
      kLevels | kMatrix, 4, 0, 0, "offset-matrix serpentine deciding between four host-set levels",
      kEven4, 0, 3},
     run_signed<Kaocosyx13>},
    {{"offset-random-split-four-level", "Kaocosyx14", kMatrixFamily, 2, kSame, kCarried, kLevels, 4,
      0, 0, "random thirds-or-quarters splits deciding between four host-set levels", kEven4, 0, 3},
     run_signed<Kaocosyx14>},
    // Damped and noise-table diffusion.
    {{"damped-random-runs", "suiruiskao", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "doubles damped by 0.97, whole error along or below in random runs of 10 or 11", nullptr, 0,
      1},
     suiruiskao},
    {{"damped-half-split", "suiruiskao2", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "doubles damped by 0.985, halves along and below, last row carries into the next band",
      nullptr, 0, 1},
     suiruiskao2},
    {{"damped-random-runs-3", "suiruiskao3", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "the rules of damped-random-runs", nullptr, 0, 1},
     suiruiskao3},
    {{"damped-random-runs-4", "suiruiskao4", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "the rules of damped-random-runs", nullptr, 0, 1},
     suiruiskao4},
    {{"damped-random-runs-5", "suiruiskao5", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "the rules of damped-random-runs", nullptr, 0, 1},
     suiruiskao5},
    {{"damped-random-runs-6", "suiruiskao6", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "the rules of damped-random-runs", nullptr, 0, 1},
     suiruiskao6},
    {{"damped-random-runs-7", "suiruiskao7", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "the rules of damped-random-runs", nullptr, 0, 1},
     suiruiskao7},
    {{"plain-halves", "suiruiskao8", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "16-bit, half along and the rest below at every pixel, no noise, no draws", nullptr, 0, 1},
     suiruiskao8},
    {{"damped-random-runs-9", "suiruiskao9", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "the rules of damped-random-runs", nullptr, 0, 1},
     suiruiskao9},
    {{"damped-random-runs-10", "suiruiskao10", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "the rules of damped-random-runs", nullptr, 0, 1},
     suiruiskao10},
    {{"five-band-noise", "suiruiskao11", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "16-bit, five tone bands, noise of amplitude 8 at every second pixel", nullptr, 0, 1},
     suiruiskao11},
    {{"tone-banded", "sdiufiavs2", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "16-bit, three tone bands, noise of amplitude 31 going left, carry primed with -35", nullptr,
      0, 1},
     sdiufiavs2},
    {{"tone-banded-quarters", "sdiufiavs3", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "16-bit, three tone bands with three-quarter shares, banded noise, carry primed with -25",
      nullptr, 0, 1},
     sdiufiavs3},
    {{"tone-banded-quarters-4", "sdiufiavs4", kDamped, 1, kSame, kCarried, kNone, 0, 0, 0,
      "the rules of tone-banded-quarters", nullptr, 0, 1},
     sdiufiavs4},
    // Multi-level.
    {{"four-level", "FastGroup", kMultilevel, 2, kSame, kCarried, kLevels, 4, 0, 0,
      "four host-set levels bracketed by the source grey, halves on two random bits, tone bias",
      kEven4, 0, 3},
     run_signed<FastGroup>},
    {{"four-level-fixed", "FastGroup1", kMultilevel, 2, kSame, kCarried, kCurves, 0, 0, 0,
      "four fixed levels (0, 85, 170, 255), halves on two random bits, tone bias", nullptr, 0, 3},
     FastGroup1},
    {{"two-level-code-1", "ArcistPump", kMultilevel, 2, kSame, kCarried, kCurves, 0, 0, 0,
      "two levels, dots written as code 1, halves on two random bits, tone bias", nullptr, 0, 3},
     run_signed<ArcistPump>},
    {{"two-level-code-2", "Kaishanxing", kMultilevel, 2, kSame, kCarried, kCurves, 0, 0, 0,
      "two levels, dots written as code 2, halves on two random bits, tone bias", nullptr, 0, 3},
     run_signed<Kaishanxing>},
    {{"two-level-code-3", "SymanOpening", kMultilevel, 2, kSame, kCarried, kCurves, 0, 0, 0,
      "two levels, dots written as code 3, halves on two random bits, tone bias", nullptr, 0, 3},
     run_signed<SymanOpening>},
    {{"four-level-thirds", "RoundFaxest", kMultilevel, 2, kSame, kCarried, kLevels, 4, 0, 0,
      "four host-set bracketed levels, one-third split on one random bit, tone bias", kEven4, 0, 3},
     run_signed<RoundFaxest>},
    {{"four-level-thirds-unsigned", "RoundFaxest__", kMultilevel, 2, kSame, kCarried, kLevels, 4, 0,
      0, "four host-set bracketed levels, one-third split (unsigned sizes)", kEven4, 0, 3},
     RoundFaxest__},
    {{"eight-level", "RoundPump", kMultilevel, 4, kSame, kCarried, kLevelsOnly, 8, 0, 0,
      "eight host-set levels bracketed by the source grey, halves on two random bits", kEven8, 0,
      7},
     run_signed<RoundPump>},
    {{"eight-level-fixed", "RoundPump1", kMultilevel, 4, kSame, kCarried, kNone, 0, 0, 0,
      "eight fixed levels (255 k / 7), halves on two random bits", nullptr, 0, 7},
     RoundPump1},
    // File-loaded screens.
    {{"pattern-tiled", "Sonicksure", kLoaded, 1, kSame, kBanded, kPattern, 0, 0, 0,
      "one-bit pattern per grey, tiled at the loaded pattern size", nullptr, 0, 1},
     run_signed<Sonicksure>},
    {{"pattern-256", "MutexWindow", kLoaded, 1, kSame, kBanded, kPattern, 0, 256, 256,
      "one-bit pattern per grey, fixed 256 x 256 tile", nullptr, 0, 1},
     MutexWindow},
    {{"pattern-256-copy", "MutexWindow_Bak", kLoaded, 1, kSame, kBanded, kPattern, 0, 256, 256,
      "one-bit pattern per grey, fixed 256 x 256 tile (block-copy form)", nullptr, 0, 1},
     MutexWindow_Bak},
    {{"pattern2-256", "TextDownload", kLoaded, 2, kSame, kBanded, kPattern2, 0, 256, 256,
      "two-bit pattern per grey, fixed 256 x 256 tile", nullptr, 0, 3},
     run_signed<TextDownload>},
    {{"threshold-matrix", "WindowText", kLoaded, 1, kSame, kBanded, kMatrix, 0, 0, 0,
      "loaded 256 x 256 threshold matrix, shifted 16 rows and columns per plane", nullptr, 0, 1},
     run_signed<WindowText>},
    {{"clustered-dot", "WindowTextAM1", kLoaded, 1, kSame, kBanded, kNone, 0, 0, 0,
      "built-in 16 x 16 clustered-dot threshold matrix", nullptr, 0, 1},
     WindowTextAM1},
    {{"clustered-dot-scattered", "WindowTextAM", kLoaded, 1, kSame, kCarried, kNone, 0, 0, 0,
      "built-in scattered clustered-dot threshold matrix, through the band lines", nullptr, 0, 1},
     run_signed<WindowTextAM>},
    {{"block-offset", "CrisixOut", kLoaded, 1, kSame, kCarried, kBlocks, 0, 0, 0,
      "half-split diffusion biased by threshold blocks chosen by grey", nullptr, 0, 1},
     CrisixOut},
    {{"block-offset-double", "CrisixOut_double", kLoaded, 1, kSame, kCarried, kNone, 0, 0, 0,
      "half-split diffusion in double precision, no offsets", nullptr, 0, 1},
     CrisixOut_double},
    {{"block-random-split", "CrisixOut31", kLoaded, 1, kSame, kCarried, kCurves, 0, 0, 0,
      "grey-dependent random splits with tone-curve bias, random sequence runs on across bands",
      nullptr, 0, 1},
     run_signed<CrisixOut31>},
    // Single-plane utilities.
    {{"tone-noise", "xinskdn34skx", kUtilities, 1, kSame, kPage, kNone, 0, 0, 0,
      "tone-table noise diffusion, one plane; the noise runs on across calls", nullptr, 0, 1},
     run_noise<xinskdn34skx>},
    {{"tone-noise-reseeded", "shdeiznc45kdi", kUtilities, 1, kSame, kPage, kNone, 0, 0, 0,
      "tone-table noise diffusion, last row from the reseeded screening generator", nullptr, 0, 1},
     run_noise<shdeiznc45kdi>},
    {{"oriented-four-neighbours", "kajdjigc23kdh", kUtilities, 1, kSame, kPage, kNone, 0, 0, 0,
      "random-direction diffusion to one of four neighbours", nullptr, 0, 1},
     run_oriented<kajdjigc23kdh>},
    {{"oriented-transposed", "tishduth29dmc", kUtilities, 1, kTurned, kPage, kNone, 0, 0, 0,
      "random-direction diffusion, transposed output", nullptr, 0, 1},
     run_oriented<tishduth29dmc>},
    {{"oriented-half-turn", "fdxin324c", kUtilities, 1, kSame, kPage, kNone, 0, 0, 0,
      "random-direction diffusion, right-to-left and last rows half turned", nullptr, 0, 1},
     run_oriented<fdxin324c>},
    {{"oriented-upside-down", "nchsuw56xd", kUtilities, 1, kSame, kPage, kNone, 0, 0, 0,
      "random-direction diffusion, upside-down output", nullptr, 0, 1},
     run_oriented<nchsuw56xd>},
    {{"oriented-transposed-scratch", "ixndiwkc76y", kUtilities, 1, kTurned, kPage, kNone, 0, 0, 0,
      "random-direction diffusion, transposed through a scratch image", nullptr, 0, 1},
     run_by_reference<ixndiwkc76y>},
    {{"oriented-quarter-turn", "sdicxx78xy", kUtilities, 1, kRotated, kPage, kNone, 0, 0, 0,
      "random-direction diffusion, clockwise quarter turn through a scratch image", nullptr, 0, 1},
     run_by_reference<sdicxx78xy>},
    {{"oriented-anti-transposed", "ghskdjiekld", kUtilities, 1, kTurned, kPage, kNone, 0, 0, 0,
      "random-direction diffusion, anti-transposed output", nullptr, 0, 1},
     run_by_reference<ghskdjiekld>},
};

}  // namespace

std::span<Screen const> registry() { return kScreens; }

Screen const* find_screen(char const* name) {
  if (name == nullptr) return nullptr;
  for (Screen const& s : kScreens)
    if (std::strcmp(s.info.id, name) == 0 || std::strcmp(s.info.entry, name) == 0) return &s;
  return nullptr;
}

std::uint32_t output_stride(Screen const& screen, std::uint32_t out_width) {
  switch (screen.info.bits) {
    case 2:
      return dot2_stride(out_width);
    case 4:
      return dot4_stride(out_width);
    default:
      return dot_stride(out_width);
  }
}

}  // namespace halftone
