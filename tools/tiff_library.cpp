#include "tiff_library.h"

#if defined(HALFTONE_TIFF_SONAME) && defined(__has_include)
#if __has_include(<dlfcn.h>)
#include <dlfcn.h>
#define HALFTONE_TIFF_ON_FIRST_USE 1
#endif
#endif

namespace halftone::image {

#ifdef HALFTONE_TIFF_ON_FIRST_USE
namespace {

struct Loaded {
  TiffLibrary table{};
  std::string error;  // empty once every function is found
};

template <class F>
bool find(void* library, char const* name, F& function, std::string& error) {
  // POSIX makes a symbol's address usable as a function pointer.
  function = reinterpret_cast<F>(::dlsym(library, name));
  if (function == nullptr && error.empty()) error = std::string("no ") + name + " in it";
  return function != nullptr;
}

Loaded load() {
  Loaded loaded;
  void* library = ::dlopen(HALFTONE_TIFF_SONAME, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    char const* why = ::dlerror();
    loaded.error = why != nullptr ? why : "not found";
  } else {
#define HALFTONE_TIFF_FIND(name) find(library, "TIFF" #name, loaded.table.name, loaded.error);
    HALFTONE_TIFF_FUNCTIONS(HALFTONE_TIFF_FIND)
#undef HALFTONE_TIFF_FIND
  }
  if (!loaded.error.empty())
    loaded.error =
        "TIFF needs " HALFTONE_TIFF_SONAME ", which could not be loaded (" + loaded.error + ")";
  return loaded;
}

}  // namespace

TiffLibrary const* tiff_library(std::string* why) {
  static const Loaded loaded = load();
  if (!loaded.error.empty()) {
    if (why != nullptr) *why = loaded.error;
    return nullptr;
  }
  return &loaded.table;
}
#else
TiffLibrary const* tiff_library(std::string*) {
#define HALFTONE_TIFF_LINKED(name) &TIFF##name,
  static const TiffLibrary table{HALFTONE_TIFF_FUNCTIONS(HALFTONE_TIFF_LINKED)};
#undef HALFTONE_TIFF_LINKED
  return &table;
}
#endif

TiffLibrary const& tiff() { return *tiff_library(nullptr); }

}  // namespace halftone::image
