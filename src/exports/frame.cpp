// Export table: tone setup. (The extensions pin_seed_time, unpin_seed_time
// and set_data_folder are defined beside the generator and the data folder.)
#include "frame/tone_curves.h"
#include "halftone/setup.h"

int Itsdiufiavs(int mode, char const* parameters) {
  halftone::apply_tone_setup(mode, parameters);
  return 0;
}
