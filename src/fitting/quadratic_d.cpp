// Quadratic splines over double data.
// SPDX-License-Identifier: Apache-2.0
#include "fitting/quadratic.h"

int32_t qlx_df_kernel_dDFQuadraticSpline1D(DFTask* task, int64_t, int64_t, const QlxThreadTable* services) {
  return qlx::fitting::construct_quadratic<double>(task, services);
}
