// Remainders of a division: Fmod (quotient truncated) and Remainder (quotient rounded to nearest, ties to even).
// SPDX-License-Identifier: Apache-2.0
//
// Both are exact. The fast path takes the quotient q from one division, splits |b| = bh + bl with bh its upper half of
// the significand, and forms r = |a| - q bh - q bl. With q below 2^kQuotientBits both products are exact, and so are
// both differences: |a| and q b have no bit below ulp(b), and the first difference is below 2^p ulp(b) but for q >= 2,
// where |a| has no bit below 2 ulp(b) either.
//
// The rounded division may reach an integer that the true quotient stays just below (Fmod), or fall on the other side
// of a tie (Remainder). Since r is exact it tells: Fmod adds |b| to a negative r, Remainder moves an |r| above |b| / 2
// by |b|. A true tie has a quotient that is a number of the format, so it is met exactly and rounds to even.
//
// Other lanes go to a long division on the integer significands.
#pragma once

#include <bit>

#include "frame/shell.h"
#include "vecmath/simd/ieee.h"

namespace qlx::arithmetic {

template <class Real>
struct RemainderConstants;

template <>
struct RemainderConstants<float> {
  static constexpr uint32_t kUpperHalf = 0xFFFFF000;  // 12 of 24 bits; the rest has 12
  static constexpr float kLargestQuotient = 0x1p11f;  // 12 bits with the top one alone: products fit 24 bits
  // |b| from 2^-103, so that ulp(b) is at least 2^-126 and no product is denormal and cut, to where q b can't overflow.
  static constexpr uint32_t kSmallestB = 0x0C000000;
  static constexpr uint32_t kLargestBOfFmod = 0x7E8FFFFF;
  static constexpr uint32_t kLargestBOfRemainder = 0x797FFFFF;
};

template <>
struct RemainderConstants<double> {
  static constexpr uint64_t kUpperHalf = 0xFFFFFFFFF8000000;  // 26 of 53 bits; the rest has 27
  static constexpr double kLargestQuotient = 0x1p25;
  // From 2^-960, by the same argument (ulp(b) at least 2^-1012); upper bounds as far from overflow as the float ones.
  static constexpr uint64_t kSmallestB = 0x03F0000000000000;
  static constexpr uint64_t kLargestBOfFmod = 0x7FCFFFFFFFFFFFFF;
  static constexpr uint64_t kLargestBOfRemainder = 0x7E5FFFFFFFFFFFFF;
};

// A magnitude as significand m and the exponent field e of its unit: m 2^(e - bias - kMantissaBits). Denormals keep
// their leading zeros and the least exponent. All in integers, so the control word's denormal handling has no say.
template <class Real>
struct Significand {
  using F = simd::Ieee<Real>;
  using Bits = typename F::Bits;
  Bits m;
  int e;

  static Significand of(Real x) {
    const Bits bits = F::magnitude(x);
    const int e = static_cast<int>(bits >> F::kMantissaBits);
    if (e == 0) return {bits, 1};
    return {(bits & F::kMantissa) | F::kImplicitBit, e};
  }

  // The number; exact for m below twice kImplicitBit.
  Real value() const {
    Bits n = m;
    int field = e;
    if (n == 0) return 0;
    while (field > 1 && n < F::kImplicitBit) {
      n <<= 1;
      --field;
    }
    if (n < F::kImplicitBit) return std::bit_cast<Real>(n);
    return std::bit_cast<Real>((n - F::kImplicitBit) + (static_cast<Bits>(field) << F::kMantissaBits));
  }
};

// Long division of the magnitudes, |a| >= |b| > 0, both finite.
template <class Real>
struct LongDivision {
  using F = simd::Ieee<Real>;
  Significand<Real> remainder, divisor;  // with the same exponent
  bool quotient_odd;                     // the truncated quotient's last bit

  LongDivision(Real a, Real b) : remainder(Significand<Real>::of(a)), divisor(Significand<Real>::of(b)) {
    // As many quotient bits at a time as fit beside the divisor in 64 bits.
    constexpr int kStep = 63 - F::kMantissaBits;
    const uint64_t d = divisor.m;
    int bits = remainder.e - divisor.e;
    uint64_t quotient = remainder.m / d, m = remainder.m % d;
    while (bits > 0 && m != 0) {
      const int step = bits < kStep ? bits : kStep;
      m <<= step;
      quotient = m / d;
      m %= d;
      bits -= step;
    }
    remainder = {static_cast<typename F::Bits>(m), divisor.e};
    // A zero remainder that came early leaves only zero quotient bits to follow.
    quotient_odd = bits <= 0 && (quotient & 1) != 0;
  }
};

// |a| - q |b|, exact for q up to kLargestQuotient.
template <class P>
P exact_difference(P ma, P mb, P q) {
  using C = RemainderConstants<typename P::Real>;
  const P high = mb & simd::all_bits<P>(C::kUpperHalf);
  const P low = mb - high;
  return (ma - high * q) - low * q;
}

// Lanes outside the fast path; a NaN or an infinity is outside by one of the two tests.
template <class P>
typename P::Mask outside(P q, P mb, typename P::Bits largest_b) {
  using C = RemainderConstants<typename P::Real>;
  return simd::not_less_equal(q, simd::all<P>(C::kLargestQuotient)) |
         simd::not_less_equal(simd::all_bits<P>(C::kSmallestB), mb) |
         simd::not_less_equal(mb, simd::all_bits<P>(largest_b));
}

template <class P>
struct Fmod {
  using Pack = P;
  using Real = typename P::Real;
  using F = simd::Ieee<Real>;
  using C = RemainderConstants<Real>;
  static constexpr int kBlock = P::kLanes;
  static constexpr int kPass = 2 * P::kLanes;

  shell::Marked<Pack> formula(Pack a, Pack b) const {
    const Pack ma = simd::abs(a), mb = simd::abs(b);
    const Pack q = simd::round_to_zero(ma / mb);
    Pack r = exact_difference(ma, mb, q);
    r = r + simd::keep(r < simd::all<Pack>(0), mb);
    return {r | (a & simd::sign_bit<Pack>()), outside(q, mb, C::kLargestBOfFmod)};
  }

  static Status callout(const Real* pa, const Real* pb, Real* r) {
    const Real a = *pa, b = *pb;
    const auto ma = F::magnitude(a), mb = F::magnitude(b);
    const auto with_sign_of_a = [&](Real m) { return std::bit_cast<Real>(F::magnitude(m) | F::sign(a)); };
    if (F::is_nan(a) || F::is_nan(b)) {
      *r = a * b;
      return kOk;
    }
    if (mb == 0 || F::is_infinite(a)) {
      *r = std::numeric_limits<Real>::quiet_NaN();
      return kPole;  // a pole, not a domain error: callers count on it
    }
    if (ma < mb) {
      *r = a;
    } else if (ma == mb) {
      *r = with_sign_of_a(0);
    } else {
      const LongDivision<Real> division(a, b);
      *r = with_sign_of_a(division.remainder.value());
    }
    return kOk;
  }
};

template <class P>
struct Remainder {
  using Pack = P;
  using Real = typename P::Real;
  using F = simd::Ieee<Real>;
  using C = RemainderConstants<Real>;
  static constexpr int kBlock = sizeof(Real) == 4 ? 16 : 4;

  shell::Marked<Pack> formula(Pack a, Pack b) const {
    const Pack ma = simd::abs(a), mb = simd::abs(b);
    const Pack q = simd::round_current_quietly(ma / mb);
    Pack r = exact_difference(ma, mb, q);
    // Twice r and |b| compare exactly, where half of |b| might be cut.
    const Pack twice = r + r;
    r = r - simd::keep(twice > mb, mb);
    r = r + simd::keep(twice < (mb ^ simd::sign_bit<Pack>()), mb);
    return {r ^ (a & simd::sign_bit<Pack>()), outside(q, mb, C::kLargestBOfRemainder)};
  }

  static Status callout(const Real* pa, const Real* pb, Real* r) {
    const Real a = *pa, b = *pb;
    const auto ma = F::magnitude(a), mb = F::magnitude(b);
    const auto with_sign_of_a = [&](Real m) {
      return std::bit_cast<Real>(std::bit_cast<typename F::Bits>(m) ^ F::sign(a));
    };
    if (F::is_nan(a) || F::is_nan(b)) {
      *r = (F::is_nan(a) ? a : b) * static_cast<Real>(1.7);  // any factor quiets it
    } else if (mb == 0 || F::is_infinite(a)) {
      *r = std::numeric_limits<Real>::quiet_NaN();
    } else if (F::is_infinite(b)) {
      *r = a;
    } else if (ma < mb) {
      // The quotient is 0 or 1, and 0 when the exponents tell that |a| is below |b| / 2.
      const auto x = Significand<Real>::of(a), y = Significand<Real>::of(b);
      const auto d = y.e - x.e > 1 ? 0 : y.m << (y.e - x.e);
      *r = 2 * x.m > d && d != 0 ? with_sign_of_a(-Significand<Real>{d - x.m, x.e}.value()) : a;
    } else {
      const LongDivision<Real> division(a, b);
      const auto m = division.remainder.m, d = division.divisor.m;
      const bool up = 2 * m > d || (2 * m == d && division.quotient_odd);
      *r = with_sign_of_a(up ? -Significand<Real>{d - m, division.divisor.e}.value() : division.remainder.value());
    }
    return kOk;
  }
};

}  // namespace qlx::arithmetic
