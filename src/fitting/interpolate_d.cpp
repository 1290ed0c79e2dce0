// Evaluation of splines over double data.
// SPDX-License-Identifier: Apache-2.0
#include "fitting/interpolate.h"

int32_t qlx_df_kernel_dDFInterpolate1D(const DFTask* task, int64_t kind, int64_t method, int64_t site_count,
                                       const double* sites, int64_t site_hint, const double* site_parameters,
                                       int64_t derivative_count, const int64_t* orders, double* results,
                                       int64_t result_hint, int32_t* cells, const QlxDfCallbacksD* callbacks,
                                       const QlxThreadTable* services) {
  return qlx::fitting::interpolate<double>(task, kind, method, site_count, sites, site_hint, site_parameters,
                                           derivative_count, orders, results, result_hint, cells, callbacks, services);
}
