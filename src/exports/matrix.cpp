// The matrix family's part of the export table.
#include "exports/catalog.h"

namespace halftone {

std::span<ScreenInfo const> matrix_catalog() { return {}; }

}  // namespace halftone
