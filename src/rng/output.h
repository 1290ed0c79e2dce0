// From a generator's integers to what its entries write: the mappings onto (a, b) and the loop of blocks.
// SPDX-License-Identifier: Apache-2.0
//
// A generator is a class, made for one call of n elements, on top of BlockOf, with
//   Generator(stream, n)         takes the state and sets up what the call needs
//   void fill(Raw* out, int m)   the next m elements, and the state behind them
// and a Mapping from its raw elements to numbers. Recurrence and mapping meet only here, in a block that stays in the
// first-level cache; a sequence doesn't depend on where blocks end, since each fill goes on from the state.
#pragma once

#include <immintrin.h>

#include <cstring>

#include "rng/qst_stream.h"

namespace qlx::rng {

// Elements of a block: 8 KB of doubles.
inline constexpr int32_t kBlockElements = 1024;

// What a recurrence makes: blocks of kBlock elements, each of kRaws raw values.
template <class R, int32_t kElements = kBlockElements, int32_t kPerElement = 1>
struct BlockOf {
  using Raw = R;
  static constexpr int32_t kBlock = kElements, kRaws = kPerElement;
};

inline void store(double* r, __m256d v) {
  _mm256_storeu_pd(r, v);
}
inline void store(float* r, __m256d v) {
  _mm_storeu_ps(r, _mm256_cvtpd_ps(v));
}

// 4 by 4 transposition: element j of row i changes places with element i of row j.
inline void transpose(__m256d (&m)[4]) {
  const __m256d a = _mm256_unpacklo_pd(m[0], m[1]), b = _mm256_unpackhi_pd(m[0], m[1]);
  const __m256d c = _mm256_unpacklo_pd(m[2], m[3]), d = _mm256_unpackhi_pd(m[2], m[3]);
  m[0] = _mm256_permute2f128_pd(a, c, 0x20);
  m[1] = _mm256_permute2f128_pd(b, d, 0x20);
  m[2] = _mm256_permute2f128_pd(a, c, 0x31);
  m[3] = _mm256_permute2f128_pd(b, d, 0x31);
}

// 2^52 as a double: with it as the upper half of a word, a lower half of 32 bits is added exactly; the same for 2^84
// and an upper half of 32 bits, which counts 2^32 a unit.
inline constexpr double kTwo52 = 0x1p52, kTwo84 = 0x1p84;

// Four raw elements as exact doubles.
inline __m256d load_exact(const double* v) {
  return _mm256_loadu_pd(v);
}
inline __m256d load_exact(const uint32_t* v) {
  const __m128i words = _mm_loadu_si128(reinterpret_cast<const __m128i*>(v));
  const __m128i upper = _mm_set1_epi32(0x43300000);  // upper half of 2^52
  const __m128d low = _mm_castsi128_pd(_mm_unpacklo_epi32(words, upper));
  const __m128d high = _mm_castsi128_pd(_mm_unpackhi_epi32(words, upper));
  return _mm256_insertf128_pd(_mm256_castpd128_pd256(low), high, 1) - _mm256_set1_pd(kTwo52);
}

// r = a + v * ((b - a) * c), the factor formed once, all in double precision; float results are rounded once at the
// end. Elements go by fours and then one by one, with the same operations in the same order.
template <class Raw>
class AffineMapping {
 public:
  AffineMapping(double a, double b, double c) : a_(a), factor_((b - a) * c) {}

  template <class Real>
  void operator()(const Raw* v, int32_t n, Real* r) const {
    const __m256d a = _mm256_set1_pd(a_), factor = _mm256_set1_pd(factor_);
    int32_t i = 0;
    for (; i + 4 <= n; i += 4) store(r + i, a + load_exact(v + i) * factor);
    for (; i < n; ++i) r[i] = static_cast<Real>(a_ + static_cast<double>(v[i]) * factor_);
  }

 private:
  double a_, factor_;
};

// dBrng and sBrng of a generator: n elements onto (a, b) through a block on the stack.
template <class Generator, class Real>
int32_t generate(QstStream* stream, int32_t n, Real* r, Real a, Real b) {
  alignas(64) typename Generator::Raw block[Generator::kBlock * Generator::kRaws];
  Generator generator(stream, n);
  const typename Generator::Mapping mapping(generator, static_cast<double>(a), static_cast<double>(b));
  for (int32_t m; n > 0; n -= m, r += m) {
    m = n < Generator::kBlock ? n : Generator::kBlock;
    generator.fill(block, m);
    mapping(block, m, r);
  }
  return QST_STATUS_OK;
}

}  // namespace qlx::rng
