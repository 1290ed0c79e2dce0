// The register layer for AVX: packs of 8 floats and 4 doubles, their masks, and the operations that kernels use.
// Kernels see nothing but these names, so another processor generation is one more file of this form.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <immintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace qlx::simd {

// One lane of all ones or all zeros for each lane of a pack.
struct MaskF32 {
  __m256 v;
};
struct MaskF64 {
  __m256d v;
};

struct PackF32 {
  using Real = float;
  using Bits = uint32_t;
  using Mask = MaskF32;
  static constexpr int kLanes = 8;
  __m256 v;
};
struct PackF64 {
  using Real = double;
  using Bits = uint64_t;
  using Mask = MaskF64;
  static constexpr int kLanes = 4;
  __m256d v;
};

template <class Real>
using PackOf = std::conditional_t<sizeof(Real) == 4, PackF32, PackF64>;

// A window of a row of ones followed by zeros: the first `count` lanes selected.
alignas(64) inline constexpr int32_t kFirstLanes[16] = {-1, -1, -1, -1, -1, -1, -1, -1, 0, 0, 0, 0, 0, 0, 0, 0};
inline __m256i first_lanes_f32(int count) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(kFirstLanes + 8 - count));
}
inline __m256i first_lanes_f64(int count) {
  return first_lanes_f32(2 * count);
}

// All ones in the lanes whose bits are set.
inline __m256i ones_of_bits_ps(uint32_t bits) {
  const __m128i all = _mm_set1_epi32(static_cast<int32_t>(bits));
  const auto ones = [all](__m128i of) { return _mm_cmpeq_epi32(_mm_and_si128(all, of), of); };
  return _mm256_setr_m128i(ones(_mm_setr_epi32(1, 2, 4, 8)), ones(_mm_setr_epi32(16, 32, 64, 128)));
}
inline __m256i ones_of_bits_pd(uint32_t bits) {
  const __m128i all = _mm_set1_epi64x(bits);
  const auto ones = [all](__m128i of) { return _mm_cmpeq_epi64(_mm_and_si128(all, of), of); };
  return _mm256_setr_m128i(ones(_mm_set_epi64x(2, 1)), ones(_mm_set_epi64x(8, 4)));
}

// Both widths from one text: NAME is the intrinsic's suffix.
#define QLX_SIMD_COMMON(Pack, Mask, Real, ps, ones)                                                                  \
  inline Pack broadcast(Pack*, Real x) {                                                                             \
    return {_mm256_set1_##ps(x)};                                                                                    \
  }                                                                                                                  \
  inline Pack load(const Real* p) {                                                                                  \
    return {_mm256_loadu_##ps(p)};                                                                                   \
  }                                                                                                                  \
  inline void store(Real* p, Pack x) {                                                                               \
    _mm256_storeu_##ps(p, x.v);                                                                                      \
  }                                                                                                                  \
  inline void store_aligned(Real* p, Pack x) {                                                                       \
    _mm256_store_##ps(p, x.v);                                                                                       \
  }                                                                                                                  \
  /* The mask of the first `count` lanes; these elements, and `filler` in the other lanes; no other element is       \
   * touched. */                                                                                                     \
  inline Mask first_lanes(Mask, int count) {                                                                         \
    return {_mm256_castsi256_##ps(ones(count))};                                                                     \
  }                                                                                                                  \
  inline Pack load_first(const Real* p, int count, Pack filler) {                                                    \
    const __m256i lanes = ones(count);                                                                               \
    return {                                                                                                         \
        _mm256_or_##ps(_mm256_andnot_##ps(_mm256_castsi256_##ps(lanes), filler.v), _mm256_maskload_##ps(p, lanes))}; \
  }                                                                                                                  \
  inline void store_first(Real* p, int count, Pack x) {                                                              \
    _mm256_maskstore_##ps(p, ones(count), x.v);                                                                      \
  }                                                                                                                  \
  inline Pack operator+(Pack a, Pack b) {                                                                            \
    return {_mm256_add_##ps(a.v, b.v)};                                                                              \
  }                                                                                                                  \
  inline Pack operator-(Pack a, Pack b) {                                                                            \
    return {_mm256_sub_##ps(a.v, b.v)};                                                                              \
  }                                                                                                                  \
  inline Pack operator*(Pack a, Pack b) {                                                                            \
    return {_mm256_mul_##ps(a.v, b.v)};                                                                              \
  }                                                                                                                  \
  inline Pack operator/(Pack a, Pack b) {                                                                            \
    return {_mm256_div_##ps(a.v, b.v)};                                                                              \
  }                                                                                                                  \
  inline Pack operator&(Pack a, Pack b) {                                                                            \
    return {_mm256_and_##ps(a.v, b.v)};                                                                              \
  }                                                                                                                  \
  inline Pack operator|(Pack a, Pack b) {                                                                            \
    return {_mm256_or_##ps(a.v, b.v)};                                                                               \
  }                                                                                                                  \
  inline Pack operator^(Pack a, Pack b) {                                                                            \
    return {_mm256_xor_##ps(a.v, b.v)};                                                                              \
  }                                                                                                                  \
  /* The bits of b that a lacks. */                                                                                  \
  inline Pack and_not(Pack a, Pack b) {                                                                              \
    return {_mm256_andnot_##ps(a.v, b.v)};                                                                           \
  }                                                                                                                  \
  /* The processor's maximum and minimum: b when either is a NaN or both are zeros. */                               \
  inline Pack hardware_max(Pack a, Pack b) {                                                                         \
    return {_mm256_max_##ps(a.v, b.v)};                                                                              \
  }                                                                                                                  \
  inline Pack hardware_min(Pack a, Pack b) {                                                                         \
    return {_mm256_min_##ps(a.v, b.v)};                                                                              \
  }                                                                                                                  \
  inline Pack sqrt(Pack a) {                                                                                         \
    return {_mm256_sqrt_##ps(a.v)};                                                                                  \
  }                                                                                                                  \
  inline Pack round_up(Pack a) {                                                                                     \
    return {_mm256_round_##ps(a.v, _MM_FROUND_TO_POS_INF | _MM_FROUND_NO_EXC)};                                      \
  }                                                                                                                  \
  inline Pack round_down(Pack a) {                                                                                   \
    return {_mm256_round_##ps(a.v, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC)};                                      \
  }                                                                                                                  \
  inline Pack round_to_zero(Pack a) {                                                                                \
    return {_mm256_round_##ps(a.v, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC)};                                         \
  }                                                                                                                  \
  /* To the nearest integer, ties to even, as the control word in force says; with and without the inexact flag. */  \
  inline Pack round_current(Pack a) {                                                                                \
    return {_mm256_round_##ps(a.v, _MM_FROUND_CUR_DIRECTION)};                                                       \
  }                                                                                                                  \
  inline Pack round_current_quietly(Pack a) {                                                                        \
    return {_mm256_round_##ps(a.v, _MM_FROUND_CUR_DIRECTION | _MM_FROUND_NO_EXC)};                                   \
  }                                                                                                                  \
  /* Comparisons: false where either is a NaN, except not_less_equal and not_equal; no flag for a quiet NaN. */      \
  inline Mask operator==(Pack a, Pack b) {                                                                           \
    return {_mm256_cmp_##ps(a.v, b.v, _CMP_EQ_OQ)};                                                                  \
  }                                                                                                                  \
  inline Mask not_equal(Pack a, Pack b) {                                                                            \
    return {_mm256_cmp_##ps(a.v, b.v, _CMP_NEQ_UQ)};                                                                 \
  }                                                                                                                  \
  inline Mask operator<(Pack a, Pack b) {                                                                            \
    return {_mm256_cmp_##ps(a.v, b.v, _CMP_LT_OQ)};                                                                  \
  }                                                                                                                  \
  inline Mask operator<=(Pack a, Pack b) {                                                                           \
    return {_mm256_cmp_##ps(a.v, b.v, _CMP_LE_OQ)};                                                                  \
  }                                                                                                                  \
  inline Mask operator>(Pack a, Pack b) {                                                                            \
    return {_mm256_cmp_##ps(a.v, b.v, _CMP_GT_OQ)};                                                                  \
  }                                                                                                                  \
  inline Mask operator>=(Pack a, Pack b) {                                                                           \
    return {_mm256_cmp_##ps(a.v, b.v, _CMP_GE_OQ)};                                                                  \
  }                                                                                                                  \
  inline Mask not_less_equal(Pack a, Pack b) {                                                                       \
    return {_mm256_cmp_##ps(a.v, b.v, _CMP_NLE_UQ)};                                                                 \
  }                                                                                                                  \
  inline Mask not_greater_equal(Pack a, Pack b) {                                                                    \
    return {_mm256_cmp_##ps(a.v, b.v, _CMP_NGE_UQ)};                                                                 \
  }                                                                                                                  \
  inline Mask unordered(Pack a, Pack b) {                                                                            \
    return {_mm256_cmp_##ps(a.v, b.v, _CMP_UNORD_Q)};                                                                \
  }                                                                                                                  \
  inline Mask operator|(Mask a, Mask b) {                                                                            \
    return {_mm256_or_##ps(a.v, b.v)};                                                                               \
  }                                                                                                                  \
  inline Mask operator&(Mask a, Mask b) {                                                                            \
    return {_mm256_and_##ps(a.v, b.v)};                                                                              \
  }                                                                                                                  \
  /* The lanes of m that are not in `out`. */                                                                        \
  inline Mask without(Mask m, Mask out) {                                                                            \
    return {_mm256_andnot_##ps(out.v, m.v)};                                                                         \
  }                                                                                                                  \
  /* One bit a lane, lane 0 lowest. */                                                                               \
  inline uint32_t lane_bits(Mask m) {                                                                                \
    return static_cast<uint32_t>(_mm256_movemask_##ps(m.v));                                                         \
  }                                                                                                                  \
  /* The lanes whose bits are set. */                                                                                \
  inline Mask lanes_of_bits(Mask, uint32_t bits) {                                                                   \
    return {_mm256_castsi256_##ps(ones_of_bits_##ps(bits))};                                                         \
  }                                                                                                                  \
  inline bool any(Mask m) {                                                                                          \
    return !_mm256_testz_##ps(m.v, m.v);                                                                             \
  }                                                                                                                  \
  /* By assembly: GCC 12 turns the intrinsic into an integer comparison, which AVX lacks, and takes it lane by lane. \
   */                                                                                                                \
  inline Pack select(Mask m, Pack if_set, Pack if_clear) {                                                           \
    Pack r;                                                                                                          \
    asm("vblendv" #ps " %3, %2, %1, %0" : "=x"(r.v) : "x"(if_clear.v), "xm"(if_set.v), "x"(m.v));                    \
    return r;                                                                                                        \
  }                                                                                                                  \
  /* x where the mask is set, +0 elsewhere. */                                                                       \
  inline Pack keep(Mask m, Pack x) {                                                                                 \
    return {_mm256_and_##ps(m.v, x.v)};                                                                              \
  }

QLX_SIMD_COMMON(PackF32, MaskF32, float, ps, first_lanes_f32)
QLX_SIMD_COMMON(PackF64, MaskF64, double, pd, first_lanes_f64)
#undef QLX_SIMD_COMMON

template <class Pack>
inline Pack all(typename Pack::Real x) {
  return broadcast(static_cast<Pack*>(nullptr), x);
}
template <class Pack>
inline Pack all_bits(typename Pack::Bits bits) {
  return all<Pack>(std::bit_cast<typename Pack::Real>(bits));
}

template <class Pack>
inline Pack sign_bit() {
  return all<Pack>(static_cast<typename Pack::Real>(-0.0));
}
template <class Pack>
inline Pack abs(Pack x) {
  return and_not(sign_bit<Pack>(), x);
}

// Lane 0.
inline float first(PackF32 x) {
  return _mm_cvtss_f32(_mm256_castps256_ps128(x.v));
}
inline double first(PackF64 x) {
  return _mm_cvtsd_f64(_mm256_castpd256_pd128(x.v));
}

// Lanes of an infinity or a NaN: those whose magnitude is not at most the largest finite number.
template <class Pack>
inline typename Pack::Mask not_finite(Pack x) {
  using Real = typename Pack::Real;
  constexpr Real kInfinity =
      std::bit_cast<Real>(static_cast<typename Pack::Bits>(sizeof(Real) == 4 ? 0x7F800000ull : 0x7FF0000000000000ull));
  return not_greater_equal(all<Pack>(std::bit_cast<Real>(std::bit_cast<typename Pack::Bits>(kInfinity) - 1)), abs(x));
}

// x's bits as an integer, plus a small number.
inline PackF32 add_bits(PackF32 x, int32_t k) {
  const __m128i step = _mm_set1_epi32(k);
  const __m256i bits = _mm256_castps_si256(x.v);
  const __m128i low = _mm_add_epi32(_mm256_castsi256_si128(bits), step);
  const __m128i high = _mm_add_epi32(_mm256_extractf128_si256(bits, 1), step);
  return {_mm256_castsi256_ps(_mm256_setr_m128i(low, high))};
}
inline PackF64 add_bits(PackF64 x, int64_t k) {
  const __m128i step = _mm_set1_epi64x(k);
  const __m256i bits = _mm256_castpd_si256(x.v);
  const __m128i low = _mm_add_epi64(_mm256_castsi256_si128(bits), step);
  const __m128i high = _mm_add_epi64(_mm256_extractf128_si256(bits, 1), step);
  return {_mm256_castsi256_pd(_mm256_setr_m128i(low, high))};
}

// Element by element: lane k is p[k * stride].
inline PackF32 gather(const float* p, std::ptrdiff_t stride) {
  const float* q = p + 4 * stride;
  return {_mm256_setr_ps(p[0], p[stride], p[2 * stride], p[3 * stride], q[0], q[stride], q[2 * stride], q[3 * stride])};
}
inline PackF64 gather(const double* p, std::ptrdiff_t stride) {
  return {_mm256_setr_pd(p[0], p[stride], p[2 * stride], p[3 * stride])};
}
template <class Pack>
inline void scatter(typename Pack::Real* p, std::ptrdiff_t stride, Pack x) {
  alignas(32) typename Pack::Real lanes[Pack::kLanes];
  store_aligned(lanes, x);
  for (int k = 0; k < Pack::kLanes; ++k) p[k * stride] = lanes[k];
}

}  // namespace qlx::simd
