// Square root of a cube: Pow3o2 for float and double.
// SPDX-License-Identifier: Apache-2.0
//
// x sqrt(x), with the root as square_root.h makes it: in EP from the estimate (float) or its quadratic (double); in LA
// corrected, 1.5 * 2^-22.5 (2^-52); in HA in two words, head and rest, with
//
//   x root = x_head root_head + (x_tail root_head + x root_rest),
//
// where the heads' product is exact and the bracket so much smaller that its roundings lie 2^-4 below the last one or
// further.
#pragma once

#include "vecmath/powroot/square_root.h"

namespace qlx::powroot {

// Below the first the power is less than half of the least denormal, 2^-151.5 and 2^-1075.5; above the second it is
// infinite: 1780565272 as bits, and 2^683, below which only the computation knows where the infinity begins.
template <class Real>
constexpr Real kZeroBelow = sizeof(Real) == 4 ? std::bit_cast<float>(0x0D000000u) : 0x1p-717;
template <class Real>
constexpr Real kOverflowAbove = sizeof(Real) == 4 ? std::bit_cast<float>(0x6A214518u) : 0x1p683;

// ---- Callout -------------------------------------------------------------------------------------------------------

// Positive arguments whose root's parts or whose power leave the range. A float's power is computed in double and
// rounded to the float that it may overflow or underflow to.
inline float careful_pow3o2(float x) {
  const double u = x;
  return static_cast<float>(callout::opaque(u * std::sqrt(u)));
}
// 2^-717 ... 2^-600 and 2^680 ... 2^683 move to where a float can make the estimate.
template <class Formula>
inline double careful_pow3o2(double x) {
  const bool large = x > 1;
  const double power = callout::one_lane<Formula>(x * (large ? 0x1p-680 : 0x1p660));
  return callout::opaque(power) * (large ? 0x1p1020 : 0x1p-990);
}

template <class Formula, class Real>
inline Status pow3o2_callout(const Real* a, Real* r) {
  const Real x = *a;
  if (simd::Ieee<Real>::is_nan(x)) return *r = x + x, kOk;
  if (x == callout::kInfinity<Real>) return *r = x, kOk;
  if (x == 0) return *r = 0, kOk;  // +0 also for -0
  if (x < 0) return *r = callout::invalid<Real>(), kDomain;
  if (x < kZeroBelow<Real>) return *r = callout::underflow(Real{1}), kOk;
  if (x > kOverflowAbove<Real>) return *r = callout::overflow(Real{1}), kOverflow;
  if constexpr (sizeof(Real) == 4) {
    *r = careful_pow3o2(x);
  } else {
    *r = careful_pow3o2<Formula>(x);
  }
  return callout::is_special(*r) ? kOverflow : kOk;
}

// Under QVM_ERRMODE_NOERR: +0 and the infinity by the two bounds, +0 for both zeros too. Negative arguments and NaNs
// stay marked.
template <class Pack>
inline typename Pack::Mask take_pow3o2_short_road(Pack x, Pack& r, typename Pack::Mask m) {
  using Real = typename Pack::Real;
  const auto above = x > all<Pack>(kOverflowAbove<Real>);
  const auto below = (x < all<Pack>(kZeroBelow<Real>)) & (x >= all<Pack>(0));
  r = simd::select(above, all<Pack>(callout::kInfinity<Real>), r);
  r = simd::select(below, all<Pack>(0), r);
  return simd::without(m, above | below);
}

// ---- Float ---------------------------------------------------------------------------------------------------------

inline PackF32::Mask pow3o2_needs_care(PackF32 x) {
  return outside(x, std::bit_cast<float>(0x16000000u), std::bit_cast<float>(0x69800000u));  // 2^-83 ... 2^84
}

struct Pow3o2F32 {
  using Pack = PackF32;
  Pack::Mask short_road(Pack x, Pack& r, Pack::Mask m) const { return take_pow3o2_short_road(x, r, m); }
};

struct Pow3o2F32HA : Pow3o2F32 {
  using Pack = PackF32;
  static constexpr int kBlock = 16;
  Pack formula(Pack x) const {
    const Pack mask = all_bits<Pack>(0xFFFFF000);  // 12 bits
    const Pack g = simd::rsqrt_estimate(x);
    const Pack estimate = x * g;
    // One Newton step: y to 2^-22; then what is left of the root, from x - y^2 to 2^-34 of x.
    const Pack y = estimate + (estimate * all<Pack>(0.5f)) * (all<Pack>(1) - estimate * g);
    const Pack head = y & mask, tail = y - head;
    const Pack rest = (g * all<Pack>(0.5f)) * ((x - head * head) - (y + head) * tail);
    const Pack x_head = x & mask;
    return x_head * head + (x_head * tail + ((x - x_head) * y + x * rest));
  }
  Pack::Mask needs_care(Pack x) const { return outside(x, 0x1p-60f, 0x1p84f); }  // the tails stay normal
  static Status callout(const float* a, float* r) { return pow3o2_callout<Pow3o2F32HA>(a, r); }
};

struct Pow3o2F32LA : Pow3o2F32 {
  using Pack = PackF32;
  static constexpr int kBlock = 32;
  Pack formula(Pack x) const { return x * SqrtF32LA().formula(x).result; }
  Pack::Mask needs_care(Pack x) const { return pow3o2_needs_care(x); }
  static Status callout(const float* a, float* r) { return pow3o2_callout<Pow3o2F32HA>(a, r); }
};

struct Pow3o2F32EP : Pow3o2F32 {
  using Pack = PackF32;
  static constexpr int kBlock = 32;
  Pack formula(Pack x) const { return x * (x * simd::rsqrt_estimate(x)); }
  Pack::Mask needs_care(Pack x) const { return pow3o2_needs_care(x); }
  static Status callout(const float* a, float* r) { return pow3o2_callout<Pow3o2F32HA>(a, r); }
};

// ---- Double --------------------------------------------------------------------------------------------------------

// Where the power and its parts are normal.
constexpr double kLeastCubed = 0x1p-600, kLargestCubed = 0x1p680;

template <class Root>
struct Pow3o2F64 : RootKernelF64<Root> {
  PackF64::Mask short_road(PackF64 x, PackF64& r, PackF64::Mask m) const { return take_pow3o2_short_road(x, r, m); }
};

struct Pow3o2F64HARoot {
  static constexpr int kBlock = 8;
  static constexpr double kLow = kLeastCubed, kHigh = kLargestCubed;
  static RootF64 root(PackF64 x, PackF64 g) {
    // As for InvSqrt: 5 bits of x times the 48 of g^2 are exact, and times g the root's head, of 29 bits.
    const PackF64 short_head = x & all_bits<PackF64>(0xFFFF000000000000);
    const PackF64 g2 = g * g;
    const PackF64 e = (all<PackF64>(1) - short_head * g2) - (x - short_head) * g2;
    const PackF64 head = short_head * g, tail = (x - short_head) * g;
    const PackF64 rest = tail + (head + tail) * inv_sqrt_series(e);
    // 24 bits times 29.
    const PackF64 x_head = x & all_bits<PackF64>(0xFFFFFFFFE0000000);
    return {x_head * head + ((x - x_head) * head + x * rest), e};
  }
  static Status callout(const double* a, double* r) { return pow3o2_callout<Pow3o2F64<Pow3o2F64HARoot>>(a, r); }
};
using Pow3o2F64HA = Pow3o2F64<Pow3o2F64HARoot>;

struct Pow3o2F64LARoot {
  static constexpr int kBlock = 8;
  static constexpr double kLow = kLeastCubed, kHigh = kLargestCubed;
  static RootF64 root(PackF64 x, PackF64 g) {
    const PackF64 y = x * g;
    const PackF64 e = all<PackF64>(1) - y * g;
    return {x * (y + y * inv_sqrt_series(e)), e};
  }
  static Status callout(const double* a, double* r) { return Pow3o2F64HA::callout(a, r); }
};
using Pow3o2F64LA = Pow3o2F64<Pow3o2F64LARoot>;

struct Pow3o2F64EPRoot {
  static constexpr int kBlock = 16;
  static constexpr double kLow = kLeastCubed, kHigh = kLargestCubed;
  static RootF64 root(PackF64 x, PackF64 g) {
    const PackF64 y = x * g;
    const PackF64 e = all<PackF64>(1) - y * g;
    return {x * (y * quadratic(e)), e};
  }
  static Status callout(const double* a, double* r) { return Pow3o2F64HA::callout(a, r); }
};
using Pow3o2F64EP = Pow3o2F64<Pow3o2F64EPRoot>;

}  // namespace qlx::powroot
