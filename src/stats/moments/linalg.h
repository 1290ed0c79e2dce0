// The core's dense linear algebra by element type. `inside` selects the forms for use inside workers.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_STATS_MOMENTS_LINALG_H
#define QLX_STATS_MOMENTS_LINALG_H

#include <cstdint>

#include "qlx/core.h"

namespace qlx::stats {

template <class T>
struct Linalg;
template <>
struct Linalg<double> {
  inline static const auto syr = qlx_blas_dsyr, xsyr = qlx_blas_xdsyr;
  inline static const auto syrk = qlx_blas_dsyrk, xsyrk = qlx_blas_xdsyrk;
  inline static const auto gemm = qlx_blas_dgemm, xgemm = qlx_blas_xdgemm;
};
template <>
struct Linalg<float> {
  inline static const auto syr = qlx_blas_ssyr, xsyr = qlx_blas_xssyr;
  inline static const auto syrk = qlx_blas_ssyrk, xsyrk = qlx_blas_xssyrk;
  inline static const auto gemm = qlx_blas_sgemm, xgemm = qlx_blas_xsgemm;
};

// The upper triangle of the column-major p by p matrix c += alpha x x^T.
template <class T>
void add_outer_product(bool inside, int p, T alpha, const T* x, T* c) {
  const int one = 1;
  (inside ? Linalg<T>::xsyr : Linalg<T>::syr)("u", &p, &alpha, x, &one, c, &p);
}

// The upper triangle of c += A A^T, where A is p by k: a[j * lda + i] for columns, a[i * lda + j] for rows.
template <class T>
void add_rank_k(bool inside, bool rows, int p, int k, const T* a, int lda, T* c) {
  const T one = 1;
  (inside ? Linalg<T>::xsyrk : Linalg<T>::syrk)("u", rows ? "t" : "n", &p, &k, &one, a, &lda, &one, c, &p);
}

// The same with two factors, c += A B^T, of which the caller knows that it is symmetric. Panels of columns stop at the
// diagonal, so that the lower half costs little.
template <class T>
void add_product(bool inside, bool rows, int p, int k, const T* a, int lda, const T* b, int ldb, T* c) {
  constexpr int kPanel = 96;
  const T one = 1;
  for (int first = 0; first < p; first += kPanel) {
    const int columns = p - first < kPanel ? p - first : kPanel, end = first + columns;
    const T* const panel = rows ? b + static_cast<int64_t>(first) * ldb : b + first;
    (inside ? Linalg<T>::xgemm : Linalg<T>::gemm)(rows ? "t" : "n", rows ? "n" : "t", &end, &columns, &k, &one, a, &lda,
                                                  panel, &ldb, &one, c + static_cast<int64_t>(first) * p, &p);
  }
}

}  // namespace qlx::stats

#endif
