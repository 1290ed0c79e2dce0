// Square root of a sum of two squares: Hypot for float and double.
// SPDX-License-Identifier: Apache-2.0
//
// s = a^2 + b^2, and the scheme of the square root on s. One test of s serves for both arguments: where s lies between
// the least and the greatest square that is safe, the larger argument's square is normal, and the smaller's, if it
// isn't, is too small to matter. A NaN, an infinity, an overflow and two small arguments all show in s.
//
//   EP   s rounded, and the estimate, for double with its quadratic: relative error 2^-11.4, 2^-33
//   LA   s rounded twice (1 ULP of the root), and the root to a rounding or two; where s and its root are exact, so is
//        the result, since the errors before the last rounding are below half a unit; in double up to s = 2^29, whose
//        product with the estimate's 24 bits is exact, and beyond that nearly always
//   HA   s in two words. Each argument splits into a head of half the bits, whose square is exact, and a tail:
//        a^2 = head^2 + (a + head) tail. The sum of the two heads' squares keeps its remainder (Knuth's sum), and the
//        root is taken of both words, so that the result is rounded once.
#pragma once

#include "vecmath/powroot/square_root.h"

namespace qlx::powroot {

template <class Pack>
struct TwoWords {
  Pack high, low;
};

// a^2 + b^2, with `mask` making the heads. D. E. Knuth, The Art of Computer Programming 2 (1969), section 4.2.2, for
// the sum in any order.
template <class Pack>
inline TwoWords<Pack> sum_of_squares(Pack a, Pack b, Pack mask) {
  const Pack head_a = a & mask, head_b = b & mask;
  const Pack square_a = head_a * head_a, square_b = head_b * head_b;
  const Pack high = square_a + square_b;
  const Pack part = high - square_a;
  const Pack rest = (square_a - (high - part)) + (square_b - part);
  return {high, rest + ((a + head_a) * (a - head_a) + (b + head_b) * (b - head_b))};
}

// ---- Callout -------------------------------------------------------------------------------------------------------

// The root of finite arguments, not both zero. Doubles hold the squares of floats exactly, and any of their roots.
inline float careful_hypot(float larger, float smaller) {
  const double u = larger, v = smaller;
  return static_cast<float>(std::sqrt(u * u + v * v));
}
// By the formula, with the larger argument scaled to 2^-51 ... 4, so that neither the squares overflow nor their low
// words are lost. Scaling back is exact but for a denormal root, which has fewer bits than the scaled one: below 0.8
// units of its last place.
template <class Formula>
inline double careful_hypot(double larger, double smaller) {
  if (callout::is_denormal(larger)) {
    // As numbers of the least denormal; from 2^52 on the root is normal again.
    const double units = callout::one_lane<Formula>(callout::lifted(larger), callout::lifted(smaller));
    if (units >= 0x1p52) return units * callout::kPowerOf2<double, -100> * callout::kPowerOf2<double, 100 - 1074>;
    const double whole = units + 0x1p52;  // rounded to an integer, by which its bits are above those of 2^52
    const auto bits = std::bit_cast<uint64_t>(whole) - std::bit_cast<uint64_t>(0x1p52);
    return callout::denormal<double>(bits, whole - 0x1p52 == units);
  }
  const uint64_t field = 2046 - (std::bit_cast<uint64_t>(larger) >> 52);
  const double scale = std::bit_cast<double>((field > 1 ? field : 1) << 52);
  return callout::one_lane<Formula>(larger * scale, smaller * scale) * callout::opaque(1 / scale);
}

template <class Formula, class Real>
inline Status hypot_callout(const Real* a, const Real* b, Real* r) {
  using Format = simd::Ieee<Real>;
  const Real x = *a, y = *b;
  if (Format::is_infinite(x) || Format::is_infinite(y)) return *r = callout::kInfinity<Real>, kOk;
  if (Format::is_nan(x) || Format::is_nan(y)) return *r = x * y, kOk;
  const Real u = callout::magnitude(x), v = callout::magnitude(y);
  const Real larger = u > v ? u : v, smaller = u > v ? v : u;
  if (smaller == 0) return *r = larger + smaller, kOk;  // both zeros: +0
  // The smaller's part is below a tenth of a unit, and its square would underflow.
  constexpr auto kApart = static_cast<typename Format::Bits>(Format::kMantissaBits / 2 + 3) << Format::kMantissaBits;
  if (Format::magnitude(larger) - Format::magnitude(smaller) > kApart) return *r = larger, kOk;
  if constexpr (sizeof(Real) == 4) {
    *r = careful_hypot(larger, smaller);
  } else {
    *r = careful_hypot<Formula>(larger, smaller);
  }
  return callout::is_special(*r) ? kOverflow : kOk;
}

// ---- Beside a zero: the other argument's magnitude, as C asks. HA gives it by itself; LA marks such lanes for its
// second road, and EP promises less.

template <class Pack>
inline typename Pack::Mask beside_zero(Pack a, Pack b) {
  return (a == all<Pack>(0)) | (b == all<Pack>(0));
}
template <class Pack>
inline Pack sum_of_magnitudes(Pack a, Pack b) {
  return simd::abs(a) + simd::abs(b);
}
// Lanes whose larger argument is outside of [low, high], or that have a NaN. No arithmetic: a square or sum that
// underflows takes some processors long.
template <class Pack>
inline typename Pack::Mask larger_outside(Pack a, Pack b, typename Pack::Real low, typename Pack::Real high) {
  return outside(simd::hardware_max(simd::abs(a), simd::abs(b)), low, high) | simd::unordered(a, b);
}
// And what the second road doesn't serve beside a zero either.
template <class Pack>
inline typename Pack::Mask not_beside_zero(Pack a, Pack b, typename Pack::Mask care) {
  return simd::without(care, beside_zero(a, b)) | larger_outside<Pack>(a, b, 0, callout::kLargest<typename Pack::Real>);
}

// ---- Float ---------------------------------------------------------------------------------------------------------

// The least s whose parts are normal, also where denormals are flushed.
constexpr float kLeastSumF32 = 0x1p-100f, kLeastSumF32HA = 0x1p-76f;

struct HypotF32HA {
  using Pack = PackF32;
  static constexpr int kBlock = 8;
  shell::Marked<Pack> formula(Pack a, Pack b) const {
    const TwoWords<Pack> sum = sum_of_squares(a, b, all_bits<Pack>(0xFFFFE000));
    const Pack s = sum.high + sum.low;
    const Pack g = simd::rsqrt_estimate(s);
    const Pack half_g = g * all<Pack>(0.5f);
    // One Newton step: y to 2^-22.
    const Pack estimate = s * g;
    const Pack y = estimate + (estimate * all<Pack>(0.5f)) * (all<Pack>(1) - estimate * g);
    // s - y^2 to 2^-34 of s: the square of y's upper 12 bits is exact, and so is its difference from the high word.
    const Pack head = y & all_bits<Pack>(0xFFFFF000);
    const Pack residual = ((sum.high - head * head) - (y + head) * (y - head)) + sum.low;
    return {y + half_g * residual, outside(s, kLeastSumF32HA, callout::kLargest<float>)};
  }
  static Status callout(const float* a, const float* b, float* r) { return hypot_callout<HypotF32HA>(a, b, r); }
};

struct HypotF32LA {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  shell::Marked<Pack> formula(Pack a, Pack b) const {
    const Pack s = a * a + b * b;
    const Pack g = simd::rsqrt_estimate(s);
    const Pack y = s * g;
    const Pack e = all<Pack>(1) - y * g;
    // The correction with 0.5 is that of s - y^2, in which y's rounding doesn't count, only that of y^2: half of a unit
    // of s, a quarter of the root's. So an exact root comes out exact, once e's next term is in the factor as well.
    const Pack factor = g * (all<Pack>(0.5f) + e * all<Pack>(0.375f));
    return {y + (s - y * y) * factor, outside(s, kLeastSumF32, callout::kLargest<float>) | beside_zero(a, b)};
  }
  Pack second_formula(Pack a, Pack b) const { return sum_of_magnitudes(a, b); }
  Pack::Mask second_care(Pack a, Pack b) const {
    const Pack zero = all<Pack>(0);
    return not_beside_zero(a, b, zero == zero);
  }
  static Status callout(const float* a, const float* b, float* r) { return HypotF32HA::callout(a, b, r); }
};

struct HypotF32EP {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  shell::Marked<Pack> formula(Pack a, Pack b) const {
    const Pack s = a * a + b * b;
    return {s * simd::rsqrt_estimate(s), outside(s, kLeastSumF32, callout::kLargest<float>)};
  }
  static Status callout(const float* a, const float* b, float* r) { return HypotF32HA::callout(a, b, r); }
};

// ---- Double --------------------------------------------------------------------------------------------------------

// (1 - e)^(-1/2) - 1, to e^4 and to e^5: relative error of the root 2^-54 and 2^-64.
inline PackF64 root_series_la(PackF64 e) {
  using Pack = PackF64;
  const Pack upper = all<Pack>(0.3125) + e * all<Pack>(0.2734375);
  return e * (all<Pack>(0.5) + e * (all<Pack>(0.375) + e * upper));
}
inline PackF64 root_series_ha(PackF64 e) {
  using Pack = PackF64;
  const Pack upper = all<Pack>(0.2734375) + e * all<Pack>(0.24609375);
  return e * (all<Pack>(0.5) + e * (all<Pack>(0.375) + e * (all<Pack>(0.3125) + e * upper)));
}

// The sum as one word or two, and its root from an estimate g of 1/sqrt(s); the rest is as for RootKernelF64.
template <class Root>
struct HypotF64 {
  using Pack = PackF64;
  static constexpr int kBlock = 8;
  shell::Marked<Pack> formula(Pack a, Pack b) const {
    const auto s = Root::sum(a, b);
    const RootF64 y = Root::root(s, simd::rsqrt_estimate(Root::rounded(s)));
    if constexpr (Root::kMarksZeros) return {y.result, no_estimate(y.residual) | beside_zero(a, b)};
    return {y.result, no_estimate(y.residual)};
  }
  Pack second_formula(Pack a, Pack b) const {
    const auto s = Root::sum(a, b);
    const Pack root = Root::root(s, simd::rsqrt_estimate_any_exponent(Root::rounded(s))).result;
    if constexpr (Root::kMarksZeros) return simd::select(beside_zero(a, b), sum_of_magnitudes(a, b), root);
    return root;
  }
  Pack::Mask second_care(Pack a, Pack b) const {
    const Pack::Mask care = larger_outside(a, b, 0x1p-450, 0x1p510);
    if constexpr (Root::kMarksZeros) return not_beside_zero(a, b, care);
    return care;
  }
  static Status callout(const double* a, const double* b, double* r);
};

struct HypotF64HARoot {
  static constexpr bool kMarksZeros = false;
  using Sum = TwoWords<PackF64>;
  static Sum sum(PackF64 a, PackF64 b) { return sum_of_squares(a, b, all_bits<PackF64>(0xFFFFFFFFF8000000)); }
  static PackF64 rounded(const Sum& s) { return s.high; }
  // As for InvSqrt: the head's 5 bits times g^2's 48 are exact; and head times g, the root's leading term, is too.
  static RootF64 root(const Sum& s, PackF64 g) {
    const PackF64 head = s.high & all_bits<PackF64>(0xFFFF000000000000);
    const PackF64 tail = (s.high - head) + s.low;
    const PackF64 g2 = g * g;
    const PackF64 e = (all<PackF64>(1) - head * g2) - tail * g2;
    const PackF64 lead = head * g, rest = tail * g;
    return {lead + (rest + (lead + rest) * root_series_ha(e)), e};
  }
};
using HypotF64HA = HypotF64<HypotF64HARoot>;

struct HypotF64LARoot {
  static constexpr bool kMarksZeros = true;
  static PackF64 sum(PackF64 a, PackF64 b) { return a * a + b * b; }
  static PackF64 rounded(PackF64 s) { return s; }
  static RootF64 root(PackF64 s, PackF64 g) {
    const PackF64 y = s * g;
    const PackF64 e = all<PackF64>(1) - y * g;
    return {y + y * root_series_la(e), e};
  }
};
using HypotF64LA = HypotF64<HypotF64LARoot>;

struct HypotF64EPRoot {
  static constexpr bool kMarksZeros = false;
  static PackF64 sum(PackF64 a, PackF64 b) { return a * a + b * b; }
  static PackF64 rounded(PackF64 s) { return s; }
  static RootF64 root(PackF64 s, PackF64 g) {
    const PackF64 y = s * g;
    const PackF64 e = all<PackF64>(1) - y * g;
    const PackF64 p = all<PackF64>(1) + e * (all<PackF64>(0.5) + e * all<PackF64>(0.375));
    return {y * p, e};
  }
};
using HypotF64EP = HypotF64<HypotF64EPRoot>;

template <class Root>
inline Status HypotF64<Root>::callout(const double* a, const double* b, double* r) {
  return hypot_callout<HypotF64HA>(a, b, r);
}

}  // namespace qlx::powroot
