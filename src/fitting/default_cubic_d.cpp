// DefaultCubic splines over double data.
// SPDX-License-Identifier: Apache-2.0
#include "fitting/default_cubic.h"

int32_t qlx_df_kernel_dDFDefaultCubicSpline1D(DFTask* task, int64_t, int64_t method, const QlxThreadTable* services) {
  return qlx::fitting::construct_default<double>(task, method, services);
}
