// Log1p for float and double.
// SPDX-License-Identifier: Apache-2.0
//
// 1 + x = s + t exactly, s the rounded sum. Then ln(1 + x) is ln s with its r increased by t's share:
//
//   s = 2^E u,   r = m(s) c - 1 + t 2^-(E + k) c   with m = 2^-k u (in the polynomial form c = 1 and k = 0).
//
// For small |x|, s is next to 1, c is 1/m exactly and r = x exactly: nothing is lost however small x is. The power of
// two is a difference of exponents; it stays normal up to the largest sum that the lane test lets pass. The result is
// never +0 for x = -0: x's sign is the result's in every lane.
#pragma once

#include "vecmath/explog/logarithm_f32.h"
#include "vecmath/explog/logarithm_f64.h"

namespace qlx::explog {

template <class Pack>
struct SumWithRest {
  Pack sum, rest;
};
// T. J. Dekker's fast two-sum (1971): the larger one first. x > -1.
template <class Pack>
inline SumWithRest<Pack> one_plus(Pack x) {
  const Pack one = all<Pack>(1);
  const Pack sum = one + x;
  return {sum, simd::hardware_min(x, one) - (sum - simd::hardware_max(x, one))};
}

// 2^-(E + 9) and 2^-(E + 10) for 2^E <= s < 2^(E + 1).
inline PackF32 scale_of(PackF32 s) {
  return simd::subtract_bits(all_bits<PackF32>(0x7A800000), s & all_bits<PackF32>(0x7F800000));
}
inline PackF64 scale_of(PackF64 s) {
  return simd::subtract_bits(all_bits<PackF64>(0x7F40000000000000), s & all_bits<PackF64>(0x7FF0000000000000));
}

template <class Real>
struct Log1pRange;
template <>
struct Log1pRange<float> {
  static constexpr float kLow = std::bit_cast<float>(0xBF7FFFFFu), kHigh = std::bit_cast<float>(0x7A7FFFFFu);
};
template <>
struct Log1pRange<double> {
  static constexpr double kLow = std::bit_cast<double>(0xBFEFFFFFFFFFFFFFu);
  static constexpr double kHigh = std::bit_cast<double>(0x7F3FFFFFFFFFFFFFu);
};

// A sum of 1 and a number is never denormal. What is left for the end are sums too large for the formula, where 1 + x
// is x.
template <class Real>
inline Status log1p_callout(const Real* a, Real* r) {
  const Real sum = 1 + *a;
  if (sum == -callout::kInfinity<Real>) return *r = callout::invalid<Real>(), kDomain;
  if (callout::is_special(sum)) return *r = sum * sum, kOk;
  if (sum == 0) return *r = callout::pole(Real{-1}), kPole;
  if (sum < 0) return *r = callout::invalid<Real>(), kDomain;
  return *r = static_cast<Real>(scalar_log<BaseE<double>>(static_cast<double>(sum), 0)), kOk;
}

// The formula of a Log1p whose L::of computes ln(sum + rest).
template <class L>
struct Log1p {
  using Pack = typename L::Pack;
  using Real = typename Pack::Real;
  static constexpr int kBlock = L::kBlock;
  Pack formula(Pack x) const {
    const SumWithRest<Pack> s = one_plus(x);
    return L::of(s.sum, s.rest) | (x & simd::sign_bit<Pack>());
  }
  typename Pack::Mask needs_care(Pack x) const {
    return simd::not_greater_equal(x, all<Pack>(Log1pRange<Real>::kLow)) |
           simd::not_less_equal(x, all<Pack>(Log1pRange<Real>::kHigh));
  }
  static Status callout(const Real* a, Real* r) { return log1p_callout(a, r); }
};

// ---- Float: LA and EP by Ln's polynomials, HA by the table ---------------------------------------------------------

// EP takes Ln's polynomial. LA takes one degree more than Ln: with degree 8 the error passes 4 ULP, by 0.004, where the
// result is just below 1/8.
template <const auto& kFit>
struct Log1pF32Polynomial {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  static Pack of(Pack sum, Pack rest) {
    const SplitF32 s = split_f32(sum);
    const Pack exponent = simd::from_bits(s.offset) & all_bits<Pack>(0xFF800000);  // n 2^23
    const Pack scale = simd::subtract_bits(all<Pack>(1), exponent);
    return ln_one_part(s.n, s.r, rest * scale, kFit);
  }
};
using Log1pF32EP = Log1p<Log1pF32Polynomial<kLnF32EP>>;
using Log1pF32LA = Log1p<Log1pF32Polynomial<kLog1pFitF32LA>>;

struct Log1pF32HATable {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  static Pack of(Pack sum, Pack rest) {
    ReducedF32 s = reduce_f32(sum);
    s.r2 = s.r2 + (rest * s.c) * scale_of(sum);
    return sum_f32<BaseE<float>>(s, kLnReciprocalF32, kLog1pFitF32HA);
  }
};
using Log1pF32HA = Log1p<Log1pF32HATable>;

// ---- Double --------------------------------------------------------------------------------------------------------

inline PackF64 share_of_rest(const LogReduction& s, PackF64 sum, PackF64 rest) {
  return (rest * s.c) * scale_of(sum);
}

struct Log1pF64EPSum {
  using Pack = PackF64;
  static constexpr int kBlock = 8;
  static Pack of(Pack sum, Pack rest) {
    const LogReduction s = reduce_log(sum);
    return sum_one_word<BaseE<double>>(s, s.r + share_of_rest(s, sum, rest), TablesF64<BaseE<double>>::kFitEP);
  }
};
struct Log1pF64LASum {
  using Pack = PackF64;
  static constexpr int kBlock = 8;
  static Pack of(Pack sum, Pack rest) {
    const LogReduction s = reduce_log(sum);
    const Pack r = residual_of_cut(s) + share_of_rest(s, sum, rest);
    return sum_one_word<BaseE<double>>(s, r, kLnFitF64);
  }
};
struct Log1pF64HASum {
  using Pack = PackF64;
  static constexpr int kBlock = 8;
  static Pack of(Pack sum, Pack rest) {
    const LogReduction s = reduce_log(sum);
    TwoPartsF64 part = residual_of_rounded(s);
    part.r2 = part.r2 + share_of_rest(s, sum, rest);
    return sum_two_words<BaseE<double>>(s, part);
  }
};
using Log1pF64EP = Log1p<Log1pF64EPSum>;
using Log1pF64LA = Log1p<Log1pF64LASum>;
using Log1pF64HA = Log1p<Log1pF64HASum>;

}  // namespace qlx::explog
