/* Uses both installed libraries from C.
   SPDX-License-Identifier: Apache-2.0 */
#include <qlx/core.h>
#include <qlx/qvm.h>

int main(void) {
  const int one = 1;
  const double two = 2.0, zero = 0.0;
  double product = 0.0;
  qlx_blas_dgemm("N", "N", &one, &one, &one, &two, &two, &one, &two, &one, &zero, &product, &one);
  return dll_cpu_version() == 8 && product == 8.0 ? 0 : 1;
}
