// One export macro for every host entry point and documented extension.
// Everything else in the library has hidden visibility.
#pragma once

#if defined(_WIN32)
#if defined(HALFTONE_BUILDING)
#define HALFTONE_API __declspec(dllexport)
#else
#define HALFTONE_API __declspec(dllimport)
#endif
#else
#define HALFTONE_API __attribute__((visibility("default")))
#endif

// Result codes of the loaders (screens always return 0).
enum : int {
  ERR_FILE_OPEN = 20101,
  ERR_FILE_READ = 20103,
  ERR_LOAD_FAULT = 20301,
  ERR_NO_MEMORY = 20302,
};
