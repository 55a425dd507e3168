#include "screens/loaded/stores.h"

namespace halftone {

std::uint8_t TonePatternBank[256][256][32];
std::uint8_t TonePatternBank2[256][256][64];
PatternGeometryStore PatternGeometry;
std::uint8_t RunHeadMasks[8];
std::uint8_t RunTailMasks[8];
std::uint8_t ThresholdMatrix8[256][256];
std::int16_t ThresholdOffsetMatrix[256][256];
std::int16_t ThresholdBlockStack[65536];

}  // namespace halftone
