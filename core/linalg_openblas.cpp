// Dense linear algebra by OpenBLAS, its OpenMP build, linked in as an archive.
// SPDX-License-Identifier: Apache-2.0
//
// In that build the number of threads of a call is OpenMP's number for the calling thread, so that one caller's choice
// doesn't reach another's. With a number of 1 OpenBLAS takes its sequential road and touches no shared state.
#include <omp.h>

#include <cstddef>
#include <mutex>

#include "linalg.h"

// The Fortran interface. Routines that are compiled from Fortran take the length of each letter at the end, and may
// overwrite those slots, so they have to be there; for routines written in C they are harmless.
extern "C" {
#define QLX_FORTRAN(P, T)                                                                                              \
  void P##gemm_(const char*, const char*, const int*, const int*, const int*, const T*, const T*, const int*,          \
                const T*, const int*, const T*, T*, const int*, size_t, size_t);                                       \
  void P##gemv_(const char*, const int*, const int*, const T*, const T*, const int*, const T*, const int*, const T*,   \
                T*, const int*, size_t);                                                                               \
  void P##syr_(const char*, const int*, const T*, const T*, const int*, T*, const int*, size_t);                       \
  void P##syrk_(const char*, const char*, const int*, const int*, const T*, const T*, const int*, const T*, T*,        \
                const int*, size_t, size_t);                                                                           \
  void P##symm_(const char*, const char*, const int*, const int*, const T*, const T*, const int*, const T*,            \
                const int*, const T*, T*, const int*, size_t, size_t);                                                 \
  void P##trmm_(const char*, const char*, const char*, const char*, const int*, const int*, const T*, const T*,        \
                const int*, T*, const int*, size_t, size_t, size_t, size_t);                                           \
  void P##potrf_(const char*, const int*, T*, const int*, int*, size_t);                                               \
  void P##potri_(const char*, const int*, T*, const int*, int*, size_t);                                               \
  void P##trtri_(const char*, const char*, const int*, T*, const int*, int*, size_t, size_t);                          \
  void P##syev_(const char*, const char*, const int*, T*, const int*, T*, T*, const int*, int*, size_t, size_t);       \
  void P##spevd_(const char*, const char*, const int*, T*, T*, T*, const int*, T*, const int*, int*, const int*, int*, \
                 size_t, size_t);
QLX_FORTRAN(d, double)
QLX_FORTRAN(s, float)
}

namespace qlx::core::linalg {
namespace {

// OpenBLAS keeps one set of helpers and one number of them; a call that uses helpers has them to itself.
std::mutex& helpers() {
  static std::mutex mutex;
  return mutex;
}

}  // namespace

ThreadCount::ThreadCount(int count) : before_(omp_get_max_threads()), count_(count) {
  if (count_ > 1) helpers().lock();
  if (count_ != before_) omp_set_num_threads(count_);
}

ThreadCount::~ThreadCount() {
  if (count_ != before_) omp_set_num_threads(before_);
  if (count_ > 1) helpers().unlock();
}

#define QLX_SPECIALIZE(P, T)                                                                                         \
  template <>                                                                                                        \
  void gemm(const char* transa, const char* transb, const int* m, const int* n, const int* k, const T* alpha,        \
            const T* a, const int* lda, const T* b, const int* ldb, const T* beta, T* c, const int* ldc) {           \
    P##gemm_(transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc, 1, 1);                                    \
  }                                                                                                                  \
  template <>                                                                                                        \
  void gemv(const char* trans, const int* m, const int* n, const T* alpha, const T* a, const int* lda, const T* x,   \
            const int* incx, const T* beta, T* y, const int* incy) {                                                 \
    P##gemv_(trans, m, n, alpha, a, lda, x, incx, beta, y, incy, 1);                                                 \
  }                                                                                                                  \
  template <>                                                                                                        \
  void syr(const char* uplo, const int* n, const T* alpha, const T* x, const int* incx, T* a, const int* lda) {      \
    P##syr_(uplo, n, alpha, x, incx, a, lda, 1);                                                                     \
  }                                                                                                                  \
  template <>                                                                                                        \
  void syrk(const char* uplo, const char* trans, const int* n, const int* k, const T* alpha, const T* a,             \
            const int* lda, const T* beta, T* c, const int* ldc) {                                                   \
    P##syrk_(uplo, trans, n, k, alpha, a, lda, beta, c, ldc, 1, 1);                                                  \
  }                                                                                                                  \
  template <>                                                                                                        \
  void symm(const char* side, const char* uplo, const int* m, const int* n, const T* alpha, const T* a,              \
            const int* lda, const T* b, const int* ldb, const T* beta, T* c, const int* ldc) {                       \
    P##symm_(side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc, 1, 1);                                           \
  }                                                                                                                  \
  template <>                                                                                                        \
  void trmm(const char* side, const char* uplo, const char* transa, const char* diag, const int* m, const int* n,    \
            const T* alpha, const T* a, const int* lda, T* b, const int* ldb) {                                      \
    P##trmm_(side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb, 1, 1, 1, 1);                                     \
  }                                                                                                                  \
  template <>                                                                                                        \
  void potrf(const char* uplo, const int* n, T* a, const int* lda, int* info) {                                      \
    P##potrf_(uplo, n, a, lda, info, 1);                                                                             \
  }                                                                                                                  \
  template <>                                                                                                        \
  void potri(const char* uplo, const int* n, T* a, const int* lda, int* info) {                                      \
    P##potri_(uplo, n, a, lda, info, 1);                                                                             \
  }                                                                                                                  \
  template <>                                                                                                        \
  void trtri(const char* uplo, const char* diag, const int* n, T* a, const int* lda, int* info) {                    \
    P##trtri_(uplo, diag, n, a, lda, info, 1, 1);                                                                    \
  }                                                                                                                  \
  template <>                                                                                                        \
  void syev(const char* jobz, const char* uplo, const int* n, T* a, const int* lda, T* w, T* work, const int* lwork, \
            int* info) {                                                                                             \
    P##syev_(jobz, uplo, n, a, lda, w, work, lwork, info, 1, 1);                                                     \
  }                                                                                                                  \
  template <>                                                                                                        \
  void spevd(const char* jobz, const char* uplo, const int* n, T* ap, T* w, T* z, const int* ldz, T* work,           \
             const int* lwork, int* iwork, const int* liwork, int* info) {                                           \
    P##spevd_(jobz, uplo, n, ap, w, z, ldz, work, lwork, iwork, liwork, info, 1, 1);                                 \
  }

QLX_SPECIALIZE(d, double)
QLX_SPECIALIZE(s, float)

}  // namespace qlx::core::linalg
