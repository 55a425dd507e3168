// Export table: part of the matrix family.
#include "exports/catalog.h"

namespace halftone {

std::span<ScreenInfo const> matrix_offset_catalog() { return {}; }

}  // namespace halftone
