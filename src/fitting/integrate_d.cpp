// Integration of splines over double data.
// SPDX-License-Identifier: Apache-2.0
#include "fitting/integrate.h"

int32_t qlx_df_kernel_dDFIntegrate1D(const DFTask* task, int64_t kind, int64_t method, int64_t limit_count,
                                     const double* left, int64_t left_hint, const double* right, int64_t right_hint,
                                     const double* site_parameters, double* results, int64_t result_hint,
                                     const QlxDfCallbacksD* callbacks, const QlxThreadTable* services) {
  return qlx::fitting::integrate<double>(task, kind, method, limit_count, left, left_hint, right, right_hint,
                                         site_parameters, results, result_hint, callbacks, services);
}
