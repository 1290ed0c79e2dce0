// Scratch memory of the estimators: released on every way out.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_STATS_SCRATCH_H
#define QLX_STATS_SCRATCH_H

#include <cstddef>
#include <cstdint>

#include "qlx/core.h"

namespace qlx::stats {

inline constexpr size_t kAlignment = 128;

// Uninitialised elements of a trivial type; null data after a failed allocation, or one whose size has no number.
template <class E>
class Scratch {
 public:
  Scratch() = default;
  explicit Scratch(int64_t count) { allocate(count); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
  ~Scratch() { qlx_serv_deallocate(data_); }

  bool allocate(int64_t count) {
    qlx_serv_deallocate(data_);
    const bool fits = count >= 0 && static_cast<uint64_t>(count) <= SIZE_MAX / 2 / sizeof(E);
    data_ = fits ? static_cast<E*>(qlx_serv_allocate(static_cast<size_t>(count) * sizeof(E), kAlignment)) : nullptr;
    return data_ != nullptr;
  }

  // Hands the block to the caller, who frees it.
  E* release() {
    E* block = data_;
    data_ = nullptr;
    return block;
  }

  E* data() const { return data_; }
  E& operator[](int64_t index) const { return data_[index]; }
  explicit operator bool() const { return data_ != nullptr; }

 private:
  E* data_ = nullptr;
};

// `count` elements rounded up so that the next array in a block is aligned as the first.
template <class E>
constexpr int64_t padded(int64_t count) {
  constexpr int64_t unit = kAlignment / sizeof(E);
  return (count + unit - 1) / unit * unit;
}

}  // namespace qlx::stats

#endif
