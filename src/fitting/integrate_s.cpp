// Integration of splines over float data.
// SPDX-License-Identifier: Apache-2.0
#include "fitting/integrate.h"

int32_t qlx_df_kernel_sDFIntegrate1D(const DFTask* task, int64_t kind, int64_t method, int64_t limit_count,
                                     const float* left, int64_t left_hint, const float* right, int64_t right_hint,
                                     const float* site_parameters, float* results, int64_t result_hint,
                                     const QlxDfCallbacksS* callbacks, const QlxThreadTable* services) {
  return qlx::fitting::integrate<float>(task, kind, method, limit_count, left, left_hint, right, right_hint,
                                        site_parameters, results, result_hint, callbacks, services);
}
