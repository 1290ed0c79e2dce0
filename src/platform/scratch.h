// Memory of the core library: arrays whose size can't overflow, and scratch that every exit releases.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "qlx/core.h"

namespace qlx::platform {

inline constexpr size_t kAlignment = 128;  // of everything allocated: two cache lines, the adjacent-line prefetch unit

// `count` uninitialised elements, or null when they can't be had. A count that is negative, or too large for the
// target, is one that can't be had: counts arrive here as callers gave them.
template <class E>
E* allocate_array(int64_t count) {
  if (count < 0 || static_cast<uint64_t>(count) > PTRDIFF_MAX / sizeof(E)) return nullptr;
  return static_cast<E*>(qlx_serv_allocate(static_cast<size_t>(count) * sizeof(E), kAlignment));
}

// Such an array, released with its owner; false when it could not be had.
template <class E>
class Scratch {
 public:
  Scratch() = default;
  explicit Scratch(int64_t count) : data_(allocate_array<E>(count)) {}
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { qlx_serv_deallocate(data_); }

  // A record of `bytes` that starts as an E and goes on after it.
  static Scratch of_bytes(int64_t bytes) { return Scratch(reinterpret_cast<E*>(allocate_array<char>(bytes))); }

  bool allocate(int64_t count) {
    qlx_serv_deallocate(data_);
    data_ = allocate_array<E>(count);
    return data_ != nullptr;
  }

  // Hands the block to the caller, who frees it.
  E* release() {
    E* block = data_;
    data_ = nullptr;
    return block;
  }

  E* get() const { return data_; }
  E& operator[](int64_t index) const { return data_[index]; }
  explicit operator bool() const { return data_ != nullptr; }

 private:
  explicit Scratch(E* data) : data_(data) {}

  E* data_ = nullptr;
};

// `count` elements rounded up so that the next array in a block is aligned as the first.
template <class E>
constexpr int64_t padded(int64_t count) {
  constexpr int64_t unit = kAlignment / sizeof(E);
  return (count + unit - 1) / unit * unit;
}

}  // namespace qlx::platform
