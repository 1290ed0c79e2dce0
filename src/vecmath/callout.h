// Pieces of the scalar callouts: classes of values, and results that raise their flag as they are made.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "vecmath/simd/simd.h"

namespace qlx::callout {

template <class Real>
using Bits = std::conditional_t<sizeof(Real) == 4, uint32_t, uint64_t>;

template <class Real>
inline constexpr Real kInfinity = std::numeric_limits<Real>::infinity();
// The smallest normal number.
template <class Real>
inline constexpr Real kTiny = std::numeric_limits<Real>::min();
template <class Real>
inline constexpr Real kLargest = std::numeric_limits<Real>::max();

template <class Real>
inline Bits<Real> bits(Real x) {
  return std::bit_cast<Bits<Real>>(x);
}
template <class Real>
inline bool is_negative(Real x) {
  return bits(x) >> (8 * sizeof(Real) - 1) != 0;
}
// An infinity or a NaN: the exponent is all ones.
template <class Real>
inline bool is_special(Real x) {
  return (bits(x) & bits(kInfinity<Real>)) == bits(kInfinity<Real>);
}
template <class Real>
inline bool is_nan(Real x) {
  return x != x;
}
template <class Real>
inline Real magnitude(Real x) {
  return std::bit_cast<Real>(bits(x) & (~Bits<Real>{0} >> 1));
}
template <class Real>
inline Real with_sign_of(Real sign, Real x) {
  return std::bit_cast<Real>(bits(magnitude(x)) | (bits(sign) ^ bits(magnitude(sign))));
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

// A formula at one argument: the callout's arithmetic is the lanes' own, after the argument has been scaled into their
// range.
template <class Formula>
inline auto one_lane(typename Formula::Pack::Real x) {
  const auto lanes = Formula{}.formula(simd::all<typename Formula::Pack>(x));
  if constexpr (requires { lanes.result; }) {
    return simd::first(lanes.result);
  } else {
    return simd::first(lanes);
  }
}

}  // namespace qlx::callout
