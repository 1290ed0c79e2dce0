/* A C11 caller of the core library: the header compiles as C, and the names link with C's rules.
   SPDX-License-Identifier: Apache-2.0 */
#include "qlx/core.h"

static void add_task_number(int task, void* context) {
  ((int*)context)[task] += task;
}

/* Returns the number of the first step that failed, or 0. */
int call_core_from_c(void);
int call_core_from_c(void) {
  volatile int32_t lock = 0;
  int sums[3] = {1, 1, 1};
  const int one = 1;
  const double two = 2.0, three = 3.0, zero = 0.0;
  double product = -1.0;
  double diagonal[1] = {4.0}, side[1] = {2.0};
  const int64_t order = 1;
  int64_t info = -1;
  void* block = qlx_serv_allocate(100, 128);

  if (block == NULL || (uintptr_t)block % 128 != 0) return 1;
  qlx_serv_deallocate(block);
  qlx_serv_lock(&lock);
  if (lock != 1) return 2;
  qlx_serv_unlock(&lock);
  if (lock != 0) return 3;
  if (qlx_serv_thread_table()->threader_for(3, 0, sums, add_task_number) != 0) return 4;
  if (sums[0] != 1 || sums[1] != 2 || sums[2] != 3) return 5;
  qlx_blas_dgemm("N", "N", &one, &one, &one, &two, &two, &one, &three, &one, &zero, &product, &one);
  if (product != 12.0) return 6;
  ddtsvb_4dfl(&order, &order, NULL, diagonal, NULL, side, &order, &info);
  if (info != 0 || side[0] != 0.5) return 7;
  return 0;
}
