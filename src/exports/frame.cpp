// Export table: tone setup. (The extensions pin_seed_time, unpin_seed_time
// and set_data_folder are defined beside the generator and the data folder.)
// clang-format off
#include "frame/exported.h"  // first: the exported declarations with default visibility
// clang-format on
#include "frame/no_memory.h"
#include "frame/tone_curves.h"

int Itsdiufiavs(int mode, char const* parameters) noexcept {
  return halftone::or_no_memory([&] {
    halftone::apply_tone_setup(mode, parameters);
    return 0;
  });
}
