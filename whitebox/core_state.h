// core_state.h: creation and release of a core state for the wrappers.
#ifndef ZEL_WHITEBOX_CORE_STATE_H
#define ZEL_WHITEBOX_CORE_STATE_H

#include <cstdlib>
#include <new>

#include "wiped_buffer.h"

namespace zel_wb {

// new_core_state allocates a handle and its uninitialised working block of
// |work_size| bytes; it throws std::bad_alloc when either fails.
template <typename State>
State* new_core_state(uint32_t work_size) {
  State* state = new State;
  state->aux = 0;
  state->work = static_cast<decltype(state->work)>(std::malloc(work_size));
  if (state->work == nullptr) {
    delete state;
    throw std::bad_alloc();
  }
  return state;
}

// delete_core_state wipes the working block (it holds key material and
// chaining state), frees it and releases the handle.
template <typename State>
void delete_core_state(State* state, uint32_t work_size) {
  if (state == nullptr) return;
  if (state->work != nullptr) {
    wipe(state->work, work_size);
    std::free(state->work);
  }
  state->work = nullptr;
  delete state;
}

}  // namespace zel_wb

#endif  // ZEL_WHITEBOX_CORE_STATE_H
