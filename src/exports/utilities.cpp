// The utilities family's part of the export table.
#include "exports/catalog.h"

namespace halftone {

std::span<ScreenInfo const> utilities_catalog() { return {}; }

}  // namespace halftone
