#include "frame/state.h"

#include <cstdlib>
#include <cstring>
#include <new>

#if defined(_WIN32)
#ifndef NOMINMAX
#define NOMINMAX
#endif
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#elif defined(__unix__) || defined(__APPLE__)
#include <sys/mman.h>
#endif

namespace halftone {
namespace {

LoadedStores g_process_stores;  // zero at load, never freed

ScreenState& process_state() {
  static ScreenState s(&g_process_stores);
  return s;
}

thread_local ScreenState* t_current = nullptr;

// A job's stores come straight from the system as pages that read as zero
// and cost nothing until a loader writes them. (calloc would do the same for
// the first job only: once a block this large is freed, the C library serves
// the next one from its heap and clears every byte, some milliseconds a job.)
LoadedStores* zeroed_stores() {
#if defined(_WIN32)
  void* block =
      ::VirtualAlloc(nullptr, sizeof(LoadedStores), MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE);
#elif defined(__unix__) || defined(__APPLE__)
  void* block = ::mmap(nullptr, sizeof(LoadedStores), PROT_READ | PROT_WRITE,
                       MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (block == MAP_FAILED) block = nullptr;
#else
  void* block = std::calloc(1, sizeof(LoadedStores));
#endif
  if (block == nullptr) throw std::bad_alloc();
  return static_cast<LoadedStores*>(block);
}

void release_stores(LoadedStores* stores) {
#if defined(_WIN32)
  ::VirtualFree(stores, 0, MEM_RELEASE);
#elif defined(__unix__) || defined(__APPLE__)
  ::munmap(stores, sizeof(LoadedStores));
#else
  std::free(stores);
#endif
}

}  // namespace

ToneState::ToneState() { std::memcpy(bank, default_curve_bank(), sizeof bank); }

ScreenState::ScreenState() : stores(zeroed_stores()), owns_stores_(true) {}
ScreenState::ScreenState(LoadedStores* shared) : stores(shared), owns_stores_(false) {}
ScreenState::~ScreenState() {
  if (owns_stores_) release_stores(stores);
}

ScreenState& state() { return t_current != nullptr ? *t_current : process_state(); }

LoadedStores& stores() { return *state().stores; }

ActiveState::ActiveState(ScreenState& s) : previous_(t_current) { t_current = &s; }
ActiveState::~ActiveState() { t_current = previous_; }

}  // namespace halftone
