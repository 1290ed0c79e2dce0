// Loops over the C library's functions.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>

#include "vecmath_peers.h"

namespace qlx::bench {
namespace {

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
  QLX_CALL("Fmod", 0.5, std::fmod(a, b))
  QLX_CALL("Remainder", 0.5, std::remainder(a, b))
  QLX_CALL("NextAfter", 0.5, std::nextafter(a, b))
  QLX_CALL("MaxMag", 0.5, std::fabs(a) > std::fabs(b) ? a : std::fabs(a) < std::fabs(b) ? b : std::fmax(a, b))
  QLX_CALL("MinMag", 0.5, std::fabs(a) < std::fabs(b) ? a : std::fabs(a) > std::fabs(b) ? b : std::fmin(a, b))
}

}  // namespace

void add_glibc_peers(std::vector<Peer<float>>& s, std::vector<Peer<double>>& d) {
  add(s);
  add(d);
}

}  // namespace qlx::bench
