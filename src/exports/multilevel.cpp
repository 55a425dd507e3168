// The multilevel family's part of the export table.
#include "exports/catalog.h"

namespace halftone {

std::span<ScreenInfo const> multilevel_catalog() { return {}; }

}  // namespace halftone
