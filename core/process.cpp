// The process: its end.
// SPDX-License-Identifier: Apache-2.0
#include <cstdlib>

#include "qlx/core.h"

void qlx_serv_exit(int code) {
  std::exit(code);
}
