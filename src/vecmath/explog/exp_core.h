// What the exponentials share: the ranges of their arguments, the short road, and the scalar arithmetic of the
// callouts. SPDX-License-Identifier: Apache-2.0
//
// All exponentials of a base b split x = (k + j/N) log_b 2 + s with integers k and 0 <= j < N, so that
//
//   b^x = 2^k 2^(j/N) b^s,   |s| <= log_b 2 / 2N,
//
// with 2^(j/N) from a table and b^s - 1 from a polynomial. P. Tang, "Table-Driven Implementation of the Exponential
// Function in IEEE Floating-Point Arithmetic", ACM TOMS 15 (1989).
#pragma once

#include "frame/shell.h"
#include "vecmath/callout.h"

namespace qlx::explog {

#include "vecmath/explog/tables/exp2_f64_64.inc"

using callout::is_negative;
using callout::is_special;
using callout::power_of_two;
using simd::all;
using simd::all_bits;
using simd::PackF32;
using simd::PackF64;

// Marks lanes whose magnitude is above the limit, and NaNs.
template <class Pack>
inline typename Pack::Mask beyond(Pack x, typename Pack::Real limit) {
  return simd::not_less_equal(simd::abs(x), all<Pack>(limit));
}

// ---- Ranges: where results leave the format ------------------------------------------------------------------------

// The last argument with a finite result, the last one that isn't called zero, the last one with a normal result.
template <class Real>
struct Range {
  Real overflow_above, zero_below, denormal_below;
};

constexpr Range<float> kExpRangeF32 = {0x1.62e42ep+6f, -0x1.9fe368p+6f, -0x1.5d589ep+6f};
constexpr Range<double> kExpRangeF64 = {0x1.62e42fefa39efp+9, -0x1.74910d52d3051p+9, -0x1.6232bdd7abcd2p+9};
// Half of the smallest denormal, which rounds to zero, is 2^-150 (2^-1075).
constexpr Range<float> kExp2RangeF32 = {0x1.fffffep+6f, -150, -126};
constexpr Range<double> kExp2RangeF64 = {0x1.fffffffffffffp+9, -1075, -1022};
// log10 of 2^-150, of 2^-126 and of their like in double, toward zero. In float the first argument that overflows, 1
// below the bound's last bit, is on its inner side: it gives the infinity without a status.
constexpr Range<float> kExp10RangeF32 = {0x1.344136p+5f, -0x1.693c6ap+5f, -0x1.2f703p+5f};
constexpr Range<double> kExp10RangeF64 = {0x1.34413509f79fep+8, -0x1.439b746e36b52p+8, -0x1.33a7146f72a41p+8};

// Under QVM_ERRMODE_NOERR: the infinity above the range and +0 below it, without the callout. NaNs stay marked.
template <class Pack>
inline typename Pack::Mask take_short_road(const Range<typename Pack::Real>& range, Pack x, Pack& r,
                                           typename Pack::Mask m) {
  const auto above = x > all<Pack>(range.overflow_above), below = x < all<Pack>(range.zero_below);
  r = simd::select(above, all<Pack>(callout::kInfinity<typename Pack::Real>), r);
  r = simd::select(below, all<Pack>(0), r);
  return simd::without(m, above | below);
}

// ---- Callouts: the result as 2^k (high + low), |low| <= 2^-7 high
// ----------------------------------------------------

struct ScaledSum {
  double high, low;
  int k;
};

// 2^(n/64) e^r for |r| <= ln 2 / 128: 64 pairs and the series to degree 6, whose next term is below 2^-65.
inline ScaledSum scaled_sum(int n, double r) {
  const double tail = r * r * (1.0 / 2 + r * (1.0 / 6 + r * (1.0 / 24 + r * (1.0 / 120 + r * (1.0 / 720)))));
  const double* row = kExp2Pair64[n & 63];
  return {row[0], row[1] + row[0] * (r + tail), n >> 6};
}

// rint(x scale) for |x scale| < 2^31, as a number whose low bits are the integer.
inline double rounded(double x) {
  return (x + 0x1.8p52) - 0x1.8p52;
}

// e^x. ln 2 / 64 in two parts: the first has 36 bits, and n at most 17, so that its product is exact.
inline ScaledSum exp_sum(double x) {
  const double n = rounded(x * 0x1.71547652b82fep+6);
  return scaled_sum(static_cast<int>(n), (x - n * 0x1.62e42fefap-7) - n * 0x1.cf79abc9e3b3ap-46);
}
// 2^x: x - n/64 is exact.
inline ScaledSum exp2_sum(double x) {
  const double n = rounded(x * 64);
  return scaled_sum(static_cast<int>(n), (x - n * 0x1p-6) * 0x1.62e42fefa39efp-1);
}
// 10^x. log10 2 / 64 in two parts, twice those of the fast path: the first has 32 bits.
inline ScaledSum exp10_sum(double x) {
  const double n = rounded(x * 0x1.a934f0979a371p+7);
  const double s = (x - n * 0x1.3441350ap-8) - n * -0x1.0c0219dc1da99p-45;
  return scaled_sum(static_cast<int>(n), s * 0x1.26bb1bbb55516p+1);
}

// A float's result: a double holds every one of them as a normal number, so that the conversion rounds once.
inline float to_float(const ScaledSum& s) {
  return static_cast<float>((s.high + s.low) * power_of_two(s.k));
}

// A normal double. 2^1024 is no factor, and the sum times 2^1023 may still have to double.
inline double to_normal(const ScaledSum& s) {
  if (s.k > 1023) return (s.high + s.low) * power_of_two(s.k - 1) * 2.0;
  return (s.high + s.low) * power_of_two(s.k);
}

// A double in the denormal band, rounded once. The sum is made 2^60 times as large as the result. Where that leaves it
// with an exponent field above 50, its upper 20 bits and the remainder are brought down separately: the upper bits
// exactly, as they end above 2^-1074, so that only the remainder is rounded, and the last addition is exact. Where it
// is smaller, the result has so few bits that a first rounding at 53 bits moves the second by less than 2^-10.
inline double to_denormal(const ScaledSum& s) {
  const double scale = power_of_two(s.k + 60), high = s.high * scale, low = s.low * scale, sum = high + low;
  if (std::bit_cast<uint64_t>(sum) >> 52 <= 50) return sum * 0x1p-60;
  const double cut = sum * 6442450944.0;  // 1.5 * 2^32
  const double upper = (sum + cut) - cut, rest = (high - upper) + low;
  return upper * 0x1p-60 + rest * 0x1p-60;
}

// The callout of Exp, Exp2 and Exp10 where the result comes from a ScaledSum. Steps in order: NaN and infinities,
// arguments too small to matter (`one_below` is the exponent field below which 1 + x is the result; 0: none), overflow,
// zero, the denormal band, and the rest, which is ordinary.
template <class Real>
inline Status exp_callout(const Range<Real>& range, int one_below, ScaledSum (*sum)(double), Real x, Real* r) {
  using Format = simd::Ieee<Real>;
  if (is_special(x)) {
    if (x == -callout::kInfinity<Real>) return *r = 0, kOk;
    return *r = x * x, kOk;
  }
  if (static_cast<int>(Format::magnitude(x) >> Format::kMantissaBits) < one_below) return *r = 1 + x, kOk;
  if (x > range.overflow_above) return *r = callout::overflow(Real{1}), kOverflow;
  if (x < range.zero_below) return *r = callout::underflow(Real{1}), kUnderflow;
  const ScaledSum s = sum(static_cast<double>(x));
  const bool denormal = x < range.denormal_below;
  if constexpr (sizeof(Real) == 4) {
    *r = to_float(s);
  } else {
    *r = denormal ? to_denormal(s) : to_normal(s);
  }
  return denormal ? kUnderflow : kOk;
}

}  // namespace qlx::explog
