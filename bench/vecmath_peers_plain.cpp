// Plain loops that the compiler vectorises: -O3 -mavx, and the options without which rounding functions stay calls. They
// give the values that ours give, NaNs and infinities too; nothing is reported.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <limits>

#include "vecmath_peers.h"

namespace qlx::bench {
namespace {

template <class Real, class Operation>
void loop(int32_t n, const Real* __restrict a, const Real* __restrict b, Real* __restrict r, Operation operation) {
  for (int32_t i = 0; i < n; ++i) r[i] = operation(a[i], b[i]);
}

#define QLX_LOOP(Name, expression)                                                                           \
  peers.push_back({Name, "plain", 0.5, [](int32_t n, const Real* pa, const Real* pb, Real* r, Real*) {       \
                     loop(n, pa, pb, r, [](Real a, [[maybe_unused]] Real b) -> Real { return expression; }); \
                   }});

template <class Real>
Real fraction(Real x, Real integral) {
  return std::copysign(std::fabs(x) == std::numeric_limits<Real>::infinity() ? 0 : x - integral, x);
}

// The number next to a half, so that no number below it is rounded up to one.
template <class Real>
constexpr Real kBelowHalf = Real{0.5} - std::numeric_limits<Real>::epsilon() / 4;

template <class Real>
void add(std::vector<Peer<Real>>& peers) {
  QLX_LOOP("Ceil", std::ceil(a))
  QLX_LOOP("Floor", std::floor(a))
  QLX_LOOP("Trunc", std::trunc(a))
  QLX_LOOP("Rint", std::rint(a))
  QLX_LOOP("NearbyInt", std::nearbyint(a))
  QLX_LOOP("Round", std::trunc(a + std::copysign(kBelowHalf<Real>, a)))
  QLX_LOOP("Frac", fraction(a, std::trunc(a)))
  QLX_LOOP("Abs", std::fabs(a))
  QLX_LOOP("Add", a + b)
  QLX_LOOP("Sub", a - b)
  QLX_LOOP("Mul", a * b)
  QLX_LOOP("Sqr", a * a)
  QLX_LOOP("Div", a / b)
  QLX_LOOP("Inv", 1 / a)
  QLX_LOOP("CopySign", std::copysign(a, b))
  QLX_LOOP("Fdim", a <= b ? Real{0} : a - b)
  QLX_LOOP("Fmax", b != b ? a : a > b ? a : b)
  QLX_LOOP("Fmin", b != b ? a : a < b ? a : b)
  QLX_LOOP("LinearFrac", (2 * a + Real{1.5}) / (3 * b + Real{1.5}))
  peers.push_back(
      {"Modf", "plain", 0.5, [](int32_t n, const Real* a, const Real*, Real* __restrict r, Real* __restrict s) {
         for (int32_t i = 0; i < n; ++i) {
           r[i] = std::trunc(a[i]);
           s[i] = fraction(a[i], r[i]);
         }
       }});
}

}  // namespace

void add_plain_peers(std::vector<Peer<float>>& s, std::vector<Peer<double>>& d) {
  add(s);
  add(d);
}

}  // namespace qlx::bench
