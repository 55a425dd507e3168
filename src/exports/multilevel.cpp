// Export table: the multi-level screens (two-bit and four-bit dot codes).
#include "halftone/multilevel.h"

#include "exports/catalog.h"
#include "frame/band_engine.h"
#include "screens/multilevel/screens.h"

using halftone::engine::extent;
namespace m = halftone::multilevel;

int FastGroup(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) {
  return m::bracketed_four(source, dots, extent(width), extent(height), control);
}
int FastGroup1(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) {
  return m::fixed_four(source, dots, width, height, control);
}
int ArcistPump(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) {
  return m::two_level(1, source, dots, extent(width), extent(height), control);
}
int Kaishanxing(unsigned char* source, unsigned char* dots, int width, int height,
                unsigned int control) {
  return m::two_level(2, source, dots, extent(width), extent(height), control);
}
int SymanOpening(unsigned char* source, unsigned char* dots, int width, int height,
                 unsigned int control) {
  return m::two_level(3, source, dots, extent(width), extent(height), control);
}
int RoundFaxest(unsigned char* source, unsigned char* dots, int width, int height,
                unsigned int control) {
  return m::bracketed_four_thirds(source, dots, extent(width), extent(height), control);
}
int RoundFaxest__(unsigned char* source, unsigned char* dots, unsigned int width,
                  unsigned int height, unsigned int control) {
  return m::bracketed_four_thirds(source, dots, width, height, control);
}
int RoundPump(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) {
  return m::bracketed_eight(source, dots, extent(width), extent(height), control);
}
int RoundPump1(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) {
  return m::fixed_eight(source, dots, width, height, control);
}

namespace halftone {
namespace {

constexpr unsigned kTone = kNeedsToneSetup;
const ScreenInfo kMultilevel[] = {
    {"FastGroup", "multilevel", 2, true, true, Layout::Same, kTone,
     "four host-set levels bracketed by the source grey, halves on two random bits, tone bias",
     run_signed<FastGroup>},
    {"FastGroup1", "multilevel", 2, true, true, Layout::Same, kTone,
     "four fixed levels (0, 85, 170, 255), halves on two random bits, tone bias", FastGroup1},
    {"ArcistPump", "multilevel", 2, true, true, Layout::Same, kTone,
     "two levels, dots written as code 1, halves on two random bits, tone bias",
     run_signed<ArcistPump>},
    {"Kaishanxing", "multilevel", 2, true, true, Layout::Same, kTone,
     "two levels, dots written as code 2, halves on two random bits, tone bias",
     run_signed<Kaishanxing>},
    {"SymanOpening", "multilevel", 2, true, true, Layout::Same, kTone,
     "two levels, dots written as code 3, halves on two random bits, tone bias",
     run_signed<SymanOpening>},
    {"RoundFaxest", "multilevel", 2, true, true, Layout::Same, kTone,
     "four host-set bracketed levels, one-third split on one random bit, tone bias",
     run_signed<RoundFaxest>},
    {"RoundFaxest__", "multilevel", 2, true, true, Layout::Same, kTone,
     "four host-set bracketed levels, one-third split (unsigned sizes)", RoundFaxest__},
    {"RoundPump", "multilevel", 4, true, true, Layout::Same, kTone,
     "eight host-set levels bracketed by the source grey, halves on two random bits",
     run_signed<RoundPump>},
    {"RoundPump1", "multilevel", 4, true, true, Layout::Same, 0,
     "eight fixed levels (255 k / 7), halves on two random bits", RoundPump1},
};

}  // namespace

std::span<ScreenInfo const> multilevel_catalog() { return kMultilevel; }

}  // namespace halftone
