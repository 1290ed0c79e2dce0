// What a call of Basic asks for: its results as a table, what each estimate needs of them, and the checks.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_STATS_MOMENTS_REQUEST_H
#define QLX_STATS_MOMENTS_REQUEST_H

#include <cstdint>

#include "stats/moments/kernel.h"
#include "stats/qst_ss_task.h"

namespace qlx::stats {

// Bits of a set of results, in the order in which a missing one decides the status.
enum ResultBit : uint32_t {
  kHasMean = 1u << 0,
  kHasRaw2 = 1u << 1,
  kHasRaw3 = 1u << 2,
  kHasRaw4 = 1u << 3,
  kHasCentral2 = 1u << 4,
  kHasCentral3 = 1u << 5,
  kHasCentral4 = 1u << 6,
  kHasCovariance = 1u << 7,
  kHasCorrelation = 1u << 8,
  kHasKurtosis = 1u << 9,
  kHasSkewness = 1u << 10,
  kHasVariation = 1u << 11,
  kHasSum = 1u << 12,
  kHasRawSum2 = 1u << 13,
  kHasRawSum3 = 1u << 14,
  kHasRawSum4 = 1u << 15,
  kHasCentralSum2 = 1u << 16,
  kHasCentralSum3 = 1u << 17,
  kHasCentralSum4 = 1u << 18,
  kHasCrossProduct = 1u << 19,
  kImpossible = 1u << 20  // no member answers to it
};
inline constexpr int kResults = 20;

// Moment bits of the mask, and the members and mask bits of each vector's two forms.
struct VectorForms {
  uint64_t moment_bit, sum_bit;
  void* QstSSTask::*moment;
  void* QstSSTask::*sum;
};
inline constexpr VectorForms kForms[kVectors] = {
    {QST_SS_MEAN, QST_SS_SUM, &QstSSTask::mean, &QstSSTask::sum},
    {QST_SS_RAW_MOMENT_2, QST_SS_RAW_SUM_2, &QstSSTask::rawMoment2, &QstSSTask::rawSum2},
    {QST_SS_RAW_MOMENT_3, QST_SS_RAW_SUM_3, &QstSSTask::rawMoment3, &QstSSTask::rawSum3},
    {QST_SS_RAW_MOMENT_4, QST_SS_RAW_SUM_4, &QstSSTask::rawMoment4, &QstSSTask::rawSum4},
    {QST_SS_CENTRAL_MOMENT_2, QST_SS_CENTRAL_SUM_2, &QstSSTask::centralMoment2, &QstSSTask::centralSum2},
    {QST_SS_CENTRAL_MOMENT_3, QST_SS_CENTRAL_SUM_3, &QstSSTask::centralMoment3, &QstSSTask::centralSum3},
    {QST_SS_CENTRAL_MOMENT_4, QST_SS_CENTRAL_SUM_4, &QstSSTask::centralMoment4, &QstSSTask::centralSum4},
};

inline constexpr uint64_t kMatrixEstimates = QST_SS_COVARIANCE | QST_SS_CORRELATION | QST_SS_CROSS_PRODUCT;
inline constexpr uint64_t kSweepMethods = QST_SS_METHOD_FAST | QST_SS_METHOD_1PASS | QST_SS_METHOD_FAST_GIVEN_MEAN;
inline constexpr uint64_t kFinishedMethods = QST_SS_METHOD_CROSS_PRODUCT_DONE | QST_SS_METHOD_SUMS_DONE;

// The union of what the mask's estimates need under the method.
uint32_t needed_results(uint64_t mask, uint64_t method);

// All checks of Basic, in their order.
int32_t check_basic(const QstSSTask& task, uint64_t mask, uint64_t method);

}  // namespace qlx::stats

#endif
