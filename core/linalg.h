// Dense linear algebra of the core library: what a backend file (OpenBLAS or Eigen) defines, for float and double.
// SPDX-License-Identifier: Apache-2.0
//
// Arguments are those of the BLAS and LAPACK routines of the same names.
#pragma once

namespace qlx::core::linalg {

template <class T>
void gemm(const char* transa, const char* transb, const int* m, const int* n, const int* k, const T* alpha, const T* a,
          const int* lda, const T* b, const int* ldb, const T* beta, T* c, const int* ldc);
template <class T>
void gemv(const char* trans, const int* m, const int* n, const T* alpha, const T* a, const int* lda, const T* x,
          const int* incx, const T* beta, T* y, const int* incy);
template <class T>
void syr(const char* uplo, const int* n, const T* alpha, const T* x, const int* incx, T* a, const int* lda);
template <class T>
void syrk(const char* uplo, const char* trans, const int* n, const int* k, const T* alpha, const T* a, const int* lda,
          const T* beta, T* c, const int* ldc);
template <class T>
void symm(const char* side, const char* uplo, const int* m, const int* n, const T* alpha, const T* a, const int* lda,
          const T* b, const int* ldb, const T* beta, T* c, const int* ldc);
template <class T>
void trmm(const char* side, const char* uplo, const char* transa, const char* diag, const int* m, const int* n,
          const T* alpha, const T* a, const int* lda, T* b, const int* ldb);

template <class T>
void potrf(const char* uplo, const int* n, T* a, const int* lda, int* info);
template <class T>
void potri(const char* uplo, const int* n, T* a, const int* lda, int* info);
template <class T>
void trtri(const char* uplo, const char* diag, const int* n, T* a, const int* lda, int* info);
template <class T>
void syev(const char* jobz, const char* uplo, const int* n, T* a, const int* lda, T* w, T* work, const int* lwork,
          int* info);
template <class T>
void spevd(const char* jobz, const char* uplo, const int* n, T* ap, T* w, T* z, const int* ldz, T* work,
           const int* lwork, int* iwork, const int* liwork, int* info);

// Holds, for its lifetime, the number of threads that this thread's calls into the backend may use.
class ThreadCount {
 public:
  explicit ThreadCount(int count);
  ~ThreadCount();
  ThreadCount(const ThreadCount&) = delete;
  ThreadCount& operator=(const ThreadCount&) = delete;

 private:
  int before_;
  int count_;
};

// Letters are read from the first character, in either case.
inline bool is_letter(const char* text, char upper_case) {
  return (*text & ~0x20) == upper_case;
}

}  // namespace qlx::core::linalg
