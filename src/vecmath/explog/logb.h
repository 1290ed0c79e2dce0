// Logb for float and double: the exponent field less its bias, exactly. One kernel for all accuracies.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/shell.h"
#include "vecmath/callout.h"

namespace qlx::explog {

// The exponent field as a number, which may be marked by its ends. A float's converts in place; of a double the high
// words do.
inline simd::PackF32 exponent_field(simd::PackF32 x) {
  return simd::real_of_bits(x & simd::all_bits<simd::PackF32>(0x7F800000)) * simd::all<simd::PackF32>(0x1p-23f);
}
inline simd::PackF64 exponent_field(simd::PackF64 x) {
  return simd::to_real((simd::high_words(x) << 1) >> 21);
}

template <class P>
struct LogbOf {
  using Pack = P;
  using Real = typename Pack::Real;
  using Ieee = simd::Ieee<Real>;
  static constexpr int kBlock = 16;
  // Zeros and denormals have the least exponent that the field can show, infinities and NaNs the greatest.
  shell::Marked<Pack> formula(Pack x) const {
    const Pack e = exponent_field(x) - simd::all<Pack>(Ieee::kBias);
    return {e, (e <= simd::all<Pack>(-Ieee::kBias)) | (e >= simd::all<Pack>(Ieee::kBias + 1))};
  }
  // A zero is a domain error here, where the logarithms report a pole.
  static Status callout(const Real* a, Real* r) {
    const Real x = *a;
    if (x == 0) return *r = callout::pole(Real{-1}), kDomain;
    if (callout::is_special(x)) return *r = callout::magnitude(x), kOk;
    // Float: 152 taken off in all.
    constexpr int kUp = sizeof(Real) == 4 ? 25 : 54;
    constexpr Real kScale = sizeof(Real) == 4 ? Real(0x1p25) : Real(0x1p54);
    const auto field = Ieee::magnitude(x * kScale) >> Ieee::kMantissaBits;
    return *r = static_cast<Real>(static_cast<int>(field) - (Ieee::kBias + kUp)), kOk;
  }
};

}  // namespace qlx::explog
