// The processor generation that this build serves.
// SPDX-License-Identifier: Apache-2.0
#include "qlx/qvm.h"

int32_t dll_cpu_version(void) {
  return 8;
}
