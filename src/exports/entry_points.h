// The public declarations of every entry point, with default visibility. The
// library is built with hidden visibility; each export source includes this
// first, so that the entry points it defines leave the shared library (the
// public headers themselves carry no export macros).
#pragma once

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif
#include "halftone/damped.h"
#include "halftone/diffusion.h"
#include "halftone/loaded.h"
#include "halftone/matrix.h"
#include "halftone/multilevel.h"
#include "halftone/setup.h"
#include "halftone/utilities.h"
#if defined(__GNUC__)
#pragma GCC visibility pop
#endif
