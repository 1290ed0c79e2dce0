// Logarithms, double: the cores of Ln, Log2, Log10 and Log1p.
// SPDX-License-Identifier: Apache-2.0
//
// x = 2^e (1 + r) / c', with ln c' in a table: the reduction and the bounds of r are those of log_core.h. For a base b
//
//   log_b x = e log_b 2 + T(c) + log_b(1 + r).
//
// r = m c - 1 must keep its low bits: with c = 1023 or 513, x may be so near to 1 that T and r cancel to a tenth. So m
// splits into 27 bits and the rest, whose products with c are exact (37 and 36 bits):
//
//   r = r1 + r2,   r1 = high c - 1, a multiple of 2^-36,   r2 = (m - high) c.
//
// LA cuts m, |r2| < 2^-26; HA rounds it, |r2| <= 2^-27, since below 1 a cut part would cancel against the rest.
// EP needs no more than 2^-26 of the result and takes m c - 1, whose rounding is 2^-54. LA rounds r to one word, takes
// log_b 2 in one part and T in one word. HA takes both in two, with first parts on a grid coarse enough for the sum
//
//   head = e hi(log_b 2) + hi(T(c)) + r1 hi(log_b e)
//
// to be exact, and everything else, below 2^-17 of head or below r2, in one word behind it: the result is rounded once,
// and what is lost before that is far below it.
//
// P. T. P. Tang, "Table-driven implementation of the logarithm function in IEEE floating-point arithmetic" (1990); W.
// Wong and E. Goto, "Fast hardware-based algorithms for elementary function computations" (1994), for the reciprocal.
#pragma once

#include "vecmath/explog/log_core.h"
#include "vecmath/explog/logarithm.h"

namespace qlx::explog {

#include "vecmath/explog/tables/ln_fit_f64.inc"
#include "vecmath/explog/tables/ln_reciprocal_pair.inc"
#include "vecmath/explog/tables/log10_fit_f64_ep.inc"
#include "vecmath/explog/tables/log10_fit_f64_ha.inc"
#include "vecmath/explog/tables/log10_fit_f64_la.inc"
#include "vecmath/explog/tables/log10_reciprocal.inc"
#include "vecmath/explog/tables/log10_reciprocal_pair.inc"
#include "vecmath/explog/tables/log2_fit_f64_ep.inc"
#include "vecmath/explog/tables/log2_fit_f64_ha.inc"
#include "vecmath/explog/tables/log2_fit_f64_la.inc"
#include "vecmath/explog/tables/log2_reciprocal.inc"
#include "vecmath/explog/tables/log2_reciprocal_pair.inc"

// Tables of a base, and its polynomials in r: for base e behind r, and for EP and LA of the others from the first power
// on.
//
// HA's (and Ln LA's) are fitted for the least error in the last place of the RESULT, which next to 1 is much smaller
// than r: a processor's estimate may leave c = 1023 with r down to -8.546e-4 and x only 1 + 1.2e-4. Results below 1e-3
// come with c = 512, 513, 1023 and 1024 alone, and the pieces of the fits are those c with all r that an estimate off
// by 1.5 2^-12 can leave,
//
//   c (1 - 1.5 2^-12) / (c + 1/2) - 1 <= r <= c (1 + 1.5 2^-12) / (c - 1/2) - 1,
//
// and where c is 512 or 1024 only the side of 0 that m has. Errors for r that an exact 1/m leaves, |r| < 1/2c,
// count 1.2 times: those every processor meets. Degree 5 then adds to the last rounding at most 0.47 ulp (base e), 0.48
// (2) and 0.44 (10); the least relative error in r, 2^-54.2 on all of the range, would add 0.50, 0.60 and 0.67, and
// Ln's given coefficients, 2^-52.6 at the ends of the range, 3.5.
template <class Base>
struct TablesF64;
template <>
struct TablesF64<BaseE<double>> {
  static constexpr auto& kSingle = kLnReciprocal;
  static constexpr auto& kPair = kLnReciprocalPair;
  static constexpr auto& kFitHA = kLnFitF64;
  static constexpr auto& kFitLA = kLnFitF64;
  static constexpr double kFitEP[2] = {-0.5, 0.33333333333};  // given; 2^-30.6
};
template <>
struct TablesF64<Base2<double>> {
  static constexpr auto& kSingle = kLog2Reciprocal;
  static constexpr auto& kPair = kLog2ReciprocalPair;
  static constexpr auto& kFitHA = kLog2FitF64HA;
  static constexpr auto& kFitLA = kLog2FitF64LA;
  static constexpr auto& kFitEP = kLog2FitF64EP;
};
template <>
struct TablesF64<Base10<double>> {
  static constexpr auto& kSingle = kLog10Reciprocal;
  static constexpr auto& kPair = kLog10ReciprocalPair;
  static constexpr auto& kFitHA = kLog10FitF64HA;
  static constexpr auto& kFitLA = kLog10FitF64LA;
  static constexpr auto& kFitEP = kLog10FitF64EP;
};

struct TwoPartsF64 {
  PackF64 r1, r2;
};
inline TwoPartsF64 residual(const LogReduction& x, PackF64 high) {
  return {high * x.c - all<PackF64>(1), (x.m - high) * x.c};
}
inline PackF64 residual_of_cut(const LogReduction& x) {
  const TwoPartsF64 part = residual(x, x.m & all_bits<PackF64>(0xFFFFFFFFFC000000));
  return part.r1 + part.r2;
}
inline TwoPartsF64 residual_of_rounded(const LogReduction& x) {
  const PackF64 shifter = all<PackF64>(0x1.8p16);  // its last bit is 2^-36
  return residual(x, (x.m + shifter) - shifter);
}

// log_b(1 + r) by a polynomial in one word.
template <class Base, size_t kTerms>
inline PackF64 log_of_1_plus(PackF64 r, const double (&fit)[kTerms]) {
  if constexpr (Base::kLeadHi == 1) {
    return r + (r * r) * simd::polynomial(r, fit);
  } else {
    return r * simd::polynomial(r, fit);
  }
}

// e log_b 2 + T(c) + log_b(1 + r) in one word each: EP, LA.
template <class Base, size_t kTerms>
inline PackF64 sum_one_word(const LogReduction& x, PackF64 r, const double (&fit)[kTerms]) {
  const PackF64 t = simd::look_up(TablesF64<Base>::kSingle, x.row);
  return (x.e * all<PackF64>(Base::kTwo) + t) + log_of_1_plus<Base>(r, fit);
}

// The same in two words: HA.
template <class Base>
inline PackF64 sum_two_words(const LogReduction& x, TwoPartsF64 part) {
  using Pack = PackF64;
  const simd::PairF64 t = simd::look_up(TablesF64<Base>::kPair, x.row);
  const Pack r = part.r1 + part.r2;
  Pack head, tail = t.second;
  if constexpr (Base::kTwoLo == 0) {
    head = x.e + t.first;
  } else {
    head = x.e * all<Pack>(Base::kTwoHi) + t.first;
    tail = x.e * all<Pack>(Base::kTwoLo) + tail;
  }
  Pack p = r * simd::polynomial(r, TablesF64<Base>::kFitHA);
  if constexpr (Base::kLeadHi == 1) {
    head = head + part.r1;
    tail = tail + part.r2;
  } else {
    head = head + part.r1 * all<Pack>(Base::kLeadHi);
    tail = tail + part.r2 * all<Pack>(Base::kLeadHi);
    p = p + all<Pack>(Base::kLeadLo);
  }
  return head + (tail + r * p);
}

// ---- Ln, Log2, Log10 -----------------------------------------------------------------------------------------------

template <class Base>
struct LogF64HAForm {
  using Pack = PackF64;
  static constexpr int kBlock = 8;
  static Pack logarithm(Pack x) {
    const LogReduction s = reduce_log(x);
    return sum_two_words<Base>(s, residual_of_rounded(s));
  }
};
template <class Base>
using LogF64HA = Logarithm<LogF64HAForm<Base>, Base>;

template <class Base>
struct LogF64LAForm {
  using Pack = PackF64;
  static constexpr int kBlock = 8;
  static Pack logarithm(Pack x) {
    const LogReduction s = reduce_log(x);
    return sum_one_word<Base>(s, residual_of_cut(s), TablesF64<Base>::kFitLA);
  }
};
template <class Base>
using LogF64LA = Logarithm<LogF64LAForm<Base>, Base>;

template <class Base>
struct LogF64EPForm {
  using Pack = PackF64;
  static constexpr int kBlock = 8;
  static Pack logarithm(Pack x) {
    const LogReduction s = reduce_log(x);
    return sum_one_word<Base>(s, s.r, TablesF64<Base>::kFitEP);
  }
};
template <class Base>
using LogF64EP = Logarithm<LogF64EPForm<Base>, Base>;

}  // namespace qlx::explog
