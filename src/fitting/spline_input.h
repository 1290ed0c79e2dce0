// What a construction kernel works on, and the checks before it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <utility>

#include "fitting/df_task.h"

namespace qlx::fitting {

// ---- Boundary classes --------------------------------------------------------------------------------------------

enum BoundaryClass : int {
  kNotAKnot = 0,
  kFreeEnd = 1,
  kFirstFirst = 2,
  kFirstSecond = 3,
  kSecondFirst = 4,
  kSecondSecond = 5,
  kPeriodic = 6,
  kAkimaEnding = 7,
  kBoundaryClasses = 7  // of the kernel tables; Akima's own ending is an argument
};

// Finds the class of a boundary code and checks that the values it needs are there.
template <class Real>
int32_t classify_boundary(const DFTask& task, bool akima, int& boundary_class) {
  static constexpr struct {
    int64_t code;
    int boundary_class;
  } kCodes[] = {{DF_BC_NOT_A_KNOT, kNotAKnot}, {DF_BC_FREE_END, kFreeEnd},    {DF_BC_1ST_1ST, kFirstFirst},
                {DF_BC_1ST_2ND, kFirstSecond}, {DF_BC_2ND_1ST, kSecondFirst}, {DF_BC_2ND_2ND, kSecondSecond},
                {DF_BC_PERIODIC, kPeriodic}};
  if (akima && task.boundary_condition_type == DF_BC_NONE) {
    boundary_class = kAkimaEnding;
    return DF_OK;
  }
  for (const auto& row : kCodes) {
    if (row.code != task.boundary_condition_type) continue;
    boundary_class = row.boundary_class;
    const bool has_values = row.boundary_class >= kFirstFirst && row.boundary_class <= kSecondSecond;
    // Periodic values are asked for with two spline types, though no kernel reads them.
    const bool asks_values = row.boundary_class == kPeriodic && (task.spline_type == 0 || task.spline_type == 3);
    return (has_values || asks_values) && task.boundary_conditions == nullptr ? DF_BAD_BOUNDARY_CONDITIONS : DF_OK;
  }
  return DF_BAD_BOUNDARY_TYPE;
}

// ---- Input -------------------------------------------------------------------------------------------------------

template <class Real>
struct SplineInput {
  int64_t n;
  int64_t functions;
  const Real* x;  // n points; the two ends when the partition is uniform
  void* const* function_rows;
  void* const* coefficient_rows;
  int64_t stride;  // elements from one cell's coefficients to the next's
  const Real* boundary;
  int64_t internal_type;
  const Real* internal;
  const QlxThreadTable* services;
  int boundary_class;

  Real* row(int64_t f) const { return static_cast<Real*>(coefficient_rows[f]); }
};

// Values of one function by either storage.
template <class Real, bool kRows>
class Values {
 public:
  Values(const SplineInput<Real>& in, int64_t f)
      : data_(static_cast<const Real*>(in.function_rows[kRows ? f : 0]) + (kRows ? 0 : f)), step_(in.functions) {}
  Real operator[](int64_t i) const { return kRows ? data_[i] : data_[i * step_]; }
  const Real* row() const requires kRows { return data_; }

 private:
  const Real* data_;
  int64_t step_;
};

// Widths of cells by either partition.
template <class Real, bool kUniform>
class Widths {
 public:
  explicit Widths(const SplineInput<Real>& in)
      : x_(in.x),
        scale_(kUniform ? static_cast<Real>(in.n - 1) / (in.x[1] - in.x[0]) : Real{0}),
        width_(kUniform ? (in.x[1] - in.x[0]) / static_cast<Real>(in.n - 1) : Real{0}) {}
  Real operator[](int64_t i) const { return kUniform ? width_ : x_[i + 1] - x_[i]; }
  // difference / h[i]; a uniform partition multiplies instead.
  Real slope(Real difference, Real h) const { return kUniform ? difference * scale_ : difference / h; }
  Real reciprocal(Real h) const { return kUniform ? scale_ : 1 / h; }

 private:
  const Real* x_;
  Real scale_, width_;
};

// Reads the task for a kind whose cells have `order` coefficients.
template <class Real>
SplineInput<Real> read_task(const DFTask& task, int64_t order, int boundary_class, const QlxThreadTable* services) {
  SplineInput<Real> in;
  in.n = task.partition_size;
  in.functions = task.function_count;
  in.x = partition_of<Real>(task);
  in.function_rows = task.function_rows;
  in.coefficient_rows = task.coefficient_rows;
  in.stride = task.spline_order > order ? task.spline_order : order;
  in.boundary = static_cast<const Real*>(task.boundary_conditions);
  in.internal_type = task.internal_condition_type;
  in.internal = static_cast<const Real*>(task.internal_conditions);
  in.services = services;
  in.boundary_class = boundary_class;
  return in;
}

// DF_NOT_PERIODIC when a function's value at the first point differs from that at the last, or either is NaN.
template <class Real, bool kRows>
int32_t check_periodic(const SplineInput<Real>& in) {
  for (int64_t f = 0; f < in.functions; ++f) {
    const Values<Real, kRows> y(in, f);
    if (!(y[0] == y[in.n - 1])) return DF_NOT_PERIODIC;
  }
  return DF_OK;
}

// ---- Entry -------------------------------------------------------------------------------------------------------

template <class Real>
using SplineKernel = int32_t (*)(const SplineInput<Real>& in);

// A kernel for each storage, partition and boundary class.
template <class Real>
struct ClassKernels {
  SplineKernel<Real> at[2][2][kBoundaryClasses];
};

// Fills the table from `slot`, a generic callable with the three indices as template arguments.
template <class Real, class Slot>
constexpr ClassKernels<Real> class_kernels(Slot slot) {
  ClassKernels<Real> table{};
  const auto fill = [&]<bool kRows, bool kUniform, int... kClass>(std::integer_sequence<int, kClass...>) {
    ((table.at[kRows][kUniform][kClass] = slot.template operator()<kRows, kUniform, kClass>()), ...);
  };
  const std::make_integer_sequence<int, kBoundaryClasses> classes;
  fill.template operator()<false, false>(classes);
  fill.template operator()<false, true>(classes);
  fill.template operator()<true, false>(classes);
  fill.template operator()<true, true>(classes);
  return table;
}

// What the entry points of the kinds but the quadratic one differ in.
struct SplineRules {
  int64_t order;             // coefficients of a cell
  int64_t least_points;      // else DF_BAD_PARTITION_SIZE
  int64_t least_not_a_knot;  // the same with boundary code 1
  bool method_must_be_zero;  // else DF_BAD_METHOD
  bool has_boundary;         // classify the boundary code
  bool akima_ending;         // code 0 is Akima's own ending
};

inline int storage_index(const DFTask& task) {
  return task.function_hint == DF_INTERLEAVED ? 0 : 1;
}
inline int partition_index(const DFTask& task) {
  return (task.partition_hint & DF_UNIFORM) != 0 ? 1 : 0;
}

// The last check before every kernel: the rows that it would read and write.
template <class Real>
int32_t run_kernel(SplineKernel<Real> kernel, const SplineInput<Real>& in) {
  if (in.functions <= 0) return DF_OK;
  if (in.function_rows == nullptr) return DF_BAD_FUNCTION;
  if (in.coefficient_rows == nullptr) return DF_BAD_COEFFICIENTS;
  return kernel(in);
}

// `kernels(storage, partition, class)` gives the kernel.
template <class Real, class Kernels>
int32_t construct(const DFTask* task, int64_t method, const QlxThreadTable* services, const SplineRules& rules,
                  Kernels kernels) {
  if (task == nullptr) return DF_NULL_TASK;
  if (rules.method_must_be_zero && method != 0) return DF_BAD_METHOD;
  const bool not_a_knot = task->boundary_condition_type == DF_BC_NOT_A_KNOT;
  if (task->partition_size < (not_a_knot ? rules.least_not_a_knot : rules.least_points)) return DF_BAD_PARTITION_SIZE;
  if (!is_storage_hint(task->function_hint)) return DF_BAD_FUNCTION_HINT;
  // A kind without boundary conditions still takes the periodic code's test of the values.
  int boundary_class = task->boundary_condition_type == DF_BC_PERIODIC ? kPeriodic : kFreeEnd;
  if (rules.has_boundary) {
    const int32_t status = classify_boundary<Real>(*task, rules.akima_ending, boundary_class);
    if (status != DF_OK) return status;
  }
  const SplineInput<Real> in = read_task<Real>(*task, rules.order, boundary_class, services);
  return run_kernel(kernels(storage_index(*task), partition_index(*task), boundary_class), in);
}

}  // namespace qlx::fitting
