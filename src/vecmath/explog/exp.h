// Exponential: Exp for float and double, three formulas each.
// SPDX-License-Identifier: Apache-2.0
//
// x = n ln 2 / N + r with n = rint(x N / ln 2) by a shifter, n = N k + j; e^x = 2^k 2^(j/N) e^r.
//
//           N     table           reduction               degree   largest relative error of the polynomial
//   float EP    1                 in base 2, one part     3        2^-12.5
//         LA    1                 two parts               5        2^-22.7
//         HA    4  pairs, held in registers, two parts    4        2^-26.9
//   double EP  128                one part                2        2^-28.2
//         LA 1024                 two parts               3        2^-52.7
//         HA   64  pairs          two parts               5        2^-59.3
//
// In two parts, the first has so few bits that n times it is exact, and so is x minus that product, which is close to x
// (Sterbenz); the rounding that remains is that of r itself. In HA the table's value stands alone until the last
// addition, whose other term is small: below 2^-3 of it in float and 2^-7 in double, with an error of some 2^-25
// (2^-54) of itself, so that the result is the correctly rounded one plus little. Polynomials are 1 + r + ...: e^0
// is 1. All coefficients are given. The power of two comes last: products before it stay normal, also where denormals
// are flushed.
#pragma once

#include "vecmath/explog/exp_core.h"

namespace qlx::explog {

#include "vecmath/explog/tables/exp2_f32_4.inc"
#include "vecmath/explog/tables/exp2_f64_1024_single.inc"
#include "vecmath/explog/tables/exp2_f64_128_single.inc"

// ---- Float: 16 elements a pass -------------------------------------------------------------------------------------

// Beyond |x| = 87.33654: one limit for both ends, so that some lanes with ordinary results take the callout.
constexpr float kExpLimitF32 = 0x1.5d589ep+6f;

struct ExpF32 {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  Pack::Mask needs_care(Pack x) const { return beyond(x, kExpLimitF32); }
  Pack::Mask short_road(Pack x, Pack& r, Pack::Mask m) const { return take_short_road(kExpRangeF32, x, r, m); }
};

struct ExpF32LA : ExpF32 {
  // e^x = 2^n p.
  struct Parts {
    Pack n, p;
  };
  static Parts parts(Pack x) {
    constexpr float kShifter = simd::shifter_f32(0, 0);
    const Pack n = (x * all<Pack>(0x1.715476p+0f) + all<Pack>(kShifter)) - all<Pack>(kShifter);
    // ln 2: 15 bits, and n has 8.
    const Pack r = (x - n * all<Pack>(0x1.62e4p-1f)) - n * all<Pack>(0x1.7f7d1cp-20f);
    const Pack r2 = r * r;
    const Pack middle = all<Pack>(0.49999392f) + r * all<Pack>(0.16667432f);
    const Pack upper = all<Pack>(0.041873522f) + r * all<Pack>(0.0082917195f);
    return {n, all<Pack>(1) + (r * all<Pack>(0.99999988f) + r2 * (middle + r2 * upper))};
  }
  Pack formula(Pack x) const {
    const Parts y = parts(x);
    return y.p * simd::power_of_two(y.n);
  }
  // Steps in order: NaN and infinities, overflow, zero, the denormal band, which is reported whether or not a result
  // has lost bits, 2^128, which is no factor, and the rest.
  static Status callout(const float* a, float* r) {
    const float x = *a;
    if (is_special(x)) {
      if (x == -callout::kInfinity<float>) return *r = 0, kOk;
      return *r = x * x, kOk;
    }
    if (x > kExpRangeF32.overflow_above) return *r = callout::overflow(1.0f), kOverflow;
    if (x < kExpRangeF32.zero_below) return *r = callout::underflow(1.0f), kUnderflow;
    const Parts y = parts(all<Pack>(x));
    const float p = simd::first(y.p);
    const int n = static_cast<int>(simd::first(y.n));
    const auto power = [](int k) { return std::bit_cast<float>(static_cast<uint32_t>(127 + k) << 23); };
    if (x < kExpRangeF32.denormal_below) return *r = p * power(n + 60) * 0x1p-60f, kUnderflow;  // rounded once
    if (n > 127) return *r = p * power(n - 1) * 2.0f, kOk;
    return *r = p * power(n), kOk;
  }
};

struct ExpF32HA : ExpF32 {
  Pack formula(Pack x) const {
    constexpr float kShifter = simd::shifter_f32(0, 127 * 4);  // 0x4B4001FC: the exponent's bias is in it
    const Pack y = x * all<Pack>(0x1.715476p+2f) + all<Pack>(kShifter);
    const Pack n = y - all<Pack>(kShifter);
    // ln 2 / 4: 12 bits, and n has 9. The first part of r is exact, so it enters the sum before r is rounded.
    const Pack first = x - n * all<Pack>(0x1.62ep-3f), second = n * all<Pack>(0x1.0bfbe8p-17f);
    const Pack r = first - second;
    const Pack upper = all<Pack>(0.49999997f) + r * (all<Pack>(0.16672924f) + r * all<Pack>(0.041682310f));
    const Pack rest = (r * r) * upper - second;
    const Pack high = simd::choose(kExp2QuarterHi, y), low = simd::choose(kExp2QuarterLo, y);
    return (high + (high * first + (low + high * rest))) * simd::power_of_two_above<2>(y);
  }
  // In double, and 1 + x where the exponent field is below 75 (2^-52).
  static Status callout(const float* a, float* r) { return exp_callout(kExpRangeF32, 75, exp_sum, *a, r); }
};

struct ExpF32EP : ExpF32 {
  Pack formula(Pack x) const {
    constexpr float kShifter = simd::shifter_f32(0, 0);
    const Pack t = x * all<Pack>(0x1.715476p+0f);
    const Pack n = (t + all<Pack>(kShifter)) - all<Pack>(kShifter);
    const Pack r = t - n;
    const Pack p =
        all<Pack>(1) + r * (all<Pack>(0.6931783f) + r * (all<Pack>(0.2420288f) + r * all<Pack>(0.05550400f)));
    return p * simd::power_of_two(n);
  }
  static Status callout(const float* a, float* r) { return ExpF32LA::callout(a, r); }
};

// ---- Double: 8 elements a pass -------------------------------------------------------------------------------------

// A high word above 0x4086232A, 708.396.
constexpr double kExpLimitF64 = std::bit_cast<double>(0x4086232AFFFFFFFFull);

// One callout for all accuracies; 1 + x where the exponent field is below 971 (2^-52).
struct ExpF64 {
  using Pack = PackF64;
  static constexpr int kBlock = 8;
  Pack::Mask needs_care(Pack x) const { return beyond(x, kExpLimitF64); }
  Pack::Mask short_road(Pack x, Pack& r, Pack::Mask m) const { return take_short_road(kExpRangeF64, x, r, m); }
  static Status callout(const double* a, double* r) { return exp_callout(kExpRangeF64, 971, exp_sum, *a, r); }
};

struct ExpF64LA : ExpF64 {
  Pack formula(Pack x) const {
    constexpr double kBiased = simd::shifter_f64(0, 1023 * 1024);
    const Pack y = x * all<Pack>(0x1.71547652b82fep+10) + all<Pack>(kBiased);
    const Pack n = y - all<Pack>(kBiased);
    // ln 2 / 1024: 31 bits, and n has 21.
    const Pack r = (x - n * all<Pack>(0x1.62e42fecp-11)) - n * all<Pack>(0x1.d1cf79abc9e3bp-42);
    const Pack q = r + (r * r) * (all<Pack>(0.50000000357965391) + r * all<Pack>(1.0 / 6));
    const Pack t = simd::look_up_below<10>(kExp2Row1024, y);
    return (t + t * q) * simd::power_of_two_above<10>(y);
  }
};

struct ExpF64HA : ExpF64 {
  Pack formula(Pack x) const {
    constexpr double kBiased = simd::shifter_f64(0, 1023 * 64);
    const Pack y = x * all<Pack>(0x1.71547652b82fep+6) + all<Pack>(kBiased);
    const Pack n = y - all<Pack>(kBiased);
    // ln 2 / 64: 36 bits, and n has 16.
    const Pack r = (x - n * all<Pack>(0x1.62e42fefap-7)) - n * all<Pack>(0x1.cf79abc9e3b3ap-46);
    const Pack upper = all<Pack>(0.041666723686623851) + r * all<Pack>(0.0083333341644141103);
    const Pack q = r + (r * r) * (all<Pack>(0.49999999999947747) + r * (all<Pack>(0.16666666666677971) + r * upper));
    const simd::PairF64 row = simd::look_up_below<6>(kExp2Pair64, y);
    return (row.first + (row.second + row.first * q)) * simd::power_of_two_above<6>(y);
  }
};

struct ExpF64EP : ExpF64 {
  Pack formula(Pack x) const {
    constexpr double kBiased = simd::shifter_f64(0, 1023 * 128);
    const Pack y = x * all<Pack>(0x1.71547652b82fep+7) + all<Pack>(kBiased);
    const Pack r = x - (y - all<Pack>(kBiased)) * all<Pack>(0x1.62e42fefa39efp-8);
    const Pack t = simd::look_up_below<7>(kExp2Row128, y);
    return (t + t * (r + (r * r) * all<Pack>(0.49999908361121337))) * simd::power_of_two_above<7>(y);
  }
};

}  // namespace qlx::explog
