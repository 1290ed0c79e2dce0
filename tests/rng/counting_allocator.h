// Stands in for the core library's allocator in one test program: counts live blocks and fails the k-th request.
// Include in one source of the program.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdlib>

#include "qlx/core.h"

namespace counting {

inline std::atomic<long> live{0};      // blocks handed out and not given back
inline std::atomic<long> requests{0};  // since the last reset
inline std::atomic<long> failing{0};   // the request that fails, counted from 1; 0: none
inline std::atomic<size_t> last_size{0};
inline constexpr size_t kLargest = size_t{1} << 20;  // more is refused, so that a tampered size costs nothing

inline void reset(long failing_request = 0) {
  requests = 0;
  failing = failing_request;
}

}  // namespace counting

extern "C" void* qlx_serv_allocate(size_t size, size_t alignment) {
  counting::last_size = size;
  if (++counting::requests == counting::failing || size > counting::kLargest) return nullptr;
  void* block = nullptr;
  if (posix_memalign(&block, alignment, size == 0 ? alignment : size) != 0) return nullptr;
  ++counting::live;
  return block;
}

extern "C" void qlx_serv_deallocate(void* block) {
  if (block != nullptr) --counting::live;
  std::free(block);
}
