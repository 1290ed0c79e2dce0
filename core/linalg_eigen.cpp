// Dense linear algebra by Eigen's headers, on the calling thread alone: where OpenBLAS can't be had.
// SPDX-License-Identifier: Apache-2.0
#include <Eigen/Cholesky>
#include <Eigen/Core>
#include <Eigen/Eigenvalues>
#include <algorithm>
#include <cmath>

#include "linalg.h"

namespace qlx::core::linalg {
namespace {

template <class T>
using Matrix = Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>;
template <class T>
using Vector = Eigen::Matrix<T, Eigen::Dynamic, 1>;
template <class T>
using View = Eigen::Map<Matrix<T>, 0, Eigen::OuterStride<>>;
template <class T>
using ConstView = Eigen::Map<const Matrix<T>, 0, Eigen::OuterStride<>>;

template <class T>
View<T> view(T* a, int rows, int columns, const int* ld) {
  return {a, rows, columns, Eigen::OuterStride<>(*ld)};
}
template <class T>
ConstView<T> view(const T* a, int rows, int columns, const int* ld) {
  return {a, rows, columns, Eigen::OuterStride<>(*ld)};
}

// Element i of a BLAS vector: with a negative increment the vector starts at its far end.
int position(int i, int n, int increment) {
  return increment > 0 ? i * increment : (i - n + 1) * increment;
}

template <class T>
Vector<T> gather(const T* x, int n, int increment) {
  Vector<T> gathered(n);
  for (int i = 0; i < n; ++i) gathered[i] = x[position(i, n, increment)];
  return gathered;
}

// beta times a destination: a beta of 0 clears whatever is there, NaN too.
template <class T, class Destination>
void scale(T beta, Destination&& destination) {
  if (beta == 0) {
    destination.setZero();
  } else if (beta != 1) {
    destination *= beta;
  }
}

// Calls `use` with a, or with its transpose when the letter asks for it.
template <class A, class Use>
void with_op(const char* trans, const A& a, Use use) {
  if (is_letter(trans, 'N')) {
    use(a);
  } else {
    use(a.transpose());
  }
}

// Calls `use` with Eigen's compile-time name of a triangle.
template <class Use>
void with_triangle(const char* uplo, Use use) {
  if (is_letter(uplo, 'L')) {
    use(std::integral_constant<unsigned, Eigen::Lower>());
  } else {
    use(std::integral_constant<unsigned, Eigen::Upper>());
  }
}

// The same with the letter that says whether the diagonal is all ones.
template <class Use>
void with_triangle(const char* uplo, const char* diag, Use use) {
  with_triangle(uplo, [&](auto triangle) {
    if (is_letter(diag, 'U')) {
      use(std::integral_constant<unsigned, triangle | Eigen::UnitDiag>());
    } else {
      use(triangle);
    }
  });
}

// op(A) restricted to its triangle: transposing turns lower into upper.
constexpr unsigned flipped(unsigned mode) {
  return mode ^ (Eigen::Lower | Eigen::Upper);
}

int checked_square(int n, int ld, int n_position, int ld_position) {
  if (n < 0) return -n_position;
  return ld < std::max(1, n) ? -ld_position : 0;
}

// L L^T = A in the lower triangle of `a`, column by column. Returns 0, or the order of the first leading minor that is
// not positive.
template <class A>
int factor_lower(A a) {
  using T = typename A::Scalar;
  const Eigen::Index n = a.rows();
  for (Eigen::Index j = 0; j < n; ++j) {
    const T pivot = a(j, j) - a.row(j).head(j).squaredNorm();
    a(j, j) = pivot;
    if (!(pivot > 0)) return static_cast<int>(j + 1);
    a(j, j) = std::sqrt(pivot);
    const Eigen::Index below = n - j - 1;
    a.col(j).tail(below).noalias() -= a.block(j + 1, 0, below, j) * a.row(j).head(j).transpose();
    a.col(j).tail(below) /= a(j, j);
  }
  return 0;
}

// Number, from 1, of the first zero on the diagonal, or 0.
template <class A>
int first_zero_pivot(const A& a) {
  for (Eigen::Index j = 0; j < a.rows(); ++j) {
    if (a(j, j) == 0) return static_cast<int>(j + 1);
  }
  return 0;
}

// Eigenvalues ascending to w, and vectors to `vectors` if there is one.
template <class T>
int eigen_system(const Matrix<T>& lower, T* w, View<T>* vectors) {
  Eigen::SelfAdjointEigenSolver<Matrix<T>> solver(lower, vectors ? Eigen::ComputeEigenvectors : Eigen::EigenvaluesOnly);
  if (solver.info() != Eigen::Success) return 1;
  std::copy_n(solver.eigenvalues().data(), lower.rows(), w);
  if (vectors) *vectors = solver.eigenvectors();
  return 0;
}

}  // namespace

ThreadCount::ThreadCount(int count) : before_(1), count_(count) {}
ThreadCount::~ThreadCount() = default;

template <class T>
void gemm(const char* transa, const char* transb, const int* m, const int* n, const int* k, const T* alpha, const T* a,
          const int* lda, const T* b, const int* ldb, const T* beta, T* c, const int* ldc) {
  View<T> result = view(c, *m, *n, ldc);
  scale(*beta, result);
  if (*alpha == 0 || *k == 0) return;
  const bool plain_a = is_letter(transa, 'N'), plain_b = is_letter(transb, 'N');
  with_op(transa, view(a, plain_a ? *m : *k, plain_a ? *k : *m, lda), [&](const auto& op_a) {
    with_op(transb, view(b, plain_b ? *k : *n, plain_b ? *n : *k, ldb),
            [&](const auto& op_b) { result.noalias() += *alpha * op_a * op_b; });
  });
}

template <class T>
void gemv(const char* trans, const int* m, const int* n, const T* alpha, const T* a, const int* lda, const T* x,
          const int* incx, const T* beta, T* y, const int* incy) {
  const bool plain = is_letter(trans, 'N');
  const int columns = plain ? *n : *m, rows = plain ? *m : *n;
  Vector<T> result = gather(y, rows, *incy);
  scale(*beta, result);
  if (*alpha != 0) {
    const Vector<T> argument = gather(x, columns, *incx);
    with_op(trans, view(a, *m, *n, lda), [&](const auto& op) { result.noalias() += *alpha * op * argument; });
  }
  for (int i = 0; i < rows; ++i) y[position(i, rows, *incy)] = result[i];
}

template <class T>
void syr(const char* uplo, const int* n, const T* alpha, const T* x, const int* incx, T* a, const int* lda) {
  const Vector<T> vector = gather(x, *n, *incx);
  with_triangle(uplo, [&](auto triangle) {
    view(a, *n, *n, lda).template selfadjointView<triangle()>().rankUpdate(vector, *alpha);
  });
}

template <class T>
void syrk(const char* uplo, const char* trans, const int* n, const int* k, const T* alpha, const T* a, const int* lda,
          const T* beta, T* c, const int* ldc) {
  View<T> result = view(c, *n, *n, ldc);
  const bool plain = is_letter(trans, 'N');
  with_triangle(uplo, [&](auto triangle) {
    scale(*beta, result.template triangularView<triangle()>());
    if (*alpha == 0 || *k == 0) return;
    with_op(trans, view(a, plain ? *n : *k, plain ? *k : *n, lda),
            [&](const auto& op) { result.template selfadjointView<triangle()>().rankUpdate(op, *alpha); });
  });
}

template <class T>
void symm(const char* side, const char* uplo, const int* m, const int* n, const T* alpha, const T* a, const int* lda,
          const T* b, const int* ldb, const T* beta, T* c, const int* ldc) {
  const bool left = is_letter(side, 'L');
  const int order = left ? *m : *n;
  View<T> result = view(c, *m, *n, ldc);
  scale(*beta, result);
  if (*alpha == 0) return;
  with_triangle(uplo, [&](auto triangle) {
    const ConstView<T> square = view(a, order, order, lda), other = view(b, *m, *n, ldb);
    const auto symmetric = square.template selfadjointView<triangle()>();
    if (left) {
      result.noalias() += *alpha * (symmetric * other);
    } else {
      result.noalias() += *alpha * (other * symmetric);
    }
  });
}

template <class T>
void trmm(const char* side, const char* uplo, const char* transa, const char* diag, const int* m, const int* n,
          const T* alpha, const T* a, const int* lda, T* b, const int* ldb) {
  View<T> result = view(b, *m, *n, ldb);
  if (*alpha == 0) {
    result.setZero();
    return;
  }
  const bool left = is_letter(side, 'L');
  const int order = left ? *m : *n;
  const ConstView<T> square = view(a, order, order, lda);
  const Matrix<T> old = *alpha * result;
  const auto multiply = [&](const auto& triangle) {
    if (left) {
      result.noalias() = triangle * old;
    } else {
      result.noalias() = old * triangle;
    }
  };
  with_triangle(uplo, diag, [&](auto mode) {
    if (is_letter(transa, 'N')) {
      multiply(square.template triangularView<mode()>());
    } else {
      multiply(square.transpose().template triangularView<flipped(mode())>());
    }
  });
}

template <class T>
void potrf(const char* uplo, const int* n, T* a, const int* lda, int* info) {
  *info = checked_square(*n, *lda, 2, 4);
  if (*info != 0) return;
  View<T> square = view(a, *n, *n, lda);
  // U^T U = A is L L^T = A read by rows.
  *info = is_letter(uplo, 'L') ? factor_lower(square) : factor_lower(square.transpose());
}

template <class T>
void potri(const char* uplo, const int* n, T* a, const int* lda, int* info) {
  *info = checked_square(*n, *lda, 2, 4);
  if (*info != 0) return;
  View<T> square = view(a, *n, *n, lda);
  *info = first_zero_pivot(square);
  if (*info != 0) return;
  const Matrix<T> unit = Matrix<T>::Identity(*n, *n);
  with_triangle(uplo, [&](auto triangle) {
    const Matrix<T> inverse = square.template triangularView<triangle()>().solve(unit);
    // A = L L^T or U^T U, so its inverse is L^-T L^-1 or U^-1 U^-T.
    const Matrix<T> product =
        triangle == Eigen::Lower ? Matrix<T>(inverse.transpose() * inverse) : Matrix<T>(inverse * inverse.transpose());
    square.template triangularView<triangle()>() = product;
  });
}

template <class T>
void trtri(const char* uplo, const char* diag, const int* n, T* a, const int* lda, int* info) {
  *info = checked_square(*n, *lda, 3, 5);
  if (*info != 0) return;
  View<T> square = view(a, *n, *n, lda);
  const bool unit_diagonal = is_letter(diag, 'U');
  if (!unit_diagonal) *info = first_zero_pivot(square);
  if (*info != 0) return;
  const Matrix<T> unit = Matrix<T>::Identity(*n, *n);
  with_triangle(uplo, diag, [&](auto mode) {
    const Matrix<T> inverse = square.template triangularView<mode()>().solve(unit);
    constexpr unsigned kTriangle = mode() & (Eigen::Lower | Eigen::Upper);
    if (unit_diagonal) {
      square.template triangularView<kTriangle == Eigen::Lower ? Eigen::StrictlyLower : Eigen::StrictlyUpper>() =
          inverse;
    } else {
      square.template triangularView<kTriangle>() = inverse;
    }
  });
}

template <class T>
void syev(const char* jobz, const char* uplo, const int* n, T* a, const int* lda, T* w, T* work, const int* lwork,
          int* info) {
  *info = checked_square(*n, *lda, 3, 5);
  if (*info != 0) return;
  // LAPACK's least work space, so that callers size it alike; Eigen brings its own.
  const int least = std::max(1, 3 * *n - 1);
  if (*lwork >= 0 && *lwork < least) *info = -8;
  if (*info != 0) return;
  work[0] = static_cast<T>(least);
  if (*lwork == -1) return;
  View<T> square = view(a, *n, *n, lda);
  const Matrix<T> lower = is_letter(uplo, 'L') ? Matrix<T>(square) : Matrix<T>(square.transpose());
  *info = eigen_system(lower, w, is_letter(jobz, 'V') ? &square : nullptr);
}

template <class T>
void spevd(const char* jobz, const char* uplo, const int* n, T* ap, T* w, T* z, const int* ldz, T* work,
           const int* lwork, int* iwork, const int* liwork, int* info) {
  const bool wants_vectors = is_letter(jobz, 'V');
  *info = checked_square(*n, wants_vectors ? *ldz : std::max(1, *n), 3, 7);
  if (*info != 0) return;
  // LAPACK's least work spaces, so that callers size them alike; Eigen brings its own.
  const int least = *n <= 1 ? 1 : (wants_vectors ? 1 + 6 * *n + *n * *n : 2 * *n);
  const int least_integers = *n <= 1 || !wants_vectors ? 1 : 3 + 5 * *n;
  const bool is_query = *lwork == -1 || *liwork == -1;
  if (!is_query && *lwork < least) *info = -9;
  if (!is_query && *info == 0 && *liwork < least_integers) *info = -11;
  if (*info != 0) return;
  work[0] = static_cast<T>(least);
  iwork[0] = least_integers;
  if (is_query) return;
  Matrix<T> lower(*n, *n);
  const bool stored_lower = is_letter(uplo, 'L');
  // Column j of a packed lower triangle is column j below the diagonal; of an upper one it is row j left of it.
  for (int j = 0; j < *n; ++j) {
    for (int i = stored_lower ? j : 0; i < (stored_lower ? *n : j + 1); ++i) {
      (stored_lower ? lower(i, j) : lower(j, i)) = *ap++;
    }
  }
  View<T> vectors = view(z, wants_vectors ? *n : 0, wants_vectors ? *n : 0, ldz);
  *info = eigen_system(lower, w, wants_vectors ? &vectors : nullptr);
}

#define QLX_INSTANTIATE(T)                                                                                            \
  template void gemm(const char*, const char*, const int*, const int*, const int*, const T*, const T*, const int*,    \
                     const T*, const int*, const T*, T*, const int*);                                                 \
  template void gemv(const char*, const int*, const int*, const T*, const T*, const int*, const T*, const int*,       \
                     const T*, T*, const int*);                                                                       \
  template void syr(const char*, const int*, const T*, const T*, const int*, T*, const int*);                         \
  template void syrk(const char*, const char*, const int*, const int*, const T*, const T*, const int*, const T*, T*,  \
                     const int*);                                                                                     \
  template void symm(const char*, const char*, const int*, const int*, const T*, const T*, const int*, const T*,      \
                     const int*, const T*, T*, const int*);                                                           \
  template void trmm(const char*, const char*, const char*, const char*, const int*, const int*, const T*, const T*,  \
                     const int*, T*, const int*);                                                                     \
  template void potrf(const char*, const int*, T*, const int*, int*);                                                 \
  template void potri(const char*, const int*, T*, const int*, int*);                                                 \
  template void trtri(const char*, const char*, const int*, T*, const int*, int*);                                    \
  template void syev(const char*, const char*, const int*, T*, const int*, T*, T*, const int*, int*);                 \
  template void spevd(const char*, const char*, const int*, T*, T*, T*, const int*, T*, const int*, int*, const int*, \
                      int*);
QLX_INSTANTIATE(double)
QLX_INSTANTIATE(float)

}  // namespace qlx::core::linalg
