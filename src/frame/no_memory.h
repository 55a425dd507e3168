// The one way an entry point meets an allocation failure. Entry points are
// noexcept; whatever a call allocates (working lines, scratch images, file
// names, counters) it allocates inside `or_no_memory`, which turns a failed
// allocation into ERR_NO_MEMORY after clearing the output the call was given.
#pragma once
#include <cstddef>
#include <cstring>
#include <new>

#include "halftone/result_codes.h"

namespace halftone {

// The bytes a screen call writes: all cleared when it runs out of memory.
struct CallOutput {
  unsigned char* bytes = nullptr;
  std::size_t size = 0;
};

template <class Call>
int or_no_memory(Call&& call, CallOutput output = {}) noexcept {
  try {
    return call();
  } catch (std::bad_alloc const&) {
    if (output.size != 0) std::memset(output.bytes, 0, output.size);
    return ERR_NO_MEMORY;
  }
}

}  // namespace halftone
