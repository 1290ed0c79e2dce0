// Polynomials in a pack.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "vecmath/simd/avx.h"

namespace qlx::simd {

// c[0] + c[1] x + c[2] x^2 + ... of the first kTerms coefficients. From four terms on, even and odd powers go side by
// side, each by Horner's rule in x^2: at one more product, half of the latency, which is what kernels of some 40
// operations a register run into. (Knuth, The Art of Computer Programming 2, section 4.6.4).
template <size_t kTerms, class Pack, size_t kSize>
inline Pack polynomial(Pack x, const typename Pack::Real (&c)[kSize]) {
  static_assert(kTerms >= 1 && kTerms <= kSize);
  if constexpr (kTerms < 4) {
    Pack p = all<Pack>(c[kTerms - 1]);
#pragma GCC unroll 4
    for (size_t k = kTerms - 1; k > 0; --k) p = all<Pack>(c[k - 1]) + x * p;
    return p;
  } else {
    const Pack square = x * x;
    Pack upper = all<Pack>(c[kTerms - 1]), lower = all<Pack>(c[kTerms - 2]);
#pragma GCC unroll 16
    for (size_t k = kTerms - 2; k >= 2; k -= 2) {
      upper = all<Pack>(c[k - 1]) + square * upper;
      lower = all<Pack>(c[k - 2]) + square * lower;
    }
    // An odd number of terms leaves c[0] below the two.
    if constexpr (kTerms % 2 == 0) {
      return lower + x * upper;
    } else {
      return all<Pack>(c[0]) + (square * upper + x * lower);
    }
  }
}
template <class Pack, size_t kTerms>
inline Pack polynomial(Pack x, const typename Pack::Real (&c)[kTerms]) {
  return polynomial<kTerms>(x, c);
}

}  // namespace qlx::simd
