// Dense linear algebra of the core library: the exported names, how many threads each call may use, and the packed
// triangular product. The routines themselves are the backend's.
// SPDX-License-Identifier: Apache-2.0
#include "linalg.h"

#include <algorithm>
#include <cstddef>

#include "qlx/core.h"
#include "threader.h"

namespace {

using namespace qlx::core;
using linalg::ThreadCount;

// Multiply-adds below which a plain form stays on the calling thread: some 100 microseconds of work, against some 10
// to wake the others. Small calls from several threads of the caller then don't queue for the helpers either.
constexpr double kThreadedWork = 1 << 20;

int plain([[maybe_unused]] double work) {
#ifdef QLX_LINALG_THREADS
  return work < kThreadedWork ? 1 : thread_limit();
#else
  return 1;
#endif
}

int inside_workers(double) {
  return 1;
}

// Multiply-adds of a call, in double since the product of three orders passes 2^63.
double product(const int* m, const int* n, const int* k) {
  return 1.0 * *m * *n * *k;
}
double product(const int* m, const int* n) {
  return 1.0 * *m * *n;
}

// Multiply-adds of a product with a square matrix on one side of an m by n matrix.
double sided(const char* side, const int* m, const int* n) {
  return product(m, n, linalg::is_letter(side, 'L') ? m : n);
}

// ---- Packed triangular product

// Tiles of 64 by 64 fit the stack of a worker and the processor's first or second cache; at that order the full
// products reach most of their speed.
constexpr int kTile = 64;

// A triangular matrix, packed by columns.
template <class T>
struct PackedTriangle {
  const T* entries;
  ptrdiff_t order;
  bool lower;

  // Copies rows row .. row + rows - 1 of the columns from `column` to a tile; what lies outside the triangle stays as
  // it was there.
  void copy_tile(ptrdiff_t row, ptrdiff_t rows, ptrdiff_t column, ptrdiff_t columns, T* tile) const {
    for (ptrdiff_t j = column; j < column + columns; ++j) {
      // `start` is where row 0 of the column would lie: its first stored row is row j of a lower triangle, 0 of an
      // upper.
      const T* start = entries + (lower ? j * (2 * order - j - 1) / 2 : j * (j + 1) / 2);
      const ptrdiff_t first = lower ? std::max(row, j) : row;
      const ptrdiff_t last = lower ? row + rows : std::min(row + rows, j + 1);
      if (first < last) std::copy(start + first, start + last, tile + (j - column) * kTile + (first - row));
    }
  }
};

// B := alpha op(A) B or alpha B op(A), tile by tile in place: block t of B is formed from its own old value and from
// blocks that are not yet overwritten. No memory is needed beyond one tile, so the call can't fail.
template <class T>
void ptrmm(const char* side, const char* uplo, const char* transa, const char* diag, const int* m, const int* n,
           const T* alpha, const T* ap, T* b, const int* ldb) {
  const bool left = linalg::is_letter(side, 'L');
  const bool transposed = !linalg::is_letter(transa, 'N');
  const PackedTriangle<T> a{ap, left ? *m : *n, linalg::is_letter(uplo, 'L')};
  // op(A) is lower triangular when exactly one of storage and transposition says so. Blocks of op(A) B need the blocks
  // of B above (lower) or below (upper), those of B op(A) the other way round.
  const bool op_lower = a.lower != transposed;
  const bool needs_earlier = left == op_lower;
  const ptrdiff_t tiles = (a.order + kTile - 1) / kTile;
  const ptrdiff_t block_stride = left ? kTile : kTile * static_cast<ptrdiff_t>(*ldb);
  const T one = 1;
  const int ld_tile = kTile;
  alignas(64) T tile[kTile * kTile];

  const auto extent = [&](ptrdiff_t t) { return static_cast<int>(std::min<ptrdiff_t>(kTile, a.order - t * kTile)); };
  for (ptrdiff_t step = 0; step < tiles; ++step) {
    const ptrdiff_t t = needs_earlier ? tiles - 1 - step : step;
    const int extent_t = extent(t);
    T* block = b + t * block_stride;
    a.copy_tile(t * kTile, extent_t, t * kTile, extent_t, tile);
    linalg::trmm(side, uplo, transa, diag, left ? &extent_t : m, left ? n : &extent_t, alpha, tile, &ld_tile, block,
                 ldb);
    for (ptrdiff_t s = needs_earlier ? 0 : t + 1; s < (needs_earlier ? t : tiles); ++s) {
      const int extent_s = extent(s);
      // The tile of A whose op meets block s of B and lands in block t.
      const ptrdiff_t row = left != transposed ? t : s, column = left != transposed ? s : t;
      a.copy_tile(row * kTile, extent(row), column * kTile, extent(column), tile);
      const T* other = b + s * block_stride;
      if (left) {
        linalg::gemm(transa, "N", &extent_t, n, &extent_s, alpha, tile, &ld_tile, other, ldb, &one, block, ldb);
      } else {
        linalg::gemm("N", transa, m, &extent_t, &extent_s, alpha, other, ldb, tile, &ld_tile, &one, block, ldb);
      }
    }
  }
}

}  // namespace

#define QLX_CORE_DEFINE_BLAS(P, T, X, THREADS)                                                                       \
  void qlx_blas_##X##P##gemm(const char* transa, const char* transb, const int* m, const int* n, const int* k,       \
                             const T* alpha, const T* a, const int* lda, const T* b, const int* ldb, const T* beta,  \
                             T* c, const int* ldc) {                                                                 \
    ThreadCount count(THREADS(product(m, n, k)));                                                                    \
    linalg::gemm(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc);                                      \
  }                                                                                                                  \
  void qlx_blas_##X##P##gemv(const char* trans, const int* m, const int* n, const T* alpha, const T* a,              \
                             const int* lda, const T* x, const int* incx, const T* beta, T* y, const int* incy) {    \
    ThreadCount count(THREADS(product(m, n)));                                                                       \
    linalg::gemv(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);                                                \
  }                                                                                                                  \
  void qlx_blas_##X##P##syr(const char* uplo, const int* n, const T* alpha, const T* x, const int* incx, T* a,       \
                            const int* lda) {                                                                        \
    ThreadCount count(THREADS(product(n, n)));                                                                       \
    linalg::syr(uplo, n, alpha, x, incx, a, lda);                                                                    \
  }                                                                                                                  \
  void qlx_blas_##X##P##syrk(const char* uplo, const char* trans, const int* n, const int* k, const T* alpha,        \
                             const T* a, const int* lda, const T* beta, T* c, const int* ldc) {                      \
    ThreadCount count(THREADS(product(n, n, k)));                                                                    \
    linalg::syrk(uplo, trans, n, k, alpha, a, lda, beta, c, ldc);                                                    \
  }                                                                                                                  \
  void qlx_blas_##X##P##symm(const char* side, const char* uplo, const int* m, const int* n, const T* alpha,         \
                             const T* a, const int* lda, const T* b, const int* ldb, const T* beta, T* c,            \
                             const int* ldc) {                                                                       \
    ThreadCount count(THREADS(sided(side, m, n)));                                                                   \
    linalg::symm(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc);                                             \
  }                                                                                                                  \
  void qlx_blas_##X##P##trmm(const char* side, const char* uplo, const char* transa, const char* diag, const int* m, \
                             const int* n, const T* alpha, const T* a, const int* lda, T* b, const int* ldb) {       \
    ThreadCount count(THREADS(sided(side, m, n)));                                                                   \
    linalg::trmm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);                                             \
  }

QLX_CORE_DEFINE_BLAS(d, double, , plain)
QLX_CORE_DEFINE_BLAS(d, double, x, inside_workers)
QLX_CORE_DEFINE_BLAS(s, float, , plain)
QLX_CORE_DEFINE_BLAS(s, float, x, inside_workers)

#define QLX_CORE_DEFINE_4QVM(P, T)                                                                                     \
  void qlx_blas4qvm_##P##trmm(const char* side, const char* uplo, const char* transa, const char* diag, const int* m,  \
                              const int* n, const T* alpha, const T* a, const int* lda, T* b, const int* ldb) {        \
    qlx_blas_##P##trmm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);                                         \
  }                                                                                                                    \
  void qlx_blas_x##P##trmm_4qvm(const char* side, const char* uplo, const char* transa, const char* diag,              \
                                const int* m, const int* n, const T* alpha, const T* a, const int* lda, T* b,          \
                                const int* ldb) {                                                                      \
    qlx_blas_x##P##trmm(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb);                                        \
  }                                                                                                                    \
  void qlx_blas4qvm_##P##ptrmm(const char* side, const char* uplo, const char* transa, const char* diag, const int* m, \
                               const int* n, const T* alpha, const T* ap, T* b, const int* ldb) {                      \
    ThreadCount count(plain(sided(side, m, n)));                                                                       \
    ptrmm(side, uplo, transa, diag, m, n, alpha, ap, b, ldb);                                                          \
  }

QLX_CORE_DEFINE_4QVM(d, double)
QLX_CORE_DEFINE_4QVM(s, float)

#define QLX_CORE_DEFINE_LAPACK(P, T)                                                                               \
  void qlx_lapack_##P##potrf(const char* uplo, const int* n, T* a, const int* lda, int* info) {                    \
    ThreadCount count(plain(product(n, n, n)));                                                                    \
    linalg::potrf(uplo, n, a, lda, info);                                                                          \
  }                                                                                                                \
  void qlx_lapack_##P##potri(const char* uplo, const int* n, T* a, const int* lda, int* info) {                    \
    ThreadCount count(plain(product(n, n, n)));                                                                    \
    linalg::potri(uplo, n, a, lda, info);                                                                          \
  }                                                                                                                \
  void qlx_lapack_##P##trtri(const char* uplo, const char* diag, const int* n, T* a, const int* lda, int* info) {  \
    ThreadCount count(plain(product(n, n, n)));                                                                    \
    linalg::trtri(uplo, diag, n, a, lda, info);                                                                    \
  }                                                                                                                \
  void qlx_lapack_##P##syev(const char* jobz, const char* uplo, const int* n, T* a, const int* lda, T* w, T* work, \
                            const int* lwork, int* info) {                                                         \
    ThreadCount count(plain(product(n, n, n)));                                                                    \
    linalg::syev(jobz, uplo, n, a, lda, w, work, lwork, info);                                                     \
  }                                                                                                                \
  void qlx_lapack_##P##spevd(const char* jobz, const char* uplo, const int* n, T* ap, T* w, T* z, const int* ldz,  \
                             T* work, const int* lwork, int* iwork, const int* liwork, int* info) {                \
    ThreadCount count(plain(product(n, n, n)));                                                                    \
    linalg::spevd(jobz, uplo, n, ap, w, z, ldz, work, lwork, iwork, liwork, info);                                 \
  }

QLX_CORE_DEFINE_LAPACK(d, double)
QLX_CORE_DEFINE_LAPACK(s, float)
