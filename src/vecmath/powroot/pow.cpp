// The general power of the callouts of Pow, Powr and Powx, for results of any size.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/pow.h"

#include "vecmath/simd/avx_one_lane.h"

namespace qlx::powroot {

double general_power(double x, double y, double sign) {
  constexpr double kTwoTo54 = 0x1p54;
  const bool denormal = x < callout::kTiny<double>;
  using Pack = simd::OneF64;
  const Pack base = all<Pack>(denormal ? x * kTwoTo54 : x);
  const Log2Words<Pack> log = log2_words<7>(base, all<Pack>(denormal ? -54 : 0));
  // |log2 x| >= 2^-53, or x is 1, which has been served: a product beyond 2^11 says where the result ends.
  const double t = y * simd::first(log.high);
  if (t >= 1024.5) return callout::overflow(sign);
  if (t <= -1080) return callout::underflow(sign);
  const Exp2Words<Pack> e = exp2_words<6>(times_exponent(all<Pack>(y), log));
  // 128 n and the row are what the shifter's mantissa holds, from its middle.
  const auto shifted = std::bit_cast<int64_t>(simd::first(e.shifted)) - std::bit_cast<int64_t>(0x1.8p45);
  const auto n = static_cast<int>(shifted >> 7);
  const auto power_of_2 = [](int k) { return std::bit_cast<double>(static_cast<uint64_t>(k + 1023) << 52); };
  const double value = simd::first(e.value), rest = simd::first(e.rest);
  double power;
  if (n >= 0) {
    power = ((value + rest) * power_of_2(n - 1)) * callout::opaque(2.0);  // n may be 1024, and the result still finite
  } else if (n >= -1000) {
    power = (value + rest) * power_of_2(n);
  } else {
    // Scaled by 2^1022 the least denormal is 2^-52, the last bit of 1 + (less than 1): the sum with 1 is rounded where
    // a denormal would be, and keeps what a first rounding of the two words would lose. Normal results need no sum.
    const double scaled_value = value * power_of_2(n + 1022), scaled_rest = rest * power_of_2(n + 1022);
    double scaled = scaled_value + scaled_rest;
    if (scaled < 1) {
      const double lost = (scaled_value - scaled) + scaled_rest;
      const double with_one = 1 + scaled;
      const double lost_too = ((1 - with_one) + scaled) + lost;
      scaled = (with_one + lost_too) - 1;
    }
    power = scaled * callout::opaque(0x1p-1022);
  }
  return callout::with_sign_of(sign, power);
}

}  // namespace qlx::powroot
