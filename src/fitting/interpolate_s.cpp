// Evaluation of splines over float data.
// SPDX-License-Identifier: Apache-2.0
#include "fitting/interpolate.h"

int32_t qlx_df_kernel_sDFInterpolate1D(const DFTask* task, int64_t kind, int64_t method, int64_t site_count,
                                       const float* sites, int64_t site_hint, const float* site_parameters,
                                       int64_t derivative_count, const int64_t* orders, float* results,
                                       int64_t result_hint, int32_t* cells, const QlxDfCallbacksS* callbacks,
                                       const QlxThreadTable* services) {
  return qlx::fitting::interpolate<float>(task, kind, method, site_count, sites, site_hint, site_parameters,
                                          derivative_count, orders, results, result_hint, cells, callbacks, services);
}
