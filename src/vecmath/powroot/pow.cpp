// The general power of the callouts of Pow, Powr and Powx, for results of any size.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/pow.h"

namespace qlx::powroot {
namespace {

using Pack = simd::OneF64;

// (value + rest) 2^n for a result below 2^-1022, rounded once. In c + value, c = 2^(-1022 - n), the unit of the last
// place is that of the denormal result: 2^n c is 2^-1022, and the sum is less than 2 c. So the bits above c's are the
// result's.
double to_denormal(double value, double rest, int n) {
  const double c = callout::power_of_two(-1022 - n), near = c + value;
  const double lost = ((c - near) + value) + rest, sum = near + lost;
  const auto bits = std::bit_cast<uint64_t>(sum) - std::bit_cast<uint64_t>(c);
  const bool exact = (near - sum) + lost == 0;
  return callout::denormal<double>(bits, exact);
}

}  // namespace

double general_power(double x, double y, double sign) {
  const bool denormal = callout::is_denormal(x);
  const Pack base = simd::all<Pack>(denormal ? callout::lifted(x) : x);
  const Log2Words<Pack> log = log2_words<7>(base, simd::all<Pack>(denormal ? -callout::kLift<double> : 0));
  // |log2 x| >= 2^-53, or x is 1, which has been served: a product beyond 2^11 says where the result ends.
  const double t = y * simd::first(log.high);
  if (t >= 1024.5) return callout::overflow(sign);
  if (t <= -1075.5) return callout::with_sign_of(sign, callout::denormal<double>(0, false));
  const Exp2Words<Pack> e = exp2_words<6>(times_exponent(simd::all<Pack>(y), log));
  // 128 n and the row are what the shifter's mantissa holds, from its middle.
  const auto shifted = std::bit_cast<int64_t>(simd::first(e.shifted)) - std::bit_cast<int64_t>(0x1.8p45);
  const auto n = static_cast<int>(shifted >> 7);
  const double value = simd::first(e.value), rest = simd::first(e.rest), both = value + rest;
  double power;
  if (n >= 0) {
    power = (both * callout::power_of_two(n - 1)) * callout::opaque(2.0);  // n may be 1024, and the result still finite
  } else if (n > -1022 || (n == -1022 && both >= 1)) {
    power = both * callout::power_of_two(n);
  } else {
    power = to_denormal(value, rest, n);
  }
  return callout::with_sign_of(sign, power);
}

}  // namespace qlx::powroot
