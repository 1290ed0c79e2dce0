// Functions that choose or step: Fmax, Fmin, MaxMag, MinMag, Fdim, NextAfter.
// SPDX-License-Identifier: Apache-2.0
//
// A NaN loses to a number in the four maxima and minima, and wins in Fdim. Equal magnitudes of MaxMag and MinMag give
// Fmax and Fmin; of two zeros the processor's maximum and minimum give b. Only NextAfter reports.
#pragma once

#include <bit>

#include "frame/shell.h"
#include "vecmath/simd/ieee.h"

namespace qlx::arithmetic {

// A lane with a NaN: the other argument, quieted when it is one too.
template <class Real>
Status number_of(const Real* a, const Real* b, Real* r) {
  *r = simd::times_one(*b != *b ? *a : *b);
  return kOk;
}

template <class P>
struct NumberWins {
  using Pack = P;
  using Real = typename P::Real;
  static constexpr int kBlock = 16;
  static constexpr bool kNeverReports = true;
  typename P::Mask needs_care(Pack a, Pack b) const { return simd::unordered(a, b); }
  static Status callout(const Real* a, const Real* b, Real* r) { return number_of(a, b, r); }
};

template <class P>
struct Fmax : NumberWins<P> {
  P formula(P a, P b) const { return simd::hardware_max(a, b); }
};

template <class P>
struct Fmin : NumberWins<P> {
  P formula(P a, P b) const { return simd::hardware_min(a, b); }
};

template <class P>
struct MaxMag : NumberWins<P> {
  P formula(P a, P b) const {
    const P ma = simd::abs(a), mb = simd::abs(b);
    return simd::select(ma > mb, a, simd::select(ma < mb, b, simd::hardware_max(a, b)));
  }
};

template <class P>
struct MinMag : NumberWins<P> {
  P formula(P a, P b) const {
    const P ma = simd::abs(a), mb = simd::abs(b);
    return simd::select(ma < mb, a, simd::select(ma > mb, b, simd::hardware_min(a, b)));
  }
};

// a - b where a is above b, else +0. A NaN in either is not at most the other and stays in the difference, quieted; two
// infinities differ where the first is above.
template <class P>
struct Fdim {
  using Pack = P;
  static constexpr int kBlock = 16;
  Pack formula(Pack a, Pack b) const { return simd::keep(simd::not_less_equal(a, b), a - b); }
};

// The neighbour of a on the way to b.
//
// The vector path steps the bits of normal lanes, magnitude up or down by one, and serves those whose result is normal
// too. Since infinities and NaNs are left out, neither step carries into the sign.
template <class P>
struct NextAfter {
  using Pack = P;
  using Real = typename P::Real;
  using F = simd::Ieee<Real>;
  static constexpr int kBlock = P::kLanes;
  static constexpr int kPass = 2 * P::kLanes;

  shell::Marked<Pack> formula(Pack a, Pack b) const {
    // Away from zero: b beyond a on the same side. |b| > |a| and equal signs is b with a's sign taken off, above |a|.
    const Pack sign = a & simd::sign_bit<Pack>();
    const auto away = (b ^ sign) > simd::abs(a);
    const Pack stepped = simd::select(away, simd::add_bits(a, 1), simd::add_bits(a, -1));
    const Pack result = simd::select(a == b, b, stepped);
    return {result, abnormal(a) | abnormal(result) | simd::unordered(b, b)};
  }

  static Status callout(const Real* pa, const Real* pb, Real* r) {
    using Bits = typename F::Bits;
    const Real a = *pa, b = *pb;
    if (F::is_nan(a) || F::is_nan(b)) {
      *r = a + b;
      return kOk;
    }
    const Bits ma = F::magnitude(a), mb = F::magnitude(b);
    const bool same_side = F::sign(a) == F::sign(b);
    if ((ma == mb && same_side) || (ma == 0 && mb == 0)) {
      *r = b;
      return kOk;
    }
    if (ma == 0) {
      *r = std::bit_cast<Real>(F::sign(b) | Bits{1});
      return kUnderflow;
    }
    const Bits m = same_side && mb > ma ? ma + 1 : ma - 1;
    *r = std::bit_cast<Real>(F::sign(a) | m);
    if (m == F::kInfinity) return kOverflow;
    return m < F::kImplicitBit ? kUnderflow : kOk;
  }

 private:
  // Zero, denormal, infinity or NaN.
  static typename P::Mask abnormal(Pack x) {
    const Pack m = simd::abs(x);
    return simd::not_greater_equal(m, simd::all<Pack>(std::numeric_limits<Real>::min())) | simd::not_finite(x);
  }
};

}  // namespace qlx::arithmetic
