// The four operations and their kin: Add, Sub, Mul, Sqr, Div, Inv, Abs, CopySign, LinearFrac.
// SPDX-License-Identifier: Apache-2.0
//
// Add, Sub, Mul, Sqr, Div and Inv are the processor's operations, correctly rounded; Abs and CopySign move bits. Add,
// Sub, Mul, Sqr, Abs, CopySign and LinearFrac serve every lane and report nothing: an overflow is infinite in silence,
// with only the flags to show it. Div and Inv mark the lanes of a zero divisor, and report them as a pole, 0/0 too.
#pragma once

#include "frame/shell.h"

namespace qlx::arithmetic {

template <class P>
struct Add {
  using Pack = P;
  static constexpr int kBlock = 32;
  Pack formula(Pack a, Pack b) const { return a + b; }
};

template <class P>
struct Sub {
  using Pack = P;
  static constexpr int kBlock = 32;
  Pack formula(Pack a, Pack b) const { return a - b; }
};

template <class P>
struct Mul {
  using Pack = P;
  static constexpr int kBlock = 32;
  Pack formula(Pack a, Pack b) const { return a * b; }
};

template <class P>
struct Sqr {
  using Pack = P;
  static constexpr int kBlock = 32;
  Pack formula(Pack a) const { return a * a; }
};

template <class P>
struct Abs {
  using Pack = P;
  static constexpr int kBlock = 32;
  Pack formula(Pack a) const { return simd::abs(a); }
};

// The magnitude of a and the sign of b.
template <class P>
struct CopySign {
  using Pack = P;
  static constexpr int kBlock = 32;
  Pack formula(Pack a, Pack b) const { return simd::abs(a) | (b & simd::sign_bit<Pack>()); }
};

// A callout compares under the same denormal mode as the vector test does: with denormals as zeros, a denormal divisor
// is a zero to both.
template <class Real>
Status status_of_divisor(Real b) {
  return b == 0 ? kPole : kOk;
}

template <class P>
struct Div {
  using Pack = P;
  using Real = typename P::Real;
  static constexpr int kBlock = sizeof(Real) == 4 ? 8 : 16;
  static constexpr int kPass = 4 * P::kLanes;
  Pack formula(Pack a, Pack b) const { return a / b; }
  typename P::Mask needs_care(Pack, Pack b) const { return b == simd::all<Pack>(0); }
  static Status callout(const Real* a, const Real* b, Real* r) {
    *r = *a / *b;
    return status_of_divisor(*b);
  }
};

template <class P>
struct Inv {
  using Pack = P;
  using Real = typename P::Real;
  static constexpr int kBlock = 32;
  Pack formula(Pack a) const { return simd::all<Pack>(1) / a; }
  typename P::Mask needs_care(Pack a) const { return a == simd::all<Pack>(0); }
  static Status callout(const Real* a, Real* r) {
    *r = 1 / *a;
    return status_of_divisor(*a);
  }
};

// (scalea a + shifta) / (scaleb b + shiftb) in three forms, by which factors are zero.
template <class P>
struct LinearFracFull {
  using Pack = P;
  static constexpr bool kFillWithElement = true;
  static constexpr int kBlock = 8;
  Pack scalea, shifta, scaleb, shiftb;
  Pack formula(Pack a, Pack b) const { return (scalea * a + shifta) / (scaleb * b + shiftb); }
};
template <class P>
struct LinearFracOfB {
  using Pack = P;
  static constexpr bool kFillWithElement = true;
  static constexpr int kBlock = 8;
  Pack shifta, scaleb, shiftb;
  Pack formula(Pack b) const { return shifta / (scaleb * b + shiftb); }
};
// The one division is exchanged for a multiplication in each lane; the last bit may differ from the full form's.
template <class P>
struct LinearFracOfA {
  using Pack = P;
  static constexpr bool kFillWithElement = true;
  static constexpr int kBlock = 16;
  Pack scalea, shifta, reciprocal;
  Pack formula(Pack a) const { return (scalea * a + shifta) * reciprocal; }
};

template <class P>
struct LinearFrac {
  using Real = typename P::Real;

  static void run(const char*, int32_t n, const Real* a, const Real* b, Real scalea, Real shifta, Real scaleb,
                  Real shiftb, Real* r) {
    using In = shell::UnitArray<P, const Real>;
    choose(n, In{a}, In{b}, scalea, shifta, scaleb, shiftb, shell::UnitArray<P, Real>{r},
           [](const auto& run, int32_t count) { run.unit(count); });
  }
  static void run(const char*, int32_t n, const Real* a, int32_t inca, const Real* b, int32_t incb, Real scalea,
                  Real shifta, Real scaleb, Real shiftb, Real* r, int32_t incr) {
    using In = shell::StridedArray<P, const Real>;
    choose(n, In{a, inca}, In{b, incb}, scalea, shifta, scaleb, shiftb, shell::StridedArray<P, Real>{r, incr},
           [](const auto& run, int32_t count) { run.strided(count); });
  }

 private:
  // A NaN factor is not zero.
  template <class In, class Out, class Walk>
  [[gnu::always_inline]] static void choose(int32_t n, In a, In b, Real scalea, Real shifta, Real scaleb, Real shiftb,
                                            Out r, Walk walk) {
    using shell::None;
    using shell::Run;
    const ControlWords words;
    const auto all = [](Real x) { return simd::all<P>(x); };
    const auto run = [&](const auto& formula, const auto& first, const auto& second) {
      using F = std::decay_t<decltype(formula)>;
      using A = std::decay_t<decltype(first)>;
      using B = std::decay_t<decltype(second)>;
      walk(Run<F, A, B, Out, None>(formula, first, second, r, None{}, words.mode(), ""), n);
    };
    if (scaleb == 0) {
      run(LinearFracOfA<P>{all(scalea), all(shifta), all(words.pin(Real{1}) / shiftb)}, a, None{});
    } else if (scalea == 0) {
      run(LinearFracOfB<P>{all(shifta), all(scaleb), all(shiftb)}, b, None{});
    } else {
      run(LinearFracFull<P>{all(scalea), all(shifta), all(scaleb), all(shiftb)}, a, b);
    }
  }
};

}  // namespace qlx::arithmetic
