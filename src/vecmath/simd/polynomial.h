// Polynomials in a pack, by Horner's rule.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "vecmath/simd/avx.h"

namespace qlx::simd {

// c[0] + c[1] x + c[2] x^2 + ...
template <class Pack, size_t kTerms>
inline Pack polynomial(Pack x, const typename Pack::Real (&c)[kTerms]) {
  Pack p = all<Pack>(c[kTerms - 1]);
#pragma GCC unroll 16
  for (size_t k = kTerms - 1; k > 0; --k) p = all<Pack>(c[k - 1]) + x * p;
  return p;
}

}  // namespace qlx::simd
