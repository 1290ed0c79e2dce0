// Plain loops that the compiler vectorises: -O3 -mavx, and the options without which rounding functions stay calls.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>

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
void add(std::vector<Peer<Real>>& peers) {
  QLX_LOOP("Ceil", std::ceil(a))
  QLX_LOOP("Floor", std::floor(a))
  QLX_LOOP("Trunc", std::trunc(a))
  QLX_LOOP("Rint", std::rint(a))
  QLX_LOOP("NearbyInt", std::nearbyint(a))
  QLX_LOOP("Round", std::copysign(std::floor(std::fabs(a) + Real{0.5}), a))
  QLX_LOOP("Frac", std::copysign(a - std::trunc(a), a))
  QLX_LOOP("Abs", std::fabs(a))
  QLX_LOOP("Add", a + b)
  QLX_LOOP("Sub", a - b)
  QLX_LOOP("Mul", a * b)
  QLX_LOOP("Sqr", a * a)
  QLX_LOOP("Div", a / b)
  QLX_LOOP("Inv", 1 / a)
  QLX_LOOP("CopySign", std::copysign(a, b))
  QLX_LOOP("Fdim", a > b ? a - b : Real{0})
  QLX_LOOP("Fmax", a > b ? a : b)
  QLX_LOOP("Fmin", a < b ? a : b)
  QLX_LOOP("LinearFrac", (2 * a + Real{1.5}) / (3 * b + Real{1.5}))
  peers.push_back(
      {"Modf", "plain", 0.5, [](int32_t n, const Real* a, const Real*, Real* __restrict r, Real* __restrict s) {
         for (int32_t i = 0; i < n; ++i) {
           r[i] = std::trunc(a[i]);
           s[i] = std::copysign(a[i] - r[i], a[i]);
         }
       }});
}

}  // namespace

void add_plain_peers(std::vector<Peer<float>>& s, std::vector<Peer<double>>& d) {
  add(s);
  add(d);
}

}  // namespace qlx::bench
