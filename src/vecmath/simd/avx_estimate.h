// The processor's 12-bit estimates, for packs of floats and, through their high words, of doubles.
// SPDX-License-Identifier: Apache-2.0
//
// Both estimates have a relative error of at most 1.5 * 2^-12 on every processor; which bits come out below that may
// differ between makers. They are deterministic for each argument on one processor.
#pragma once

#include "vecmath/simd/avx.h"

namespace qlx::simd {

// 1/sqrt(x). Denormals count as zeros: +-0 gives the infinity of its sign, a negative x a NaN.
inline PackF32 rsqrt_estimate(PackF32 x) {
  return {_mm256_rsqrt_ps(x.v)};
}

// 1/x, for x in a float's range.
inline PackF32 reciprocal_estimate(PackF32 x) {
  return {_mm256_rcp_ps(x.v)};
}
inline PackF64 reciprocal_estimate(PackF64 x) {
  return {_mm256_cvtps_pd(_mm_rcp_ps(_mm256_cvtpd_ps(x.v)))};
}

// 1/sqrt(x) for x in a float's range. What lies beyond it gives 0 or an infinity, and a negative x a NaN.
inline PackF64 rsqrt_estimate(PackF64 x) {
  return {_mm256_cvtps_pd(_mm_rsqrt_ps(_mm256_cvtpd_ps(x.v)))};
}

// 1/sqrt(x) for every positive normal x, at twice the cost.
//
// x = 4^k f with f in [1/2, 2). f is made from the high word alone: 20 bits of the mantissa and the lowest bit of the
// exponent move to a float's place; what the cut takes is a relative 2^-20, far below the estimate's own error. The
// result's high word is g's with -k added to the exponent. The exponents' masks cancel in one constant: for x = 1,
// f = g = 1.
inline PackF64 rsqrt_estimate_any_exponent(PackF64 x) {
  const __m128 low_half = _mm_castpd_ps(_mm256_castpd256_pd128(x.v));
  const __m128 high_half = _mm_castpd_ps(_mm256_extractf128_pd(x.v, 1));
  const __m128i words = _mm_castps_si128(_mm_shuffle_ps(low_half, high_half, 0xDD));
  const __m128i f_bits =
      _mm_or_si128(_mm_slli_epi32(_mm_and_si128(words, _mm_set1_epi32(0x001FFFFF)), 3), _mm_set1_epi32(0x3F000000));
  const __m128i g_bits = _mm_castps_si128(_mm_rsqrt_ps(_mm_castsi128_ps(f_bits)));
  constexpr int32_t kExponents = 0x3FF00000 - (0x3F800000 >> 3) + (0x3FE00000 >> 1);
  const __m128i twice_k = _mm_srli_epi32(_mm_and_si128(words, _mm_set1_epi32(0x7FE00000)), 1);
  const __m128i g_words = _mm_add_epi32(_mm_srli_epi32(g_bits, 3), _mm_sub_epi32(_mm_set1_epi32(kExponents), twice_k));
  const __m128i zero = _mm_setzero_si128();
  const __m256i low = _mm256_castsi128_si256(_mm_unpacklo_epi32(zero, g_words));
  return {_mm256_castsi256_pd(_mm256_insertf128_si256(low, _mm_unpackhi_epi32(zero, g_words), 1))};
}

}  // namespace qlx::simd
