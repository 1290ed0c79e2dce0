// Integers beside the packs: 32 bits for each lane of a pack, moves of bits between the two, conversions and tables.
// SPDX-License-Identifier: Apache-2.0
//
// AVX computes on integers in 128-bit registers only: the integers of four doubles are one register, those of eight
// floats two.
#pragma once

#include "vecmath/simd/avx.h"

namespace qlx::simd {

// 32-bit integers of the lanes of a PackF64 and of a PackF32; shifts are logical unless named otherwise.
struct IntegersF64 {
  __m128i v;
};
struct IntegersF32 {
  __m128i low, high;
};

inline IntegersF64 broadcast(const IntegersF64*, int32_t k) {
  return {_mm_set1_epi32(k)};
}
inline IntegersF64 integers_f64(int32_t k) {
  return {_mm_set1_epi32(k)};
}
inline IntegersF64 operator+(IntegersF64 a, IntegersF64 b) {
  return {_mm_add_epi32(a.v, b.v)};
}
inline IntegersF64 operator-(IntegersF64 a, IntegersF64 b) {
  return {_mm_sub_epi32(a.v, b.v)};
}
inline IntegersF64 operator&(IntegersF64 a, IntegersF64 b) {
  return {_mm_and_si128(a.v, b.v)};
}
inline IntegersF64 operator>>(IntegersF64 a, int k) {
  return {_mm_srli_epi32(a.v, k)};
}
inline IntegersF64 operator<<(IntegersF64 a, int k) {
  return {_mm_slli_epi32(a.v, k)};
}

inline IntegersF32 integers_f32(int32_t k) {
  return {_mm_set1_epi32(k), _mm_set1_epi32(k)};
}
inline IntegersF32 operator+(IntegersF32 a, IntegersF32 b) {
  return {_mm_add_epi32(a.low, b.low), _mm_add_epi32(a.high, b.high)};
}
inline IntegersF32 operator-(IntegersF32 a, IntegersF32 b) {
  return {_mm_sub_epi32(a.low, b.low), _mm_sub_epi32(a.high, b.high)};
}
inline IntegersF32 operator&(IntegersF32 a, IntegersF32 b) {
  return {_mm_and_si128(a.low, b.low), _mm_and_si128(a.high, b.high)};
}
inline IntegersF32 operator>>(IntegersF32 a, int k) {
  return {_mm_srli_epi32(a.low, k), _mm_srli_epi32(a.high, k)};
}
inline IntegersF32 operator<<(IntegersF32 a, int k) {
  return {_mm_slli_epi32(a.low, k), _mm_slli_epi32(a.high, k)};
}
inline IntegersF32 shift_right_arithmetic(IntegersF32 a, int k) {
  return {_mm_srai_epi32(a.low, k), _mm_srai_epi32(a.high, k)};
}

// The bits of a float; the high and the low words of a double.
inline IntegersF32 bits_of(PackF32 x) {
  const __m256i bits = _mm256_castps_si256(x.v);
  return {_mm256_castsi256_si128(bits), _mm256_extractf128_si256(bits, 1)};
}
inline PackF32 from_bits(IntegersF32 k) {
  return {_mm256_castsi256_ps(_mm256_insertf128_si256(_mm256_castsi128_si256(k.low), k.high, 1))};
}
// The words that hold sign and exponent, whatever the type; and back, with zeros below.
inline IntegersF32 top_words(PackF32 x) {
  return bits_of(x);
}
inline IntegersF64 high_words(PackF64 x) {
  const __m128 low = _mm_castpd_ps(_mm256_castpd256_pd128(x.v));
  const __m128 high = _mm_castpd_ps(_mm256_extractf128_pd(x.v, 1));
  return {_mm_castps_si128(_mm_shuffle_ps(low, high, 0xDD))};
}
inline IntegersF64 low_words(PackF64 x) {
  const __m128 low = _mm_castpd_ps(_mm256_castpd256_pd128(x.v));
  const __m128 high = _mm_castpd_ps(_mm256_extractf128_pd(x.v, 1));
  return {_mm_castps_si128(_mm_shuffle_ps(low, high, 0x88))};
}
// Doubles with these high words, and zeros for low words.
inline PackF64 from_high_words(IntegersF64 k) {
  const __m128i zero = _mm_setzero_si128();
  const __m256i low = _mm256_castsi128_si256(_mm_unpacklo_epi32(zero, k.v));
  return {_mm256_castsi256_pd(_mm256_insertf128_si256(low, _mm_unpackhi_epi32(zero, k.v), 1))};
}

// The difference of the bits of a and b as integers of a lane's width.
inline PackF32 subtract_bits(PackF32 a, PackF32 b) {
  return from_bits(bits_of(a) - bits_of(b));
}
inline PackF64 subtract_bits(PackF64 a, PackF64 b) {
  const __m256i p = _mm256_castpd_si256(a.v), q = _mm256_castpd_si256(b.v);
  const __m128i low = _mm_sub_epi64(_mm256_castsi256_si128(p), _mm256_castsi256_si128(q));
  const __m128i high = _mm_sub_epi64(_mm256_extractf128_si256(p, 1), _mm256_extractf128_si256(q, 1));
  return {_mm256_castsi256_pd(_mm256_insertf128_si256(_mm256_castsi128_si256(low), high, 1))};
}

// Conversions of signed values; to integers they round to nearest.
inline PackF32 to_real(IntegersF32 k) {
  return {_mm256_cvtepi32_ps(_mm256_insertf128_si256(_mm256_castsi128_si256(k.low), k.high, 1))};
}
inline PackF64 to_real(IntegersF64 k) {
  return {_mm256_cvtepi32_pd(k.v)};
}
// The bits of each lane taken as an integer and converted, and its inverse: whole registers, without the halves.
inline PackF32 real_of_bits(PackF32 x) {
  return {_mm256_cvtepi32_ps(_mm256_castps_si256(x.v))};
}
inline PackF32 bits_of_real(PackF32 x) {
  return {_mm256_castsi256_ps(_mm256_cvtps_epi32(x.v))};
}

// The lower and the upper four floats as doubles, and both back as floats.
inline PackF64 widen_low(PackF32 x) {
  return {_mm256_cvtps_pd(_mm256_castps256_ps128(x.v))};
}
inline PackF64 widen_high(PackF32 x) {
  return {_mm256_cvtps_pd(_mm256_extractf128_ps(x.v, 1))};
}
inline PackF32 narrow(PackF64 low, PackF64 high) {
  return {_mm256_insertf128_ps(_mm256_castps128_ps256(_mm256_cvtpd_ps(low.v)), _mm256_cvtpd_ps(high.v), 1)};
}

// x times 2^k for the k in the low words of n, which holds k 2^shift + (less than 2^shift) in its 64 bits; x and the
// product are normal.
template <int kShift>
inline PackF64 add_to_exponent(PackF64 x, PackF64 n) {
  const __m256i k = _mm256_castpd_si256(_mm256_and_pd(n.v, all_bits<PackF64>(~uint64_t{0} << kShift).v));
  const __m256i bits = _mm256_castpd_si256(x.v);
  const __m128i low =
      _mm_add_epi64(_mm256_castsi256_si128(bits), _mm_slli_epi64(_mm256_castsi256_si128(k), 52 - kShift));
  const __m128i high =
      _mm_add_epi64(_mm256_extractf128_si256(bits, 1), _mm_slli_epi64(_mm256_extractf128_si256(k, 1), 52 - kShift));
  return {_mm256_castsi256_pd(_mm256_insertf128_si256(_mm256_castsi128_si256(low), high, 1))};
}

// ---- Tables: element table[k] for the k of each lane, which is not negative
// ------------------------------------------

struct Rows4 {
  uint32_t k[4];
};
// Two moves of 64 bits bring the four indices to integer registers.
inline Rows4 rows(__m128i v) {
#if defined(__x86_64__)
  const auto low = static_cast<uint64_t>(_mm_cvtsi128_si64(v));
  const auto high = static_cast<uint64_t>(_mm_extract_epi64(v, 1));
  return {{static_cast<uint32_t>(low), static_cast<uint32_t>(low >> 32), static_cast<uint32_t>(high),
           static_cast<uint32_t>(high >> 32)}};
#else
  return {{static_cast<uint32_t>(_mm_cvtsi128_si32(v)), static_cast<uint32_t>(_mm_extract_epi32(v, 1)),
           static_cast<uint32_t>(_mm_extract_epi32(v, 2)), static_cast<uint32_t>(_mm_extract_epi32(v, 3))}};
#endif
}

inline PackF64 look_up(const double* table, const Rows4& r) {
  const __m128d low = _mm_loadh_pd(_mm_load_sd(table + r.k[0]), table + r.k[1]);
  const __m128d high = _mm_loadh_pd(_mm_load_sd(table + r.k[2]), table + r.k[3]);
  return {_mm256_insertf128_pd(_mm256_castpd128_pd256(low), high, 1)};
}
inline PackF64 look_up(const double* table, IntegersF64 index) {
  return look_up(table, rows(index.v));
}
// Floats, as doubles.
inline PackF64 look_up(const float* table, IntegersF64 index) {
  const Rows4 r = rows(index.v);
  const __m128 low = _mm_unpacklo_ps(_mm_load_ss(table + r.k[0]), _mm_load_ss(table + r.k[1]));
  const __m128 high = _mm_unpacklo_ps(_mm_load_ss(table + r.k[2]), _mm_load_ss(table + r.k[3]));
  return {_mm256_cvtps_pd(_mm_movelh_ps(low, high))};
}

// Both columns of rows of two.
struct PairF64 {
  PackF64 first, second;
};
inline PairF64 look_up(const double (*table)[2], const Rows4& r) {
  const __m256d even =
      _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_load_pd(table[r.k[0]])), _mm_load_pd(table[r.k[2]]), 1);
  const __m256d odd =
      _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_load_pd(table[r.k[1]])), _mm_load_pd(table[r.k[3]]), 1);
  return {{_mm256_unpacklo_pd(even, odd)}, {_mm256_unpackhi_pd(even, odd)}};
}
inline PairF64 look_up(const double (*table)[2], IntegersF64 index) {
  return look_up(table, rows(index.v));
}

// Eight rows of two floats.
struct PairF32 {
  PackF32 first, second;
};
inline PairF32 look_up(const float (*table)[2], const Rows4& low, const Rows4& high) {
  const auto row = [table](uint32_t k) { return reinterpret_cast<const double*>(table[k]); };
  const auto two = [row](uint32_t k, uint32_t l) { return _mm_castpd_ps(_mm_loadh_pd(_mm_load_sd(row(k)), row(l))); };
  const __m256 even =
      _mm256_insertf128_ps(_mm256_castps128_ps256(two(low.k[0], low.k[1])), two(high.k[0], high.k[1]), 1);
  const __m256 odd =
      _mm256_insertf128_ps(_mm256_castps128_ps256(two(low.k[2], low.k[3])), two(high.k[2], high.k[3]), 1);
  return {{_mm256_shuffle_ps(even, odd, 0x88)}, {_mm256_shuffle_ps(even, odd, 0xDD)}};
}
inline PairF32 look_up(const float (*table)[2], IntegersF32 index) {
  return look_up(table, rows(index.low), rows(index.high));
}

// The first three columns of rows of four.
template <class Pack>
struct TripleOf {
  Pack first, second, third;
};
inline TripleOf<PackF64> look_up(const double (*table)[4], IntegersF64 index) {
  const Rows4 r = rows(index.v);
  const __m256d row0 = _mm256_load_pd(table[r.k[0]]), row1 = _mm256_load_pd(table[r.k[1]]);
  const __m256d row2 = _mm256_load_pd(table[r.k[2]]), row3 = _mm256_load_pd(table[r.k[3]]);
  const __m256d even01 = _mm256_unpacklo_pd(row0, row1), even23 = _mm256_unpacklo_pd(row2, row3);
  const __m256d odd01 = _mm256_unpackhi_pd(row0, row1), odd23 = _mm256_unpackhi_pd(row2, row3);
  return {{_mm256_permute2f128_pd(even01, even23, 0x20)},
          {_mm256_permute2f128_pd(odd01, odd23, 0x20)},
          {_mm256_permute2f128_pd(even01, even23, 0x31)}};
}
inline TripleOf<PackF32> look_up(const float (*table)[4], IntegersF32 index) {
  const Rows4 low = rows(index.low), high = rows(index.high);
  const auto two = [table](uint32_t k, uint32_t l) {
    return _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_load_ps(table[k])), _mm_load_ps(table[l]), 1);
  };
  const __m256 row0 = two(low.k[0], high.k[0]), row1 = two(low.k[1], high.k[1]);
  const __m256 row2 = two(low.k[2], high.k[2]), row3 = two(low.k[3], high.k[3]);
  const __m256 front01 = _mm256_unpacklo_ps(row0, row1), front23 = _mm256_unpacklo_ps(row2, row3);
  const __m256 back01 = _mm256_unpackhi_ps(row0, row1), back23 = _mm256_unpackhi_ps(row2, row3);
  return {{_mm256_shuffle_ps(front01, front23, 0x44)},
          {_mm256_shuffle_ps(front01, front23, 0xEE)},
          {_mm256_shuffle_ps(back01, back23, 0x44)}};
}

// k / 3 for 0 <= k < 2^15, rounded down: the upper half of k times a fixed-point third.
inline IntegersF64 third(IntegersF64 k) {
  return {_mm_mulhi_epu16(k.v, _mm_set1_epi32(0x5556))};
}
inline IntegersF32 third(IntegersF32 k) {
  return {_mm_mulhi_epu16(k.low, _mm_set1_epi32(0x5556)), _mm_mulhi_epu16(k.high, _mm_set1_epi32(0x5556))};
}
// k times a constant, both at most 2^15.
inline IntegersF64 times(IntegersF64 k, int32_t factor) {
  return {_mm_madd_epi16(k.v, _mm_set1_epi32(factor))};
}
inline IntegersF32 times(IntegersF32 k, int32_t factor) {
  return {_mm_madd_epi16(k.low, _mm_set1_epi32(factor)), _mm_madd_epi16(k.high, _mm_set1_epi32(factor))};
}

// One of four floats that a register holds, by the two low bits of each lane of k.
inline PackF32 choose(const float (&of)[4], PackF32 k) {
  return {_mm256_permutevar_ps(_mm256_broadcast_ps(reinterpret_cast<const __m128*>(of)), _mm256_castps_si256(k.v))};
}

}  // namespace qlx::simd
