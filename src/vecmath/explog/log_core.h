// The reduction that the double logarithms and the powers share: x = 2^e (1 + r) / c', with ln c' in a table.
// SPDX-License-Identifier: Apache-2.0
//
// For a positive normal x = 2^E u, u in [1, 2), m = 2^-10 u and c is the integer nearest to the processor's estimate of
// 1/m, 512 <= c <= 1024. Then
//
//   ln x = E ln 2 + ln(1024/c) + ln(1 + r),   r = m c - 1.
//
// c differs from 1/m by 1/2 and by the estimate's 1.5 * 2^-12 at most: |r| <= c m - 1 <= 2^-10 + 3.7e-4 = 1.35e-3 at
// c = 512, where u is near 2, and 8.6e-4 at c = 1024. m c is rounded once, to 2^-53; where c is 512 or 1024, that is
// about x = 1, it is exact. From c = 723 down, where u is above the square root of 2, e is E + 1 and the table's value
// is ln(512/c): near 1 both terms are 0, and the sum never cancels.
#pragma once

#include "vecmath/simd/simd.h"

namespace qlx::explog {

#include "vecmath/explog/tables/ln_reciprocal.inc"

struct LogReduction {
  simd::PackF64 e;        // exponent, as a number
  simd::PackF64 m, c;     // m in [2^-10, 2^-9), c an integer in 512 ... 1024
  simd::PackF64 r;        // m c - 1
  simd::IntegersF64 row;  // c - 512
};

inline LogReduction reduce_log(simd::PackF64 x) {
  using simd::all, simd::all_bits, simd::PackF64;
  const PackF64 m = (x & all_bits<PackF64>(0x000FFFFFFFFFFFFF)) | all_bits<PackF64>(0x3F50000000000000);
  const PackF64 c = simd::round_current_quietly(simd::reciprocal_estimate(m));
  // The top bits of c's high word count its rows: 0x40800000 is 512's, and 2^11 a step of 1.
  const simd::IntegersF64 row = (simd::high_words(c) >> 11) - simd::integers_f64(0x40800000 >> 11);
  const PackF64 exponent = simd::to_real(simd::high_words(x) >> 20);
  const PackF64 above_root = simd::keep(c < all<PackF64>(724), all<PackF64>(1));
  return {(exponent - all<PackF64>(1023)) + above_root, m, c, m * c - all<PackF64>(1), row};
}

// ln(1024/c), or ln(512/c) from 723 down: one double for each c, relative error 2^-53.
inline simd::PackF64 ln_of_reciprocal(simd::IntegersF64 row) {
  return simd::look_up(kLnReciprocal, row);
}

}  // namespace qlx::explog
