// Exponential minus 1: Expm1 for float and double, three formulas each.
// SPDX-License-Identifier: Apache-2.0
//
// x = n ln 2 / N + r, n = N k + j, t = 2^k 2^(j/N), and e^x - 1 = (t - 1) + t (e^r - 1).
//
//              N     reduction   degree   largest relative error of the polynomial
//   float EP   32    one part    2        2^-15.6
//      LA, HA  64    two parts   3        2^-29.0
//   double EP  128   one part    3        2^-30.2
//      LA, HA  128   two parts   5        2^-56.1
//
// Next to x = 0, n is 0, t - 1 is 0, and the result is that of the polynomial. The worst is n = -1 or 1 with x near the
// end of its interval: t - 1 and t (e^r - 1) have opposite signs, and the result is half of the first and as large as
// the second. There t - 1 is exact but for what rounded the table's row, so that rows have two parts; LA adds the
// roundings of r, of t (e^r - 1) and of the sum, half an ULP each.
//
// HA keeps them: rows are rounded to half of the bits, and r is cut to half of its bits (masks 0xFFFFF000 and
// 0xFFFFFFFFF8000000), so that the product of the two is exact; both additions keep their rounding errors, and
// everything below goes into one small term that is added last.
#pragma once

#include "vecmath/explog/exp_core.h"

namespace qlx::explog {

#include "vecmath/explog/tables/exp2_f32_32_single.inc"
#include "vecmath/explog/tables/exp2_f32_64_short.inc"
#include "vecmath/explog/tables/exp2_f64_128_short.inc"
#include "vecmath/explog/tables/exp2_f64_128_single.inc"
#include "vecmath/explog/tables/expm1_f64_fit.inc"

// Steps in order: NaN and infinities; -1 for all that is negative here, so that nothing underflows; overflow; and
// results so large that the 1 hardly counts.
template <class Real>
inline Status expm1_callout(Real overflow_above, Real x, Real* r) {
  if (is_special(x)) {
    if (x == -callout::kInfinity<Real>) return *r = -1, kOk;
    return *r = x * x, kOk;
  }
  if (x < 0) return *r = -1, kOk;
  if (x > overflow_above) return *r = callout::overflow(Real{1}), kOverflow;
  const ScaledSum s = exp_sum(static_cast<double>(x));
  if constexpr (sizeof(Real) == 4) {
    *r = to_float(s) - 1;
  } else {
    *r = to_normal(s) - 1;
  }
  return kOk;
}

// Under QVM_ERRMODE_NOERR: the infinity above the range, and -1 below.
template <class Pack>
inline typename Pack::Mask take_expm1_short_road(typename Pack::Real overflow_above, Pack x, Pack& r,
                                                 typename Pack::Mask m) {
  const auto above = x > all<Pack>(overflow_above), below = x < all<Pack>(0);
  r = simd::select(above & m, all<Pack>(callout::kInfinity<typename Pack::Real>), r);
  r = simd::select(below & m, all<Pack>(-1), r);
  return simd::without(m, above | below);
}

// x's sign is the result's, also for -0.
template <class Pack>
inline Pack signed_as(Pack x, Pack result) {
  return result | (x & simd::sign_bit<Pack>());
}

struct Expm1F32 {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  Pack::Mask needs_care(Pack x) const { return beyond(x, 0x1.5a92d6p+6f); }  // 86.643394
  Pack::Mask short_road(Pack x, Pack& r, Pack::Mask m) const {
    return take_expm1_short_road(kExpRangeF32.overflow_above, x, r, m);
  }
  static Status callout(const float* a, float* r) { return expm1_callout(kExpRangeF32.overflow_above, *a, r); }
};
struct Expm1F64 {
  using Pack = PackF64;
  static constexpr int kBlock = 8;
  Pack::Mask needs_care(Pack x) const { return beyond(x, 0x1.61da04cbafe43p+9); }  // 707.7032714
  Pack::Mask short_road(Pack x, Pack& r, Pack::Mask m) const {
    return take_expm1_short_road(kExpRangeF64.overflow_above, x, r, m);
  }
  static Status callout(const double* a, double* r) { return expm1_callout(kExpRangeF64.overflow_above, *a, r); }
};

// ---- LA and HA: constants, then the formulas that both types share -------------------------------------------------

// x = n c + r with r in two parts, and the row of n, all as numbers.
template <class Pack>
struct Expm1Parts {
  Pack upper, lower;          // r = upper - lower: the first exact, the second below 2^-12 (2^-26) of c
  Pack row_upper, row_lower;  // t
};

struct Expm1TwoPartsF32 : Expm1F32 {
  static constexpr uint32_t kUpper = 0xFFFFF000;
  static constexpr float kItself = 0x1p-25f;
  static Expm1Parts<Pack> parts(Pack x) {
    constexpr float kShifter = simd::shifter_f32(0, 127 * 64);
    const Pack y = x * all<Pack>(0x1.715476p+6f) + all<Pack>(kShifter);
    const Pack n = y - all<Pack>(kShifter);
    const simd::PairF32 row = simd::look_up_below<6>(kExp2FloatShort64, y);
    const Pack scale = simd::power_of_two_above<6>(y);
    // ln 2 / 64: 9 bits, and n has 13.
    return {x - n * all<Pack>(0x1.63p-7f), n * all<Pack>(-0x1.bd0106p-19f), row.first * scale, row.second * scale};
  }
  // e^r - 1 - r; given.
  static Pack above_linear(Pack r) { return (r * r) * (all<Pack>(0.50000089f) + r * all<Pack>(0.16666697f)); }
};

struct Expm1TwoPartsF64 : Expm1F64 {
  static constexpr uint64_t kUpper = 0xFFFFFFFFF8000000;
  static constexpr double kItself = 0x1p-54;
  static Expm1Parts<Pack> parts(Pack x) {
    constexpr double kShifter = simd::shifter_f64(0, 1023 * 128);
    const Pack y = x * all<Pack>(0x1.71547652b82fep+7) + all<Pack>(kShifter);
    const Pack n = y - all<Pack>(kShifter);
    const simd::PairF64 row = simd::look_up_below<7>(kExp2Short128, y);
    const Pack scale = simd::power_of_two_above<7>(y);
    // ln 2 / 128: 34 bits, and n has 17.
    return {x - n * all<Pack>(0x1.62e42fef8p-8), n * all<Pack>(0x1.1cf79abc9e3b4p-43), row.first * scale,
            row.second * scale};
  }
  static Pack above_linear(Pack r) {
    const auto& c = kExpm1PolynomialF64;
    const Pack r2 = r * r;
    return r2 * ((all<Pack>(c[0]) + r * all<Pack>(c[1])) + r2 * (all<Pack>(c[2]) + r * all<Pack>(c[3])));
  }
};

template <class TwoParts>
struct Expm1LA : TwoParts {
  using Pack = typename TwoParts::Pack;
  Pack formula(Pack x) const {
    const Expm1Parts<Pack> y = TwoParts::parts(x);
    const Pack r = y.upper - y.lower;
    const Pack t = y.row_upper + y.row_lower;
    return signed_as(x, (y.row_upper - all<Pack>(1)) + (y.row_lower + t * (r + TwoParts::above_linear(r))));
  }
};

template <class TwoParts>
struct Expm1HA : TwoParts {
  using Pack = typename TwoParts::Pack;
  static constexpr int kPass = TwoParts::kBlock;  // the sums with their errors leave no registers for more chains
  Pack formula(Pack x) const {
    const Pack one = all<Pack>(1);
    const Expm1Parts<Pack> y = TwoParts::parts(x);
    const Pack r = y.upper - y.lower;
    const Pack head = y.upper & all_bits<Pack>(TwoParts::kUpper);
    const Pack tail = ((y.upper - head) - y.lower) + TwoParts::above_linear(r);
    // t - 1 with its error, whichever of the two is larger (Knuth's two-sum): both ends of the range round here.
    const Pack a = y.row_upper - one;
    const Pack back = a - y.row_upper;
    const Pack a_error = (y.row_upper - (a - back)) - (back + one);
    // Plus the exact product, with its error (Dekker's fast two-sum): a is 0 or larger than it.
    const Pack b = y.row_upper * head;
    const Pack sum = a + b;
    const Pack sum_error = b - (sum - a);
    const Pack t = y.row_upper + y.row_lower;
    const Pack low = (t * tail + y.row_lower * head) + y.row_lower;
    // Next to 0 the result is x, which is upper there and has no parts that are normal.
    return simd::select(simd::abs(x) < all<Pack>(TwoParts::kItself), y.upper, sum + ((a_error + sum_error) + low));
  }
};

using Expm1F32LA = Expm1LA<Expm1TwoPartsF32>;
using Expm1F32HA = Expm1HA<Expm1TwoPartsF32>;
using Expm1F64LA = Expm1LA<Expm1TwoPartsF64>;
using Expm1F64HA = Expm1HA<Expm1TwoPartsF64>;

// ---- EP: rows of one part ------------------------------------------------------------------------------------------

struct Expm1F32EP : Expm1F32 {
  Pack formula(Pack x) const {
    constexpr float kShifter = simd::shifter_f32(0, 127 * 32);
    const Pack y = x * all<Pack>(0x1.715476p+5f) + all<Pack>(kShifter);
    const Pack r = x - (y - all<Pack>(kShifter)) * all<Pack>(0.021660849f);
    const Pack t = simd::look_up_below<5>(kExp2FloatRow32, y) * simd::power_of_two_above<5>(y);
    return signed_as(x, (t - all<Pack>(1)) + t * (r + (r * r) * all<Pack>(0.50000089f)));
  }
};

struct Expm1F64EP : Expm1F64 {
  Pack formula(Pack x) const {
    constexpr double kShifter = simd::shifter_f64(0, 1023 * 128);
    const Pack y = x * all<Pack>(0x1.71547652b82fep+7) + all<Pack>(kShifter);
    const Pack r = x - (y - all<Pack>(kShifter)) * all<Pack>(0x1.62e42fefa39efp-8);
    const Pack t = simd::look_up_below<7>(kExp2Row128, y) * simd::power_of_two_above<7>(y);
    return signed_as(x, (t - all<Pack>(1)) + t * (r + (r * r) * (all<Pack>(0.5) + r * all<Pack>(1.0 / 6))));
  }
};

}  // namespace qlx::explog
