// The error of a result against a value of a wider type, and whether that settles it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "accuracy/real.h"

namespace qlx::tools {

// The wide types by their bits: the meter's inner loop has no room for ldexp. Exponents are unbiased, fractions are
// significands without their leading bit.
inline double power_of_two(int k, double) {
  return std::bit_cast<double>(static_cast<uint64_t>(k + 1023) << 52);
}
inline int exponent_of(double y) {
  return static_cast<int>(std::bit_cast<uint64_t>(y) >> 52 & 0x7FF) - 1023;
}
inline uint64_t fraction_of(double y) {
  return std::bit_cast<uint64_t>(y) & ((uint64_t{1} << 52) - 1);
}

inline long double power_of_two(int k, long double) {
  const uint64_t significand = uint64_t{1} << 63;
  const uint16_t field = static_cast<uint16_t>(k + 16383);
  long double x = 0;
  std::memcpy(&x, &significand, 8);
  std::memcpy(reinterpret_cast<char*>(&x) + 8, &field, 2);
  return x;
}
inline int exponent_of(long double y) {
  uint16_t field;
  std::memcpy(&field, reinterpret_cast<const char*>(&y) + 8, 2);
  return (field & 0x7FFF) - 16383;
}
inline uint64_t fraction_of(long double y) {
  uint64_t significand;
  std::memcpy(&significand, &y, 8);
  return significand & ((uint64_t{1} << 63) - 1);
}

// Whether an error of `slack` units in y's last place may put the exact value into another binade, which has another
// unit.
template <class Wide>
bool near_binade_end(Wide y, double slack) {
  const uint64_t end = uint64_t{1} << (std::numeric_limits<Wide>::digits - 1);
  const uint64_t reach = static_cast<uint64_t>(slack) + 1;
  return (fraction_of(y) + reach) % end < 2 * reach;
}

struct Sieved {
  double ulp;
  double relative;
  bool certain;
};

// How far a sieve's word may be off, in ULP of Real.
template <class Real>
double sieve_reach(double slack) {
  return std::ldexp(slack, Format<Real>::kPrecision - std::numeric_limits<typename Format<Real>::Wide>::digits);
}

// The error of r against y, which is off by at most `slack` units in its own last place. Not certain: only the exact
// value tells.
template <class Real, class Wide>
Sieved sieve(Real r, Wide y, double slack, double reach) {
  using F = Format<Real>;
  constexpr Wide kInfinity = std::numeric_limits<Wide>::infinity();
  const Wide wide = static_cast<Wide>(r), magnitude = std::fabs(y);
  if (std::fabs(wide) < kInfinity && magnitude < kInfinity) [[likely]] {
    const Wide difference = std::fabs(wide - y);
    const Wide ulp = difference * power_of_two(-ulp_exponent<Real>(exponent_of(y)), Wide{});
    const Wide scale = std::max(magnitude, power_of_two(F::kMinExponent, Wide{}));
    // A y of 0 has the exponent of the wide type's denormals: its unit is that of Real's, as it ought to be.
    const bool certain = ulp < reach || (y != 0 && !near_binade_end(y, slack));
    return {static_cast<double>(ulp), static_cast<double>(difference / scale), certain};
  }
  if (std::isnan(r) && std::isnan(y)) return {0, 0, true};
  // Beyond the last rounding boundary there is nothing to measure.
  const bool overflow = std::isinf(r) && magnitude >= power_of_two(F::kMaxExponent + 1, Wide{});
  return {0, 0, overflow && (r > 0) == (y > 0)};
}

}  // namespace qlx::tools
