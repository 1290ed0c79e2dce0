// The vector math that statistics use, behind one door.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_STATS_KERNELS_H
#define QLX_STATS_KERNELS_H

#include <cstdint>

namespace qlx::stats {

// Square root of one number, correctly rounded: the processor's own.
inline double __qstdSqrt(double x) {
  return __builtin_sqrt(x);
}
inline float __qstsSqrt(float x) {
  return __builtin_sqrtf(x);
}
inline double square_root(double x) {
  return __qstdSqrt(x);
}
inline float square_root(float x) {
  return __qstsSqrt(x);
}

// r_i = 1 / sqrt(a_i) over n elements.
template <class T>
void inverse_square_roots(int32_t n, const T* a, T* r) {
  for (int32_t i = 0; i < n; ++i) r[i] = 1 / square_root(a[i]);
}

}  // namespace qlx::stats

#endif
