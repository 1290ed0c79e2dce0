// Quadratic splines: knots at the points (type 0) and Subbotin's, with knots between them (type 1).
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fitting/cell_store.h"
#include "fitting/end_conditions.h"
#include "fitting/knots.h"
#include "fitting/spline_input.h"
#include "fitting/tridiagonal.h"
#include "fitting/work_division.h"

namespace qlx::fitting {

constexpr int64_t kQuadraticOrder = 3;

// ---- Type 0 ----------------------------------------------------------------------------------------------------

// p(t) = y + d u + (s - d) / h u^2 in each cell; continuity of the first derivative gives d[i+1] = 2 s[i] - d[i]. The
// boundary value v in the middle of the first cell starts it: v = y + d h / 2 + (s - d) h / 4.
template <class Real, bool kRows, bool kUniform>
int32_t parabola_kernel(const SplineInput<Real>& in) {
  const auto item_body = [&](int, const Item& item) {
    const Widths<Real, kUniform> h(in);
    for (int64_t f = item.first_function; f < item.end_function; ++f) {
      const Values<Real, kRows> y(in, f);
      Real* row = in.row(f);
      const Real first_slope = h.slope(y[1] - y[0], h[0]);
      Real d = h.slope(4 * (in.boundary[0] - y[0]), h[0]) - first_slope;
      for (int64_t i = 0; i < in.n - 1; ++i) {
        const Real s = h.slope(y[i + 1] - y[i], h[i]);
        store_cell<Real, 3>(row + i * in.stride, in.stride, {y[i], d, h.slope(s - d, h[i])});
        d = 2 * s - d;
      }
    }
  };
  run_items(in.services, divide_functions(in.n, in.functions, in.services), item_body);
  return DF_OK;
}

// ---- Type 1 ----------------------------------------------------------------------------------------------------

// Subbotin's spline (Yu. N. Subbotin, "Piecewise-polynomial interpolation", Mathematical Notes 1, 1967; de Boor 1978,
// chapter VI): cell i, between the knots z[i] and z[i+1], holds the point x[i]. With a = x[i] - z[i], b = z[i+1] -
// x[i], g = a + b, and v the first derivatives at the knots:
//
//   p'(x[i]) = (b v[i] + a v[i+1]) / g,   c2 = (v[i+1] - v[i]) / (2 g)
//
// Values meet at the knot z[i+1], 0 <= i < n - 1, where primes belong to cell i + 1:
//
//   b^2 / g v[i] + (b (1 + a / g) + a' (1 + b' / g')) v[i+1] + a'^2 / g' v[i+2] = 2 (y[i+1] - y[i])
//
// which is diagonally dominant since a, b <= g.
template <class Real, bool kRows, bool kUniform, bool kUniformKnots>
class SubbotinItem {
 public:
  static int64_t length(int64_t n) { return n + 1; }
  static int64_t elements(int64_t n) { return (3 + kGroupFunctions) * length(n); }

  SubbotinItem(const SplineInput<Real>& in, const Item& item, Real* work)
      : in_(in),
        item_(item),
        x_(in.x, in.n - 1),
        z_(in.internal, in.n),
        below_(work),
        diagonal_(work + length(in.n)),
        above_(work + 2 * length(in.n)),
        derivatives_(work + 3 * length(in.n)) {}

  void run() {
    const int64_t n = in_.n, rows = n - 1;
    const int64_t columns = item_.end_function - item_.first_function;
    for (int64_t r = 0; r < rows; ++r) {
      const Cell c = cell(r), next = cell(r + 1);
      if (r > 0) below_[r - 1] = c.after * (c.after / c.width);
      diagonal_[r] = c.after * (1 + c.before / c.width) + next.before * (1 + next.after / next.width);
      above_[r] = next.before * (next.before / next.width);
    }
    // The first row's left neighbour is v[0] = A - B v[1], the last row's right one v[n] = A - B v[n-1].
    const Cell first = cell(0), last = cell(n - 1);
    const EndRelation<Real> left = relation(true, first), right = relation(false, last);
    const Real left_weight = first.after * (first.after / first.width);
    const Real right_weight = last.before * (last.before / last.width);
    diagonal_[0] -= left_weight * left.factor;
    diagonal_[rows - 1] -= right_weight * right.factor;
    for (int64_t k = 0; k < columns; ++k) {
      const Values<Real, kRows> y(in_, item_.first_function + k);
      Real* b = derivatives_ + k * length(n) + 1;
      for (int64_t r = 0; r < rows; ++r) b[r] = 2 * (y[r + 1] - y[r]);
      b[0] -= left_weight * left.constant;
      b[rows - 1] -= right_weight * right.constant;
    }
    solve_tridiagonal(rows, below_, diagonal_, above_, columns, derivatives_ + 1, length(n));
    for (int64_t k = 0; k < columns; ++k) {
      Real* v = derivatives_ + k * length(n);
      v[0] = left(v[1]);
      v[n] = right(v[n - 1]);
      store(item_.first_function + k, v);
    }
  }

 private:
  struct Cell {
    Real before, after, width;  // from the left knot to the point, from there to the right knot, both
  };
  Cell cell(int64_t i) const {
    const Real left = z_[i], x = x_[i], right = z_[i + 1];
    return {x - left, right - x, right - left};
  }

  // Conditions hold at the end points x[0] and x[n-1].
  EndRelation<Real> relation(bool left, const Cell& c) const {
    const Real value = in_.boundary[left ? 0 : 1];
    if (end_condition(in_.boundary_class, left) == EndCondition::kFirst) {
      const Real near = left ? c.after : c.before, far = left ? c.before : c.after;
      return {value * (c.width / near), far / near};
    }
    return {left ? -value * c.width : value * c.width, Real{-1}};
  }

  void store(int64_t f, const Real* v) {
    const Values<Real, kRows> y(in_, f);
    Real* row = in_.row(f);
    for (int64_t i = 0; i < in_.n; ++i) {
      const Cell c = cell(i);
      store_cell<Real, 3>(row + i * in_.stride, in_.stride,
                          {y[i], (c.after * v[i] + c.before * v[i + 1]) / c.width, (v[i + 1] - v[i]) / (2 * c.width)});
    }
  }

  const SplineInput<Real>& in_;
  const Item& item_;
  Knots<Real, kUniform> x_;
  Knots<Real, kUniformKnots> z_;
  Real *below_, *diagonal_, *above_, *derivatives_;
};

template <class Real, bool kRows, bool kUniform, bool kUniformKnots>
[[gnu::noinline]] int32_t solve_subbotin(const SplineInput<Real>& in) {
  using Worker = SubbotinItem<Real, kRows, kUniform, kUniformKnots>;
  const Division division = divide_functions(in.n, in.functions, in.services);
  const int64_t elements = Worker::elements(in.n);
  const Scratch<Real> work(elements * division.workers);
  if (work.get() == nullptr) return DF_NO_MEMORY;
  run_items(in.services, division,
            [&](int worker, const Item& item) { Worker(in, item, work.get() + worker * elements).run(); });
  return DF_OK;
}

// A slot of the kernel table; as in the natural spline, the class is read by one shared body.
template <class Real, bool kRows, bool kUniform, bool kUniformKnots, int kClass>
int32_t subbotin_kernel(const SplineInput<Real>& in) {
  static_assert(kClass >= kFirstFirst && kClass <= kSecondSecond);
  return solve_subbotin<Real, kRows, kUniform, kUniformKnots>(in);
}

// Slots of classes 0, 1 and 6 stay empty.
template <class Real, bool kUniformKnots>
constexpr ClassKernels<Real> subbotin_kernels() {
  return class_kernels<Real>([]<bool kRows, bool kUniform, int kClass>() -> SplineKernel<Real> {
    if constexpr (kClass >= kFirstFirst && kClass <= kSecondSecond) {
      return subbotin_kernel<Real, kRows, kUniform, kUniformKnots, kClass>;
    } else {
      return nullptr;
    }
  });
}

// ---- Entry -----------------------------------------------------------------------------------------------------

template <class Real>
int32_t construct_quadratic(const DFTask* task, const QlxThreadTable* services) {
  static constexpr SplineKernel<Real> kParabola[2][2] = {
      {parabola_kernel<Real, false, false>, parabola_kernel<Real, false, true>},
      {parabola_kernel<Real, true, false>, parabola_kernel<Real, true, true>}};
  static constexpr ClassKernels<Real> kSubbotin[2] = {subbotin_kernels<Real, false>(), subbotin_kernels<Real, true>()};

  if (task == nullptr) return DF_NULL_TASK;
  if (!is_storage_hint(task->function_hint)) return DF_BAD_FUNCTION_HINT;
  const int storage = storage_index(*task), partition = partition_index(*task);
  if (task->spline_type == 0) {
    if (task->boundary_condition_type != DF_BC_MIDDLE_VALUE) return DF_BAD_BOUNDARY_TYPE;
    if (task->boundary_conditions == nullptr) return DF_BAD_BOUNDARY_CONDITIONS;
    return run_kernel(kParabola[storage][partition], read_task<Real>(*task, kQuadraticOrder, kFreeEnd, services));
  }
  if (task->spline_type != 1) return DF_BAD_METHOD;
  if ((task->internal_condition_type & DF_IC_KNOTS) == 0) return DF_BAD_INTERNAL_TYPE;
  int boundary_class = kFreeEnd;
  const int32_t status = classify_boundary<Real>(*task, false, boundary_class);
  if (status != DF_OK) return status;
  const bool uniform_knots = has_uniform_knots(*task);
  const SplineKernel<Real> kernel = kSubbotin[uniform_knots].at[storage][partition][boundary_class];
  // An empty slot, and missing knots: a caller that validates its arguments comes with neither.
  if (kernel == nullptr) return DF_BAD_BOUNDARY_TYPE;
  if (task->internal_conditions == nullptr) return DF_BAD_INTERNAL_CONDITIONS;
  return run_kernel(kernel, read_task<Real>(*task, kQuadraticOrder, boundary_class, services));
}

}  // namespace qlx::fitting
