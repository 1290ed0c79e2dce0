// One result against the exact value.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "accuracy/meter.h"
#include "accuracy/real.h"

namespace qlx::tools {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

class Big {
 public:
  Big() { mpfr_init2(value_, kExactBits); }
  ~Big() { mpfr_clear(value_); }
  Big(const Big&) = delete;
  Big& operator=(const Big&) = delete;
  operator mpfr_ptr() { return value_; }

 private:
  mpfr_t value_;
};

// One set a thread, so that no comparison allocates.
struct Workspace {
  Big a, b, y, r, d;
};
Workspace& workspace() {
  thread_local Workspace w;
  return w;
}

}  // namespace

template <class Real>
ExactError exact_error(const Reference& reference, Real a, Real b, Real result) {
  using F = Format<Real>;
  Workspace& w = workspace();
  const mpfr_ptr exact = w.y, distance = w.d, other = w.r;
  mpfr_set_d(w.a, static_cast<double>(a), MPFR_RNDN);
  mpfr_set_d(w.b, static_cast<double>(b), MPFR_RNDN);
  reference.exact(exact, w.a, w.b);

  if (std::isnan(result) || mpfr_nan_p(exact)) {
    const bool same = std::isnan(result) && mpfr_nan_p(exact);
    return same ? ExactError{0, 0} : ExactError{kInfinity, kInfinity};
  }
  if (mpfr_inf_p(exact)) {
    const bool same = std::isinf(result) && (result > 0) == (mpfr_sgn(exact) > 0);
    return same ? ExactError{0, 0} : ExactError{kInfinity, kInfinity};
  }
  if (std::isinf(result)) {
    if (mpfr_zero_p(exact) || (result > 0) != (mpfr_sgn(exact) > 0)) return {kInfinity, kInfinity};
    // The greatest finite number and half a unit: from here on the infinity is the correct result.
    mpfr_set_d(distance, 1, MPFR_RNDN);
    mpfr_mul_2si(distance, distance, -(F::kPrecision + 1), MPFR_RNDN);
    mpfr_ui_sub(distance, 1, distance, MPFR_RNDN);
    mpfr_mul_2si(distance, distance, F::kMaxExponent + 1, MPFR_RNDN);
    if (mpfr_cmpabs(exact, distance) >= 0) return {0, 0};
    mpfr_set_si_2exp(other, result > 0 ? 1 : -1, F::kMaxExponent + 1, MPFR_RNDN);
    // A y this far below has no business with an infinity.
    if (mpfr_get_exp(exact) - 1 < F::kMaxExponent) return {kInfinity, kInfinity};
  } else {
    mpfr_set_d(other, static_cast<double>(result), MPFR_RNDN);
  }
  mpfr_sub(distance, other, exact, MPFR_RNDN);
  mpfr_abs(distance, distance, MPFR_RNDN);
  const int exponent = mpfr_zero_p(exact)
                           ? F::kMinExponent
                           : static_cast<int>(std::clamp<long>(mpfr_get_exp(exact) - 1, -100000, 100000));
  ExactError e;
  mpfr_mul_2si(other, distance, -ulp_exponent<Real>(exponent), MPFR_RNDN);
  e.ulp = mpfr_get_d(other, MPFR_RNDN);
  if (exponent < F::kMinExponent || mpfr_zero_p(exact)) {
    mpfr_mul_2si(distance, distance, -F::kMinExponent, MPFR_RNDN);
  } else {
    mpfr_div(distance, distance, exact, MPFR_RNDN);
  }
  e.relative = std::fabs(mpfr_get_d(distance, MPFR_RNDN));
  return e;
}

template ExactError exact_error(const Reference&, float, float, float);
template ExactError exact_error(const Reference&, double, double, double);

}  // namespace qlx::tools
