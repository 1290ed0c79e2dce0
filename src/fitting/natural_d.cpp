// NaturalCubic splines over double data.
// SPDX-License-Identifier: Apache-2.0
#include "fitting/natural.h"

int32_t qlx_df_kernel_dDFNaturalCubicSpline1D(DFTask* task, int64_t, int64_t method, const QlxThreadTable* services) {
  return qlx::fitting::construct_natural<double>(task, method, services);
}
