// The data fitting task: its record, and typed views of what it borrows.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "platform/scratch.h"
#include "qlx/df.h"

// Members stand in the order of the contract. Integers keep 64 bits on every target, pointers take the target's width.
struct DFTask {
  int32_t wide_integers;  // read by iQueryVal only
  int32_t task_kind;      // always 4; nothing tests it
  int32_t is_double;
  int32_t dimension;  // always 1; editors and queries do nothing for any other
  int64_t partition_size;
  const void* partition;  // borrowed
  int64_t partition_hint;
  int64_t function_count;
  void** function_rows;  // owned table of borrowed rows
  int64_t function_hint;
  int64_t spline_order;
  int64_t spline_type;
  int64_t internal_condition_type;
  const void* internal_conditions;  // borrowed
  int64_t boundary_condition_type;
  const void* boundary_conditions;  // borrowed
  void** coefficient_rows;          // owned table of borrowed rows
  int64_t coefficient_hint;
  int32_t auxiliary_flag;
  int64_t search_table_size;  // buckets T; the table has T + 2 pairs
  int32_t* search_table;      // owned, pairs (lo, hi); null for a task created uniform
  union {
    double d;
    float s;
  } search_scale;  // T / (x[n-1] - x[0]) in the task's element type
};

// Gives an exported function a second name in its translation unit. gcc misses nothrow on the second name, since every
// target has it here, built without exceptions; to clang it is a noexcept that the header lacks.
#ifdef __clang__
#define QLX_DF_ALIAS(DECLARATION, TARGET) extern "C" DECLARATION __attribute__((alias(#TARGET)));
#else
#define QLX_DF_ALIAS(DECLARATION, TARGET) extern "C" DECLARATION __attribute__((alias(#TARGET), nothrow));
#endif

namespace qlx::fitting {

using platform::allocate_array, platform::Scratch;

constexpr int32_t kTaskKind = 4;

// The callbacks of a real type, which the C header has to spell twice.
template <class Real>
struct Types;
template <>
struct Types<double> {
  using Search = QlxDfSearchD;
  using Callbacks = QlxDfCallbacksD;
};
template <>
struct Types<float> {
  using Search = QlxDfSearchS;
  using Callbacks = QlxDfCallbacksS;
};

template <class Real>
const Real* partition_of(const DFTask& task) {
  return static_cast<const Real*>(task.partition);
}

template <class Real>
Real& search_scale_of(DFTask& task) {
  if constexpr (sizeof(Real) == sizeof(double)) {
    return task.search_scale.d;
  } else {
    return task.search_scale.s;
  }
}
template <class Real>
Real search_scale_of(const DFTask& task) {
  return search_scale_of<Real>(const_cast<DFTask&>(task));
}

inline bool is_storage_hint(int64_t hint) {
  return hint == 0 || hint == DF_ROWS || hint == DF_INTERLEAVED || hint == DF_FIRST_ROW;
}

// Buckets of the search table for n points: one for 16 points, within what pays for itself and what stays in cache.
inline int64_t search_table_buckets(int64_t n) {
  const int64_t buckets = n / 16;
  return buckets < 16 ? 16 : buckets > 1024 ? 1024 : buckets;
}

// Builds the task's search table from its partition; any old one is released first. 0 or DF_NO_MEMORY.
template <class Real>
int32_t build_search_table(DFTask& task);
extern template int32_t build_search_table<double>(DFTask&);
extern template int32_t build_search_table<float>(DFTask&);

}  // namespace qlx::fitting
