// Export table: the single-plane utilities, job pacing and the constant entries.
#include "halftone/utilities.h"

#include <array>

#include "exports/catalog.h"
#include "utilities/entries.h"
#include "utilities/pacing.h"

namespace u = halftone::utilities;

int xinskdn34skx(unsigned char* source, unsigned char* dots, unsigned int width,
                 unsigned int height, unsigned char* const toneTable) {
  return u::tone_noise(source, dots, width, height, toneTable, u::NoiseVariant::Plain);
}
int shdeiznc45kdi(unsigned char* source, unsigned char* dots, unsigned int width,
                  unsigned int height, unsigned char* const toneTable) {
  return u::tone_noise(source, dots, width, height, toneTable, u::NoiseVariant::ReseededLastRow);
}

int kajdjigc23kdh(unsigned char* source, unsigned char* dots, int width, int height,
                  int* const toneTable, unsigned char*) {
  return u::four_neighbours(source, dots, width, height, toneTable);
}
int tishduth29dmc(unsigned char* source, unsigned char* dots, int width, int height,
                  int* const toneTable, unsigned char*) {
  return u::transposed(source, dots, width, height, toneTable);
}
int fdxin324c(unsigned char* source, unsigned char* dots, int width, int height,
              int* const toneTable, unsigned char*) {
  return u::partial_half_turn(source, dots, width, height, toneTable);
}
int nchsuw56xd(unsigned char* source, unsigned char* dots, int width, int height,
               int* const toneTable, unsigned char*) {
  return u::upside_down(source, dots, width, height, toneTable);
}
int ixndiwkc76y(unsigned char* source, unsigned char*& dots, int width, int height,
                int* const toneTable, unsigned char*) {
  return u::transposed_via_scratch(source, dots, width, height, toneTable);
}
int sdicxx78xy(unsigned char* source, unsigned char*& dots, int width, int height,
               int* const toneTable, unsigned char*) {
  return u::quarter_turn_via_scratch(source, dots, width, height, toneTable);
}
int ghskdjiekld(unsigned char* source, unsigned char*& dots, int width, int height,
                int* const toneTable, unsigned char*) {
  return u::anti_transposed(source, dots, width, height, toneTable);
}

int khjhusecx() { return halftone::pacing::create_events(); }
int sinxcdke34i(unsigned int timeout) { return halftone::pacing::wait_events(timeout); }
int giwncwcg7w() { return halftone::pacing::close_events(); }
int DouMaxing() { return 0; }
int DuanKougb() { return 0; }
int YountTrue() { return 0; }

namespace halftone {
namespace {

// The front ends call every entry with an identity tone table.
template <class T>
constexpr std::array<T, 256> identity_table() {
  std::array<T, 256> t{};
  for (int i = 0; i < 256; ++i) t[static_cast<std::size_t>(i)] = static_cast<T>(i);
  return t;
}
std::array<unsigned char, 256> g_byte_identity = identity_table<unsigned char>();
std::array<int, 256> g_int_identity = identity_table<int>();

template <int (*F)(unsigned char*, unsigned char*, unsigned int, unsigned int,
                   unsigned char* const)>
int run_noise(unsigned char* s, unsigned char* o, std::uint32_t w, std::uint32_t h, std::uint32_t) {
  return F(s, o, w, h, g_byte_identity.data());
}
template <int (*F)(unsigned char*, unsigned char*, int, int, int* const, unsigned char*)>
int run_oriented(unsigned char* s, unsigned char* o, std::uint32_t w, std::uint32_t h,
                 std::uint32_t) {
  return F(s, o, static_cast<int>(w), static_cast<int>(h), g_int_identity.data(), nullptr);
}
template <int (*F)(unsigned char*, unsigned char*&, int, int, int* const, unsigned char*)>
int run_by_reference(unsigned char* s, unsigned char* o, std::uint32_t w, std::uint32_t h,
                     std::uint32_t) {
  return F(s, o, static_cast<int>(w), static_cast<int>(h), g_int_identity.data(), nullptr);
}

constexpr char kFamily[] = "utilities";
const ScreenInfo kUtilities[] = {
    {"xinskdn34skx", kFamily, 1, false, false, Layout::Same, kNeedsNothing,
     "tone-table noise diffusion, one plane; the noise runs on across calls",
     run_noise<xinskdn34skx>},
    {"shdeiznc45kdi", kFamily, 1, false, false, Layout::Same, kNeedsNothing,
     "tone-table noise diffusion, last row from the reseeded screening generator",
     run_noise<shdeiznc45kdi>},
    {"kajdjigc23kdh", kFamily, 1, false, false, Layout::Same, kNeedsNothing,
     "random-direction diffusion to one of four neighbours", run_oriented<kajdjigc23kdh>},
    {"tishduth29dmc", kFamily, 1, false, false, Layout::Transposed, kNeedsNothing,
     "random-direction diffusion, transposed output", run_oriented<tishduth29dmc>},
    {"fdxin324c", kFamily, 1, false, false, Layout::Same, kNeedsNothing,
     "random-direction diffusion, right-to-left and last rows half turned",
     run_oriented<fdxin324c>},
    {"nchsuw56xd", kFamily, 1, false, false, Layout::Same, kNeedsNothing,
     "random-direction diffusion, upside-down output", run_oriented<nchsuw56xd>},
    {"ixndiwkc76y", kFamily, 1, false, false, Layout::Transposed, kNeedsNothing,
     "random-direction diffusion, transposed through a scratch image",
     run_by_reference<ixndiwkc76y>},
    {"sdicxx78xy", kFamily, 1, false, false, Layout::Transposed, kNeedsNothing,
     "random-direction diffusion, clockwise quarter turn through a scratch image",
     run_by_reference<sdicxx78xy>},
    {"ghskdjiekld", kFamily, 1, false, false, Layout::Transposed, kNeedsNothing,
     "random-direction diffusion, anti-transposed output", run_by_reference<ghskdjiekld>},
};

}  // namespace

std::span<ScreenInfo const> utilities_catalog() { return kUtilities; }

}  // namespace halftone
