// The two real types seen as bits, and the unit in the last place.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <type_traits>

namespace qlx::tools {

template <class Real>
struct Format {
  using Bits = std::conditional_t<sizeof(Real) == 4, uint32_t, uint64_t>;
  using Wide = std::conditional_t<sizeof(Real) == 4, double, long double>;  // the sieve's type
  static constexpr int kPrecision = std::numeric_limits<Real>::digits;
  static constexpr int kMinExponent = std::numeric_limits<Real>::min_exponent - 1;  // of the least normal number
  static constexpr int kMaxExponent = std::numeric_limits<Real>::max_exponent - 1;
  static constexpr int kExponentBits = sizeof(Real) * 8 - kPrecision;
  static constexpr Bits kExponentMask = ((Bits{1} << kExponentBits) - 1) << (kPrecision - 1);
  static constexpr char kType = sizeof(Real) == 4 ? 's' : 'd';
};

template <class Real>
typename Format<Real>::Bits to_bits(Real x) {
  return std::bit_cast<typename Format<Real>::Bits>(x);
}
template <class Real>
Real from_bits(typename Format<Real>::Bits bits) {
  return std::bit_cast<Real>(bits);
}

// The number `steps` places further in the order of the reals; stops at the infinities. NaN stays.
template <class Real>
Real neighbour(Real x, int64_t steps) {
  if (std::isnan(x)) return x;
  using Bits = typename Format<Real>::Bits;
  using Signed = std::make_signed_t<Bits>;
  // Sign and magnitude to a line of integers: ..., -1 the least negative denormal, 0 both zeros, 1, ...
  const Signed raw = static_cast<Signed>(to_bits(x));
  const Signed line = raw < 0 ? static_cast<Signed>(std::numeric_limits<Signed>::min() - raw) : raw;
  const Signed end = static_cast<Signed>(Format<Real>::kExponentMask);
  Signed moved;
  if (__builtin_add_overflow(line, static_cast<Signed>(steps), &moved)) moved = steps < 0 ? -end : end;
  if (moved > end) moved = end;
  if (moved < -end) moved = -end;
  const Signed back = moved < 0 ? static_cast<Signed>(std::numeric_limits<Signed>::min() - moved) : moved;
  return from_bits<Real>(static_cast<Bits>(back));
}

// Exponent of the unit in the last place of the binade that holds 2^exponent <= |y|, in Real's format.
template <class Real>
constexpr int ulp_exponent(int exponent) {
  using F = Format<Real>;
  if (exponent < F::kMinExponent) exponent = F::kMinExponent;
  if (exponent > F::kMaxExponent) exponent = F::kMaxExponent;
  return exponent - (F::kPrecision - 1);
}

}  // namespace qlx::tools
