// The processor: what the core library is asked about it.
// SPDX-License-Identifier: Apache-2.0
#include "qlx/core.h"

// The built-in also asks whether the system saves the 512-bit registers.
int qlx_serv_cpuisicx() {
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("vaes") ? 1 : 0;
}
