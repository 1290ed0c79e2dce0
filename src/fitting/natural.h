// Cubic splines with two continuous derivatives.
// SPDX-License-Identifier: Apache-2.0
//
// The unknowns are the first derivatives d. Continuity of the second derivative at the inner point i (de Boor, A
// Practical Guide to Splines, 1978, chapter IV):
//
//   h[i] d[i-1] + 2 (h[i-1] + h[i]) d[i] + h[i-1] d[i+1] = 3 (h[i] s[i-1] + h[i-1] s[i])
//
// An end relation d[0] = A - B d[1] is put into the first row, and likewise into the last, so that the system holds
// inner points only and stays diagonally dominant for every boundary class.
//
// Cells are worked out in chunks, each from a system of its own that reaches kOverlap points beyond the chunk and takes
// three-point derivatives as known where it is cut off. Rows have off-diagonal elements that sum to half of the
// diagonal, whatever the widths, so that an error halves at least from point to point: 2^-64 of the error of an
// estimate is left, below the rounding of a double (2^-32 for float). In a uniform partition it is 0.27^64. This is the
// argument of truncated solvers (Polizzi and Sameh, "A parallel hybrid banded system solver: the SPIKE algorithm",
// Parallel Computing 32, 2006); it keeps a chunk in the cache, and lets threads share one function. A periodic spline
// is a chunk with neighbours all round: the same overlap, wrapped.
#pragma once

#include "fitting/cell_store.h"
#include "fitting/end_conditions.h"
#include "fitting/tridiagonal.h"
#include "fitting/work_division.h"

namespace qlx::fitting {

template <class Real>
constexpr int64_t kOverlap = sizeof(Real) == sizeof(double) ? 64 : 32;

// Arrays of a worker. Place k of an array of intervals is interval first + k, and so for points: the first unknown
// stands at place 1, its left neighbour at place 0.
template <class Real>
class NaturalWork {
 public:
  static int64_t length(int64_t n) {
    // The points of a chunk, its overlaps and a neighbour on each side. A periodic system has overlaps however few the
    // points.
    const int64_t points = n < kLastChunkCells + 1 ? n : kLastChunkCells + 1;
    return points + 2 * (kOverlap<Real> + 1);
  }
  static int64_t elements(int64_t n) { return (5 + 2 * kGroupFunctions) * length(n); }

  NaturalWork(Real* work, int64_t n) : length_(length(n)), work_(work) {}
  Real* widths() const { return at(0); }
  Real* reciprocals() const { return at(1); }
  Real* below() const { return at(2); }
  Real* diagonal() const { return at(3); }
  Real* above() const { return at(4); }
  Real* slopes(int64_t column) const { return at(5 + column); }
  Real* derivatives(int64_t column) const { return at(5 + kGroupFunctions + column); }
  int64_t leading() const { return length_; }

 private:
  Real* at(int64_t array) const { return work_ + array * length_; }
  int64_t length_;
  Real* work_;
};

template <class Real, bool kRows, bool kUniform>
class NaturalItem {
 public:
  NaturalItem(const SplineInput<Real>& in, const Item& item, Real* work)
      : in_(in), item_(item), width_of_(in), work_(work, in.n), periodic_(in.boundary_class == kPeriodic) {
    const int64_t low = item.first_cell - kOverlap<Real>, high = item.end_cell + kOverlap<Real>;
    first_ = (periodic_ || low > 1 ? low : 1) - 1;
    last_ = periodic_ || high < in.n - 2 ? high : in.n - 2;
    rows_ = last_ - first_;
    cut_left_ = periodic_ || first_ > 0;
    cut_right_ = periodic_ || last_ < in.n - 2;
  }

  void run() {
    fill_widths();
    const int64_t columns = item_.end_function - item_.first_function;
    Real *below = work_.below(), *diagonal = work_.diagonal(), *above = work_.above();
    const Real* h = work_.widths();
    for (int64_t r = 0; r < rows_; ++r) {
      diagonal[r] = 2 * (h[r] + h[r + 1]);
      above[r] = h[r];
    }
    for (int64_t r = 1; r < rows_; ++r) below[r - 1] = h[r + 1];
    for (int64_t c = 0; c < columns; ++c) fill_right_side(c);
    if (rows_ > 0) {
      if (!cut_left_) diagonal[0] -= h[1] * left_[0].factor;
      if (!cut_right_) diagonal[rows_ - 1] -= h[rows_ - 1] * right_[0].factor;
      if (is_parabola()) {
        for (int64_t c = 0; c < columns; ++c) work_.derivatives(c)[1] = three_point(c, 0);
      } else {
        solve_tridiagonal(rows_, below, diagonal, above, columns, work_.derivatives(0) + 1, work_.leading());
      }
    }
    for (int64_t c = 0; c < columns; ++c) store(c);
  }

 private:
  // Three points under two not-a-knot conditions, which are one and the same: the parabola through them.
  bool is_parabola() const { return in_.n == 3 && in_.boundary_class == kNotAKnot; }

  int64_t wrap(int64_t i) const {
    const int64_t cells = in_.n - 1;
    return periodic_ ? ((i % cells) + cells) % cells : i;
  }

  void fill_widths() {
    Real *h = work_.widths(), *reciprocals = work_.reciprocals();
    if (periodic_) {
      for (int64_t k = 0; k <= rows_; ++k) h[k] = width_of_[wrap(first_ + k)];
    } else {
      for (int64_t k = 0; k <= rows_; ++k) h[k] = width_of_[first_ + k];
    }
    for (int64_t k = 0; k <= rows_; ++k) reciprocals[k] = width_of_.reciprocal(h[k]);
  }

  // Slope of the parabola through the points about place k + 1.
  Real three_point(int64_t c, int64_t k) const {
    const Real *h = work_.widths(), *s = work_.slopes(c);
    return (h[k + 1] * s[k] + h[k] * s[k + 1]) / (h[k] + h[k + 1]);
  }

  void fill_right_side(int64_t c) {
    const Values<Real, kRows> y(in_, item_.first_function + c);
    const Real* h = work_.widths();
    Real *s = work_.slopes(c), *b = work_.derivatives(c) + 1;
    if (periodic_) {
      for (int64_t k = 0; k <= rows_; ++k) {
        const int64_t i = wrap(first_ + k);
        s[k] = width_of_.slope(y[i + 1] - y[i], h[k]);
      }
    } else {
      for (int64_t k = 0; k <= rows_; ++k) s[k] = width_of_.slope(y[first_ + k + 1] - y[first_ + k], h[k]);
    }
    for (int64_t r = 0; r < rows_; ++r) b[r] = 3 * (h[r + 1] * s[r] + h[r] * s[r + 1]);

    // Ends. A cut takes the three-point derivative of the inner side in place of the neighbour's: it only has to be of
    // the right size.
    const int64_t beside = rows_ > 0 ? 1 : 0;  // two points have one interval, which no relation used with them reads
    if (cut_left_) {
      b[0] -= h[1] * three_point(c, 0);
    } else {
      left_[c] = end_relation(in_, true, s[0], s[beside], h[0], h[beside]);
      if (rows_ > 0) b[0] -= h[1] * left_[c].constant;
    }
    if (cut_right_) {
      b[rows_ - 1] -= h[rows_ - 1] * three_point(c, rows_ - 1);
    } else {
      right_[c] = end_relation(in_, false, s[rows_], s[rows_ - beside], h[rows_], h[rows_ - beside]);
      if (rows_ > 0) b[rows_ - 1] -= h[rows_ - 1] * right_[c].constant;
    }
  }

  void store(int64_t c) {
    const int64_t f = item_.first_function + c;
    const Values<Real, kRows> y(in_, f);
    Real* d = work_.derivatives(c);
    if (rows_ == 0) {
      // Two points: both relations at once, d0 = A - B d1 and d1 = A' - B' d0.
      d[0] = (left_[c].constant - left_[c].factor * right_[c].constant) / (1 - left_[c].factor * right_[c].factor);
      d[1] = right_[c](d[0]);
    } else {
      if (!cut_left_) d[0] = left_[c](d[1]);
      if (!cut_right_) d[rows_ + 1] = right_[c](d[rows_]);
    }
    const Real *s = work_.slopes(c), *reciprocals = work_.reciprocals();
    for (int64_t i = item_.first_cell; i < item_.end_cell; i += kCellsAtOnce) {
      const int64_t count = item_.end_cell - i < kCellsAtOnce ? item_.end_cell - i : kCellsAtOnce;
      const int64_t k = i - first_;
      Real gathered[kCellsAtOnce];
      const Real* values = gathered;
      if constexpr (kRows) {
        values = y.row() + i;
      } else {
        for (int64_t j = 0; j < count; ++j) gathered[j] = y[i + j];
      }
      store_hermite_cells(in_.row(f) + i * in_.stride, in_.stride, count, values, d + k, s + k, reciprocals + k);
    }
  }

  const SplineInput<Real>& in_;
  const Item& item_;
  Widths<Real, kUniform> width_of_;
  NaturalWork<Real> work_;
  bool periodic_, cut_left_, cut_right_;
  int64_t first_, last_;  // the point left of the first unknown, and the last unknown
  int64_t rows_;          // unknowns: points first_ + 1 to last_
  EndRelation<Real> left_[kGroupFunctions], right_[kGroupFunctions];
};

template <class Real, bool kRows, bool kUniform>
[[gnu::noinline]] int32_t solve_natural(const SplineInput<Real>& in) {
  if (in.boundary_class == kPeriodic) {
    const int32_t status = check_periodic<Real, kRows>(in);
    if (status != DF_OK) return status;
  }
  const Division division = divide_work(in.n, in.functions, in.services);
  const int64_t elements = NaturalWork<Real>::elements(in.n);
  const Scratch<Real> work(elements * division.workers);
  if (work.get() == nullptr) return DF_NO_MEMORY;
  run_items(in.services, division, [&](int worker, const Item& item) {
    NaturalItem<Real, kRows, kUniform>(in, item, work.get() + worker * elements).run();
  });
  return DF_OK;
}

// A slot of the kernel table. The class, which decides two relations a chunk, is read at run time by the one body that
// all classes of a storage and partition share.
template <class Real, bool kRows, bool kUniform, int kClass>
int32_t natural_kernel(const SplineInput<Real>& in) {
  static_assert(kClass >= 0 && kClass < kBoundaryClasses);
  return solve_natural<Real, kRows, kUniform>(in);
}

template <class Real>
int32_t construct_natural(const DFTask* task, int64_t method, const QlxThreadTable* services) {
  static constexpr auto kKernels = class_kernels<Real>(
      []<bool kRows, bool kUniform, int kClass>() { return natural_kernel<Real, kRows, kUniform, kClass>; });
  return construct<Real>(
      task, method, services, {4, 2, 3, true, true, false},
      [](int storage, int partition, int boundary) { return kKernels.at[storage][partition][boundary]; });
}

}  // namespace qlx::fitting
