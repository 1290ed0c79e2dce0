// Locks: one 32-bit word each, 0 when free and 1 when held.
// SPDX-License-Identifier: Apache-2.0
#include <thread>

#include "qlx/core.h"

void qlx_serv_lock(volatile int32_t* lock) {
  // Holders leave within a few hundred cycles unless the scheduler stopped them; then spinning on keeps them stopped.
  constexpr int kSpinsBeforeYield = 1000;
  int spins = 0;
  for (;;) {
    int32_t free = 0;
    if (__atomic_compare_exchange_n(lock, &free, 1, false, __ATOMIC_ACQUIRE, __ATOMIC_RELAXED)) return;
    // Waiting only reads, so that the line stays shared until the holder writes it.
    while (__atomic_load_n(lock, __ATOMIC_RELAXED) != 0) {
      if (++spins < kSpinsBeforeYield) {
        __builtin_ia32_pause();
      } else {
        std::this_thread::yield();
      }
    }
  }
}

void qlx_serv_unlock(volatile int32_t* lock) {
  __atomic_store_n(lock, 0, __ATOMIC_RELEASE);
}
