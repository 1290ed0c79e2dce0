// The fractional part, alone and with the integral part: Frac, Modf.
// SPDX-License-Identifier: Apache-2.0
//
// trunc(x) is exact, and so is x - trunc(x), whose bits are the low bits of x. The sign bit of x is put on the
// fraction, so that an integral x gives a zero of its own sign. Infinities and NaNs, the lanes whose difference is a
// NaN, go to the callout, which works on the bits.
#pragma once

#include <bit>

#include "frame/shell.h"
#include "vecmath/simd/ieee.h"

namespace qlx::rounding {

// Splits x into both parts; also right for infinities (fraction: a zero of the same sign) and NaNs (x + x twice).
template <class Real>
Status split_at_point(const Real* x, Real* integral, Real* fraction) {
  using F = simd::Ieee<Real>;
  using Bits = typename F::Bits;
  const Bits bits = std::bit_cast<Bits>(*x);
  const Bits sign = bits & F::kSign;
  if ((bits & ~F::kSign) > F::kInfinity) {
    *integral = *fraction = *x + *x;
    return kOk;
  }
  const int exponent = static_cast<int>(bits >> F::kMantissaBits & F::kExponentFieldMax) - F::kBias;
  if (exponent < 0) {
    *integral = std::bit_cast<Real>(sign);
    *fraction = *x;
    return kOk;
  }
  const Bits fractional_bits = exponent < F::kMantissaBits ? F::kMantissa >> exponent : 0;
  *integral = std::bit_cast<Real>(bits & ~fractional_bits);
  const Real rest = (bits & fractional_bits) != 0 ? *x - *integral : Real{0};
  *fraction = std::bit_cast<Real>(std::bit_cast<Bits>(rest) | sign);
  return kOk;
}

// The compiler merges this difference with the formula's.
template <class Pack>
typename Pack::Mask has_no_fraction(Pack a) {
  const Pack rest = a - simd::round_to_zero(a);
  return simd::unordered(rest, rest);
}

template <class P>
struct Modf {
  using Pack = P;
  using Real = typename P::Real;
  static constexpr int kBlock = 16;
  static constexpr bool kNeverReports = true;
  shell::Two<Pack> formula(Pack a) const {
    const Pack integral = simd::round_to_zero(a);
    return {integral, (a - integral) | (a & simd::sign_bit<Pack>())};
  }
  typename P::Mask needs_care(Pack a) const { return has_no_fraction(a); }
  static Status callout(const Real* a, Real* r1, Real* r2) { return split_at_point(a, r1, r2); }
};

template <class P>
struct Frac {
  using Pack = P;
  using Real = typename P::Real;
  static constexpr int kBlock = 16;
  static constexpr bool kNeverReports = true;
  Pack formula(Pack a) const { return Modf<P>().formula(a).second; }
  typename P::Mask needs_care(Pack a) const { return has_no_fraction(a); }
  static Status callout(const Real* a, Real* r) {
    Real integral;
    return split_at_point(a, &integral, r);
  }
};

}  // namespace qlx::rounding
