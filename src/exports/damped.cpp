// The damped family's part of the export table.
#include "exports/catalog.h"

namespace halftone {

std::span<ScreenInfo const> damped_catalog() { return {}; }

}  // namespace halftone
