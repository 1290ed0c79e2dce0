// Needs and checks of Basic.
// SPDX-License-Identifier: Apache-2.0
#include "stats/moments/request.h"

#include <bit>

namespace qlx::stats {
namespace {

struct ResultRow {
  void* QstSSTask::*member;
  int32_t missing_status;
};

// Row r is bit r of a set of results.
constexpr ResultRow kResultRows[kResults] = {
    {&QstSSTask::mean, -4006},
    {&QstSSTask::rawMoment2, -4007},
    {&QstSSTask::rawMoment3, -4008},
    {&QstSSTask::rawMoment4, -4009},
    {&QstSSTask::centralMoment2, -4010},
    {&QstSSTask::centralMoment3, -4011},
    {&QstSSTask::centralMoment4, -4012},
    {&QstSSTask::covariance, -4018},
    {&QstSSTask::correlation, -4019},
    {&QstSSTask::kurtosis, -4013},
    {&QstSSTask::skewness, -4014},
    {&QstSSTask::variation, -4017},
    {&QstSSTask::sum, -4074},
    {&QstSSTask::rawSum2, -4075},
    {&QstSSTask::rawSum3, -4076},
    {&QstSSTask::rawSum4, -4077},
    {&QstSSTask::centralSum2, -4078},
    {&QstSSTask::centralSum3, -4079},
    {&QstSSTask::centralSum4, -4080},
    {&QstSSTask::crossProduct, -4081},
};

struct NeedRow {
  uint64_t estimate;
  uint32_t sweep, finished;
  uint32_t fast_only;  // what the fast method needs beyond `sweep`
};

constexpr uint32_t kRawTo3 = kHasMean | kHasRaw2 | kHasRaw3, kRawTo4 = kRawTo3 | kHasRaw4;

constexpr NeedRow kNeeds[] = {
    {QST_SS_MEAN, kHasMean, kHasMean | kHasSum, 0},
    {QST_SS_RAW_MOMENT_2, kHasRaw2, kHasRaw2 | kHasRawSum2, 0},
    {QST_SS_RAW_MOMENT_3, kHasRaw3, kHasRaw3 | kHasRawSum3, 0},
    {QST_SS_RAW_MOMENT_4, kHasRaw4, kHasRaw4 | kHasRawSum4, 0},
    {QST_SS_CENTRAL_MOMENT_2, kHasMean | kHasRaw2 | kHasCentral2, kHasCentral2 | kHasCentralSum2, 0},
    {QST_SS_CENTRAL_MOMENT_3, kRawTo3 | kHasCentral3, kHasCentral3 | kHasCentralSum3, 0},
    {QST_SS_CENTRAL_MOMENT_4, kRawTo4 | kHasCentral4, kHasCentral4 | kHasCentralSum4, 0},
    {QST_SS_COVARIANCE, kHasMean | kHasCovariance, kHasCovariance | kHasCrossProduct, 0},
    {QST_SS_CORRELATION, kHasMean | kHasCorrelation, kHasCorrelation | kHasCrossProduct, 0},
    {QST_SS_KURTOSIS, kRawTo4 | kHasCentral2 | kHasCentral4 | kHasKurtosis,
     kHasMean | kHasCentral2 | kHasCentral4 | kHasKurtosis, 0},
    {QST_SS_SKEWNESS, kRawTo3 | kHasCentral2 | kHasCentral3 | kHasSkewness,
     kHasMean | kHasCentral2 | kHasCentral3 | kHasSkewness, 0},
    {QST_SS_VARIATION, kHasMean | kHasRaw2 | kHasCentral2 | kHasVariation, kHasMean | kHasCentral2 | kHasVariation, 0},
    {QST_SS_SUM, kHasSum, kImpossible, 0},
    {QST_SS_RAW_SUM_2, kHasRawSum2, kImpossible, 0},
    {QST_SS_RAW_SUM_3, kHasRawSum3, kImpossible, 0},
    {QST_SS_RAW_SUM_4, kHasRawSum4, kImpossible, 0},
    {QST_SS_CENTRAL_SUM_2, kHasMean | kHasCentralSum2, kImpossible, kHasRaw2},
    {QST_SS_CENTRAL_SUM_3, kHasMean | kHasCentralSum3, kImpossible, kHasRaw2 | kHasRaw3},
    {QST_SS_CENTRAL_SUM_4, kHasMean | kHasCentralSum4, kImpossible, kHasRaw2 | kHasRaw3 | kHasRaw4},
    {QST_SS_CROSS_PRODUCT, kHasMean | kHasCrossProduct, kImpossible, 0},
};

uint32_t present_results(const QstSSTask& task) {
  uint32_t present = 0;
  for (int r = 0; r < kResults; ++r) present |= task.*kResultRows[r].member != nullptr ? 1u << r : 0;
  return present;
}

}  // namespace

uint32_t needed_results(uint64_t mask, uint64_t method) {
  uint32_t needed = 0;
  for (const NeedRow& row : kNeeds) {
    if ((mask & row.estimate) == 0) continue;
    needed |= (method & kSweepMethods) != 0 ? row.sweep : row.finished;
    if ((method & QST_SS_METHOD_FAST) != 0) needed |= row.fast_only;
  }
  return needed;
}

int32_t check_basic(const QstSSTask& task, uint64_t mask, uint64_t method) {
  const int sweeps = std::popcount(method & kSweepMethods);
  if (sweeps > 1 || (sweeps == 0 && (method & kFinishedMethods) == 0)) return QST_SS_ERROR_METHOD;

  const uint32_t missing = needed_results(mask, method) & ~present_results(task);
  if (missing != 0) {
    const int first = std::countr_zero(missing);
    return first < kResults ? kResultRows[first].missing_status : QST_SS_ERROR_METHOD;
  }
  if (sweeps == 1) {
    if (task.observationCount == nullptr || read_integer(task, task.observationCount) <= 0)
      return QST_SS_ERROR_OBSERVATION_COUNT;
    if (task.observations == nullptr) return QST_SS_ERROR_OBSERVATIONS;
    if (task.observationStorage == nullptr) return QST_SS_ERROR_STORAGE_WORD;
    if (!is_observation_storage(task, task.observationStorage)) return QST_SS_ERROR_STORAGE;
  } else if (task.accumWeight == nullptr && (task.observationCount == nullptr || task.weights != nullptr)) {
    return QST_SS_ERROR_ACCUM_WEIGHT;
  }
  return QST_SS_OK;
}

}  // namespace qlx::stats
