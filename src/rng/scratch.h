// Memory of the core library that every exit releases.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "qlx/core.h"
#include "rng/qst_stream.h"

namespace qlx::rng {

// `bytes` of scratch, seen as T; null when they can't be had.
template <class T>
class Scratch {
 public:
  explicit Scratch(size_t bytes) : data_(static_cast<T*>(qlx_serv_allocate(bytes, kAlignment))) {}
  ~Scratch() { qlx_serv_deallocate(data_); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  explicit operator bool() const { return data_ != nullptr; }
  T* get() const { return data_; }

 private:
  T* data_;
};

}  // namespace qlx::rng
