// Linear splines.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fitting/cell_store.h"
#include "fitting/spline_input.h"
#include "fitting/work_division.h"

namespace qlx::fitting {

template <class Real, bool kRows, bool kUniform>
void linear_item(const SplineInput<Real>& in, const Item& item) {
  const Widths<Real, kUniform> h(in);
  for (int64_t f = item.first_function; f < item.end_function; ++f) {
    const Values<Real, kRows> y(in, f);
    Real* __restrict row = in.row(f);
    // Rows of just two terms are the common case, and the one that the compiler can put in vector lanes.
    if (in.stride == 2) {
      for (int64_t i = item.first_cell; i < item.end_cell; ++i) {
        const Real value = y[i];
        row[2 * i] = value;
        row[2 * i + 1] = h.slope(y[i + 1] - value, h[i]);
      }
      continue;
    }
    for (int64_t i = item.first_cell; i < item.end_cell; ++i) {
      store_cell<Real, 2>(row + i * in.stride, in.stride, {y[i], h.slope(y[i + 1] - y[i], h[i])});
    }
  }
}

template <class Real, bool kRows, bool kUniform>
int32_t linear_kernel(const SplineInput<Real>& in) {
  if (in.boundary_class == kPeriodic) {
    const int32_t status = check_periodic<Real, kRows>(in);
    if (status != DF_OK) return status;
  }
  run_items(in.services, divide_work(in.n, in.functions, in.services),
            [&](int, const Item& item) { linear_item<Real, kRows, kUniform>(in, item); });
  return DF_OK;
}

template <class Real>
int32_t construct_linear(const DFTask* task, int64_t method, const QlxThreadTable* services) {
  static constexpr SplineKernel<Real> kKernels[2][2] = {
      {linear_kernel<Real, false, false>, linear_kernel<Real, false, true>},
      {linear_kernel<Real, true, false>, linear_kernel<Real, true, true>}};
  return construct<Real>(task, method, services, {2, 2, 2, true, false, false},
                         [](int storage, int partition, int) { return kKernels[storage][partition]; });
}

}  // namespace qlx::fitting
