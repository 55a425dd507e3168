/* The halftone library.
 *
 * In C and C++: the registry of screens and the screening job API
 * (halftone/c_api.h). In C++ also the host entry points by family, the tone
 * setup and extensions, the page helper and the Job wrapper. */
#ifndef HALFTONE_HALFTONE_H
#define HALFTONE_HALFTONE_H

#include "halftone/c_api.h"

#ifdef __cplusplus
#include "halftone/damped.h"
#include "halftone/diffusion.h"
#include "halftone/job.hpp"
#include "halftone/loaded.h"
#include "halftone/matrix.h"
#include "halftone/multilevel.h"
#include "halftone/page.h"
#include "halftone/setup.h"
#include "halftone/utilities.h"
#endif

#endif /* HALFTONE_HALFTONE_H */
