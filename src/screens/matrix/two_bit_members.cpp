// The two-bit members of the family: the offset-matrix serpentine and its
// random-split sibling, each deciding with the bracketed four-level cascade
// (levels and midpoints from parameter bytes 0-3) and writing two-bit codes.
#include "screens/matrix/two_bit_members.h"

#include "frame/band_lines.h"
#include "frame/tone_curves.h"
#include "screens/matrix/offset_matrix.h"
#include "screens/multilevel/cascades.h"

namespace halftone::matrix {
namespace {

// The cascade decides on the pixel's value taken as a signed 16-bit value,
// as every multi-level screen keeps it, and on the pixel's own grey.
struct FourLevelCodes {
  // Read from the parameter bytes once a call.
  multilevel::BracketedFourLevel cascade{ScreenParameterBytes()};

  static constexpr unsigned kBits = 2;
  std::int32_t operator()(std::int32_t v, Pixel px, engine::RowOut<2>& out) const {
    const multilevel::Decision d = cascade.decide(wrap16(v), px.s);
    out.put(px.x, d.code);
    return d.e;
  }
};

}  // namespace

int offset_matrix_codes(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                        std::uint32_t height, std::uint32_t control) {
  OffsetSerpentine<FourLevelCodes, Splits::Matrix> policy;
  return engine::screen(policy, shared_lines(), source, dots, width, height, control);
}

int random_split_codes(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                       std::uint32_t height, std::uint32_t control) {
  OffsetSerpentine<FourLevelCodes, Splits::Random> policy;
  return engine::screen(policy, shared_lines(), source, dots, width, height, control);
}

}  // namespace halftone::matrix
