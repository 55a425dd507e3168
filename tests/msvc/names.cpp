// Compiled only for the MSVC ABI (clang++ --target=x86_64-pc-windows-msvc
// -ffreestanding, no C++ library), so that the compiler names every exported
// function as MSVC decorates it; exports.sh compares those names with
// src/exports/halftone-msvc.def.
#include "halftone/c_api.h"
#include "halftone/damped.h"
#include "halftone/diffusion.h"
#include "halftone/loaded.h"
#include "halftone/matrix.h"
#include "halftone/multilevel.h"
#include "halftone/setup.h"
#include "halftone/utilities.h"
#include "support/entry_point_list.h"

#define ADDRESS(name) reinterpret_cast<void const*>(&name),
#define EXTENSION(name) reinterpret_cast<void const*>(&halftone::name),
extern void const* const exported[];
void const* const exported[] = {HALFTONE_ENTRY_POINTS(ADDRESS) HALFTONE_EXTENSIONS(EXTENSION)
                                    HALFTONE_C_API(ADDRESS)};
