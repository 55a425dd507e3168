// The public declarations of everything the shared library exports (the
// entry points, the extensions and the C API) with default visibility. The
// library is built with hidden visibility and the public headers carry no
// export macros: every source that defines an exported function includes
// this first, so the first declarations it sees are visible ones.
#pragma once

#if defined(__GNUC__)
#pragma GCC visibility push(default)
#endif
#include "halftone/c_api.h"
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
