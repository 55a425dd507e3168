// Export table: the multi-level screens (two-bit and four-bit dot codes), each
// its rule on the band engine.
// clang-format off
#include "frame/exported.h"  // first: the exported declarations with default visibility
// clang-format on
#include "frame/band_engine.h"
#include "screens/multilevel/policies.h"

using halftone::shared_lines;
using halftone::engine::extent;
using halftone::engine::screen;
namespace m = halftone::multilevel;

namespace {

// Dots written as `dot_code`, everything else as the four-level screens.
int two_level(std::uint32_t dot_code, unsigned char* source, unsigned char* dots, int width,
              int height, unsigned int control) noexcept {
  return screen(m::TwoLevelCodes{{}, halftone::TwoLevel{dot_code}, {}}, shared_lines(), source,
                dots, extent(width), extent(height), control);
}

}  // namespace

int FastGroup(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) noexcept {
  return screen(m::BracketedFour{}, shared_lines(), source, dots, extent(width), extent(height),
                control);
}
int FastGroup1(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept {
  return screen(m::FixedFour{}, shared_lines(), source, dots, width, height, control);
}
int ArcistPump(unsigned char* source, unsigned char* dots, int width, int height,
               unsigned int control) noexcept {
  return two_level(1, source, dots, width, height, control);
}
int Kaishanxing(unsigned char* source, unsigned char* dots, int width, int height,
                unsigned int control) noexcept {
  return two_level(2, source, dots, width, height, control);
}
int SymanOpening(unsigned char* source, unsigned char* dots, int width, int height,
                 unsigned int control) noexcept {
  return two_level(3, source, dots, width, height, control);
}
int RoundFaxest(unsigned char* source, unsigned char* dots, int width, int height,
                unsigned int control) noexcept {
  return screen(m::BracketedFourThirds{}, shared_lines(), source, dots, extent(width),
                extent(height), control);
}
int RoundFaxest__(unsigned char* source, unsigned char* dots, unsigned int width,
                  unsigned int height, unsigned int control) noexcept {
  return screen(m::BracketedFourThirds{}, shared_lines(), source, dots, width, height, control);
}
int RoundPump(unsigned char* source, unsigned char* dots, int width, int height,
              unsigned int control) noexcept {
  return screen(m::BracketedEight{}, shared_lines(), source, dots, extent(width), extent(height),
                control);
}
int RoundPump1(unsigned char* source, unsigned char* dots, unsigned int width, unsigned int height,
               unsigned int control) noexcept {
  return screen(m::FixedEight{}, shared_lines(), source, dots, width, height, control);
}
