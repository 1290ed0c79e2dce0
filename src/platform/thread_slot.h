// Reads the pointer of platform.h's thread slot. Inline, since every kernel call does it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/platform.h"

namespace qlx::platform {

#ifdef _WIN32

inline void* thread_slot() {
  return thread_slot_of_system();
}

#else

// The slot itself lives in static thread-local storage: one load at a fixed distance from the thread pointer.
// __thread, since thread_local would look for a constructor at each access.
extern __thread void* current_slot __attribute__((tls_model("initial-exec")));
inline void* thread_slot() {
  return current_slot;
}

#endif

}  // namespace qlx::platform
