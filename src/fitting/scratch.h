// Memory of the core library: scratch that every exit releases, and arrays whose size can't overflow.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "fitting/df_task.h"
#include "qlx/core.h"

namespace qlx::fitting {

// `count` elements, or null when they can't be had. A count that is negative or too large for the target is one that
// can't be had: a caller's negative function_count arrives here.
template <class T>
T* allocate_array(int64_t count) {
  if (count < 0 || static_cast<uint64_t>(count) > PTRDIFF_MAX / sizeof(T)) return nullptr;
  return static_cast<T*>(qlx_serv_allocate(static_cast<size_t>(count) * sizeof(T), kAlignment));
}

template <class T>
class Scratch {
 public:
  explicit Scratch(int64_t count) : data_(allocate_array<T>(count)) {}
  ~Scratch() { qlx_serv_deallocate(data_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  T* get() const { return data_; }

 private:
  T* data_;
};

}  // namespace qlx::fitting
