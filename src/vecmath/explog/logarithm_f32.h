// Logarithms, float: the cores of Ln, Log2, Log10 and Log1p.
// SPDX-License-Identifier: Apache-2.0
//
// Polynomial form (LA, EP; Ln HA): x = 2^n m with m in [2/3, 4/3), by one subtraction of bits and without a branch, and
//
//   log x = n log 2 + log(1 + r),   r = m - 1, exact, |r| <= 1/3.
//
// Where n is not 0, |n log 2| is more than twice |log(1 + r)|: nothing cancels but what two binades can. EP and LA take
// log 2 in one part and polynomials of few terms; Ln HA takes it in two parts, of which the first times n is exact.
//
// Table form (HA of Log2, Log10, Log1p): x = 2^E u with u in [1, 2), m = 2^-9 u, and c the integer nearest to the
// processor's estimate of 1/m, 256 <= c <= 512. Then
//
//   log x = e log 2 + T(c) + log(1 + r),   r = m c - 1,
//
// with e = E and T = log(512/c), or from c = 362 down, where u is above the square root of 2, e = E + 1 and T =
// log(256/c): next to 1 both terms are 0. c is off from 1/m by 1/2 and by the estimate's 1.5 2^-12 m^-1, so that |r|
// <= 2.7e-3 at c = 256 and 1.4e-3 at c = 512, and a cubic is enough. m rounded to 15 bits times c is exact, as is the
// rest of m times c; rounded, not cut, so that below 1 the two products don't cancel. T is a pair. The sum of the
// leading terms keeps its rounding error (Dekker's fast two-sum: the first is larger or 0), so that the result is
// rounded once, up to roundings 2^-8 of that.
//
// P. T. P. Tang, "Table-driven implementation of the logarithm function in IEEE floating-point arithmetic" (1990); W.
// Wong and E. Goto, "Fast hardware-based algorithms for elementary function computations" (1994), for the reciprocal.
#pragma once

#include "vecmath/explog/logarithm.h"

namespace qlx::explog {

#include "vecmath/explog/tables/ln_reciprocal_f32.inc"
#include "vecmath/explog/tables/log10_fit_f32_ep.inc"
#include "vecmath/explog/tables/log10_fit_f32_la.inc"
#include "vecmath/explog/tables/log10_reciprocal_f32.inc"
#include "vecmath/explog/tables/log1p_fit_f32_ha.inc"
#include "vecmath/explog/tables/log1p_fit_f32_la.inc"
#include "vecmath/explog/tables/log2_fit_f32_ep.inc"
#include "vecmath/explog/tables/log2_fit_f32_la.inc"
#include "vecmath/explog/tables/log2_reciprocal_f32.inc"

// ---- Reductions ----------------------------------------------------------------------------------------------------

struct SplitF32 {
  PackF32 n, r;              // x = 2^n (1 + r), |r| <= 1/3
  simd::IntegersF32 offset;  // n 2^23 + (less than 2^23)
};

// 0x3F2AAAAB is 2/3. The difference of bits is n 2^23 + the distance of m's bits from those of 2/3.
inline SplitF32 split_f32(PackF32 x) {
  const simd::IntegersF32 two_thirds = simd::integers_f32(0x3F2AAAAB);
  const simd::IntegersF32 offset = simd::bits_of(x) - two_thirds;
  const PackF32 m = simd::from_bits((offset & simd::integers_f32(0x007FFFFF)) + two_thirds);
  return {simd::to_real(simd::shift_right_arithmetic(offset, 23)), m - all<PackF32>(1), offset};
}

struct ReducedF32 {
  PackF32 e, c;
  PackF32 r1, r2;         // r = r1 + r2, both exact: r1 a multiple of 2^-23, |r2| <= 2^-15
  simd::IntegersF32 row;  // c mod 256
};

inline ReducedF32 reduce_f32(PackF32 x) {
  const PackF32 m = (x & all_bits<PackF32>(0x007FFFFF)) | all_bits<PackF32>(0x3B000000);
  const PackF32 c = simd::round_current_quietly(simd::reciprocal_estimate(m));
  const PackF32 exponent = simd::real_of_bits(x & all_bits<PackF32>(0x7F800000)) * all<PackF32>(0x1p-23f);
  const PackF32 above_root = simd::keep(c < all<PackF32>(363), all<PackF32>(1));
  const PackF32 high = (m + all<PackF32>(1.5f)) - all<PackF32>(1.5f);  // a multiple of 2^-23
  // Both ends, 256 and 512, have a mantissa of zeros: row 0, with T = 0.
  const simd::IntegersF32 row = (simd::bits_of(c) >> 15) & simd::integers_f32(0xFF);
  return {(exponent - all<PackF32>(127)) + above_root, c, high * c - all<PackF32>(1), (m - high) * c, row};
}

// log(2^e (1 + r)) + T(c) by the table of a base, rounded once. fit: log_b(1 + r) behind its leading term,
// in s = r kLeadHi.
template <class Base, size_t kRows, size_t kTerms>
inline PackF32 sum_f32(const ReducedF32& x, const float (&table)[kRows][2], const float (&fit)[kTerms]) {
  using Pack = PackF32;
  const simd::PairF32 t = simd::look_up(table, x.row);
  // r times the short part of the leading coefficient: both products are exact, of 15 and 17 bits times 7.
  Pack s1 = x.r1, s2 = x.r2;
  if constexpr (Base::kLeadHi != 1) s1 = s1 * all<Pack>(Base::kLeadHi), s2 = s2 * all<Pack>(Base::kLeadHi);
  const Pack s = s1 + s2;
  Pack head = t.first, tail = t.second + s2;
  if constexpr (Base::kTwoLo == 0) {
    head = x.e + t.first;
  } else {
    head = x.e * all<Pack>(Base::kTwoHi) + t.first;  // exact: multiples of 2^-17 below 2^7
    tail = x.e * all<Pack>(Base::kTwoLo) + tail;
  }
  Pack p = simd::polynomial(s, fit) * s;
  if constexpr (Base::kLeadLo != 0) p = p + all<Pack>(Base::kLeadLo);
  const Pack sum = head + s1;
  const Pack rest = s1 - (sum - head);
  return sum + (rest + (tail + s * p));
}

// ---- Ln ------------------------------------------------------------------------------------------------------------

// r + r^2 q(r), coefficients given: relative errors 2^-13.3 (EP), 2^-22.25 (LA) and 2^-27.4 (HA).
constexpr float kLnF32EP[] = {-0.5f, 0.33289623f, -0.26740259f, 0.21988373f};
constexpr float kLnF32LA[] = {-0.5f, 0.33336565f, -0.25004664f, 0.19822504f, -0.16462457f, 0.16964881f, -0.15177205f};
// HA's first, -0.5, stands apart.
constexpr float kLnF32HA[] = {0.33333215f, -0.24999797f, 0.20010406f, -0.16680488f,
                              0.14005870f, -0.12184261f, 0.13984437f, -0.12891686f};

// n ln 2 + ln(1 + r), and n ln 2 + ln(1 + r + rest) for a rest of no more than r's last bit.
template <size_t kTerms>
inline PackF32 ln_one_part(PackF32 n, PackF32 r, const float (&fit)[kTerms]) {
  return n * all<PackF32>(BaseE<float>::kTwo) + (r + (r * r) * simd::polynomial(r, fit));
}
template <size_t kTerms>
inline PackF32 ln_one_part(PackF32 n, PackF32 r, PackF32 rest, const float (&fit)[kTerms]) {
  const PackF32 whole = r + rest;
  return n * all<PackF32>(BaseE<float>::kTwo) + (r + (rest + (whole * whole) * simd::polynomial(whole, fit)));
}

struct LnF32HAForm {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  static Pack logarithm(Pack x) {
    const SplitF32 s = split_f32(x);
    const Pack n = s.n, r = s.r;
    // r^2/2 is up to a quarter of the result, so it may not be rounded to one word: head^2/2, with 12 bits of r, is
    // exact, and r^2 - head^2 = (r - head) (r + head).
    const Pack minus_half = all<Pack>(-0.5f);
    const Pack head = r & all_bits<Pack>(0xFFFFF000);
    const Pack square = head * (head * minus_half);
    const Pack square_rest = (r - head) * ((r + head) * minus_half);
    const Pack p = square_rest + (r * r) * (r * simd::polynomial(r, kLnF32HA));
    const Pack whole = n * all<Pack>(BaseE<float>::kTwoHi);
    const Pack sum = whole + r;
    const Pack rest = r - (sum - whole);
    const Pack nearly = sum + square;
    const Pack nearly_rest = square - (nearly - sum);
    return nearly + ((rest + nearly_rest) + (n * all<Pack>(BaseE<float>::kTwoLo) + p));
  }
};
using LnF32HA = Logarithm<LnF32HAForm, BaseE<double>>;

struct LnF32LAForm {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  static Pack logarithm(Pack x) {
    const SplitF32 s = split_f32(x);
    return ln_one_part(s.n, s.r, kLnF32LA);
  }
};
using LnF32LA = Logarithm<LnF32LAForm, BaseE<double>>;

struct LnF32EPForm {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  static Pack logarithm(Pack x) {
    const SplitF32 s = split_f32(x);
    return ln_one_part(s.n, s.r, kLnF32EP);
  }
};
using LnF32EP = Logarithm<LnF32EPForm, BaseE<double>>;

// ---- Log2, Log10 ---------------------------------------------------------------------------------------------------

// Behind s (1 + kLeadLo), s = r kLeadHi; given. Next to 1 they add at most 0.24 and 0.11 ulp to the rounding of the
// result (tools/fits/fit --type f32 --given, with the pieces of logarithm_f64.h for c = 256, 257, 511 and 512).
constexpr float kLog2F32HA[] = {-0.34908712f, 0.16189733f};
constexpr float kLog10F32HA[] = {-1.155026f, 1.7759098f};

template <class Base>
struct TablesF32;
template <>
struct TablesF32<BaseE<float>> {
  static constexpr auto& kRows = kLnReciprocalF32;
  static constexpr auto& kFitHA = kLog1pFitF32HA;
};
template <>
struct TablesF32<Base2<float>> {
  static constexpr auto& kRows = kLog2ReciprocalF32;
  static constexpr auto& kFitHA = kLog2F32HA;
  static constexpr auto& kFitLA = kLog2FitF32LA;
  static constexpr auto& kFitEP = kLog2FitF32EP;
};
template <>
struct TablesF32<Base10<float>> {
  static constexpr auto& kRows = kLog10ReciprocalF32;
  static constexpr auto& kFitHA = kLog10F32HA;
  static constexpr auto& kFitLA = kLog10FitF32LA;
  static constexpr auto& kFitEP = kLog10FitF32EP;
};

template <class Base>
struct LogF32HAForm {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  static Pack logarithm(Pack x) {
    return sum_f32<Base>(reduce_f32(x), TablesF32<Base>::kRows, TablesF32<Base>::kFitHA);
  }
};
template <class Base>
using LogF32HA = Logarithm<LogF32HAForm<Base>, typename Base::InDouble>;

template <class Base>
struct LogF32LAForm {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  static Pack logarithm(Pack x) {
    const SplitF32 s = split_f32(x);
    const Pack p = s.r * simd::polynomial(s.r, TablesF32<Base>::kFitLA);
    if constexpr (Base::kTwoLo == 0) {
      return s.n + p;
    } else {
      return s.n * all<Pack>(Base::kTwoHi) + (s.n * all<Pack>(Base::kTwoLo) + p);
    }
  }
};
template <class Base>
using LogF32LA = Logarithm<LogF32LAForm<Base>, typename Base::InDouble>;

template <class Base>
struct LogF32EPForm {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  static Pack logarithm(Pack x) {
    const SplitF32 s = split_f32(x);
    const Pack p = s.r * simd::polynomial(s.r, TablesF32<Base>::kFitEP);
    return (Base::kTwoLo == 0 ? s.n : s.n * all<Pack>(Base::kTwo)) + p;
  }
};
template <class Base>
using LogF32EP = Logarithm<LogF32EPForm<Base>, typename Base::InDouble>;

}  // namespace qlx::explog
