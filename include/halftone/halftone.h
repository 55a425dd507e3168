// Every host entry point and extension of the halftone library.
#pragma once
#include "halftone/damped.h"
#include "halftone/diffusion.h"
#include "halftone/loaded.h"
#include "halftone/matrix.h"
#include "halftone/multilevel.h"
#include "halftone/page.h"
#include "halftone/setup.h"
#include "halftone/utilities.h"
