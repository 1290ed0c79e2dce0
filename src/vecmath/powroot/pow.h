// Powers: Pow, Powr and Powx for float and double.
// SPDX-License-Identifier: Apache-2.0
//
// x^y = 2^(y log2 x) for positive normal x; everything else, and results that are not normal, are the callout's.
//
//   sPow EP   in float: ln x by the polynomial of degree 8 on [2/3, 4/3), e^t by a cubic: relative error 2^-12.5
//   sPow LA, HA   in double, four lanes at a time: ln x by the logarithm core to 2^-50, e^t from 2048 rows to 2^-40
//   dPow EP   the same; next to x = 1, where ln x is 10^-3 and its error of 2^-50 is 2^-42 of it, t reaches 709 all the
//             same: 2^-32
//   dPow LA, HA   log2 x in two words, to 2^-63 (LA) and 2^-65 of its size, since an error of t is one of the result,
//             and t reaches 1000; 2^t from 128 rows of two words
//
// The logarithm in two words. x = 2^e m, row i is 1024 (m - 1) rounded to an integer, and T the float next to A / (1 +
// i/1024), for A = 0x1.715474p0, the float below log2 e. Then R = m T - A is small, |R| < 2^-10.4, and
//
//   log2 x = e + log2(A/T) + log2(1 + R/A),   log2(1 + R/A) = R + c1 R + c2 R^2 + ... ,
//
// where c1 = log2(e)/A - 1 = 9.6e-8: the leading term needs no product in two words. m splits into 29 bits and 24, so
// that both products with T's 24 bits are exact. In row 0 T is A, and in row 1024 A/2: their logarithms are 0, so that
// the sum keeps its relative accuracy near x = 1. From row 425 up, where m is above the square root of 2, e is one
// more.
//
// Method: P. T. P. Tang, "Table-driven implementation of the logarithm function" (ACM TOMS 16, 1990), and of the
// exponential function (TOMS 15, 1989); Fast2Sum and the splitting of products: T. J. Dekker (Numer. Math. 18, 1971).
#pragma once

#include <iterator>

#include "frame/shell.h"
#include "vecmath/callout.h"
#include "vecmath/explog/log_core.h"
#include "vecmath/simd/polynomial.h"

namespace qlx::powroot {

using simd::all;
using simd::all_bits;
using simd::PackF32;
using simd::PackF64;

#include "vecmath/powroot/tables/exp2_128.inc"
#include "vecmath/powroot/tables/exp2_2048.inc"
#include "vecmath/powroot/tables/pow_exp_series.inc"
#include "vecmath/powroot/tables/pow_log2.inc"
#include "vecmath/powroot/tables/pow_log_series.inc"
#include "vecmath/powroot/tables/pow_scale.inc"

// Lanes whose base is not a positive normal number.
template <class Pack>
inline typename Pack::Mask base_needs_care(Pack x) {
  using Real = typename Pack::Real;
  return simd::not_greater_equal(x, all<Pack>(callout::kTiny<Real>)) |
         simd::not_less_equal(x, all<Pack>(callout::kLargest<Real>));
}
// Lanes where |t| is beyond the bound, or a NaN: among them are those with an infinite exponent.
template <class Pack>
inline typename Pack::Mask beyond(Pack t, typename Pack::Real bound) {
  return simd::not_less_equal(simd::abs(t), all<Pack>(bound));
}

// ---- In double, for float results and dPow EP ----------------------------------------------------------------------

// ln x: e ln 2 + ln(1/c) + ln(1 + r), |r| <= 1.35e-3. The series to r^4 is given, and leaves 2^-50.
inline PackF64 ln_f64(PackF64 x) {
  using Pack = PackF64;
  const explog::LogReduction l = explog::reduce_log(x);
  const Pack q = all<Pack>(-0.5) + l.r * (all<Pack>(0.33333333333) + l.r * all<Pack>(-0.2500003055));
  return (l.e * all<Pack>(0x1.62e42fefa39efp-1) + explog::ln_of_reciprocal(l.row)) + (l.r + (l.r * l.r) * q);
}

// e^t for |t| <= 709: k = rint(t 2048 / ln 2), 2^(k/2048) from the table, and 1 + r + r^2/2, |r| <= 1.7e-4, which
// leaves r^3/6 = 2^-40. One part of ln 2 / 2048 does: its product is off by 2^-53 t.
inline PackF64 exp_f64(PackF64 t) {
  using Pack = PackF64;
  const Pack shifter = all<Pack>(0x1.8p52);
  const Pack shifted = t * all<Pack>(0x1.71547652b82fep11) + shifter;
  const Pack r = t - (shifted - shifter) * all<Pack>(0x1.62e42fefa39efp-12);
  const Pack row = simd::look_up(kExp2Rows2048, simd::low_words(shifted) & simd::integers_f64(0x7FF));
  const Pack power = row + row * (r + (r * r) * all<Pack>(0.5));
  return simd::add_to_exponent<11>(power, shifted);
}

// ---- log2 in two words, and 2^t ------------------------------------------------------------------------------------

template <class Pack>
struct Log2Words {
  Pack high, low;  // |low| <= 2^-53 |high|, but for t, where it is 2^-24
};

// The head of c2, and the series without it: the difference is exact.
constexpr double kPowSquareHead = -0x1.62cp-2;
constexpr struct PowLogSeriesBehindHead {
  double c[std::size(kPowLogSeries)];
  constexpr PowLogSeriesBehindHead() : c{} {
    for (size_t k = 0; k < std::size(c); ++k) c[k] = kPowLogSeries[k];
    c[1] -= kPowSquareHead;
  }
} kPowLogSeriesBehindHead;

// log2 x + offset. kDegree is the last power of R: at 6 the series leaves 2^-68 of R, at 7 2^-78.
template <int kDegree, class Pack>
inline Log2Words<Pack> log2_words(Pack x, Pack offset) {
  const auto word = simd::high_words(x);
  const auto integers = [&word](int32_t k) { return simd::broadcast(decltype(&word){}, k); };
  const auto row = ((word & integers(0x000FFFFF)) + integers(0x200)) >> 10;  // 20 bits to 10, rounded
  // A mantissa that rounds to row 425 or more carries into the exponent.
  constexpr int32_t kToCarry = 0x00100000 - (425 * 1024 - 0x200);
  const Pack e = simd::to_real(((word + integers(kToCarry)) >> 20) - integers(1023)) + offset;
  const Pack m = (x & all_bits<Pack>(0x000FFFFFFFFFFFFF)) | all<Pack>(1);
  const Pack scale = simd::look_up(kPowScale, row);
  const auto [log_high, log_low] = simd::look_up(kPowLog2, row);
  // Rounded to a multiple of 2^-28, so that the two products never cancel: next to 1 and 2 the head's is 0.
  const Pack to_grid = all<Pack>(0x1.8p24);
  const Pack head = (m + to_grid) - to_grid;
  const Pack r_high = head * scale - all<Pack>(0x1.715474p0);  // exact: the product, and by Sterbenz the difference
  const Pack r_low = (m - head) * scale;                       // exact, at most 2^-28
  const Pack r = r_high + r_low;
  // e and the table's high word are multiples of 2^-40 below 2^11: their sum is exact, and larger than R, or 0.
  const Pack sum = e + log_high;
  const Pack first = sum + r_high;
  // Either first is 0, or r_low is the smaller, or sum holds more than both.
  const Pack high = first + r_low;
  const Pack rest = ((sum - first) + r_high) + ((first - high) + r_low);
  // low: up to 2^-11 of high, until it is made its rounding error
  if constexpr (kDegree <= 6) {
    const Pack low = rest + (log_low + r * simd::polynomial<kDegree>(r, kPowLogSeries));
    const Pack both = high + low;
    return {both, (high - both) + low};
  } else {
    // Half of the bits of R, squared, times the 11 bits of c2's head: exact, and so is its sum with high in two words
    // (Dekker: high is larger, or 0 like R). In one word with the rest, its roundings would be 2^-64 of the logarithm
    // where x is near 1 - 2^-11 or 1 + 2^-11, and half a unit of the power.
    const Pack r_head = r & all_bits<Pack>(0xFFFFFFFF00000000);
    const Pack square = (r_head * r_head) * all<Pack>(kPowSquareHead);
    const Pack square_rest = (((r_high - r_head) + r_low) * (r + r_head)) * all<Pack>(kPowSquareHead);
    const Pack high_square = high + square;
    const Pack rest_square = (high - high_square) + square;
    const Pack small = log_low + (square_rest + r * simd::polynomial<kDegree>(r, kPowLogSeriesBehindHead.c));
    const Pack low = (rest + rest_square) + small;
    const Pack both = high_square + low;
    return {both, (high_square - both) + low};
  }
}

// t = y log2 x in two words: 26 bits of y times 26 of the logarithm are exact.
template <class Pack>
inline Log2Words<Pack> times_exponent(Pack y, const Log2Words<Pack>& l) {
  const Pack mask = all_bits<Pack>(0xFFFFFFFFF8000000);
  const Pack log_head = l.high & mask, y_head = y & mask;
  const Pack log_rest = (l.high - log_head) + l.low;
  return {y_head * log_head, y * log_rest + (y - y_head) * log_head};
}

// 2^t = 2^n (value + rest), value in [1, 2). The shifter's last bit is 2^-7, so that k / 128 is subtracted exactly.
template <class Pack>
struct Exp2Words {
  Pack value, rest, shifted;  // 128 n stands above the 7 lowest bits of shifted
};
template <int kDegree, class Pack>
inline Exp2Words<Pack> exp2_words(const Log2Words<Pack>& t) {
  const Pack shifter = all<Pack>(0x1.8p45);
  const Pack shifted = t.high + shifter;
  const Pack r = (t.high - (shifted - shifter)) + t.low;  // |r| <= 2^-8
  const Pack series = simd::polynomial<kDegree>(r, kPowExpSeries);
  const auto words = simd::low_words(shifted);
  const auto row = words & simd::broadcast(decltype(&words){}, 0x7F);
  const auto [value, rest] = simd::look_up(kExp2Rows128, row);
  return {value, rest + value * (r * series), shifted};
}

// ---- Callout -------------------------------------------------------------------------------------------------------

// How many of y's mantissa bits are fractional decides: 0 not an integer, 1 odd, 2 even. y is finite and not 0.
template <class Real>
inline int integer_kind(Real y) {
  using Format = simd::Ieee<Real>;
  const auto bits = Format::magnitude(y);
  const int exponent = static_cast<int>(bits >> Format::kMantissaBits) - Format::kBias;
  if (exponent < 0) return 0;
  if (exponent > Format::kMantissaBits) return 2;
  const auto one = Format::kImplicitBit >> exponent;  // the bit worth 1
  if ((bits & (one - 1)) != 0) return 0;
  if (exponent == 0) return 1;
  return (bits & one) != 0 ? 1 : 2;
}

// x^y for finite positive x and finite y, rounded once, with the sign that `sign` has. A double whatever the result's
// type: a float's power then rounds from 2^-60 of it.
double general_power(double x, double y, double sign);

// kRealBase: Powr, for which a negative base is outside the domain whatever the exponent.
template <bool kRealBase, class Real>
inline Status pow_callout(const Real* a, const Real* b, Real* r) {
  using Format = simd::Ieee<Real>;
  // Adding makes a zero of a denormal where denormals count as zeros, and a signed zero stays.
  const Real x = *a == 0 ? *a + *a : *a, y = *b == 0 ? *b + *b : *b;
  if (x == 1 || y == 0) return *r = 1, kOk;
  if (Format::is_nan(x) || Format::is_nan(y)) return *r = x + y, kOk;
  if (kRealBase && x < 0) return *r = callout::invalid<Real>(), kDomain;
  const Real magnitude = callout::magnitude(x);
  const bool growing = y > 0;
  if (Format::is_infinite(y)) {
    if (magnitude == 1) return *r = 1, kOk;
    return *r = (magnitude > 1) == growing ? callout::kInfinity<Real> : 0, kOk;
  }
  const int kind = integer_kind(y);
  const Real sign = kind == 1 ? x : Real{1};  // an odd power has the sign of x
  if (Format::is_infinite(x)) {
    return *r = callout::with_sign_of(sign, growing ? callout::kInfinity<Real> : Real{0}), kOk;
  }
  if (x == 0) {
    if (growing) return *r = callout::with_sign_of(sign, Real{0}), kOk;
    return *r = callout::pole(sign), kDomain;  // domain, not pole, by contract
  }
  if (x == -1 && kind != 0) return *r = callout::with_sign_of(sign, Real{1}), kOk;
  if (x < 0 && kind == 0) return *r = callout::invalid<Real>(), kDomain;
  if (callout::is_denormal(y)) return *r = 1, kOk;  // which also spares arithmetic on it
  *r = static_cast<Real>(callout::opaque(general_power(magnitude, y, sign)));
  const Real size = callout::magnitude(*r);
  return size > callout::kLargest<Real> ? kOverflow : size < callout::kTiny<Real> ? kUnderflow : kOk;
}

// ---- Formulas. kRealBase: those of Powr ----------------------------------------------------------------------------

template <bool kRealBase>
struct PowF32LA {
  using Pack = PackF32;
  static constexpr int kBlock = 8;
  static constexpr int kPass = 16;  // its words leave no registers for more chains
  [[gnu::always_inline]] shell::Marked<Pack> formula(Pack x, Pack y) const {
    const PackF64 t_low = simd::widen_low(y) * ln_f64(simd::widen_low(x));
    const PackF64 t_high = simd::widen_high(y) * ln_f64(simd::widen_high(x));
    const Pack result = simd::narrow(exp_f64(t_low), exp_f64(t_high));
    // 2^-126 = e^-87.3365; the result of a lane within the bound is normal.
    return {result, base_needs_care(x) | beyond(simd::narrow(t_low, t_high), 0x1.5d34p6f)};
  }
  static Status callout(const float* a, const float* b, float* r) { return pow_callout<kRealBase>(a, b, r); }
};

template <bool kRealBase>
struct PowF32EP {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  [[gnu::always_inline]] shell::Marked<Pack> formula(Pack x, Pack y) const {
    // x = 2^n m, m in [2/3, 4/3): what lies above the bits of 2/3 counts n.
    const simd::IntegersF32 two_thirds = simd::integers_f32(0x3F2AAAAB);
    const simd::IntegersF32 above = simd::bits_of(x) - two_thirds;
    const Pack n = simd::to_real(simd::shift_right_arithmetic(above, 23));
    const Pack m = simd::from_bits((above & simd::integers_f32(0x007FFFFF)) + two_thirds);
    const Pack r = m - all<Pack>(1);
    // ln m, given, 2^-21; two parts of ln 2, of which the first has 15 bits.
    static constexpr float kLog[] = {-0.5f,        0.33336565f, -0.25004664f, 0.19822504f,
                                     -0.16462457f, 0.16964881f, -0.15177205f};
    const Pack q = simd::polynomial(r, kLog);
    const Pack log = n * all<Pack>(0x1.62e4p-1f) + (n * all<Pack>(0x1.7f7d1cp-20f) + (r + (r * r) * q));
    const Pack t = y * log;
    // e^t, given: k ln 2 in one part, a cubic whose error is 1e-4 at most.
    const Pack k = simd::round_current_quietly(t * all<Pack>(0x1.715476p0f));
    const Pack s = t - k * all<Pack>(0x1.62e43p-1f);
    const Pack p =
        all<Pack>(1) + s * (all<Pack>(1.000118f) + s * (all<Pack>(0.50370538f) + s * all<Pack>(0.16541928f)));
    const Pack power = simd::bits_of_real((k + all<Pack>(127)) * all<Pack>(0x1p23f));
    return {p * power, base_needs_care(x) | beyond(t, 0x1.5d34p6f)};
  }
  static Status callout(const float* a, const float* b, float* r) { return pow_callout<kRealBase>(a, b, r); }
};

// LA and HA: the series end later in HA, and the square's rounding errors are kept.
template <bool kRealBase, int kLogDegree, int kExpDegree>
struct PowF64Words {
  using Pack = PackF64;
  static constexpr int kBlock = 4;
  static constexpr int kPass = 8;
  [[gnu::always_inline]] shell::Marked<Pack> formula(Pack x, Pack y) const {
    const Log2Words<Pack> t = times_exponent(y, log2_words<kLogDegree>(x, all<Pack>(0)));
    const Exp2Words<Pack> e = exp2_words<kExpDegree>(t);
    const Pack power = simd::add_to_exponent<7>(e.value + e.rest, e.shifted);
    // 0x408F3FFF: just below 1000.
    return {power, base_needs_care(x) | beyond(t.high, 0x1.f3fffp9)};
  }
  static Status callout(const double* a, const double* b, double* r) { return pow_callout<kRealBase>(a, b, r); }
};
template <bool kRealBase>
using PowF64LA = PowF64Words<kRealBase, 6, 5>;
template <bool kRealBase>
using PowF64HA = PowF64Words<kRealBase, 7, 6>;

template <bool kRealBase>
struct PowF64EP {
  using Pack = PackF64;
  static constexpr int kBlock = 8;
  [[gnu::always_inline]] shell::Marked<Pack> formula(Pack x, Pack y) const {
    const Pack t = y * ln_f64(x);
    return {exp_f64(t), base_needs_care(x) | beyond(t, std::bit_cast<double>(0x4086232B00000000ull))};
  }
  static Status callout(const double* a, const double* b, double* r) { return pow_callout<kRealBase>(a, b, r); }
};

}  // namespace qlx::powroot
