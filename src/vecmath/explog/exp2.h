// Exponentials to the bases 2 and 10: Exp2 and Exp10 for float and double, one formula for all accuracies.
// SPDX-License-Identifier: Apache-2.0
//
//                rows   reduction                        degree   largest relative error of the polynomial
//   sExp2          64   exact                            2        2^-27.1
//   dExp2          64   exact                            5        2^-59.3
//   sExp10        128   log10 2 / 128 in two parts       2        2^-30.1
//   dExp10        128   log10 2 / 128 in two parts       5        2^-63.3
//
// Rows are pairs: the one kernel has to be as accurate as HA asks, and a row rounded to one word would alone take half
// of that. Exp2 of an integer has r = 0 and row 0, which is 1: a power of two, exactly. The coefficients of the float
// kernels are given; those of the double kernels are given to ten digits, which is too few, and fitted anew in the same
// form.
#pragma once

#include "vecmath/explog/exp_core.h"

namespace qlx::explog {

#include "vecmath/explog/tables/exp10_f64_fit.inc"
#include "vecmath/explog/tables/exp2_f32_128.inc"
#include "vecmath/explog/tables/exp2_f32_64.inc"
#include "vecmath/explog/tables/exp2_f64_128.inc"
#include "vecmath/explog/tables/exp2_f64_fit.inc"

// c[0] r + ... + c[4] r^5; the upper terms in pairs, which shortens the chain of operations.
inline PackF64 without_constant(const double (&c)[5], PackF64 r) {
  const PackF64 r2 = r * r;
  const PackF64 middle = all<PackF64>(c[1]) + r * all<PackF64>(c[2]);
  const PackF64 upper = all<PackF64>(c[3]) + r * all<PackF64>(c[4]);
  return r * all<PackF64>(c[0]) + r2 * (middle + r2 * upper);
}

// 2^e (2^(j/2^kBits) (1 + q)) for a pair row. The row's value stands alone until the last addition.
template <int kBits, class Pack, class Table>
inline Pack times_row(const Table& table, Pack y, Pack q) {
  const auto row = simd::look_up_below<kBits>(table, y);
  return (row.first + (row.second + row.first * q)) * simd::power_of_two_above<kBits>(y);
}

struct Exp2F32 {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  Pack formula(Pack x) const {
    constexpr float kShifter = simd::shifter_f32(6, 127 * 64);  // 1.5 * 2^17, and the bias
    const Pack y = x + all<Pack>(kShifter);
    const Pack r = x - (y - all<Pack>(kShifter));
    return times_row<6>(kExp2FloatPair64, y, r * (all<Pack>(0.69314975f) + r * all<Pack>(0.24022669f)));
  }
  Pack::Mask needs_care(Pack x) const { return beyond(x, 126); }
  Pack::Mask short_road(Pack x, Pack& r, Pack::Mask m) const { return take_short_road(kExp2RangeF32, x, r, m); }
  static Status callout(const float* a, float* r) { return exp_callout(kExp2RangeF32, 0, exp2_sum, *a, r); }
};

struct Exp2F64 {
  using Pack = PackF64;
  static constexpr int kBlock = 8;
  Pack formula(Pack x) const {
    constexpr double kShifter = simd::shifter_f64(6, 1023 * 64);  // 1.5 * 2^46, and the bias
    const Pack y = x + all<Pack>(kShifter);
    const Pack r = x - (y - all<Pack>(kShifter));
    return times_row<6>(kExp2Pair64, y, without_constant(kExp2PolynomialF64, r));
  }
  // A high word above 0x408FEFFF: from 1022.
  Pack::Mask needs_care(Pack x) const { return beyond(x, std::bit_cast<double>(0x408FEFFFFFFFFFFFull)); }
  Pack::Mask short_road(Pack x, Pack& r, Pack::Mask m) const { return take_short_road(kExp2RangeF64, x, r, m); }
  static Status callout(const double* a, double* r) { return exp_callout(kExp2RangeF64, 0, exp2_sum, *a, r); }
};

struct Exp10F32 {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  Pack formula(Pack x) const {
    constexpr float kShifter = simd::shifter_f32(0, 127 * 128);
    const Pack y = x * all<Pack>(425.20679f) + all<Pack>(kShifter);
    const Pack n = y - all<Pack>(kShifter);
    // log10 2 / 128: 10 bits, and n has 14.
    const Pack r = (x - n * all<Pack>(0x1.348p-9f)) - n * all<Pack>(-0x1.f657bp-20f);
    return times_row<7>(kExp2FloatPair128, y, r * (all<Pack>(2.3025873f) + r * all<Pack>(2.6509497f)));
  }
  // 37.929779
  Pack::Mask needs_care(Pack x) const { return beyond(x, 0x1.2f703p+5f); }
  Pack::Mask short_road(Pack x, Pack& r, Pack::Mask m) const { return take_short_road(kExp10RangeF32, x, r, m); }
  static Status callout(const float* a, float* r) { return exp_callout(kExp10RangeF32, 0, exp10_sum, *a, r); }
};

struct Exp10F64 {
  using Pack = PackF64;
  static constexpr int kBlock = 8;
  Pack formula(Pack x) const {
    constexpr double kShifter = simd::shifter_f64(0, 1023 * 128);
    const Pack y = x * all<Pack>(0x1.a934f0979a371p+8) + all<Pack>(kShifter);  // 425.2067961
    const Pack n = y - all<Pack>(kShifter);
    // log10 2 / 128: 32 bits, and n has 17.
    const Pack r = (x - n * all<Pack>(0x1.3441350ap-9)) - n * all<Pack>(-0x1.0c0219dc1da99p-46);
    return times_row<7>(kExp2Pair128, y, without_constant(kExp10PolynomialF64, r));
  }
  // A high word above 0x40733A70, 307.653.
  Pack::Mask needs_care(Pack x) const { return beyond(x, std::bit_cast<double>(0x40733A70FFFFFFFFull)); }
  Pack::Mask short_road(Pack x, Pack& r, Pack::Mask m) const { return take_short_road(kExp10RangeF64, x, r, m); }
  static Status callout(const double* a, double* r) { return exp_callout(kExp10RangeF64, 0, exp10_sum, *a, r); }
};

}  // namespace qlx::explog
