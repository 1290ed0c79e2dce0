/* Services of the core library: memory, environment, messages, locks, threads, dense linear algebra and
   tridiagonal solvers. The kernel library imports these and nothing else.
   SPDX-License-Identifier: Apache-2.0

   Linear algebra keeps the calling sequence of the Fortran BLAS and LAPACK: every argument is a pointer, letters are
   read from the first character, matrices are column-major, integers are 32 bits wide on every target. */
#ifndef QLX_CORE_H
#define QLX_CORE_H

#include <stddef.h>
#include <stdint.h>

#include "qlx/api.h"

QLX_BEGIN_C

/* ---- Memory ---------------------------------------------------------------------------------------------------- */

/* Returns `size` bytes aligned to `alignment` (a power of two), or null when they can't be had. A size of 0 gives a
   pointer that may be passed to qlx_serv_deallocate. The bytes are not cleared. */
QLX_CORE_API void *qlx_serv_allocate(size_t size, size_t alignment);

/* Releases what qlx_serv_allocate returned; null is allowed. */
QLX_CORE_API void qlx_serv_deallocate(void *block);

/* Copies `count` bytes from `source` to `destination`, which has room for `destination_size`. Returns 0, or 22 when a
   pointer is null (and count is not 0), or 34 when the room is too small; then nothing is copied. */
QLX_CORE_API int qlx_serv_memcpy_s(void *destination, size_t destination_size, const void *source, size_t count);

/* ---- Process and environment ----------------------------------------------------------------------------------- */

/* Copies the value of environment variable `name` with its NUL into `buffer` of `size` bytes. Returns the length
   without the NUL; 0 when the value is empty, -1 when the variable is absent or does not fit. */
QLX_CORE_API int qlx_serv_getenv(const char *name, char *buffer, int size);

/* Prints message `id` of the catalogue, to stderr if `to_stderr` is not 0 and to stdout otherwise, with `count`
   further arguments of the types that the message takes:
     748 (name, index)   749..754 (name)   755..766 (index, double value)   773 ()
   where name is const char* and index is int. An id that is not in the catalogue, or that comes with fewer arguments
   than it takes, prints its number. A message is one line, written in one piece. Returns the number of characters
   written, or a negative number when the stream fails. */
QLX_CORE_API int qlx_serv_print(int to_stderr, int id, int count, ...);

/* Takes and releases a lock word, which starts at 0. Not recursive, not fair; meant to be held briefly. */
QLX_CORE_API void qlx_serv_lock(volatile int32_t *lock);
QLX_CORE_API void qlx_serv_unlock(volatile int32_t *lock);

/* Ends the process with `code`, after the work that is registered for a process's end. Does not return. */
QLX_CORE_API void qlx_serv_exit(int code);

/* 1 when processor and system offer both 512-bit vectors and AES on them (the server generation that brought both, and
   later ones), else 0. */
QLX_CORE_API int qlx_serv_cpuisicx(void);

/* ---- Threads --------------------------------------------------------------------------------------------------- */

/* The work of one task: `task` counts from 0. */
typedef void (*QlxTaskFunction)(int task, void *context);

/* Runs function(0, context) to function(tasks - 1, context), each once, on at most the limit's number of threads, the
   caller's among them, and returns 0 when all have ended. `reserved` is 0. Tasks must not rely on each other's
   progress: they may all run in order on one thread, and do when called from inside a task or with a limit of 1.
   A task runs under the caller's floating-point control (rounding, denormals); flags that it raises stay in the thread
   that ran it. A task must return: it may neither throw nor end its thread. */
QLX_CORE_API int qlx_qst_serv_threader_for(int tasks, int reserved, void *context, QlxTaskFunction function);

/* The highest number of threads that a parallel call may use: what qlx_serv_set_num_threads_limit last set, else the
   environment variable QLX_NUM_THREADS (a decimal number from 1 to 1024; any other value counts as absent), else the
   number of processors that this process may run on. Environment and processors are looked at once, at first use.
   1 inside a task, and inside an active OpenMP region of the caller where OpenMP runs the tasks. */
QLX_CORE_API int qlx_qst_serv_threader_get_num_threads_limit(void);

/* Sets the limit for the process; a value below 1 returns to the environment's, a value above 1024 counts as 1024.
   Returns the process's limit in force before. Calls that already run keep theirs. */
QLX_CORE_API int qlx_serv_set_num_threads_limit(int limit);

/* The table of threading functions that statistics and data fitting receive as an argument. */
typedef struct QlxThreadTable {
  int (*threader_for)(int tasks, int reserved, void *context, QlxTaskFunction function);
  int (*threader_get_num_threads_limit)(void);
} QlxThreadTable;

/* The core's own table; lives as long as the process. */
QLX_CORE_API const QlxThreadTable *qlx_serv_thread_table(void);

/* Finds a threading function by its exported name; null when there is none of that name. */
typedef void (*QlxAnyFunction)(void);
QLX_CORE_API QlxAnyFunction qlx_serv_load_thread_fun(const char *name);

/* ---- Dense linear algebra --------------------------------------------------------------------------------------- */
/* The BLAS or LAPACK routine of the same name. Plain forms may use threads up to the limit, when the work is worth it;
   inside a task they don't. `x` forms are for use inside tasks and never start a thread. The BLAS routines trust their
   arguments; the LAPACK routines report in `info`. Several threads may call at once. */

#define QLX_CORE_DECLARE_BLAS(P, T, X)                                                                                  \
  QLX_CORE_API void qlx_blas_##X##P##gemm(const char *transa, const char *transb, const int *m, const int *n,          \
                                          const int *k, const T *alpha, const T *a, const int *lda, const T *b,        \
                                          const int *ldb, const T *beta, T *c, const int *ldc);                        \
  QLX_CORE_API void qlx_blas_##X##P##gemv(const char *trans, const int *m, const int *n, const T *alpha, const T *a,   \
                                          const int *lda, const T *x, const int *incx, const T *beta, T *y,            \
                                          const int *incy);                                                            \
  QLX_CORE_API void qlx_blas_##X##P##syr(const char *uplo, const int *n, const T *alpha, const T *x, const int *incx,  \
                                         T *a, const int *lda);                                                        \
  QLX_CORE_API void qlx_blas_##X##P##syrk(const char *uplo, const char *trans, const int *n, const int *k,             \
                                          const T *alpha, const T *a, const int *lda, const T *beta, T *c,             \
                                          const int *ldc);                                                             \
  QLX_CORE_API void qlx_blas_##X##P##symm(const char *side, const char *uplo, const int *m, const int *n,              \
                                          const T *alpha, const T *a, const int *lda, const T *b, const int *ldb,      \
                                          const T *beta, T *c, const int *ldc);                                        \
  QLX_CORE_API void qlx_blas_##X##P##trmm(const char *side, const char *uplo, const char *transa, const char *diag,    \
                                          const int *m, const int *n, const T *alpha, const T *a, const int *lda,      \
                                          T *b, const int *ldb);

QLX_CORE_DECLARE_BLAS(d, double, )
QLX_CORE_DECLARE_BLAS(d, double, x)
QLX_CORE_DECLARE_BLAS(s, float, )
QLX_CORE_DECLARE_BLAS(s, float, x)

/* For multivariate Gaussian numbers: trmm for large and small orders, and ptrmm, which is trmm with the triangular
   matrix packed by columns as LAPACK packs it (B := alpha op(A) B or alpha B op(A)). */
#define QLX_CORE_DECLARE_4QVM(P, T)                                                                                     \
  QLX_CORE_API void qlx_blas4qvm_##P##trmm(const char *side, const char *uplo, const char *transa, const char *diag,   \
                                           const int *m, const int *n, const T *alpha, const T *a, const int *lda,     \
                                           T *b, const int *ldb);                                                      \
  QLX_CORE_API void qlx_blas_x##P##trmm_4qvm(const char *side, const char *uplo, const char *transa, const char *diag, \
                                             const int *m, const int *n, const T *alpha, const T *a, const int *lda,   \
                                             T *b, const int *ldb);                                                    \
  QLX_CORE_API void qlx_blas4qvm_##P##ptrmm(const char *side, const char *uplo, const char *transa, const char *diag,  \
                                            const int *m, const int *n, const T *alpha, const T *ap, T *b,             \
                                            const int *ldb);

QLX_CORE_DECLARE_4QVM(d, double)
QLX_CORE_DECLARE_4QVM(s, float)

#define QLX_CORE_DECLARE_LAPACK(P, T)                                                                                   \
  QLX_CORE_API void qlx_lapack_##P##potrf(const char *uplo, const int *n, T *a, const int *lda, int *info);            \
  QLX_CORE_API void qlx_lapack_##P##potri(const char *uplo, const int *n, T *a, const int *lda, int *info);            \
  QLX_CORE_API void qlx_lapack_##P##trtri(const char *uplo, const char *diag, const int *n, T *a, const int *lda,      \
                                          int *info);                                                                  \
  QLX_CORE_API void qlx_lapack_##P##syev(const char *jobz, const char *uplo, const int *n, T *a, const int *lda, T *w, \
                                         T *work, const int *lwork, int *info);                                        \
  QLX_CORE_API void qlx_lapack_##P##spevd(const char *jobz, const char *uplo, const int *n, T *ap, T *w, T *z,         \
                                          const int *ldz, T *work, const int *lwork, int *iwork, const int *liwork,    \
                                          int *info);

QLX_CORE_DECLARE_LAPACK(d, double)
QLX_CORE_DECLARE_LAPACK(s, float)

/* ---- Tridiagonal systems ---------------------------------------------------------------------------------------- */
/* A is n by n, diagonally dominant: d[n] its diagonal, dl[n-1] below, du[n-1] above. No pivoting; no thread is started.
   Arrays may not overlap. `info` is 0, or -k for a bad k-th argument (then nothing is touched), or k when the pivot of
   row k, counted from 1, is zero: then d, and b of a combined call, are left half-way.

   ?dttrfb_4dfl factors: d takes the reciprocals of the pivots of an elimination from both ends to row n / 2, counted
                from 0; dl and du are kept, and are the rest of the factor.
   ?dttrsb_4dfl solves A X = B with that factor for nrhs right-hand sides in the columns of b (ldb >= max(1, n)), in
                place.
   ?dtsvb_4dfl  factors and solves, with the result that the other two give one after the other, bit for bit; for the
                first right-hand side it costs one pass over memory less.
   A column's result depends neither on its place nor on the number of columns. */
#define QLX_CORE_DECLARE_TRIDIAGONAL(P, T)                                                                              \
  QLX_CORE_API void P##dttrfb_4dfl(const int64_t *n, const T *dl, T *d, const T *du, int64_t *info);                   \
  QLX_CORE_API void P##dttrsb_4dfl(const int64_t *n, const int64_t *nrhs, const T *dl, const T *d, const T *du, T *b,  \
                                   const int64_t *ldb, int64_t *info);                                                 \
  QLX_CORE_API void P##dtsvb_4dfl(const int64_t *n, const int64_t *nrhs, const T *dl, T *d, const T *du, T *b,         \
                                  const int64_t *ldb, int64_t *info);

QLX_CORE_DECLARE_TRIDIAGONAL(d, double)
QLX_CORE_DECLARE_TRIDIAGONAL(s, float)

QLX_END_C

#endif
