// Basic, double.
// SPDX-License-Identifier: Apache-2.0
#include "stats/moments/basic.h"

int32_t _qstdSSBasic(QstSSTask* task, uint64_t mask, uint64_t method, const QlxThreadTable* threads) {
  return qlx::stats::run_basic<double>(task, mask, method, threads);
}
