// Integration of splines between lists of limits.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <limits>

#include "fitting/interpolate.h"

namespace qlx::fitting {

// ---- Integrands --------------------------------------------------------------------------------------------------

// Integrals over parts of pieces, in double for both element types. Offsets count from a piece's origin.
template <class Real, int kOrder>
class PolynomialIntegrand {
 public:
  PolynomialIntegrand(const SplineView<Real>& view, int64_t f) : view_(view), row_(view.rows.row(f)) {}

  // Simpson's rule, which is exact for cubic polynomials: unlike a difference of antiderivatives it loses nothing when
  // the part is small.
  double part(int64_t piece, double from, double to) const {
    double c[kOrder];
    for (int k = 0; k < kOrder; ++k) c[k] = static_cast<double>(row_[piece * kOrder + k]);
    const double sum =
        horner<kOrder, 0>(c, from) + 4 * horner<kOrder, 0>(c, (from + to) / 2) + horner<kOrder, 0>(c, to);
    return (to - from) * sum / 6;
  }
  // Outside the partition the end polynomials go on.
  double left(Real from, Real to) const { return outside(0, from, to); }
  double right(Real from, Real to) const { return outside(view_.pieces - 1, from, to); }

 private:
  double outside(int64_t piece, Real from, Real to) const {
    const auto origin = static_cast<double>(view_.origins[piece]);
    return part(piece, static_cast<double>(from) - origin, static_cast<double>(to) - origin);
  }
  const SplineView<Real>& view_;
  const Real* row_;
};

template <class Real, class FunctionValues>
class StepIntegrand {
 public:
  StepIntegrand(const SplineView<Real>& view, const FunctionValues& y) : view_(view), y_(y) {}

  double part(int64_t piece, double from, double to) const {
    const double before = value(piece), after = value(piece + 1);
    switch (view_.form) {
      case Form::kStepLeftContinuous:
        return (to - from) * after;
      case Form::kStepRightContinuous:
        return (to - from) * before;
      default: {
        const double middle =
            (static_cast<double>(view_.borders[piece + 1]) - static_cast<double>(view_.borders[piece])) / 2;
        const double turn = from > middle ? from : to < middle ? to : middle;
        return (turn - from) * before + (to - turn) * after;
      }
    }
  }
  double left(Real from, Real to) const { return (static_cast<double>(to) - static_cast<double>(from)) * value(0); }
  double right(Real from, Real to) const {
    return (static_cast<double>(to) - static_cast<double>(from)) * value(view_.pieces);
  }

 private:
  double value(int64_t i) const { return static_cast<double>(y_[i]); }
  const SplineView<Real>& view_;
  const FunctionValues y_;
};

// Calls body(integrand) with the integrand of function f.
template <class Real, class Body>
int32_t with_integrand(const DFTask& task, const SplineView<Real>& view, int64_t f, const Body& body) {
  if (view.form != Form::kPolynomial) {
    return with_values(task, view.rows, f, [&]<class V>(const V& y) { return body(StepIntegrand<Real, V>(view, y)); });
  }
  if (view.order == 3) return body(PolynomialIntegrand<Real, 3>(view, f));
  return body(PolynomialIntegrand<Real, 4>(view, f));
}

// ---- Sums over pieces ---------------------------------------------------------------------------------------------

template <class Real, class Integrand>
double whole_piece(const SplineView<Real>& view, const Integrand& integrand, int64_t piece) {
  const auto origin = static_cast<double>(view.origins[piece]);
  return integrand.part(piece, static_cast<double>(view.borders[piece]) - origin,
                        static_cast<double>(view.borders[piece + 1]) - origin);
}

// Adds without losing what the sum is too large to hold (A. Neumaier, "Rundungsfehleranalyse einiger Verfahren zur
// Summation endlicher Summen", ZAMM 54, 1974).
class CarefulSum {
 public:
  void add(double term) {
    const double sum = sum_ + term;
    const double a = sum_ < 0 ? -sum_ : sum_, b = term < 0 ? -term : term;
    lost_ += a >= b ? (sum_ - sum) + term : (term - sum) + sum_;
    sum_ = sum;
  }
  // Once the sum is infinite the correction is NaN, and means nothing.
  double value() const {
    const double corrected = sum_ + lost_;
    return std::isnan(lost_) ? sum_ : corrected;
  }

 private:
  double sum_ = 0, lost_ = 0;
};

// Up to this many whole pieces are added one by one, even when running sums are at hand: the difference of two running
// sums has an error of the size of the sums.
constexpr int64_t kDirectPieces = 16;

template <class Real, class Integrand>
double whole_pieces(const SplineView<Real>& view, const Integrand& integrand, const double* running, int64_t from,
                    int64_t to) {
  if (running != nullptr && to - from > kDirectPieces) return running[to] - running[from];
  CarefulSum sum;
  for (int64_t piece = from; piece < to; ++piece) sum.add(whole_piece(view, integrand, piece));
  return sum.value();
}

// ---- Limits -------------------------------------------------------------------------------------------------------

template <class Real>
struct Integration {
  const DFTask* task;
  SplineView<Real> view;
  Sites<Real> left, right;
  Real* results;
  bool interleaved;
  const typename Types<Real>::Callbacks* callbacks;
  const QlxThreadTable* services;

  Real& result(int64_t f, int64_t i) const {
    return results[interleaved ? i * view.rows.functions + f : f * left.m + i];
  }
};

// Integral from `from` to `to`, from < to, whose cells are known.
template <class Real, class Integrand>
int32_t integrate_between(const Integration<Real>& run, const Integrand& integrand, const double* running, int64_t f,
                          Real from, Real to, int64_t from_cell, int64_t to_cell, double& result) {
  const SplineView<Real>& view = run.view;
  const auto* user = run.callbacks;
  double sum = 0;
  if (from < view.first) {
    const Real end = to < view.first ? to : view.first;
    if (user != nullptr && user->left_integral != nullptr) {
      Real outside = 0;
      const int32_t status = user->left_integral(f, from, end, &outside, user->left_integral_parameters);
      if (status < 0) return status;
      sum += static_cast<double>(outside);
    } else {
      sum += integrand.left(from, end);
    }
    from = view.first;
  }
  if (to > view.last) {
    const Real start = from > view.last ? from : view.last;
    if (user != nullptr && user->right_integral != nullptr) {
      Real outside = 0;
      const int32_t status = user->right_integral(f, start, to, &outside, user->right_integral_parameters);
      if (status < 0) return status;
      sum += static_cast<double>(outside);
    } else {
      sum += integrand.right(start, to);
    }
    to = view.last;
  }
  if (from < to) {
    const int64_t last_piece = view.piece_of(to_cell);
    int64_t piece = view.piece_of(from_cell);
    if (piece > last_piece) piece = last_piece;  // a user's cells may contradict the limits
    double start = static_cast<double>(from) - static_cast<double>(view.origins[piece]);
    if (piece < last_piece) {
      const double end = static_cast<double>(view.borders[piece + 1]) - static_cast<double>(view.origins[piece]);
      sum += integrand.part(piece, start, end);
      sum += whole_pieces(view, integrand, running, piece + 1, last_piece);
      start = static_cast<double>(view.borders[last_piece]) - static_cast<double>(view.origins[last_piece]);
    }
    sum += integrand.part(last_piece, start, static_cast<double>(to) - static_cast<double>(view.origins[last_piece]));
  }
  result = sum;
  return DF_OK;
}

template <class Real, class Integrand>
int32_t integrate_slice(const Integration<Real>& run, const Integrand& integrand, const double* running, int64_t f,
                        const int32_t* left_cells, const int32_t* right_cells, int64_t first, int64_t count) {
  for (int64_t i = first; i < first + count; ++i) {
    Real left_buffer, right_buffer;
    const Real left = *run.left.get(i, 1, &left_buffer), right = *run.right.get(i, 1, &right_buffer);
    double value = 0;  // of equal limits, infinite ones too
    int32_t status = DF_OK;
    if (left < right) {
      status = integrate_between(run, integrand, running, f, left, right, left_cells[i], right_cells[i], value);
    } else if (right < left) {
      status = integrate_between(run, integrand, running, f, right, left, right_cells[i], left_cells[i], value);
      value = -value;
    } else if (!(left == right)) {
      value = std::numeric_limits<double>::quiet_NaN();
    }
    if (status != DF_OK) return status;
    run.result(f, i) = static_cast<Real>(value);
  }
  return DF_OK;
}

// Cells of one list of limits.
template <class Real>
int32_t search_limits(const SearchPlan<Real>& plan, const Sites<Real>& limits, int32_t* cells,
                      const QlxThreadTable* services) {
  return run_slices(services, limits.m, [&](int64_t first, int64_t count) {
    SearchCursor cursor;
    Real expanded[kSiteBlock];
    for (int64_t begin = first; begin < first + count; begin += kSiteBlock) {
      const int64_t m = first + count - begin < kSiteBlock ? first + count - begin : kSiteBlock;
      const int32_t status = search_block(plan, cursor, m, limits.get(begin, m, expanded), cells + begin);
      if (status != DF_OK) return status;
    }
    return int32_t{DF_OK};
  });
}

template <class Real>
int32_t integrate_functions(const Integration<Real>& run, const int32_t* left_cells, const int32_t* right_cells) {
  const SplineView<Real>& view = run.view;
  int64_t spanned = 0;
  for (int64_t i = 0; i < run.left.m; ++i) {
    const int64_t span = view.piece_of(right_cells[i]) - view.piece_of(left_cells[i]);
    spanned += span < 0 ? -span : span;
  }
  const bool sums_up = spanned > view.pieces;
  const Scratch<double> running(sums_up ? view.pieces + 1 : 1);
  if (running.get() == nullptr) return DF_NO_MEMORY;

  for (int64_t f = 0; f < view.rows.functions; ++f) {
    const int32_t status = with_integrand(*run.task, view, f, [&](const auto& integrand) {
      if (sums_up) {
        CarefulSum sum;
        for (int64_t piece = 0; piece < view.pieces; ++piece) {
          running.get()[piece] = sum.value();
          sum.add(whole_piece(view, integrand, piece));
        }
        running.get()[view.pieces] = sum.value();
      }
      const double* sums = sums_up ? running.get() : nullptr;
      return run_slices(run.services, run.left.m, [&](int64_t first, int64_t count) {
        return integrate_slice(run, integrand, sums, f, left_cells, right_cells, first, count);
      });
    });
    if (status != DF_OK) return status;
  }
  return DF_OK;
}

template <class Real>
int32_t integrate(const DFTask* task, int64_t kind, int64_t method, int64_t limit_count, const Real* left,
                  int64_t left_hint, const Real* right, int64_t right_hint, const Real* site_parameters, Real* results,
                  int64_t result_hint, const typename Types<Real>::Callbacks* callbacks,
                  const QlxThreadTable* services) {
  if (task == nullptr) return DF_NULL_TASK;
  Form form;
  int32_t status = choose_form(*task, kind, form);
  if (status != DF_OK) return status;
  if (limit_count < 0 || (limit_count > 0 && (left == nullptr || right == nullptr || results == nullptr))) {
    return DF_BAD_SITES;
  }
  if (!is_result_hint(result_hint)) return DF_BAD_COEFFICIENT_HINT;
  SplineView<Real> view;
  status = view_spline(*task, form, services, view);
  if (status != DF_OK) return status;
  SearchPlan<Real> left_plan, right_plan;
  const auto plan = [&](int64_t hint, SearchPlan<Real>& into) {
    return plan_search(view.ground, method, hint, site_parameters, callbacks ? callbacks->search : nullptr,
                       callbacks ? callbacks->search_parameters : nullptr, into);
  };
  status = plan(left_hint, left_plan);
  if (status == DF_OK) status = plan(right_hint, right_plan);
  if (status != DF_OK || limit_count == 0) return status;

  const Scratch<int32_t> cells(limit_count > INT64_MAX / 2 ? -1 : 2 * limit_count);
  if (cells.get() == nullptr) return DF_NO_MEMORY;
  const Integration<Real> run{task,
                              view,
                              Sites<Real>(limit_count, left, left_hint),
                              Sites<Real>(limit_count, right, right_hint),
                              results,
                              result_hint == DF_INTERLEAVED,
                              callbacks,
                              services};
  int32_t *left_cells = cells.get(), *right_cells = cells.get() + limit_count;
  status = search_limits(left_plan, run.left, left_cells, services);
  if (status == DF_OK) status = search_limits(right_plan, run.right, right_cells, services);
  if (status != DF_OK) return status;
  return integrate_functions(run, left_cells, right_cells);
}

}  // namespace qlx::fitting
