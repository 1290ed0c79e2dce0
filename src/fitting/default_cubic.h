// Cubic splines with derivatives that the caller gives at the inner points.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fitting/local_cubic.h"
#include "fitting/natural.h"

namespace qlx::fitting {

// Second derivatives m at all points from those at the inner ones. The polynomial of cell i is
//   c1 = s - h (m[i] / 3 + m[i+1] / 6),  c2 = m[i] / 2,  c3 = (m[i+1] - m[i]) / (6 h)
// so that p'(x[i]) = s - h (2 m[i] + m[i+1]) / 6 and p'(x[i+1]) = s + h (m[i] + 2 m[i+1]) / 6.
template <class Real>
void finish_bends(const SplineInput<Real>& in, const Real* h, const Real* s, Real* m) {
  const int64_t last = in.n - 1;
  if (in.boundary_class == kPeriodic) {
    // p' continuous across the ends.
    const Real first = h[0], end = h[last - 1];
    m[0] = (6 * (s[0] - s[last - 1]) - first * m[1] - end * m[last - 1]) / (2 * (first + end));
    m[last] = m[0];
    return;
  }
  for (const bool left : {true, false}) {
    const int64_t cell = left ? 0 : last - 1, beside = left ? 1 : last - 2;
    const int64_t neighbour = left ? 1 : last - 1, next = left ? 2 : last - 2;
    const Real value = in.boundary_class == kFreeEnd || in.boundary == nullptr ? Real{0} : in.boundary[left ? 0 : 1];
    Real& end = m[left ? 0 : last];
    switch (end_condition(in.boundary_class, left)) {
      case EndCondition::kNotAKnot:
        // The third derivative goes on from the next cell. Of three points only one has a bend given: keep it.
        end = in.n == 3 ? m[1] : m[neighbour] - h[cell] / h[beside] * (m[next] - m[neighbour]);
        break;
      case EndCondition::kFirst:
        end = 3 * (left ? s[cell] - value : value - s[cell]) / h[cell] - m[neighbour] / 2;
        break;
      default:
        end = value;
    }
  }
}

template <class Real, bool kRows, bool kUniform>
int32_t bend_kernel(const SplineInput<Real>& in) {
  if (in.boundary_class == kPeriodic) {
    const int32_t status = check_periodic<Real, kRows>(in);
    if (status != DF_OK) return status;
  }
  const int64_t n = in.n, cells = in.n - 1;
  const Scratch<Real> work(3 * n - 2);  // n second derivatives, n - 1 widths, n - 1 slopes
  if (work.get() == nullptr) return DF_NO_MEMORY;
  Real* __restrict m = work.get(), * __restrict h = m + n, * __restrict s = h + cells;
  const Widths<Real, kUniform> width_of(in);
  for (int64_t i = 0; i < cells; ++i) h[i] = width_of[i];
  for (int64_t i = 1; i < cells; ++i) m[i] = in.internal[i - 1];

  constexpr Real kThird = Real(1) / 3, kSixth = Real(1) / 6;
  for (int64_t f = 0; f < in.functions; ++f) {
    const Values<Real, kRows> y(in, f);
    for (int64_t i = 0; i < cells; ++i) s[i] = width_of.slope(y[i + 1] - y[i], h[i]);
    finish_bends(in, h, s, m);
    Real* row = in.row(f);
    for (int64_t i = 0; i < cells; ++i) {
      const Real sixth = kSixth * width_of.reciprocal(h[i]);
      store_cell<Real, 4>(
          row + i * in.stride, in.stride,
          {y[i], s[i] - h[i] * (kThird * m[i] + kSixth * m[i + 1]), m[i] / 2, (m[i + 1] - m[i]) * sixth});
    }
  }
  return DF_OK;
}

// Without internal conditions the second derivatives are those that make the first ones continuous; with first
// derivatives it is the Hermite spline.
template <class Real, bool kRows, bool kUniform, int kClass>
int32_t default_kernel(const SplineInput<Real>& in) {
  if (in.internal == nullptr) return solve_natural<Real, kRows, kUniform>(in);
  if (in.internal_type == DF_IC_1ST_DERIVATIVE) {
    return local_cubic_kernel<HermiteKind, false, Real, kRows, kUniform>(in);
  }
  return bend_kernel<Real, kRows, kUniform>(in);
}

template <class Real>
int32_t construct_default(const DFTask* task, int64_t method, const QlxThreadTable* services) {
  static constexpr auto kKernels = class_kernels<Real>(
      []<bool kRows, bool kUniform, int kClass>() { return default_kernel<Real, kRows, kUniform, kClass>; });
  return construct<Real>(
      task, method, services, {4, 3, 3, false, true, false},
      [](int storage, int partition, int boundary) { return kKernels.at[storage][partition][boundary]; });
}

}  // namespace qlx::fitting
