#include "frame/state.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace halftone {
namespace {

LoadedStores g_process_stores;  // zero at load, never freed

ScreenState& process_state() {
  static ScreenState s(&g_process_stores);
  return s;
}

thread_local ScreenState* t_current = nullptr;

LoadedStores* zeroed_stores() {
  // calloc: the large banks cost no memory until a loader writes them.
  void* block = std::calloc(1, sizeof(LoadedStores));
  if (block == nullptr) throw std::bad_alloc();
  return static_cast<LoadedStores*>(block);
}

}  // namespace

ToneState::ToneState() { std::memcpy(bank, default_curve_bank(), sizeof bank); }

ScreenState::ScreenState() : stores(zeroed_stores()), owns_stores_(true) {}
ScreenState::ScreenState(LoadedStores* shared) : stores(shared), owns_stores_(false) {}
ScreenState::~ScreenState() {
  if (owns_stores_) std::free(stores);
}

ScreenState& state() { return t_current != nullptr ? *t_current : process_state(); }

LoadedStores& stores() { return *state().stores; }

ActiveState::ActiveState(ScreenState& s) : previous_(t_current) { t_current = &s; }
ActiveState::~ActiveState() { t_current = previous_; }

}  // namespace halftone
