// Loops over another library's functions on AVX registers.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <immintrin.h>

#include <algorithm>
#include <type_traits>

#include "vecmath_peers.h"

namespace qlx::bench {

inline __m256 load(const float* p) {
  return _mm256_loadu_ps(p);
}
inline __m256d load(const double* p) {
  return _mm256_loadu_pd(p);
}
inline void store(float* p, __m256 x) {
  _mm256_storeu_ps(p, x);
}
inline void store(double* p, __m256d x) {
  _mm256_storeu_pd(p, x);
}

// r = function(a) or function(a, b); the elements of a last, partial register go through a copy.
template <auto kFunction, class Real>
void over_registers(int32_t n, const Real* a, const Real* b, Real* r, Real*) {
  constexpr int kLanes = 32 / sizeof(Real);
  const auto call = [](const Real* x, const Real* y, Real* to) {
    if constexpr (requires { kFunction(load(x), load(y)); }) {
      store(to, kFunction(load(x), load(y)));
    } else {
      store(to, kFunction(load(x)));
    }
  };
  int32_t i = 0;
  for (; i + kLanes <= n; i += kLanes) call(a + i, b + i, r + i);
  if (i == n) return;
  Real x[kLanes] = {}, y[kLanes] = {}, to[kLanes];
  std::copy(a + i, a + n, x);
  std::copy(b + i, b + n, y);
  call(x, y, to);
  std::copy(to, to + (n - i), r + i);
}

}  // namespace qlx::bench
