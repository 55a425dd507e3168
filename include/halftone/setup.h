// Tone curves and the parameter string, and the library's own extensions.
#pragma once
#include <cstdint>

#include "halftone/result_codes.h"

// Reloads "ToneAry.ham" from the data folder, selects curve A and curve B by
// `mode` and parses `parameters` ("10,20,30," sets three bytes). Returns 0.
//
// Choices for input outside the supported range:
//  * a token of four or more characters keeps its first three characters; the
//    rest is skipped up to the next comma ("1234," stores 123);
//  * values after the ninth are ignored, nothing is written past the nine bytes;
//  * a null `parameters` clears the bytes and parses nothing.
// Before the first call both curves are curve 0 (all zeros), so screens that
// read the curves never meet an empty selection.
int Itsdiufiavs(int mode, char const* parameters) noexcept;

namespace halftone {
// Every later reseed from the clock uses these seconds: the shared generator,
// and the standard generator of the oriented utilities.
void pin_seed_time(std::uint32_t seconds) noexcept;
// Back to the wall clock.
void unpin_seed_time() noexcept;
// Where "ToneAry.ham" and Moths/ are looked up; nullptr restores the
// executable's folder.
void set_data_folder(char const* folder) noexcept;
}  // namespace halftone
