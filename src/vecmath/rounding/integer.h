// Rounding to an integer in the same type: Ceil, Floor, Trunc, Rint, NearbyInt, Round.
// SPDX-License-Identifier: Apache-2.0
//
// One hardware rounding a lane (ROUNDPS, ROUNDPD), exact by definition; NaNs are quieted and infinities and signed
// zeros pass. "Current mode" is round to nearest inside a kernel, whatever the caller's is. Round, half away from zero,
// is built from the magnitude t rounded to nearest even: |x| - t is exact (Sterbenz for t above 1/2 |x|, else t is 0),
// and is 0.5 exactly for the ties that went down to even, which get 1 more.
#pragma once

#include "frame/shell.h"

namespace qlx::rounding {

template <class P>
struct Ceil {
  using Pack = P;
  static constexpr int kBlock = 32;
  Pack formula(Pack a) const { return simd::round_up(a); }
};

template <class P>
struct Floor {
  using Pack = P;
  static constexpr int kBlock = 32;
  Pack formula(Pack a) const { return simd::round_down(a); }
};

template <class P>
struct Trunc {
  using Pack = P;
  static constexpr int kBlock = 32;
  Pack formula(Pack a) const { return simd::round_to_zero(a); }
};

template <class P>
struct Rint {
  using Pack = P;
  static constexpr int kBlock = 32;
  Pack formula(Pack a) const { return simd::round_current(a); }
};

template <class P>
struct NearbyInt {
  using Pack = P;
  static constexpr int kBlock = 32;
  Pack formula(Pack a) const { return simd::round_current_quietly(a); }
};

template <class P>
struct Round {
  using Pack = P;
  static constexpr int kBlock = 16;
  Pack formula(Pack a) const {
    const Pack magnitude = simd::abs(a);
    const Pack even = simd::round_current_quietly(magnitude);
    const auto tie_went_down = magnitude - even == simd::all<Pack>(0.5);
    const Pack result = even + simd::keep(tie_went_down, simd::all<Pack>(1));
    return result | (a & simd::sign_bit<Pack>());
  }
};

}  // namespace qlx::rounding
