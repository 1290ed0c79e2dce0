// Memory of the core library: aligned blocks from the C runtime, and a bounded copy.
// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#ifdef _WIN32
#include <malloc.h>
#else
#include <cstdlib>
#endif

#include "qlx/core.h"

void* qlx_serv_allocate(size_t size, size_t alignment) {
  if (size == 0) size = alignment;
#ifdef _WIN32
  return _aligned_malloc(size, alignment);
#else
  void* block = nullptr;
  if (alignment < sizeof(void*)) alignment = sizeof(void*);
  return posix_memalign(&block, alignment, size) == 0 ? block : nullptr;
#endif
}

void qlx_serv_deallocate(void* block) {
#ifdef _WIN32
  _aligned_free(block);
#else
  std::free(block);
#endif
}

int qlx_serv_memcpy_s(void* destination, size_t destination_size, const void* source, size_t count) {
  constexpr int kInvalid = 22, kRange = 34;
  if (count == 0) return 0;
  if (destination == nullptr || source == nullptr) return kInvalid;
  if (count > destination_size) return kRange;
  std::memcpy(destination, source, count);
  return 0;
}
