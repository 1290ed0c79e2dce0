// The logarithm of one number, for the callouts of all logarithms.
// SPDX-License-Identifier: Apache-2.0
//
// x = 2^e m, m in [1, 2); the top 7 bits of m choose a row (c, ln hi, ln lo), c a multiple of 2^-20 next to the
// reciprocal of the interval's middle, ln hi + ln lo = -ln c. Then r = m c - 1, |r| <= 2^-8 + 2^-19, and
//
//   log_b x = e log_b 2 + (ln hi + ln lo + ln(1 + r)) log_b e,
//
// with e log_b 2 in two parts, the first exact. What has one word only is below 1 and rounds to 2^-53. Callouts call
// for numbers whose logarithm is 87 (708) and more: for double that is 2^-10 of a unit, and for float nothing.
//
// P. T. P. Tang, "Table-driven implementation of the logarithm function in IEEE floating-point arithmetic" (1990).
#include "vecmath/explog/logarithm.h"

namespace qlx::explog {

#include "vecmath/explog/tables/ln_rows_128.inc"

double scalar_log(double x, int down, double two_hi, double two_lo, double lead) {
  const auto bits = std::bit_cast<uint64_t>(x);
  const auto [c, ln_hi, ln_lo] = kLnRows128[bits >> 45 & 0x7F];
  const double e = static_cast<double>(static_cast<int>(bits >> 52) - 1023 - down);
  const double m = std::bit_cast<double>((bits & 0x000FFFFFFFFFFFFF) | 0x3FF0000000000000);
  const double r = m * c - 1, r2 = r * r;
  // ln(1 + r) - r, its series to r^6: the next term is below 2^-58.
  const double tail = r2 * ((-1.0 / 2 + r * (1.0 / 3)) + r2 * ((-1.0 / 4 + r * (1.0 / 5)) + r2 * (-1.0 / 6)));
  return e * two_hi + (e * two_lo + (ln_hi + (r + (ln_lo + tail))) * lead);
}

}  // namespace qlx::explog
