// Polynomials of packs.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "vecmath/simd/simd.h"

namespace qlx::powroot {

// c[kFirst] + c[kFirst + kStep] x + ... up to c[kCount - 1], by Horner's rule.
template <int kCount, int kFirst = 0, int kStep = 1, class Pack, class Real, size_t kSize>
inline Pack horner(Pack x, const Real (&c)[kSize]) {
  static_assert(kCount <= static_cast<int>(kSize));
  constexpr int kLast = kFirst + (kCount - 1 - kFirst) / kStep * kStep;
  Pack p = simd::all<Pack>(c[kLast]);
#pragma GCC unroll 16
  for (int k = kLast - kStep; k >= kFirst; k -= kStep) p = simd::all<Pack>(c[k]) + x * p;
  return p;
}

// c[0] + c[1] x + ... of the first kCount coefficients. Longer ones as even and odd part (Knuth, The Art of Computer
// Programming 2, section 4.6.4): two multiplications more, and half the latency, which is what a kernel waits for.
template <int kCount, class Pack, class Real, size_t kSize>
inline Pack polynomial(Pack x, const Real (&c)[kSize]) {
  if constexpr (kCount < 5) {
    return horner<kCount>(x, c);
  } else {
    const Pack square = x * x;
    return horner<kCount, 0, 2>(square, c) + x * horner<kCount, 1, 2>(square, c);
  }
}

}  // namespace qlx::powroot
