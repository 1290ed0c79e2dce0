// A pack of one double, for callouts that share a formula's text: no lane has to be moved to an integer register and
// back, which is what the formulas of powers wait for.
// SPDX-License-Identifier: Apache-2.0
//
// Both halves of its 128-bit register hold the same number.
#pragma once

#include "vecmath/simd/avx_integer.h"

namespace qlx::simd {

struct OneF64 {
  using Real = double;
  using Bits = uint64_t;
  static constexpr int kLanes = 1;
  __m128d v;
};
struct OneInteger {
  int32_t v;
};

inline OneF64 broadcast(OneF64*, double x) {
  return {_mm_set1_pd(x)};
}
inline double first(OneF64 x) {
  return _mm_cvtsd_f64(x.v);
}
inline OneF64 operator+(OneF64 a, OneF64 b) {
  return {_mm_add_pd(a.v, b.v)};
}
inline OneF64 operator-(OneF64 a, OneF64 b) {
  return {_mm_sub_pd(a.v, b.v)};
}
inline OneF64 operator*(OneF64 a, OneF64 b) {
  return {_mm_mul_pd(a.v, b.v)};
}
inline OneF64 operator&(OneF64 a, OneF64 b) {
  return {_mm_and_pd(a.v, b.v)};
}
inline OneF64 operator|(OneF64 a, OneF64 b) {
  return {_mm_or_pd(a.v, b.v)};
}

inline OneInteger broadcast(const OneInteger*, int32_t k) {
  return {k};
}
inline OneInteger operator+(OneInteger a, OneInteger b) {
  return {a.v + b.v};
}
inline OneInteger operator-(OneInteger a, OneInteger b) {
  return {a.v - b.v};
}
inline OneInteger operator&(OneInteger a, OneInteger b) {
  return {a.v & b.v};
}
inline OneInteger operator>>(OneInteger a, int k) {
  return {static_cast<int32_t>(static_cast<uint32_t>(a.v) >> k)};
}

inline OneInteger high_words(OneF64 x) {
  return {static_cast<int32_t>(std::bit_cast<uint64_t>(first(x)) >> 32)};
}
inline OneInteger low_words(OneF64 x) {
  return {static_cast<int32_t>(std::bit_cast<uint64_t>(first(x)))};
}
inline OneF64 to_real(OneInteger k) {
  return {_mm_set1_pd(k.v)};
}

inline OneF64 look_up(const float* table, OneInteger index) {
  return {_mm_set1_pd(table[index.v])};
}
struct PairOne {
  OneF64 first, second;
};
inline PairOne look_up(const double (*table)[2], OneInteger index) {
  return {{_mm_set1_pd(table[index.v][0])}, {_mm_set1_pd(table[index.v][1])}};
}

}  // namespace qlx::simd
