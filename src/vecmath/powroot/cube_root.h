// Powers of a third: Cbrt, InvCbrt and Pow2o3 for float and double.
// SPDX-License-Identifier: Apache-2.0
//
// |x| = 2^E m, m in [1, 2), and E splits by 3 into a quotient q and a remainder k: with a power p of 1/3, -1/3 or 2/3,
//
//   |x|^p = 2^(3 p q) (2^k m)^p.
//
// sCbrt, sInvCbrt and sPow2o3 in EP and LA take m^p from one polynomial on [1, 2), and 2^(k p) from a register; LA adds
// the polynomial's share last, and sCbrt LA has 2^(k p) in two words: with a polynomial good to 2^-24.9 that is enough
// for each of the 128 mantissas that cubes have in a float to come out exact. All others take (2^k c)^p from a table of
// 3 * 64 rows, where c = 1 + j/64 is m cut to 6 bits, and the rest from the binomial series
//
//   (m/c)^p = (1 + r)^p = 1 + p r + p (p - 1)/2 r^2 + ...,   r = (m - c) / c, 0 <= r < 2^-6.
//
// m - c is exact, and 1/c is the table's, so that r has a relative error of 2^-52 (2^-23); it is 0 where m = c, among
// them at the powers of 2. A row's value stands in two words, and the result is rounded once:
//
//   high + (high s(r) + low),   |s(r)| < 2^-6.
//
// That leaves 0.51 to 0.56 units, and cubes exact. The accuracies differ in where the series ends: float HA after r^4
// (2^-35; Pow2o3 after r^3, 2^-29), double EP after r^4 (2^-33 to 2^-35, one word), LA after r^8 (2^-60), HA after r^9
// (2^-66).
//
// The division by 3 is W. Kahan's for initial guesses of cube roots ("Computing a Real Cube Root", 1991); the table and
// series are P. T. P. Tang's scheme (ACM TOMS 16, 1990).
#pragma once

#include "frame/shell.h"
#include "vecmath/callout.h"
#include "vecmath/simd/polynomial.h"

namespace qlx::powroot {

using simd::all;
using simd::all_bits;
using simd::PackF32;
using simd::PackF64;

#include "vecmath/powroot/tables/cbrt_f32.inc"
#include "vecmath/powroot/tables/cbrt_f32_la.inc"
#include "vecmath/powroot/tables/cbrt_f64.inc"
#include "vecmath/powroot/tables/inv_cbrt_f32.inc"
#include "vecmath/powroot/tables/inv_cbrt_f32_ep.inc"
#include "vecmath/powroot/tables/inv_cbrt_f32_la.inc"
#include "vecmath/powroot/tables/inv_cbrt_f64.inc"
#include "vecmath/powroot/tables/pow2o3_f32.inc"
#include "vecmath/powroot/tables/pow2o3_f32_la.inc"
#include "vecmath/powroot/tables/pow2o3_f64.inc"

// ---- The three powers ----------------------------------------------------------------------------------------------
// kThirds is 3 p. The float tables and rows count k from -1, since 127 = 3 * 42 + 1 but 1023 = 3 * 341. Coefficients of
// the series are the binomial ones, as fractions, but those told otherwise.

struct CbrtPower {
  static constexpr int kThirds = 1;
  static constexpr bool kOdd = true;
  static constexpr auto& kTableF32 = kCbrtF32;
  static constexpr auto& kTableF64 = kCbrtF64;
  static constexpr float kSeriesF32[] = {0.33333334f, -0.11111111f, 0.061728396f, -0.041152265f};
  static constexpr double kSeriesF64[] = {1.0 / 3,       -1.0 / 9,      5.0 / 81,       -10.0 / 243,      22.0 / 729,
                                          -154.0 / 6561, 374.0 / 19683, -935.0 / 59049, 21505.0 / 1594323};
  // 2^((k - 1) / 3), k = 0, 1, 2, and what the floats leave of it.
  static constexpr float kPowersOf2[4] = {0x1.965feap-1f, 1, 0x1.428a3p0f, 0};
  static constexpr float kPowersOf2Low[4] = {0x1.4f5b9p-27f, 0, -0x1.9ca35ep-26f, 0};
  // Given; relative error 2^-13.6 on [1, 2].
  static constexpr float kPolynomialEP[] = {0.55229235f, 0.58806902f, -0.16351283f, 0.023202084f};
  // Given, but for those of the powers 4 to 6; 2^-24.9.
  static constexpr float kPolynomialLA[] = {0.3333309f,    -0.11103977f,  0.06103009f,  kCbrtF32LA[0],
                                            kCbrtF32LA[1], kCbrtF32LA[2], 0.0016059474f};
};

struct InvCbrtPower {
  static constexpr int kThirds = -1;
  static constexpr bool kOdd = true;
  static constexpr auto& kTableF32 = kInvCbrtF32;
  static constexpr auto& kTableF64 = kInvCbrtF64;
  static constexpr float kSeriesF32[] = {-0.33333334f, 0.22222222f, -0.17283951f, 0.14403293f};
  static constexpr double kSeriesF64[] = {-1.0 / 3,        2.0 / 9,        -14.0 / 81,
                                          35.0 / 243,      -91.0 / 729,    728.0 / 6561,
                                          -1976.0 / 19683, 5434.0 / 59049, -135850.0 / 1594323};
  // 2^((1 - k) / 3)
  static constexpr float kPowersOf2[4] = {0x1.428a3p0f, 1, 0x1.965feap-1f, 0};
  static constexpr auto& kPolynomialEP = kInvCbrtF32EP;  // 2^-11.95
  static constexpr auto& kPolynomialLA = kInvCbrtF32LA;  // 2^-25.3
};

struct Pow2o3Power {
  static constexpr int kThirds = 2;
  static constexpr bool kOdd = false;
  static constexpr auto& kTableF32 = kPow2o3F32;
  static constexpr auto& kTableF64 = kPow2o3F64;
  static constexpr float kSeriesF32[] = {0.66666669f, -0.11111695f, 0.049392115f};
  static constexpr double kSeriesF64[] = {2.0 / 3,      -1.0 / 9,      4.0 / 81,       -7.0 / 243,       14.0 / 729,
                                          -91.0 / 6561, 208.0 / 19683, -494.0 / 59049, 10868.0 / 1594323};
  // 4^((k - 1) / 3)
  static constexpr float kPowersOf2[4] = {0x1.428a3p-1f, 1, 0x1.965feap0f, 0};
  // Given; 2^-14.2.
  static constexpr float kPolynomialEP[] = {0.21638376f, 0.92372727f, -0.16102907f, 0.020969581f};
  // Refitted: 2^-28.9. With the given 0.66666472, -0.11106498, 0.048960138 of the first powers held, the best that the
  // others can do is 2^-25.2, and more of the cubes, whose results are floats, would come out a unit off.
  static constexpr auto& kPolynomialLA = kPow2o3F32LA;
};

// ---- Core steps ----------------------------------------------------------------------------------------------------

// Positive or negative, normal and finite.
template <class Pack>
inline typename Pack::Mask not_normal(Pack x) {
  using Real = typename Pack::Real;
  const Pack magnitude = simd::abs(x);
  return simd::not_greater_equal(magnitude, all<Pack>(callout::kTiny<Real>)) |
         simd::not_less_equal(magnitude, all<Pack>(callout::kLargest<Real>));
}

// x's sign for odd powers.
template <class Power, class Pack>
inline Pack signed_as(Pack x, Pack magnitude) {
  if constexpr (Power::kOdd) return magnitude | (x & simd::sign_bit<Pack>());
  return magnitude;
}

// ---- One polynomial: float EP and LA -------------------------------------------------------------------------------

// The exponent is handled as a number, in whole registers: e = 2^23 (E + 127) is an exact float, q is e / 3 rounded
// down, and the last bits of 2^23 + k choose the row.
template <class Power, class Value>
inline PackF32 by_polynomial(PackF32 x, const Value& value) {  // value(m, k) = (2^k m)^p
  using Pack = PackF32;
  const Pack mantissa = (x & all_bits<Pack>(0x007FFFFF)) | all<Pack>(1);
  const Pack e = simd::real_of_bits(x & all_bits<Pack>(0x7F800000)) * all<Pack>(0x1p-23f);
  // 0x3EAAAAAB is above 1/3, so that multiples of 3 give q itself, and the two others stay below q + 1.
  const Pack q = simd::round_down(e * all<Pack>(0x1.555556p-2f));
  const Pack k = (e - q * all<Pack>(3)) + all<Pack>(0x1p23f);
  // 2^(3 p (q - 42)), by its bits.
  constexpr float kStep = 0x1p23f * Power::kThirds;
  const Pack power = simd::bits_of_real(q * all<Pack>(kStep) + all<Pack>(0x1p23f * 127 - 42 * kStep));
  return signed_as<Power>(x, value(mantissa, k) * power);
}

template <class Power>
inline PackF32 power_ep(PackF32 x) {
  return by_polynomial<Power>(x, [](PackF32 m, PackF32 k) {
    return simd::polynomial(m, Power::kPolynomialEP) * simd::choose(Power::kPowersOf2, k);
  });
}
template <class Power>
inline PackF32 power_la(PackF32 x) {
  return by_polynomial<Power>(x, [](PackF32 m, PackF32 k) {
    const PackF32 r = m - all<PackF32>(1);
    const PackF32 s = r * simd::polynomial(r, Power::kPolynomialLA);
    const PackF32 row = simd::choose(Power::kPowersOf2, k);
    if constexpr (requires { Power::kPowersOf2Low; }) {
      return row + (row * s + simd::choose(Power::kPowersOf2Low, k));
    } else {
      return row + row * s;
    }
  });
}

// ---- Table and series ----------------------------------------------------------------------------------------------

template <class Power>
inline PackF32 power_ha(PackF32 x) {
  using Pack = PackF32;
  const Pack magnitude = simd::abs(x);
  const Pack m = (magnitude & all_bits<Pack>(0x007FFFFF)) | all<Pack>(1);
  const Pack c = (magnitude & all_bits<Pack>(0x007E0000)) | all<Pack>(1);
  const simd::IntegersF32 word = simd::bits_of(magnitude);
  const simd::IntegersF32 q = simd::third(word >> 23);
  // Exponent and 6 bits of the mantissa are 64 (3 q + k) + j.
  const auto row = simd::look_up(Power::kTableF32, (word >> 17) - simd::times(q, 192));
  const Pack r = (m - c) * row.third;
  const Pack s = r * simd::polynomial(r, Power::kSeriesF32);
  const simd::IntegersF32 exponent = simd::times(q, Power::kThirds) + simd::integers_f32(127 - 42 * Power::kThirds);
  return signed_as<Power>(x, (row.first + (row.first * s + row.second)) * simd::from_bits(exponent << 23));
}

// Degree 4 with one word, or more with two.
template <class Power, int kDegree>
inline PackF64 power_f64(PackF64 x) {
  using Pack = PackF64;
  const Pack magnitude = simd::abs(x);
  const Pack m = (magnitude & all_bits<Pack>(0x000FFFFFFFFFFFFF)) | all<Pack>(1);
  const Pack c = (magnitude & all_bits<Pack>(0x000FC00000000000)) | all<Pack>(1);
  const simd::IntegersF64 word = simd::high_words(magnitude);
  const simd::IntegersF64 q = simd::third(word >> 20);
  const auto row = simd::look_up(Power::kTableF64, (word >> 14) - simd::times(q, 192));
  const Pack r = (m - c) * row.third;
  const Pack s = r * simd::polynomial<kDegree>(r, Power::kSeriesF64);
  const Pack correction = kDegree > 4 ? row.first * s + row.second : row.first * s;
  const simd::IntegersF64 exponent = simd::times(q, Power::kThirds) + simd::integers_f64(1023 - 341 * Power::kThirds);
  return signed_as<Power>(x, (row.first + correction) * simd::from_high_words(exponent << 20));
}

// ---- Callouts ------------------------------------------------------------------------------------------------------

// A denormal, lifted into the range, and its result brought back.
template <class Formula>
inline typename Formula::Pack::Real power_of_denormal(typename Formula::Pack::Real x) {
  using Real = typename Formula::Pack::Real;
  using Power = typename Formula::Power;
  constexpr int kBack = -callout::kLift<Real> / 3 * Power::kThirds;
  const Real power = callout::one_lane<Formula>(callout::lifted(x)) * callout::kPowerOf2<Real, kBack>;
  return Power::kOdd ? callout::with_sign_of(x, power) : power;
}

// No power of these reports, but for the pole of InvCbrt.
template <class Formula, class Real>
inline Status thirds_callout(const Real* a, Real* r) {
  constexpr int kThirds = Formula::Power::kThirds;
  const Real x = *a;
  if (callout::is_special(x)) {
    if (kThirds == 1) return *r = x + x, kOk;
    if (kThirds == 2) return *r = x * x, kOk;
    return *r = simd::Ieee<Real>::is_nan(x) ? x + x : callout::with_sign_of(x, Real{0}), kOk;
  }
  if (x == 0) {
    if (kThirds == 1) return *r = x + x, kOk;
    if (kThirds == 2) return *r = x * x, kOk;
    return *r = callout::pole(x), kPole;
  }
  return *r = power_of_denormal<Formula>(x), kOk;
}

// ---- Formulas ------------------------------------------------------------------------------------------------------

template <class P>
struct ThirdsF32HA {
  using Pack = PackF32;
  using Power = P;
  static constexpr int kBlock = 16;
  Pack formula(Pack x) const { return power_ha<Power>(x); }
  Pack::Mask needs_care(Pack x) const { return not_normal(x); }
  static Status callout(const float* a, float* r) { return thirds_callout<ThirdsF32HA>(a, r); }
};

template <class P>
struct ThirdsF32LA {
  using Pack = PackF32;
  using Power = P;
  static constexpr int kBlock = 16;
  Pack formula(Pack x) const { return power_la<Power>(x); }
  Pack::Mask needs_care(Pack x) const { return not_normal(x); }
  static Status callout(const float* a, float* r) { return thirds_callout<ThirdsF32HA<Power>>(a, r); }
};

template <class P>
struct ThirdsF32EP {
  using Pack = PackF32;
  using Power = P;
  static constexpr int kBlock = 16;
  Pack formula(Pack x) const { return power_ep<Power>(x); }
  Pack::Mask needs_care(Pack x) const { return not_normal(x); }
  static Status callout(const float* a, float* r) { return thirds_callout<ThirdsF32HA<Power>>(a, r); }
};

// Cbrt in EP and LA reports nothing and has no callout: denormals, zeros, infinities and NaNs have a vector road.
template <class Ordinary>
struct CbrtF32 : Ordinary {
  using Pack = PackF32;
  Pack::Mask second_care(Pack x) const { return simd::first_lanes(x == x, 0); }  // none
  Pack second_formula(Pack x) const {
    const Pack scaled = x * all<Pack>(0x1p24f);
    const Pack root = this->formula(scaled) * all<Pack>(0x1p-8f);
    // What the scale leaves zero or not finite is its own root; zeros also where denormals count as zeros.
    const Pack own = x + x;
    const auto itself = (scaled == all<Pack>(0)) | simd::not_finite(scaled);
    return simd::select(itself, own, root);
  }
};

template <class P, int kDegree>
struct ThirdsF64 {
  using Pack = PackF64;
  using Power = P;
  static constexpr int kBlock = 8;
  Pack formula(Pack x) const { return power_f64<Power, kDegree>(x); }
  Pack::Mask needs_care(Pack x) const { return not_normal(x); }
  static Status callout(const double* a, double* r) { return thirds_callout<ThirdsF64<Power, 9>>(a, r); }
};

}  // namespace qlx::powroot
