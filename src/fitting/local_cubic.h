// Cubic splines whose derivative at a point depends on nearby points only: Hermite, Bessel, Hyman, Akima.
// SPDX-License-Identifier: Apache-2.0
//
// Cells go by eight. A window holds what their derivatives read: place k of it is point a - 2 + k for cells from a on,
// and interval k lies between places k and k + 1.
//
//   place      0    1    2    3   ...  9    10   11   12
//   point     a-2  a-1   a   a+1  ... a+7  a+8  a+9  a+10
//
// Derivatives are at places 2 to 10; the one at place 2 is carried over from the cells before.
#pragma once

#include <cmath>
#include <type_traits>

#include "fitting/cell_store.h"
#include "fitting/end_conditions.h"
#include "fitting/work_division.h"

namespace qlx::fitting {

constexpr int kWindow = kCellsAtOnce + 5;
constexpr int kMargin = 2;  // places before the first cell's own point

// Elements of a worker's work array.
constexpr int64_t window_elements(bool uniform, bool interleaved) {
  return (uniform ? 3 : 5) * kWindow + (interleaved ? kWindow : 0);
}
constexpr int64_t kMostWindowElements = window_elements(false, true);

// The rows of a work array. In a uniform partition widths and reciprocals are one number each, and stay out of it.
template <class Real, bool kRows, bool kUniform>
struct Window {
  Real *slopes, *scratch, *derivatives, *widths, *reciprocals, *values;
  const Real* y;  // values of the function at the places: the row itself, or `values`

  explicit Window(Real* work)
      : slopes(work),
        scratch(work + kWindow),
        derivatives(work + 2 * kWindow),
        widths(kUniform ? nullptr : work + 3 * kWindow),
        reciprocals(kUniform ? nullptr : work + 4 * kWindow),
        values(kRows ? nullptr : work + (kUniform ? 3 : 5) * kWindow),
        y(nullptr) {}
};

// ---- Derivatives by kind -------------------------------------------------------------------------------------------

// Each kind stores derivatives at places from to kMargin + kCellsAtOnce. `h(k)` gives interval k's width.
struct HermiteKind {
  template <int kFrom, class Real, class W, class H>
  static void derive(const SplineInput<Real>& in, const W& w, const H& h, int64_t first_point) {
    Real* d = w.derivatives;
    if (in.internal != nullptr) {
      for (int k = kFrom; k <= kMargin + kCellsAtOnce; ++k) {
        const int64_t i = first_point + k;
        d[k] = i >= 1 && i <= in.n - 2 ? in.internal[i - 1] : Real{0};  // the ends follow from the boundary
      }
      return;
    }
    const Real* s = w.slopes;
    for (int k = kFrom; k <= kMargin + kCellsAtOnce; ++k) {
      d[k] = (h(k - 1) * s[k - 1] + h(k) * s[k]) / (h(k - 1) + h(k));
    }
  }
  template <class Real>
  static Real limit_end(const SplineInput<Real>&, Real derivative, Real) {
    return derivative;
  }
};

struct BesselKind : HermiteKind {
  template <int kFrom, class Real, class W, class H>
  static void derive(const SplineInput<Real>&, const W& w, const H& h, int64_t) {
    Real* d = w.derivatives;
    const Real* s = w.slopes;
    for (int k = kFrom; k <= kMargin + kCellsAtOnce; ++k) {
      d[k] = (h(k) * s[k - 1] + h(k - 1) * s[k]) / (h(k - 1) + h(k));
    }
  }
};

// Between slopes of one sign the derivative keeps that sign and at most three times the smaller slope, which makes both
// cells monotone (de Boor and Swartz 1977); at a local extremum of the data it is 0 (Hyman 1983, equation 2.3).
struct HymanKind {
  template <class Real>
  static Real limit(Real d, Real s0, Real s1) {
    const Real a0 = s0 < 0 ? -s0 : s0, a1 = s1 < 0 ? -s1 : s1;
    const Real most = 3 * (a0 < a1 ? a0 : a1);
    const Real rising = d < 0 ? Real{0} : d < most ? d : most;
    const Real falling = d > 0 ? Real{0} : d > -most ? d : -most;
    const Real same_sign = s0 > 0 ? rising : falling;
    return (s0 > 0 && s1 > 0) || (s0 < 0 && s1 < 0) ? same_sign : Real{0};
  }
  template <int kFrom, class Real, class W, class H>
  static void derive(const SplineInput<Real>& in, const W& w, const H& h, int64_t first_point) {
    BesselKind::derive<kFrom>(in, w, h, first_point);
    Real* d = w.derivatives;
    const Real* s = w.slopes;
    for (int k = kFrom; k <= kMargin + kCellsAtOnce; ++k) d[k] = limit(d[k], s[k - 1], s[k]);
  }
  // A free end can't break monotonicity: d0 = 1.5 s0 - 0.5 d1 lies in [0, 1.5 s0] for d1 in [0, 3 s0]. The
  // not-a-knot end could; values that the caller gives are kept.
  template <class Real>
  static Real limit_end(const SplineInput<Real>& in, Real derivative, Real slope) {
    return in.boundary_class == kNotAKnot ? limit(derivative, slope, slope) : derivative;
  }
};

struct AkimaKind : HermiteKind {
  template <int kFrom, class Real, class W, class H>
  static void derive(const SplineInput<Real>&, const W& w, const H&, int64_t) {
    // Below this sum of weights the quotient is noise, and the mean of the slopes takes its place.
    constexpr Real kLeastWeight = sizeof(Real) == sizeof(double) ? Real(1e-10) : Real(1e-06);
    Real *d = w.derivatives, *change = w.scratch;
    const Real* s = w.slopes;
    for (int k = kFrom - 2; k <= kMargin + kCellsAtOnce; ++k) change[k] = std::abs(s[k + 1] - s[k]);
    for (int k = kFrom; k <= kMargin + kCellsAtOnce; ++k) {
      const Real w1 = change[k], w2 = change[k - 2], sum = w1 + w2;
      const Real weighted = (w1 * s[k - 1] + w2 * s[k]) / sum;
      const Real mean = (s[k - 1] + s[k]) / 2;
      d[k] = sum >= kLeastWeight ? weighted : mean;
    }
  }
};

// ---- Window --------------------------------------------------------------------------------------------------------

template <class Real, bool kRows, bool kUniform>
class LocalCubic {
 public:
  LocalCubic(const SplineInput<Real>& in, Real* work) : in_(in), widths_(in), w_(work) {
    for (Real& reciprocal : uniform_reciprocals_) reciprocal = widths_.reciprocal(1);
  }

  template <class Kind>
  void run(const Item& item) {
    for (int64_t f = item.first_function; f < item.end_function; ++f) run_function<Kind>(f, item);
  }

 private:
  template <class Kind>
  void run_function(int64_t f, const Item& item) {
    const Values<Real, kRows> y(in_, f);
    Real* row = in_.row(f);
    const auto h = [this](int k) { return kUniform ? widths_[0] : w_.widths[k]; };
    Real periodic_end = 0;
    const bool given_periodic = bends_periodic_end<Kind>();
    if (given_periodic) periodic_end = hermite_periodic_end(y);

    for (int64_t a = item.first_cell; a < item.end_cell; a += kCellsAtOnce) {
      const int64_t count = item.end_cell - a < kCellsAtOnce ? item.end_cell - a : kCellsAtOnce;
      const bool inside = a >= kMargin && a + kWindow - kMargin <= in_.n;
      const bool goes_on = a != item.first_cell;
      if (!inside) {
        fill_edge(y, a);
      } else if (goes_on) {
        keep_overlap();
        fill_inside<kWindow - 1 - kCellsAtOnce>(y, a);
      } else {
        fill_inside<0>(y, a);
      }
      if (!goes_on) {
        Kind::template derive<kMargin>(in_, w_, h, a - kMargin);
      } else {
        w_.derivatives[kMargin] = carried_;
        Kind::template derive<kMargin + 1>(in_, w_, h, a - kMargin);
      }
      Real* d = w_.derivatives + kMargin;
      const Real* s = w_.slopes + kMargin;
      if (given_periodic) {
        if (a == 0) d[0] = periodic_end;
        if (a + count == in_.n - 1) d[count] = periodic_end;
      } else if (in_.boundary_class != kPeriodic) {
        if (a == 0) {
          d[0] = Kind::limit_end(in_, end_relation(in_, true, s[0], s[1], h(kMargin), h(kMargin + 1))(d[1]), s[0]);
        }
        if (a + count == in_.n - 1) {
          const int last = kMargin + static_cast<int>(count) - 1;  // interval of the last cell
          const EndRelation<Real> relation =
              end_relation(in_, false, w_.slopes[last], w_.slopes[last - 1], h(last), h(last - 1));
          d[count] = Kind::limit_end(in_, relation(d[count - 1]), w_.slopes[last]);
        }
      }
      carried_ = d[kCellsAtOnce];
      const Real* reciprocals = kUniform ? uniform_reciprocals_ : w_.reciprocals + kMargin;
      store_hermite_cells(row + a * in_.stride, in_.stride, count, w_.y + kMargin, d, s, reciprocals);
    }
  }

  // The last intervals of a window are the first ones of the next: divisions are what these kinds spend their time on.
  void keep_overlap() {
    for (int k = 0; k < kWindow - 1 - kCellsAtOnce; ++k) {
      w_.slopes[k] = w_.slopes[k + kCellsAtOnce];
      if constexpr (!kUniform) {
        w_.widths[k] = w_.widths[k + kCellsAtOnce];
        w_.reciprocals[k] = w_.reciprocals[k + kCellsAtOnce];
      }
    }
  }

  // Every place lies in the partition; intervals before kFrom are there already.
  template <int kFrom>
  void fill_inside(const Values<Real, kRows>& y, int64_t a) {
    const int64_t first = a - kMargin;
    if constexpr (kRows) {
      w_.y = y.row() + first;
    } else {
      for (int k = 0; k < kWindow; ++k) w_.values[k] = y[first + k];
      w_.y = w_.values;
    }
    const Real* values = w_.y;
    Real* slopes = w_.slopes;
    if constexpr (kUniform) {
      for (int k = kFrom; k < kWindow - 1; ++k) slopes[k] = widths_.slope(values[k + 1] - values[k], 0);
    } else {
      const Real* x = in_.x + first;
      Real *widths = w_.widths, *reciprocals = w_.reciprocals;
      for (int k = kFrom; k < kWindow - 1; ++k) {
        const Real width = x[k + 1] - x[k];
        widths[k] = width;
        slopes[k] = (values[k + 1] - values[k]) / width;
        reciprocals[k] = 1 / width;
      }
    }
  }

  // Some places lie outside. A periodic function goes on; others get Akima's extension, in which slopes change linearly
  // beyond the end, and widths of 1, which only keep unused lanes finite.
  void fill_edge(const Values<Real, kRows>& y, int64_t a) {
    const int64_t first = a - kMargin, cells = in_.n - 1;
    for (int k = 0; k < kWindow - 1; ++k) {
      const int64_t i = first + k;
      const bool inside = i >= 0 && i < cells;
      const int64_t wrapped = inside ? i : ((i % cells) + cells) % cells;
      Real width = 1, slope = 0, value = 0;
      if (inside || in_.boundary_class == kPeriodic) {
        width = widths_[wrapped];
        value = y[wrapped];
        slope = widths_.slope(y[wrapped + 1] - value, width);
      } else if (i == -1) {
        slope = 2 * slope_at(y, 0) - slope_at(y, 1);
      } else if (i == cells) {
        slope = 2 * slope_at(y, cells - 1) - slope_at(y, cells - 2);
      }
      w_.slopes[k] = slope;
      if constexpr (!kUniform) {
        w_.widths[k] = width;
        w_.reciprocals[k] = widths_.reciprocal(width);
      }
      edge_values_[k] = value;
    }
    w_.y = edge_values_;
  }

  Real slope_at(const Values<Real, kRows>& y, int64_t i) const { return widths_.slope(y[i + 1] - y[i], widths_[i]); }

  // With derivatives given at the inner points, a periodic spline has a second derivative to choose at the ends: the
  // one that is periodic too, (6 s0 - 4 d - 2 d[1]) / h0 = (2 d[n-2] + 4 d - 6 s1) / h1.
  template <class Kind>
  bool bends_periodic_end() const {
    return std::is_same_v<Kind, HermiteKind> && in_.internal != nullptr && in_.boundary_class == kPeriodic;
  }
  Real hermite_periodic_end(const Values<Real, kRows>& y) const {
    const int64_t last = in_.n - 2;
    const Real r0 = widths_.reciprocal(widths_[0]), r1 = widths_.reciprocal(widths_[last]);
    const Real slopes = slope_at(y, 0) * r0 + slope_at(y, last) * r1;
    return (3 * slopes - in_.internal[0] * r0 - in_.internal[last - 1] * r1) / (2 * (r0 + r1));
  }

  const SplineInput<Real>& in_;
  Widths<Real, kUniform> widths_;
  Window<Real, kRows, kUniform> w_;
  Real carried_ = 0;
  Real edge_values_[kWindow];
  Real uniform_reciprocals_[kCellsAtOnce];
};

// ---- Kernels -------------------------------------------------------------------------------------------------------

// `kAllocates`: the workers' windows come from one allocation, as Akima's do; the others' live on their stacks.
template <class Kind, bool kAllocates, class Real, bool kRows, bool kUniform>
[[gnu::noinline]] int32_t local_cubic_kernel(const SplineInput<Real>& in) {
  if (in.boundary_class == kPeriodic) {
    const int32_t status = check_periodic<Real, kRows>(in);
    if (status != DF_OK) return status;
  }
  const Division division = divide_work(in.n, in.functions, in.services);
  const int64_t elements = window_elements(kUniform, !kRows);
  if constexpr (kAllocates) {
    const Scratch<Real> work(elements * division.workers);
    if (work.get() == nullptr) return DF_NO_MEMORY;
    run_items(in.services, division, [&](int worker, const Item& item) {
      LocalCubic<Real, kRows, kUniform>(in, work.get() + worker * elements).template run<Kind>(item);
    });
  } else {
    run_items(in.services, division, [&](int, const Item& item) {
      Real work[kMostWindowElements];
      LocalCubic<Real, kRows, kUniform>(in, work).template run<Kind>(item);
    });
  }
  return DF_OK;
}

template <class Kind, bool kAllocates, class Real>
constexpr SplineKernel<Real> kLocalCubicKernels[2][2] = {
    {local_cubic_kernel<Kind, kAllocates, Real, false, false>, local_cubic_kernel<Kind, kAllocates, Real, false, true>},
    {local_cubic_kernel<Kind, kAllocates, Real, true, false>, local_cubic_kernel<Kind, kAllocates, Real, true, true>}};

template <class Kind, bool kAllocates, class Real>
int32_t construct_local_cubic(const DFTask* task, int64_t method, const QlxThreadTable* services, int64_t least_points,
                              bool akima_ending) {
  return construct<Real>(
      task, method, services, {4, least_points, least_points, false, true, akima_ending},
      [](int storage, int partition, int) { return kLocalCubicKernels<Kind, kAllocates, Real>[storage][partition]; });
}

}  // namespace qlx::fitting
