// The core library's tridiagonal solvers by element type.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <limits>

#include "qlx/core.h"

namespace qlx::fitting {

// Solves for `columns` right-hand sides in place, `leading` elements apart; dl, d and du are overwritten. A single
// column is factored and solved in one sweep. A singular system, which only coinciding points make, gives NaN.
template <class Real>
void solve_tridiagonal(int64_t n, Real* dl, Real* d, Real* du, int64_t columns, Real* b, int64_t leading) {
  int64_t info = 0;
  if constexpr (sizeof(Real) == sizeof(double)) {
    if (columns == 1) {
      ddtsvb_4dfl(&n, &columns, dl, d, du, b, &leading, &info);
    } else {
      ddttrfb_4dfl(&n, dl, d, du, &info);
      if (info == 0) ddttrsb_4dfl(&n, &columns, dl, d, du, b, &leading, &info);
    }
  } else {
    if (columns == 1) {
      sdtsvb_4dfl(&n, &columns, dl, d, du, b, &leading, &info);
    } else {
      sdttrfb_4dfl(&n, dl, d, du, &info);
      if (info == 0) sdttrsb_4dfl(&n, &columns, dl, d, du, b, &leading, &info);
    }
  }
  if (info == 0) return;
  for (int64_t k = 0; k < columns; ++k) {
    for (int64_t i = 0; i < n; ++i) b[k * leading + i] = std::numeric_limits<Real>::quiet_NaN();
  }
}

}  // namespace qlx::fitting
