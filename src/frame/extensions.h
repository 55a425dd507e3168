// The public declarations of the extensions (halftone/setup.h) with default
// visibility, for the frame sources that define them; included before any
// other declaration of them.
#pragma once

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif
#include "halftone/setup.h"
#if defined(__GNUC__)
#pragma GCC visibility pop
#endif
