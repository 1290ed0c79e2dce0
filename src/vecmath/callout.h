// Pieces of the scalar callouts: classes of values, and results that raise their flag as they are made.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <limits>

#include "platform/fpu.h"
#include "vecmath/simd/ieee.h"
#include "vecmath/simd/simd.h"

namespace qlx::callout {

template <class Real>
inline constexpr Real kInfinity = std::numeric_limits<Real>::infinity();
// The smallest normal number, and the largest.
template <class Real>
inline constexpr Real kTiny = std::numeric_limits<Real>::min();
template <class Real>
inline constexpr Real kLargest = std::numeric_limits<Real>::max();

// An infinity or a NaN: the exponent is all ones.
template <class Real>
inline bool is_special(Real x) {
  return simd::Ieee<Real>::magnitude(x) >= simd::Ieee<Real>::kInfinity;
}
template <class Real>
inline bool is_negative(Real x) {
  return simd::Ieee<Real>::sign(x) != 0;
}
template <class Real>
inline Real magnitude(Real x) {
  return std::bit_cast<Real>(simd::Ieee<Real>::magnitude(x));
}
template <class Real>
inline Real with_sign_of(Real sign, Real x) {
  return std::bit_cast<Real>(simd::Ieee<Real>::magnitude(x) | simd::Ieee<Real>::sign(sign));
}

// x, unknown to the compiler, so that what is computed from it is computed at run time and raises its flags.
template <class Real>
inline Real opaque(Real x) {
  asm volatile("" : "+x"(x));
  return x;
}
// A quiet NaN, with the invalid flag.
template <class Real>
inline Real invalid() {
  const Real zero = opaque(Real{0});
  return zero / zero;
}
// The infinity with the sign of x, with the divide-by-zero flag.
template <class Real>
inline Real pole(Real x) {
  return with_sign_of(x, Real{1}) / opaque(Real{0});
}
// The infinity with the sign of x, with the overflow flag.
template <class Real>
inline Real overflow(Real x) {
  return with_sign_of(x, kLargest<Real>) * opaque(kLargest<Real>);
}
// The zero with the sign of x, with the underflow flag.
template <class Real>
inline Real underflow(Real x) {
  return with_sign_of(x, kTiny<Real>) * opaque(kTiny<Real>);
}

// 2^k for a k in the range of normal doubles.
inline double power_of_two(int k) {
  return std::bit_cast<double>(static_cast<uint64_t>(k + 1023) << 52);
}

// ---- Denormals, without arithmetic on them: it makes some processors start over

template <class Real>
inline bool is_denormal(Real x) {  // or a zero
  return simd::Ieee<Real>::magnitude(x) < simd::Ieee<Real>::kImplicitBit;
}
template <class Real, int kExponent>
inline constexpr Real kPowerOf2 = std::bit_cast<Real>(static_cast<typename simd::Ieee<Real>::Bits>(
    static_cast<typename simd::Ieee<Real>::Bits>(kExponent + simd::Ieee<Real>::kBias)
    << simd::Ieee<Real>::kMantissaBits));

// |x| 2^kLift of a denormal x, exact: its bits as those of a power of two's mantissa, less the power. kLift is a
// multiple of 6, so that roots lift by integers.
template <class Real>
inline constexpr int kLift = sizeof(Real) == 4 ? 150 : 1074;
template <class Real>
inline Real lifted(Real x) {
  constexpr Real kPower = kPowerOf2 < Real, sizeof(Real) == 4 ? 24 : 52 > ;
  using Bits = typename simd::Ieee<Real>::Bits;
  return std::bit_cast<Real>(simd::Ieee<Real>::magnitude(x) | std::bit_cast<Bits>(kPower)) - kPower;
}

// The denormal, or zero, of these bits, with the underflow flag unless it is exact; 0 where the control word flushes
// denormals.
template <class Real>
inline Real denormal(typename simd::Ieee<Real>::Bits bits, bool exact) {
  constexpr uint32_t kUnderflowInexact = 0x30, kFlushing = 0x8000;
  const uint32_t control = platform::read_sse_control();
  const bool flushed = (control & kFlushing) != 0;
  if ((!exact || flushed) && (control & kUnderflowInexact) != kUnderflowInexact) {
    platform::load_sse_control(control | kUnderflowInexact);
  }
  return flushed ? Real{0} : std::bit_cast<Real>(bits);
}

// ---- Formulas

// A formula's result at one argument, or one pair, in its range: the callout's arithmetic is the lanes' own.
template <class Formula, class... Arguments>
inline auto one_lane(Arguments... x) {
  const auto result = Formula{}.formula(simd::all<typename Formula::Pack>(x)...);
  if constexpr (requires { result.result; }) {
    return simd::first(result.result);
  } else {
    return simd::first(result);
  }
}

}  // namespace qlx::callout
