// Eigen's array expressions, compiled for AVX. Its makers state no error; the figures are the largest seen against the
// C library in twice the precision, rounded up.
// SPDX-License-Identifier: Apache-2.0
#include <Eigen/Core>

#include "vecmath_peers.h"

namespace qlx::bench {
namespace {

template <class Real>
using In = Eigen::Map<const Eigen::Array<Real, Eigen::Dynamic, 1>>;
template <class Real>
using Out = Eigen::Map<Eigen::Array<Real, Eigen::Dynamic, 1>>;

#define QLX_EIGEN(Name, ulp, expression)                                                                    \
  peers.push_back(                                                                                          \
      {Name, "eigen", ulp, [](int32_t n, const Real* pa, [[maybe_unused]] const Real* pb, Real* r, Real*) { \
         const In<Real> a(pa, n);                                                                           \
         [[maybe_unused]] const In<Real> b(pb, n);                                                          \
         Out<Real>(r, n) = expression;                                                                      \
       }});

template <class Real>
void add(std::vector<Peer<Real>>& peers) {
  constexpr bool kFloat = sizeof(Real) == 4;
  QLX_EIGEN("Exp", kFloat ? 1.3 : 1.7, a.exp())
  QLX_EIGEN("Expm1", kFloat ? 2.9 : 0.9, a.expm1())
  QLX_EIGEN("Ln", kFloat ? 1.1 : 1.5, a.log())
  QLX_EIGEN("Log2", kFloat ? 1.9 : 1.9, a.log2())
  QLX_EIGEN("Log10", kFloat ? 2.1 : 1.6, a.log10())
  QLX_EIGEN("Log1p", kFloat ? 2.5 : 0.9, a.log1p())
  QLX_EIGEN("Sqrt", kFloat ? 3.7 : 0.5, a.sqrt())  // float: an estimate and one step
  QLX_EIGEN("InvSqrt", kFloat ? 3.2 : 1.5, a.rsqrt())
  QLX_EIGEN("Pow", kFloat ? 0.7 : 1.1, a.pow(b))
}

}  // namespace

void add_eigen_peers(std::vector<Peer<float>>& s, std::vector<Peer<double>>& d) {
  add(s);
  add(d);
}

}  // namespace qlx::bench
