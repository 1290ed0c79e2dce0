// BesselCubic splines over float data.
// SPDX-License-Identifier: Apache-2.0
#include "fitting/local_cubic.h"

int32_t qlx_df_kernel_sDFBesselCubicSpline1D(DFTask* task, int64_t, int64_t method, const QlxThreadTable* services) {
  return qlx::fitting::construct_local_cubic<qlx::fitting::BesselKind, false, float>(task, method, services, 4, false);
}
