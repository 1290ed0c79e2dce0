// Storing the coefficients of cells.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace qlx::fitting {

// Cells that the kernels work out at once: two vectors of doubles, one of floats.
constexpr int kCellsAtOnce = 8;

// Four lanes of either type, with an alignment that any array has.
template <class Real>
struct FourLanes;
template <>
struct FourLanes<double> {
  typedef double Type __attribute__((vector_size(32), aligned(8)));
};
template <>
struct FourLanes<float> {
  typedef float Type __attribute__((vector_size(16), aligned(4)));
};

// Four cells of four coefficients, from one array for each power to one cell after another: a 4 x 4 transposition.
template <class Real>
inline void store_transposed(Real* __restrict out, const Real* c0, const Real* c1, const Real* c2, const Real* c3) {
  using Lanes = typename FourLanes<Real>::Type;
  const auto load = [](const Real* p) { return *reinterpret_cast<const Lanes*>(p); };
  const auto store = [&](int cell, Lanes lanes) { *reinterpret_cast<Lanes*>(out + 4 * cell) = lanes; };
  const Lanes low_even = __builtin_shufflevector(load(c0), load(c1), 0, 4, 2, 6);
  const Lanes low_odd = __builtin_shufflevector(load(c0), load(c1), 1, 5, 3, 7);
  const Lanes high_even = __builtin_shufflevector(load(c2), load(c3), 0, 4, 2, 6);
  const Lanes high_odd = __builtin_shufflevector(load(c2), load(c3), 1, 5, 3, 7);
  store(0, __builtin_shufflevector(low_even, high_even, 0, 1, 4, 5));
  store(1, __builtin_shufflevector(low_odd, high_odd, 0, 1, 4, 5));
  store(2, __builtin_shufflevector(low_even, high_even, 2, 3, 6, 7));
  store(3, __builtin_shufflevector(low_odd, high_odd, 2, 3, 6, 7));
}

// One cell of any number of terms; those beyond the kind's own are 0.
template <class Real, int kTerms>
inline void store_cell(Real* out, int64_t stride, const Real (&c)[kTerms]) {
  for (int k = 0; k < kTerms; ++k) out[k] = c[k];
  for (int64_t k = kTerms; k < stride; ++k) out[k] = 0;
}

// `count` cubic cells, up to kCellsAtOnce, from values, first derivatives at both ends, slopes and 1 / h:
//   c2 = (3 s - 2 d - d') / h,  c3 = (d + d' - 2 s) / h^2
// d holds count + 1 derivatives.
template <class Real>
inline void store_hermite_cells(Real* out, int64_t stride, int64_t count, const Real* y, const Real* d, const Real* s,
                                const Real* reciprocal) {
  Real c2[kCellsAtOnce], c3[kCellsAtOnce];
  const auto terms = [&](int64_t k) {
    c2[k] = (3 * s[k] - 2 * d[k] - d[k + 1]) * reciprocal[k];
    c3[k] = (d[k] + d[k + 1] - 2 * s[k]) * reciprocal[k] * reciprocal[k];
  };
  if (count == kCellsAtOnce && stride == 4) {
    for (int k = 0; k < kCellsAtOnce; ++k) terms(k);
    for (int k = 0; k < kCellsAtOnce; k += 4) store_transposed(out + 4 * k, y + k, d + k, c2 + k, c3 + k);
    return;
  }
  for (int64_t k = 0; k < count; ++k) {
    terms(k);
    store_cell<Real, 4>(out + k * stride, stride, {y[k], d[k], c2[k], c3[k]});
  }
}

}  // namespace qlx::fitting
