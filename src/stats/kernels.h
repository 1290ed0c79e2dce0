// The vector math that statistics use, behind one door.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_STATS_KERNELS_H
#define QLX_STATS_KERNELS_H

#include <bit>
#include <cstdint>

#include "dist/frame.h"  // call_kernel: the mode around a kernel's call
#include "qlx/qvm.h"

namespace qlx::stats {

inline constexpr int kHighAccuracy = QVM_HA - 1;  // slot of the kernel tables

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

// Natural logarithm of a positive normal number, within about one unit in the last place: ln(m 2^k) with m in
// [sqrt(1/2), sqrt(2)) is k ln 2 + 2 atanh(s), s = (m - 1) / (m + 1), |s| < 0.172; the series ends at s^23 / 23, whose
// successor is below 2^-64 relative to the sum. Used for sizes alone, never for data.
inline double __qstdLn(double x) {
  constexpr double kLn2 = 0x1.62e42fefa39efp-1, kSqrt2 = 0x1.6a09e667f3bcdp+0;
  const uint64_t bits = std::bit_cast<uint64_t>(x);
  int exponent = static_cast<int>(bits >> 52) - 1023;
  double m = std::bit_cast<double>((bits & 0xFFFFFFFFFFFFFu) | 0x3FF0000000000000u);
  if (m >= kSqrt2) {
    m *= 0.5;
    ++exponent;
  }
  const double s = (m - 1) / (m + 1), s2 = s * s;
  double series = 0;
  for (int k = 23; k >= 3; k -= 2) series = (series + 1.0 / k) * s2;
  return exponent * kLn2 + (2 * s + 2 * s * series);
}
inline double log2_of(double x) {
  return __qstdLn(x) * 1.4426950408889634;
}

// r_i = 1 / sqrt(a_i) over n elements, by the high-accuracy kernels whatever the mode's accuracy: below 1 ULP, where
// the other slots would leave a correlation's diagonal off 1 by as much as 2^-26. An a of 0 gives infinity and is
// reported as a pole, in the way that the mode asks for.
inline void inverse_square_roots(int32_t n, const double* a, double* r) {
  dist::call_kernel(qlx_qvm_kernel_dInvSqrt_ttab[kHighAccuracy], n, a, r);
}
inline void inverse_square_roots(int32_t n, const float* a, float* r) {
  dist::call_kernel(qlx_qvm_kernel_sInvSqrt_ttab[kHighAccuracy], n, a, r);
}

}  // namespace qlx::stats

#endif
