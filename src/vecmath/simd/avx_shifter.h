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

// The j of each lane. The empty assembly keeps the compiler from seeing through the memory.
template <int kBits>
struct LowBitsF64 {
  alignas(32) uint64_t j[4];
  explicit LowBitsF64(PackF64 y) {
    _mm256_store_pd(reinterpret_cast<double*>(j), (y & all_bits<PackF64>((uint64_t{1} << kBits) - 1)).v);
    asm("" : "+m"(j));
  }
  // An address is a 32-bit load and no extension.
  uint32_t operator[](int lane) const { return static_cast<uint32_t>(j[lane]); }
};
template <int kBits>
struct LowBitsF32 {
  alignas(32) uint32_t j[8];
  explicit LowBitsF32(PackF32 y) {
    _mm256_store_ps(reinterpret_cast<float*>(j), (y & all_bits<PackF32>((1u << kBits) - 1)).v);
    asm("" : "+m"(j));
  }
  uint32_t operator[](int lane) const { return j[lane]; }
};

// 2^e table[j] for entries in [1, 2): the exponent is added to the entry's. Here y's bias is 0.
template <int kBits>
inline PackF64 look_up_scaled(const double* table, PackF64 y) {
  const LowBitsF64<kBits> j(y);
  const __m256i k = _mm256_castpd_si256((y & all_bits<PackF64>(~uint64_t{0} << kBits)).v);
  const __m128d low = _mm_loadh_pd(_mm_load_sd(table + j[0]), table + j[1]);
  const __m128d high = _mm_loadh_pd(_mm_load_sd(table + j[2]), table + j[3]);
  const __m128i low_scaled =
      _mm_add_epi64(_mm_castpd_si128(low), _mm_slli_epi64(_mm256_castsi256_si128(k), 52 - kBits));
  const __m128i high_scaled =
      _mm_add_epi64(_mm_castpd_si128(high), _mm_slli_epi64(_mm256_extractf128_si256(k, 1), 52 - kBits));
  return {_mm256_castsi256_pd(_mm256_insertf128_si256(_mm256_castsi128_si256(low_scaled), high_scaled, 1))};
}

// table[j], both columns of it where it has two.
template <int kBits>
inline PairF64 look_up_below(const double (*table)[2], PackF64 y) {
  const LowBitsF64<kBits> j(y);
  const __m256d even =
      _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_load_pd(table[j[0]])), _mm_load_pd(table[j[2]]), 1);
  const __m256d odd =
      _mm256_insertf128_pd(_mm256_castpd128_pd256(_mm_load_pd(table[j[1]])), _mm_load_pd(table[j[3]]), 1);
  return {{_mm256_unpacklo_pd(even, odd)}, {_mm256_unpackhi_pd(even, odd)}};
}
template <int kBits>
inline PairF32 look_up_below(const float (*table)[2], PackF32 y) {
  const LowBitsF32<kBits> j(y);
  const auto two = [&](int k, int l) {
    const auto row = [&](int lane) { return reinterpret_cast<const double*>(table[j[lane]]); };
    return _mm_castpd_ps(_mm_loadh_pd(_mm_load_sd(row(k)), row(l)));
  };
  const __m256 even = _mm256_insertf128_ps(_mm256_castps128_ps256(two(0, 1)), two(4, 5), 1);
  const __m256 odd = _mm256_insertf128_ps(_mm256_castps128_ps256(two(2, 3)), two(6, 7), 1);
  return {{_mm256_shuffle_ps(even, odd, 0x88)}, {_mm256_shuffle_ps(even, odd, 0xDD)}};
}
template <int kBits>
inline PackF32 look_up_below(const float* table, PackF32 y) {
  const LowBitsF32<kBits> j(y);
  const auto four = [&](int k) {
    const __m128 even = _mm_unpacklo_ps(_mm_load_ss(table + j[k]), _mm_load_ss(table + j[k + 1]));
    const __m128 odd = _mm_unpacklo_ps(_mm_load_ss(table + j[k + 2]), _mm_load_ss(table + j[k + 3]));
    return _mm_movelh_ps(even, odd);
  };
  return {_mm256_insertf128_ps(_mm256_castps128_ps256(four(0)), four(4), 1)};
}

}  // namespace qlx::simd
