// Export table: tone setup. (The extensions pin_seed_time, unpin_seed_time
// and set_data_folder are defined beside the generator and the data folder.)
#if defined(__GNUC__)
#pragma GCC visibility push(default)  // the entry point, declared here first
#endif
#include "halftone/setup.h"
#if defined(__GNUC__)
#pragma GCC visibility pop
#endif

#include "frame/no_memory.h"
#include "frame/tone_curves.h"

int Itsdiufiavs(int mode, char const* parameters) noexcept {
  return halftone::or_no_memory([&] {
    halftone::apply_tone_setup(mode, parameters);
    return 0;
  });
}
