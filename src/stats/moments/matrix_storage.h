// The storage forms of p by p matrices, and the accumulated triangle that they are made from.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_STATS_MOMENTS_MATRIX_STORAGE_H
#define QLX_STATS_MOMENTS_MATRIX_STORAGE_H

#include "stats/qst_ss_task.h"

namespace qlx::stats {

enum class MatrixForm { kFull, kLowerPacked, kUpperPacked };

// Bit 1 is tested first. A form that was never registered is full.
inline MatrixForm matrix_form(const QstSSTask& task, const void* word) {
  const int64_t value = word != nullptr ? read_integer(task, word) : 0;
  if ((value & QST_SS_UPPER_PACKED) != 0) return MatrixForm::kUpperPacked;
  return (value & QST_SS_LOWER_PACKED) != 0 ? MatrixForm::kLowerPacked : MatrixForm::kFull;
}

// Position of element (i, k), i <= k, of a symmetric matrix.
inline int64_t element_position(MatrixForm form, int64_t p, int64_t i, int64_t k) {
  switch (form) {
    case MatrixForm::kLowerPacked:
      return k * (k + 1) / 2 + i;
    case MatrixForm::kUpperPacked:
      return i * p - i * (i - 1) / 2 + (k - i);
    default:
      return i * p + k;
  }
}

// triangle[k * p + i] = stored element (i, k) * scale(i, k) for i <= k. `triangle` may be the full matrix itself.
template <class T, class Scale>
void load_triangle(MatrixForm form, int64_t p, const T* stored, T* triangle, Scale scale) {
  for (int64_t k = 0; k < p; ++k) {
    for (int64_t i = 0; i <= k; ++i) {
      triangle[k * p + i] = stored[element_position(form, p, i, k)] * scale(i, k);
    }
  }
}

// Stores value(i, k), i <= k, for included pairs of variables; a full matrix gets both halves. Each value is formed
// before its element and its mirror are written, so that `stored` may be the triangle.
template <class T, class Value>
void store_triangle(const QstSSTask& task, MatrixForm form, int64_t p, T* stored, Value value) {
  for (int64_t k = 0; k < p; ++k) {
    if (!includes(task, k)) continue;
    for (int64_t i = 0; i <= k; ++i) {
      if (!includes(task, i)) continue;
      const T element = value(i, k);
      stored[element_position(form, p, i, k)] = element;
      if (form == MatrixForm::kFull) stored[k * p + i] = element;
    }
  }
}

}  // namespace qlx::stats

#endif
