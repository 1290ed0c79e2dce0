// Loops over the C library's functions.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "vecmath_peers.h"

namespace qlx::bench {
namespace {

float exp10(float x) {
  return ::exp10f(x);
}
double exp10(double x) {
  return ::exp10(x);
}

#define QLX_CALL(Name, ulp, expression)                                                                     \
  peers.push_back(                                                                                          \
      {Name, "glibc", ulp, [](int32_t n, const Real* pa, [[maybe_unused]] const Real* pb, Real* r, Real*) { \
         for (int32_t i = 0; i < n; ++i) {                                                                  \
           const Real a = pa[i];                                                                            \
           [[maybe_unused]] const Real b = pb[i];                                                           \
           r[i] = expression;                                                                               \
         }                                                                                                  \
       }});

template <class Real>
void add(std::vector<Peer<Real>>& peers) {
  constexpr bool kFloat = sizeof(Real) == 4;
  QLX_CALL("Fmod", 0.5, std::fmod(a, b))
  QLX_CALL("Remainder", 0.5, std::remainder(a, b))
  QLX_CALL("NextAfter", 0.5, std::nextafter(a, b))
  QLX_CALL("MaxMag", 0.5, std::fabs(a) > std::fabs(b) ? a : std::fabs(a) < std::fabs(b) ? b : std::fmax(a, b))
  QLX_CALL("MinMag", 0.5, std::fabs(a) < std::fabs(b) ? a : std::fabs(a) > std::fabs(b) ? b : std::fmin(a, b))
  // Errors as the manual's table for x86-64 states them.
  QLX_CALL("Exp", 1, std::exp(a))
  QLX_CALL("Exp2", 1, std::exp2(a))
  QLX_CALL("Exp10", kFloat ? 1 : 2, exp10(a))
  QLX_CALL("Expm1", 1, std::expm1(a))
  QLX_CALL("Ln", 1, std::log(a))
  QLX_CALL("Log2", 1, std::log2(a))
  QLX_CALL("Log10", 2, std::log10(a))
  QLX_CALL("Log1p", 1, std::log1p(a))
  QLX_CALL("Logb", 0, std::logb(a))
  QLX_CALL("Sqrt", 0.5, std::sqrt(a))
  QLX_CALL("InvSqrt", 1, 1 / std::sqrt(a))
  QLX_CALL("Cbrt", kFloat ? 1 : 4, std::cbrt(a))
  QLX_CALL("InvCbrt", kFloat ? 2 : 5, 1 / std::cbrt(a))
  QLX_CALL("Hypot", 1, std::hypot(a, b))
  QLX_CALL("Pow", 1, std::pow(a, b))
  QLX_CALL("Powr", 1, std::pow(a, b))
  QLX_CALL("Powx", 1, std::pow(a, Real(1.5)))
  QLX_CALL("Pow2o3", 1, std::pow(a, static_cast<Real>(2.0 / 3)))
  QLX_CALL("Pow3o2", 1, std::pow(a, Real(1.5)))
}

}  // namespace

void add_glibc_peers(std::vector<Peer<float>>& s, std::vector<Peer<double>>& d) {
  add(s);
  add(d);
}

}  // namespace qlx::bench
