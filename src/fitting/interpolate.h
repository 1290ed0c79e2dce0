// Evaluation of splines and of their derivatives.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>

#include "fitting/spline_view.h"
#include "fitting/work_division.h"

namespace qlx::fitting {

// Sites that are searched and evaluated together: their cells, pieces and offsets stay in the first-level cache.
constexpr int64_t kSiteBlock = 256;

template <class Real>
struct Interpolation {
  const DFTask* task;
  SplineView<Real> view;
  SearchPlan<Real> plan;
  Sites<Real> sites;
  int64_t derivative_count;
  const int64_t* orders;
  Real* results;
  bool interleaved;
  int32_t* cells;
  const typename Types<Real>::Callbacks* callbacks;

  // Where the results of function f and derivative number k start, and the step from site to site.
  Real* result_of(int64_t f, int64_t k) const {
    return results + (interleaved ? f * derivative_count + k : (f * derivative_count + k) * sites.m);
  }
  int64_t result_step() const { return interleaved ? view.rows.functions * derivative_count : 1; }
};

// Derivative kDerivative of c0 + c1 u + ... (kOrder terms) by Horner's rule: term j has the factor
// j (j - 1) ... (j - kDerivative + 1). A derivative that is constant still is NaN where u is.
template <int kOrder, int kDerivative, class Real>
inline Real horner(const Real* c, Real u) {
  constexpr auto factor = [](int j) {
    int product = 1;
    for (int k = 0; k < kDerivative; ++k) product *= j - k;
    return static_cast<Real>(product);
  };
  Real value = factor(kOrder - 1) * c[kOrder - 1];
  if constexpr (kDerivative == kOrder - 1) return std::isnan(u) ? u : value;
  for (int j = kOrder - 2; j >= kDerivative; --j) value = value * u + factor(j) * c[j];
  return value;
}

template <int kOrder, int kDerivative, class Real>
void evaluate_pieces(const Real* row, int64_t m, const int32_t* pieces, const Real* offsets, Real* out, int64_t step) {
  if (step == 1) {
    for (int64_t i = 0; i < m; ++i) {
      out[i] = horner<kOrder, kDerivative>(row + int64_t{pieces[i]} * kOrder, offsets[i]);
    }
    return;
  }
  for (int64_t i = 0; i < m; ++i) {
    out[i * step] = horner<kOrder, kDerivative>(row + int64_t{pieces[i]} * kOrder, offsets[i]);
  }
}

// 0, or NaN where the site is.
template <class Real>
void evaluate_zero(int64_t m, const Real* offsets, Real* out, int64_t step) {
  for (int64_t i = 0; i < m; ++i) out[i * step] = std::isnan(offsets[i]) ? offsets[i] : Real{0};
}

template <class Real>
using PieceEvaluator = void (*)(const Real* row, int64_t m, const int32_t* pieces, const Real* offsets, Real* out,
                                int64_t step);

// By the number of coefficients less 3, and the order of the derivative. Beyond the degree there is nothing to read.
template <class Real>
constexpr PieceEvaluator<Real> kPieceEvaluators[2][4] = {
    {evaluate_pieces<3, 0, Real>, evaluate_pieces<3, 1, Real>, evaluate_pieces<3, 2, Real>, nullptr},
    {evaluate_pieces<4, 0, Real>, evaluate_pieces<4, 1, Real>, evaluate_pieces<4, 2, Real>,
     evaluate_pieces<4, 3, Real>}};

template <class Real>
PieceEvaluator<Real> piece_evaluator(int64_t coefficients, int64_t derivative) {
  return derivative < coefficients ? kPieceEvaluators<Real>[coefficients - 3][derivative] : nullptr;
}

// A block of sites, searched.
template <class Real>
struct SiteBlock {
  int64_t first, m;
  const Real* sites;
  const int32_t* cells;
  int32_t pieces[kSiteBlock];  // for the step interpolants, points whose value is taken
  Real offsets[kSiteBlock];    // from the pieces' origins; NaN with the site
};

template <class Real>
void locate_polynomials(const SplineView<Real>& view, SiteBlock<Real>& block) {
  const auto most = static_cast<int32_t>(view.pieces - 1);
  for (int64_t i = 0; i < block.m; ++i) {
    const int32_t cell = block.cells[i];  // a user's search may have said anything
    block.pieces[i] = cell < 1 ? 0 : cell > most ? most : cell - 1;
  }
  if (view.origins.is_uniform()) {
    const Real start = view.origins.data()[0], width = view.origins.width();
    for (int64_t i = 0; i < block.m; ++i) {
      block.offsets[i] = block.sites[i] - (start + static_cast<Real>(block.pieces[i]) * width);
    }
  } else {
    const Real* x = view.origins.data();
    for (int64_t i = 0; i < block.m; ++i) block.offsets[i] = block.sites[i] - x[block.pieces[i]];
  }
}

// Number of the point whose value a step interpolant takes at t.
template <class Real>
int64_t step_point(const SplineView<Real>& view, int64_t cell, Real t) {
  const int64_t left = view.piece_of(cell);
  if (!(t >= view.first)) return 0;
  if (t >= view.last) return view.pieces;
  const Real before = view.origins[left], after = view.origins[left + 1];
  switch (view.form) {
    case Form::kStepLeftContinuous:
      return t <= before ? left : left + 1;
    case Form::kStepRightContinuous:
      return t >= after ? left + 1 : left;
    default:
      return t - before < after - t ? left : left + 1;
  }
}

template <class Real>
void locate_steps(const SplineView<Real>& view, SiteBlock<Real>& block) {
  for (int64_t i = 0; i < block.m; ++i) {
    const Real t = block.sites[i];
    block.pieces[i] = static_cast<int32_t>(step_point(view, block.cells[i], t));
    block.offsets[i] = std::isnan(t) ? t : Real{0};
  }
}

// Replaces the results of the sites on one side outside the partition by a user's.
template <class Real, class Extrapolate>
int32_t extrapolate(const Interpolation<Real>& run, const SiteBlock<Real>& block, bool left, Extrapolate user,
                    void* parameters) {
  if (user == nullptr) return DF_OK;
  int64_t places[kSiteBlock];
  Real outside[kSiteBlock], results[kSiteBlock];
  int64_t count = 0;
  for (int64_t i = 0; i < block.m; ++i) {
    const Real t = block.sites[i];
    if (left ? t < run.view.first : t > run.view.last) {
      outside[count] = t;
      places[count++] = block.first + i;
    }
  }
  if (count == 0) return DF_OK;
  for (int64_t f = 0; f < run.view.rows.functions; ++f) {
    for (int64_t k = 0; k < run.derivative_count; ++k) {
      const int32_t status = user(f, run.orders[k], count, outside, results, parameters);
      if (status < 0) return status;
      Real* out = run.result_of(f, k);
      for (int64_t i = 0; i < count; ++i) out[places[i] * run.result_step()] = results[i];
    }
  }
  return DF_OK;
}

template <class Real>
void evaluate_block(const Interpolation<Real>& run, const SiteBlock<Real>& block) {
  const SplineView<Real>& view = run.view;
  const int64_t step = run.result_step();
  for (int64_t f = 0; f < view.rows.functions; ++f) {
    for (int64_t k = 0; k < run.derivative_count; ++k) {
      Real* out = run.result_of(f, k) + block.first * step;
      if (view.form == Form::kPolynomial) {
        const PieceEvaluator<Real> evaluate = piece_evaluator<Real>(view.order, run.orders[k]);
        if (evaluate != nullptr) {
          evaluate(view.rows.row(f), block.m, block.pieces, block.offsets, out, step);
          continue;
        }
      } else if (run.orders[k] == 0) {
        with_values(*run.task, view.rows, f, [&](const auto& y) {
          for (int64_t i = 0; i < block.m; ++i) out[i * step] = y[block.pieces[i]] + block.offsets[i];
        });
        continue;
      }
      evaluate_zero(block.m, block.offsets, out, step);
    }
  }
}

template <class Real>
int32_t interpolate_slice(const Interpolation<Real>& run, int64_t first, int64_t count) {
  SearchCursor cursor;
  Real expanded[kSiteBlock];
  int32_t found[kSiteBlock];
  SiteBlock<Real> block;
  for (int64_t begin = first; begin < first + count; begin += kSiteBlock) {
    block.first = begin;
    block.m = first + count - begin < kSiteBlock ? first + count - begin : kSiteBlock;
    block.sites = run.sites.get(begin, block.m, expanded);
    int32_t* cells = run.cells != nullptr ? run.cells + begin : found;
    int32_t status = search_block(run.plan, cursor, block.m, block.sites, cells);
    if (status != DF_OK) return status;
    if (run.derivative_count == 0) continue;
    block.cells = cells;
    run.view.form == Form::kPolynomial ? locate_polynomials(run.view, block) : locate_steps(run.view, block);
    evaluate_block(run, block);
    if (run.callbacks == nullptr) continue;
    const auto& user = *run.callbacks;
    status = extrapolate(run, block, true, user.left_extrapolate, user.left_extrapolate_parameters);
    if (status != DF_OK) return status;
    status = extrapolate(run, block, false, user.right_extrapolate, user.right_extrapolate_parameters);
    if (status != DF_OK) return status;
  }
  return DF_OK;
}

template <class Real>
int32_t interpolate(const DFTask* task, int64_t kind, int64_t method, int64_t site_count, const Real* sites,
                    int64_t site_hint, const Real* site_parameters, int64_t derivative_count, const int64_t* orders,
                    Real* results, int64_t result_hint, int32_t* cells,
                    const typename Types<Real>::Callbacks* callbacks, const QlxThreadTable* services) {
  if (task == nullptr) return DF_NULL_TASK;
  Form form;
  int32_t status = choose_form(*task, kind, form);
  if (status != DF_OK) return status;
  if (site_count < 0 || (site_count > 0 && sites == nullptr)) return DF_BAD_SITES;
  if (derivative_count < 0 || (derivative_count > 0 && results == nullptr)) return DF_BAD_DERIVATIVE_COUNT;
  if (derivative_count > 0 && orders == nullptr) return DF_BAD_DERIVATIVE_ORDERS;
  for (int64_t k = 0; k < derivative_count; ++k) {
    if (orders[k] < 0) return DF_BAD_DERIVATIVE_ORDERS;
  }
  if (!is_result_hint(result_hint)) return DF_BAD_COEFFICIENT_HINT;
  SplineView<Real> view;
  status = view_spline(*task, form, services, view);
  if (status != DF_OK) return status;
  SearchPlan<Real> plan;
  status = plan_search(view.ground, method, site_hint, site_parameters, callbacks ? callbacks->search : nullptr,
                       callbacks ? callbacks->search_parameters : nullptr, plan);
  if (status != DF_OK || site_count == 0) return status;

  const Interpolation<Real> run{task,
                                view,
                                plan,
                                Sites<Real>(site_count, sites, site_hint),
                                derivative_count,
                                orders,
                                results,
                                result_hint == DF_INTERLEAVED,
                                cells,
                                callbacks};
  return run_slices(services, site_count,
                    [&](int64_t first, int64_t count) { return interpolate_slice(run, first, count); });
}

}  // namespace qlx::fitting
