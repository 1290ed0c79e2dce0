// Square root and its reciprocal: Sqrt and InvSqrt for float and double.
// SPDX-License-Identifier: Apache-2.0
//
// Everything but the hardware square root (sSqrt HA, dSqrt LA and HA) starts from the processor's estimate g of
// 1/sqrt(x), |g sqrt(x) - 1| <= 1.5 * 2^-12 = 3.67e-4, and from its residual e = 1 - x g^2, |e| <= 7.4e-4 = 2^-10.4:
//
//   1/sqrt(x) = g (1 - e)^(-1/2) = g (1 + e/2 + 3/8 e^2 + 5/16 e^3 + 35/128 e^4 + ...)
//   sqrt(x)   = x / sqrt(x)
//
// The accuracies differ in where the series ends. One Newton step is its first two terms, and leaves out 3/8 e^2.
// In HA, e must hold more than x g^2 rounded to one word can give; g has few bits, so that g^2 is exact, and x splits
// into a head so short that head * g^2 is exact too, and a tail whose product's rounding lies below 2^-29 (2^-62).
// The leading term then stands alone, and the result is rounded once, up to the rounding of g e p(e).
//
// Goldschmidt's and Newton's forms: P. Markstein, "IA-64 and Elementary Functions" (2000), chapter 8.
#pragma once

#include <cmath>  // std::sqrt of one number: one instruction
#include <limits>

#include "frame/shell.h"
#include "vecmath/callout.h"

namespace qlx::powroot {

using simd::all;
using simd::all_bits;
using simd::PackF32;
using simd::PackF64;

// Marks lanes outside of [low, high], and NaNs.
template <class Pack>
inline typename Pack::Mask outside(Pack x, typename Pack::Real low, typename Pack::Real high) {
  return simd::not_greater_equal(x, all<Pack>(low)) | simd::not_less_equal(x, all<Pack>(high));
}

// The high word 0x7FCFFFFF: the last argument of the double kernels' fast path.
constexpr double kLargestRooted = std::bit_cast<double>(0x7FCFFFFFFFFFFFFFull);

// ---- The estimate of a double --------------------------------------------------------------------------------------

// A result, and the residual e of the estimate that it was made with.
struct RootF64 {
  PackF64 result, residual;
};

// Marks the lanes whose estimate can't have been one: g = 0 makes e = 1, an infinite g makes e infinite or a NaN, and
// a true e is 2^-10 at most.
inline PackF64::Mask no_estimate(PackF64 residual) {
  return simd::not_less_equal(simd::abs(residual), all<PackF64>(0.25));
}

// A double kernel by its Root, which computes result and residual from x and the estimate g. The formula takes the
// estimate through a float. Lanes beyond a float's range take the estimate that costs more, and need care if they are
// outside of [kLow, kHigh].
template <class Root>
struct RootKernelF64 : Root {
  using Pack = PackF64;
  static constexpr int kBlock = Root::kBlock;
  shell::Marked<Pack> formula(Pack x) const {
    const RootF64 y = Root::root(x, simd::rsqrt_estimate(x));
    return {y.result, no_estimate(y.residual)};
  }
  Pack second_formula(Pack x) const { return Root::root(x, simd::rsqrt_estimate_any_exponent(x)).result; }
  Pack::Mask second_care(Pack x) const { return outside(x, Root::kLow, Root::kHigh); }
};

// ---- Callouts ------------------------------------------------------------------------------------------------------

// Sqrt, all accuracies: the hardware root, which is rounded correctly.
template <class Real>
inline Status sqrt_callout(const Real* a, Real* r) {
  const Real x = *a;
  if (callout::is_special(x)) {
    if (!simd::Ieee<Real>::is_nan(x) && callout::is_negative(x)) return *r = callout::invalid<Real>(), kDomain;
    return *r = x + x, kOk;
  }
  if (x == 0) return *r = x + x, kOk;  // +-0 as it is; under denormals-are-zero the zero of a denormal's sign
  if (x < 0) return *r = callout::invalid<Real>(), kDomain;
  if (!callout::is_denormal(x)) return *r = std::sqrt(x), kOk;
  return *r = std::sqrt(callout::lifted(x)) * callout::kPowerOf2<Real, -callout::kLift<Real> / 2>, kOk;
}

// InvSqrt: 4^kScale moves the smallest normal numbers into the formula's range, and 4^-kScale the largest; for
// double, the range in which a float can make the estimate.
template <class Formula>
inline Status inv_sqrt_callout(const typename Formula::Pack::Real* a, typename Formula::Pack::Real* r) {
  using Real = typename Formula::Pack::Real;
  constexpr Real kRoot = sizeof(Real) == 4 ? Real(0x1p20) : Real(0x1p510);  // 2^kScale
  const Real x = *a;
  if (simd::Ieee<Real>::is_nan(x)) return *r = x / x, kOk;
  if (x == callout::kInfinity<Real>) return *r = 0, kOk;
  if (x == 0) return *r = callout::pole(x), kPole;
  if (x < 0) return *r = callout::invalid<Real>(), kDomain;  // -infinity too
  if (callout::is_denormal(x)) {
    *r = callout::one_lane<Formula>(callout::lifted(x)) * callout::kPowerOf2<Real, callout::kLift<Real> / 2>;
  } else if (x < 1) {
    *r = callout::one_lane<Formula>(x * (kRoot * kRoot)) * kRoot;
  } else {
    *r = callout::one_lane<Formula>(x * (1 / (kRoot * kRoot))) * (1 / kRoot);
  }
  return kOk;
}

// ---- Square root ---------------------------------------------------------------------------------------------------

// The estimates serve positive normal numbers. All others show in x g alone: it is a NaN for zeros (g infinite),
// negatives (g a NaN), infinity (g zero) and NaNs, and infinite for denormals, which the estimate takes for zeros.
inline PackF32::Mask root_needs_care(PackF32 estimate) {
  return simd::not_less_equal(estimate, all<PackF32>(std::numeric_limits<float>::max()));
}

// The estimate's accuracy, 2^-11.4, is all that is promised.
struct SqrtF32EP {
  using Pack = PackF32;
  static constexpr int kBlock = 32;
  shell::Marked<Pack> formula(Pack x) const {
    const Pack y = x * simd::rsqrt_estimate(x);
    return {y, root_needs_care(y)};
  }
  static Status callout(const float* a, float* r) { return sqrt_callout(a, r); }
};

struct SqrtF32LA {
  using Pack = PackF32;
  static constexpr int kBlock = 32;
  shell::Marked<Pack> formula(Pack x) const {
    const Pack g = simd::rsqrt_estimate(x);
    const Pack y = x * g;
    const Pack e = all<Pack>(1) - y * g;
    return {y + (y * all<Pack>(0.5f)) * e, root_needs_care(y)};
  }
  static Status callout(const float* a, float* r) { return sqrt_callout(a, r); }
};

// Correctly rounded: sSqrt HA, dSqrt LA and HA. What the callout gives for zeros, denormals, infinity and NaNs is what
// the instruction gives, without a status: negatives alone need it.
template <class P>
struct SqrtHardware {
  using Pack = P;
  static constexpr int kBlock = 16;
  Pack formula(Pack x) const { return simd::sqrt(x); }
  typename Pack::Mask needs_care(Pack x) const { return x < all<Pack>(0); }
  static Status callout(const typename Pack::Real* a, typename Pack::Real* r) { return sqrt_callout(a, r); }
};

// The minimax quadratic of (1 - e)^(-1/2) on |e| <= 7.4e-4, relative error 2^-33; all three constants are given.
inline PackF64 quadratic(PackF64 e) {
  const PackF64 upper = all<PackF64>(0.5000001257) + e * all<PackF64>(0.3750001833);
  return all<PackF64>(0x1.fffffffffff4fp-1) + e * upper;
}

struct SqrtF64EPRoot {
  static constexpr int kBlock = 16;
  static constexpr double kLow = 0x1p-1022, kHigh = kLargestRooted;
  static RootF64 root(PackF64 x, PackF64 g) {
    const PackF64 y = x * g;
    const PackF64 e = all<PackF64>(1) - y * g;
    return {y * quadratic(e), e};
  }
  static Status callout(const double* a, double* r) { return sqrt_callout(a, r); }
};
using SqrtF64EP = RootKernelF64<SqrtF64EPRoot>;

// ---- Reciprocal square root ----------------------------------------------------------------------------------------

// Where the tail of x and the square of g are normal.
inline PackF32::Mask inv_sqrt_needs_care(PackF32 x) {
  return outside(x, 0x1p-100f, 0x1p124f);
}

struct InvSqrtF32HA {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  Pack formula(Pack x) const {
    // 9 bits of g and 6 of x: g^2 has 18, head * g^2 24. Truncation makes e as large as 2^-6.9.
    const Pack g = simd::rsqrt_estimate(x) & all_bits<Pack>(0xFFFF8000);
    const Pack g2 = g * g;
    const Pack head = x & all_bits<Pack>(0xFFFC0000);
    const Pack e = (head * g2 - all<Pack>(1)) + (x - head) * g2;  // x g^2 - 1
    const Pack p = all<Pack>(-0.5f) + e * (all<Pack>(0.375f) + e * all<Pack>(-0.3125f));
    return g + g * (e * p);
  }
  Pack::Mask needs_care(Pack x) const { return inv_sqrt_needs_care(x); }
  static Status callout(const float* a, float* r) { return inv_sqrt_callout<InvSqrtF32HA>(a, r); }
};

// Also in the slot of EP.
struct InvSqrtF32LA {
  using Pack = PackF32;
  static constexpr int kBlock = 32;
  Pack formula(Pack x) const {
    const Pack g = simd::rsqrt_estimate(x);
    return (g * (all<Pack>(3) - x * g * g)) * all<Pack>(0.5f);
  }
  Pack::Mask needs_care(Pack x) const { return inv_sqrt_needs_care(x); }
  static Status callout(const float* a, float* r) { return inv_sqrt_callout<InvSqrtF32HA>(a, r); }
};

// From 2^-1020 (0x80300000 and 0xFF9FFFFF); in HA from 2^-970 (0x83500000 and 0xFC7FFFFF), where the tail of x is still
// normal.
constexpr double kLeastInverted = 0x1p-1020, kLeastInvertedHA = 0x1p-970;

// e/2 + ... to degree 4 of (1 - e)^(-1/2) - 1 on |e| <= 7.4e-4: relative error 2^-55. The two last are given.
inline PackF64 inv_sqrt_series(PackF64 e) {
  using Pack = PackF64;
  const Pack upper = all<Pack>(0.312500165) + e * all<Pack>(0.2734375468);
  return e * (all<Pack>(0.5) + e * (all<Pack>(0.375) + e * upper));
}

struct InvSqrtF64HARoot {
  static constexpr int kBlock = 8;
  static constexpr double kLow = kLeastInvertedHA, kHigh = kLargestRooted;
  // g is a float: its square has 48 bits, which with the head's 5 makes 53. The tail's product rounds below 2^-57.
  static RootF64 root(PackF64 x, PackF64 g) {
    const PackF64 head = x & all_bits<PackF64>(0xFFFF000000000000);
    const PackF64 g2 = g * g;
    const PackF64 e = (all<PackF64>(1) - head * g2) - (x - head) * g2;
    return {g + g * inv_sqrt_series(e), e};
  }
  static Status callout(const double* a, double* r) { return inv_sqrt_callout<RootKernelF64<InvSqrtF64HARoot>>(a, r); }
};
using InvSqrtF64HA = RootKernelF64<InvSqrtF64HARoot>;

struct InvSqrtF64LARoot {
  static constexpr int kBlock = 8;
  static constexpr double kLow = kLeastInverted, kHigh = kLargestRooted;
  static RootF64 root(PackF64 x, PackF64 g) {
    const PackF64 e = all<PackF64>(1) - x * (g * g);
    return {g + g * inv_sqrt_series(e), e};
  }
  static Status callout(const double* a, double* r) { return InvSqrtF64HA::callout(a, r); }
};
using InvSqrtF64LA = RootKernelF64<InvSqrtF64LARoot>;

struct InvSqrtF64EPRoot {
  static constexpr int kBlock = 16;
  static constexpr double kLow = kLeastInverted, kHigh = kLargestRooted;
  static RootF64 root(PackF64 x, PackF64 g) {
    const PackF64 e = all<PackF64>(1) - x * (g * g);
    return {g * quadratic(e), e};
  }
  static Status callout(const double* a, double* r) { return InvSqrtF64HA::callout(a, r); }
};
using InvSqrtF64EP = RootKernelF64<InvSqrtF64EPRoot>;

}  // namespace qlx::powroot
