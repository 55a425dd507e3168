// The one-bit offset-matrix screens: matrix offsets with thirds, and the
// random-split sibling without the matrix.
#include "screens/matrix/offset_matrix.h"

#include "frame/band_lines.h"

namespace halftone::matrix {

int offset_matrix(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                  std::uint32_t height, std::uint32_t control) {
  OffsetSerpentine<OneBitDot, Splits::Matrix> policy;
  return engine::screen(policy, shared_lines(), source, dots, width, height, control);
}

int offset_random_split(unsigned char const* source, unsigned char* dots, std::uint32_t width,
                        std::uint32_t height, std::uint32_t control) {
  OffsetSerpentine<OneBitDot, Splits::Random> policy;
  return engine::screen(policy, shared_lines(), source, dots, width, height, control);
}

}  // namespace halftone::matrix
