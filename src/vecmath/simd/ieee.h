// The fields of the two IEEE 754 binary formats, for scalar code on bits.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace qlx::simd {

template <class RealType>
struct Ieee {
  using Real = RealType;
  using Bits = std::conditional_t<sizeof(Real) == 4, uint32_t, uint64_t>;
  static constexpr int kMantissaBits = std::numeric_limits<Real>::digits - 1;  // stored ones: 23, 52
  static constexpr int kBias = std::numeric_limits<Real>::max_exponent - 1;    // 127, 1023
  static constexpr int kExponentFieldMax = 2 * kBias + 1;
  static constexpr Bits kSign = Bits{1} << (8 * sizeof(Real) - 1);
  static constexpr Bits kImplicitBit = Bits{1} << kMantissaBits;
  static constexpr Bits kMantissa = kImplicitBit - 1;
  static constexpr Bits kInfinity = Bits{kExponentFieldMax} << kMantissaBits;

  static constexpr Bits magnitude(Real x) { return std::bit_cast<Bits>(x) & ~kSign; }
  static constexpr Bits sign(Real x) { return std::bit_cast<Bits>(x) & kSign; }
  static constexpr bool is_nan(Real x) { return magnitude(x) > kInfinity; }
  static constexpr bool is_infinite(Real x) { return magnitude(x) == kInfinity; }
};

}  // namespace qlx::simd
