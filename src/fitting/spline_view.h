// A constructed spline as evaluation and integration see it: pieces over a ground of points or knots.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fitting/knots.h"
#include "fitting/search_plan.h"
#include "fitting/spline_input.h"

namespace qlx::fitting {

enum class Form { kStepLeftContinuous, kStepRightContinuous, kPeakLookup, kPolynomial };

// What the task's order and type, or `kind` for order 0, ask for.
inline int32_t choose_form(const DFTask& task, int64_t kind, Form& form) {
  constexpr int64_t kKindBase = 16;
  constexpr int64_t kCubicTypes = 0x23D;  // bits 0, 2, 3, 4, 5 and 9
  form = Form::kPolynomial;
  switch (task.spline_order) {
    case 0:
      switch (kind - kKindBase) {
        case 6:
          form = Form::kStepLeftContinuous;
          return DF_OK;
        case 7:
          form = Form::kStepRightContinuous;
          return DF_OK;
        case 8:
          form = Form::kPeakLookup;
          return DF_OK;
        default:
          return DF_BAD_SPLINE_TYPE;
      }
    case 3:
      return task.spline_type == 0 || task.spline_type == 1 ? DF_OK : DF_BAD_SPLINE_TYPE;
    case 4: {
      const int64_t type = task.spline_type;
      return type >= 0 && type < 10 && ((kCubicTypes >> type) & 1) != 0 ? DF_OK : DF_BAD_SPLINE_TYPE;
    }
    default:
      return DF_BAD_SPLINE_TYPE;
  }
}

// Points by number, whatever the partition; cheap enough for one site at a time.
template <class Real>
class PointsByNumber {
 public:
  PointsByNumber() = default;
  PointsByNumber(const Real* data, int64_t cells, bool uniform)
      : data_(data), width_(uniform ? (data[1] - data[0]) / static_cast<Real>(cells) : Real{0}), uniform_(uniform) {}
  Real operator[](int64_t i) const { return uniform_ ? data_[0] + static_cast<Real>(i) * width_ : data_[i]; }
  bool is_uniform() const { return uniform_; }
  const Real* data() const { return data_; }
  Real width() const { return width_; }

 private:
  const Real* data_ = nullptr;
  Real width_ = 0;
  bool uniform_ = false;
};

template <class Real>
struct SplineView {
  Form form;
  int64_t order;  // coefficients of a piece
  int64_t pieces;
  PointsByNumber<Real> origins;  // piece i is a polynomial in t - origins[i]
  PointsByNumber<Real> borders;  // piece i goes from borders[i] to borders[i + 1]
  Real first, last;              // outside them is extrapolation
  SearchGround<Real> ground;
  SplineInput<Real> rows;

  // The piece of a cell; cells outside belong to the end pieces. Cells of a user's search may be anything.
  int64_t piece_of(int64_t cell) const { return cell < 1 ? 0 : cell > pieces ? pieces - 1 : cell - 1; }
};

// The last checks before a spline is read, and the view of it. The task's form has been chosen.
template <class Real>
int32_t view_spline(const DFTask& task, Form form, const QlxThreadTable* services, SplineView<Real>& view) {
  const int64_t n = task.partition_size;
  const Real* x = partition_of<Real>(task);
  const bool uniform = (task.partition_hint & DF_UNIFORM) != 0;
  view.form = form;
  view.order = task.spline_order;
  view.rows = read_task<Real>(task, task.spline_order, kFreeEnd, services);
  if (view.rows.functions > 0) {
    if (form == Form::kPolynomial && view.rows.coefficient_rows == nullptr) return DF_BAD_COEFFICIENTS;
    if (form != Form::kPolynomial && view.rows.function_rows == nullptr) return DF_BAD_FUNCTION;
  }
  view.origins = PointsByNumber<Real>(x, n - 1, uniform);
  view.borders = view.origins;
  view.pieces = n - 1;
  view.ground = partition_ground<Real>(task);
  if (form == Form::kPolynomial && task.spline_order == 3 && task.spline_type == 1) {
    // Subbotin's spline has a piece for each point, between knots.
    const auto* knots = static_cast<const Real*>(task.internal_conditions);
    if (knots == nullptr) return DF_BAD_INTERNAL_CONDITIONS;
    view.pieces = n;
    view.borders = PointsByNumber<Real>(knots, n, has_uniform_knots(task));
    view.ground = {{n + 1, knots}, has_uniform_knots(task) ? DF_UNIFORM : DF_NON_UNIFORM, 0, nullptr, 0};
  }
  const PointsByNumber<Real>& borders = view.borders;
  view.first = borders.data()[0];
  view.last = borders.data()[borders.is_uniform() ? 1 : view.pieces];
  return DF_OK;
}

inline bool is_result_hint(int64_t hint) {
  return hint == 0 || hint == DF_ROWS || hint == DF_INTERLEAVED;
}

// Calls body(values) with the values of function f by their storage.
template <class Real, class Body>
auto with_values(const DFTask& task, const SplineInput<Real>& in, int64_t f, const Body& body) {
  if (storage_index(task) == 0) return body(Values<Real, false>(in, f));
  return body(Values<Real, true>(in, f));
}

}  // namespace qlx::fitting
