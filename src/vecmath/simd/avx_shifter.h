// Sums with a shifter: rounding to a multiple of a power of two by one addition, after which the low bits of the sum
// are an integer. Its lowest bits choose a table row, and the others are an exponent. SPDX-License-Identifier:
// Apache-2.0
//
// Below, y is such a sum, and its low bits hold (e + bias) 2^kBits + j, where bias is that of the format's exponents
// and 0 <= j < 2^kBits. AVX moves bits in halves of its registers, and integer registers are best reached through
// memory: one store and one load a lane take fewer operations than extracting the lanes.
#pragma once

#include "vecmath/simd/avx_integer.h"

namespace qlx::simd {

// The shifter for multiples of 2^-step, with `low` in the low bits of the sum for 0.
constexpr float shifter_f32(int step, int32_t low) {
  const uint32_t exponent = static_cast<uint32_t>(127 + 23 - step);
  return std::bit_cast<float>((exponent << 23 | 0x00400000u) + static_cast<uint32_t>(low));
}
constexpr double shifter_f64(int step, int32_t low) {
  const uint64_t exponent = static_cast<uint64_t>(1023 + 52 - step);
  return std::bit_cast<double>((exponent << 52 | 0x0008000000000000u) + static_cast<uint64_t>(low));
}

// 2^n for integers n in the normal range, by a conversion: (n + 127) 2^23 are the bits of 2^n.
inline PackF32 power_of_two(PackF32 n) {
  return bits_of_real(n * all<PackF32>(0x1p23f) + all<PackF32>(127 * 0x1p23f));
}

// 2^e from y; shift says where the exponent is to go.
template <int kBits>
inline PackF32 power_of_two_above(PackF32 y) {
  const IntegersF32 k = bits_of(y & all_bits<PackF32>(~0u << kBits)) << (23 - kBits);
  return from_bits(k);
}
template <int kBits>
inline PackF64 power_of_two_above(PackF64 y) {
  const __m256i k = _mm256_castpd_si256((y & all_bits<PackF64>(~uint64_t{0} << kBits)).v);
  const __m128i low = _mm_slli_epi64(_mm256_castsi256_si128(k), 52 - kBits);
  const __m128i high = _mm_slli_epi64(_mm256_extractf128_si256(k, 1), 52 - kBits);
  return {_mm256_castsi256_pd(_mm256_insertf128_si256(_mm256_castsi128_si256(low), high, 1))};
}

// The j of each lane. Where an integer register holds a whole double, two moves a half bring the lanes there.
template <int kBits>
inline Rows4 low_bits(PackF64 y) {
#if defined(__x86_64__)
  const __m256i j = _mm256_castpd_si256((y & all_bits<PackF64>((uint64_t{1} << kBits) - 1)).v);
  const __m128i low = _mm256_castsi256_si128(j), high = _mm256_extractf128_si256(j, 1);
  const auto lane = [](int64_t k) { return static_cast<uint32_t>(k); };
  return {{lane(_mm_cvtsi128_si64(low)), lane(_mm_extract_epi64(low, 1)), lane(_mm_cvtsi128_si64(high)),
           lane(_mm_extract_epi64(high, 1))}};
#else
  return rows((low_words(y) & integers_f64((1 << kBits) - 1)).v);
#endif
}
struct Rows8 {
  Rows4 low, high;
};
template <int kBits>
inline Rows8 low_bits(PackF32 y) {
  const IntegersF32 j = bits_of(y & all_bits<PackF32>((1u << kBits) - 1));
  return {rows(j.low), rows(j.high)};
}

// table[j], both columns of it where it has two.
template <int kBits>
inline PackF64 look_up_below(const double* table, PackF64 y) {
  return look_up(table, low_bits<kBits>(y));
}
template <int kBits>
inline PairF64 look_up_below(const double (*table)[2], PackF64 y) {
  return look_up(table, low_bits<kBits>(y));
}
template <int kBits>
inline PairF32 look_up_below(const float (*table)[2], PackF32 y) {
  const Rows8 j = low_bits<kBits>(y);
  return look_up(table, j.low, j.high);
}
template <int kBits>
inline PackF32 look_up_below(const float* table, PackF32 y) {
  const Rows8 j = low_bits<kBits>(y);
  const auto four = [table](const Rows4& r) {
    const __m128 low = _mm_unpacklo_ps(_mm_load_ss(table + r.k[0]), _mm_load_ss(table + r.k[1]));
    const __m128 high = _mm_unpacklo_ps(_mm_load_ss(table + r.k[2]), _mm_load_ss(table + r.k[3]));
    return _mm_movelh_ps(low, high);
  };
  return {_mm256_insertf128_ps(_mm256_castps128_ps256(four(j.low)), four(j.high), 1)};
}

}  // namespace qlx::simd
