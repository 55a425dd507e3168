// Export table: part of the loaded family.
#include "exports/catalog.h"

namespace halftone {

std::span<ScreenInfo const> loaded_block_catalog() { return {}; }

}  // namespace halftone
