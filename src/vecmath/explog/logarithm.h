// What all logarithms share: the constants of the three bases, the lane test, and the callout.
// SPDX-License-Identifier: Apache-2.0
//
// A logarithm is a struct L with Pack, kBlock and
//
//   static Pack logarithm(Pack x);   // of positive normal x
//
// which Logarithm<L, Base> makes a formula of.
#pragma once

#include "frame/shell.h"
#include "vecmath/callout.h"
#include "vecmath/simd/polynomial.h"

namespace qlx::explog {

using simd::all;
using simd::all_bits;
using simd::PackF32;
using simd::PackF64;

// ---- Bases ---------------------------------------------------------------------------------------------------------
// For a base b: log_b 2 whole and in two parts, kTwoHi short enough that e kTwoHi is exact for every exponent e; and
// log_b e, the leading coefficient of log_b(1 + r), in two parts, kLeadHi of so few bits that its product with the
// leading part of r is exact: log_b e is kLeadHi + kLeadLo for double, and kLeadHi (1 + kLeadLo) for float. The parts
// that aren't "given" are what is left of the mathematical value.

template <class Real>
struct BaseE;
template <>
struct BaseE<float> {
  using InDouble = BaseE<double>;
  static constexpr float kTwo = 0x1.62e43p-1f;
  static constexpr float kTwoHi = std::bit_cast<float>(0x3F317200u);  // given; 15 bits
  static constexpr float kTwoLo = std::bit_cast<float>(0x35BFBE8Eu);  // given
  static constexpr float kLeadHi = 1, kLeadLo = 0;
};
template <>
struct BaseE<double> {
  static constexpr double kTwo = 0x1.62e42fefa39efp-1;
  static constexpr double kTwoHi = std::bit_cast<double>(0x3FE62E42FEFA0000u);  // given; a multiple of 2^-36
  static constexpr double kTwoLo = std::bit_cast<double>(0x3D7CF79ABC9E0000u);  // given; 2^-78 of ln 2 are missing
  static constexpr double kLeadHi = 1, kLeadLo = 0;
};

template <class Real>
struct Base2;
template <>
struct Base2<float> {
  using InDouble = Base2<double>;
  static constexpr float kTwo = 1, kTwoHi = 1, kTwoLo = 0;
  static constexpr float kLeadHi = 0x1.7p0f, kLeadLo = 0x1.d9afc2p-9f;  // 5 bits
};
template <>
struct Base2<double> {
  static constexpr double kTwo = 1, kTwoHi = 1, kTwoLo = 0;
  static constexpr double kLeadHi = 0x1.7p0, kLeadLo = 0x1.547652b82fe17p-8;  // a multiple of 2^-6
};

template <class Real>
struct Base10;
template <>
struct Base10<float> {
  using InDouble = Base10<double>;
  static constexpr float kTwo = std::bit_cast<float>(0x3E9A209Bu);       // given
  static constexpr float kTwoHi = std::bit_cast<float>(0x3E9A2100u);     // given; 16 bits
  static constexpr float kTwoLo = std::bit_cast<float>(0xB64AF600u);     // given
  static constexpr float kLeadHi = 0x1.bcp-2f, kLeadLo = 0.0016161024f;  // 7 bits; given
};
template <>
struct Base10<double> {
  static constexpr double kTwo = 0x1.34413509f79ffp-2;
  static constexpr double kTwoHi = std::bit_cast<double>(0x3FD34413509F0000u);   // given; a multiple of 2^-38
  static constexpr double kTwoLo = std::bit_cast<double>(0x3D7E7FBCC47C0000u);   // given
  static constexpr double kLeadHi = 0x1.bcp-2, kLeadLo = 0x1.6f62a4dca1c65p-11;  // a multiple of 2^-8
};

// ---- Lane test and callout -----------------------------------------------------------------------------------------

// All but the positive normal numbers, NaNs with them. For float, one integer compare of the bits plus 0x00800000 tells
// the same lanes; on registers of eight lanes two comparisons of floats cost less.
template <class Pack>
inline typename Pack::Mask not_positive_normal(Pack x) {
  using Real = typename Pack::Real;
  return simd::not_greater_equal(x, all<Pack>(callout::kTiny<Real>)) |
         simd::not_less_equal(x, all<Pack>(callout::kLargest<Real>));
}

// log_b(2^-down x) for positive normal x.
double scalar_log(double x, int down, double two_hi, double two_lo, double lead);
template <class Base>
inline double scalar_log(double x, int down) {
  return scalar_log(x, down, Base::kTwoHi, Base::kTwoLo, Base::kLeadHi + Base::kLeadLo);
}

// Ln, Log2, Log10 of what is no positive normal number. Where denormals are zeros they compare equal to 0: a pole. Of a
// denormal the logarithm of x 2^kLift is taken, with kLift less for the exponent: nothing that comes here is near 1.
template <class Base, class Real>
inline Status log_callout(const Real* a, Real* r) {
  const Real x = *a;
  if (callout::is_special(x)) {
    if (x == -callout::kInfinity<Real>) return *r = callout::invalid<Real>(), kDomain;
    return *r = x * x, kOk;
  }
  if (x == 0) return *r = callout::pole(Real{-1}), kPole;
  if (x < 0) return *r = callout::invalid<Real>(), kDomain;
  const auto lifted = static_cast<double>(callout::lifted(x));
  return *r = static_cast<Real>(scalar_log<Base>(lifted, callout::kLift<Real>)), kOk;
}

// The formula of Ln, Log2 and Log10; Base is that in double, for the callout.
template <class L, class Base>
struct Logarithm {
  using Pack = typename L::Pack;
  using Real = typename Pack::Real;
  static constexpr int kBlock = L::kBlock;
  Pack formula(Pack x) const { return L::logarithm(x); }
  typename Pack::Mask needs_care(Pack x) const { return not_positive_normal(x); }
  static Status callout(const Real* a, Real* r) { return log_callout<Base>(a, r); }
};

}  // namespace qlx::explog
