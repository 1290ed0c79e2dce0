// Task constructors, deletion and editors.
// SPDX-License-Identifier: Apache-2.0
//
// The general editors are tables of rows (member, code, status); a special editor is the list of its members. Nothing
// here reads a result array, so the float and double editors are the same code.
#include <cstddef>

#include "stats/qst_ss_task.h"

namespace qlx::stats {
namespace {

using Member = void* QstSSTask::*;

struct EditorRow {
  Member member;
  int32_t code, null_status;
};

constexpr int32_t kFirstRealCode = 3, kLastRealCode = 78, kFirstIntegerCode = 1, kLastIntegerCode = 79;

// Code 67 reports the status of the mean, as callers have come to expect; the estimators report -4074 for the sum.
constexpr EditorRow kRealRows[] = {
    {&QstSSTask::observations, 3, -4032},
    {&QstSSTask::weights, 6, -4005},
    {&QstSSTask::mean, 7, -4006},
    {&QstSSTask::rawMoment2, 8, -4007},
    {&QstSSTask::rawMoment3, 9, -4008},
    {&QstSSTask::rawMoment4, 10, -4009},
    {&QstSSTask::centralMoment2, 11, -4010},
    {&QstSSTask::centralMoment3, 12, -4011},
    {&QstSSTask::centralMoment4, 13, -4012},
    {&QstSSTask::kurtosis, 14, -4013},
    {&QstSSTask::skewness, 15, -4014},
    {&QstSSTask::minimum, 16, -4015},
    {&QstSSTask::maximum, 17, -4016},
    {&QstSSTask::variation, 18, -4017},
    {&QstSSTask::covariance, 19, -4018},
    {&QstSSTask::correlation, 21, -4019},
    {&QstSSTask::accumWeight, 23, -4020},
    {&QstSSTask::quantileOrders, 25, -4021},
    {&QstSSTask::quantiles, 26, -4023},
    {&QstSSTask::orderStatistics, 27, -4024},
    {&QstSSTask::pooledMean, 30, -4035},
    {&QstSSTask::pooledCovariance, 31, -4034},
    {&QstSSTask::groupMean, 33, -4037},
    {&QstSSTask::groupCovariance, 35, -4036},
    {&QstSSTask::robustParams, 38, -4042},
    {&QstSSTask::robustMean, 39, -4028},
    {&QstSSTask::robustCovariance, 40, -4027},
    {&QstSSTask::outlierParams, 42, -4039},
    {&QstSSTask::outlierWeights, 43, -4041},
    {&QstSSTask::partialCovariance, 46, -4046},
    {&QstSSTask::partialCorrelation, 48, -4047},
    {&QstSSTask::missingParams, 51, -4048},
    {&QstSSTask::missingInit, 53, -4053},
    {&QstSSTask::missingSimulation, 55, -4054},
    {&QstSSTask::missingEstimates, 57, -4057},
    {&QstSSTask::missingPrior, 59, -4062},
    {&QstSSTask::paramCorrelation, 60, -4071},
    {&QstSSTask::streamParams, 63, -4065},
    {&QstSSTask::streamQuantileOrders, 65, -4068},
    {&QstSSTask::streamQuantiles, 66, -4070},
    {&QstSSTask::sum, 67, -4006},
    {&QstSSTask::rawSum2, 68, -4075},
    {&QstSSTask::rawSum3, 69, -4076},
    {&QstSSTask::rawSum4, 70, -4077},
    {&QstSSTask::centralSum2, 71, -4078},
    {&QstSSTask::centralSum3, 72, -4079},
    {&QstSSTask::centralSum4, 73, -4080},
    {&QstSSTask::crossProduct, 74, -4081},
    {&QstSSTask::medianAbsDeviation, 76, -4082},
    {&QstSSTask::meanAbsDeviation, 77, -4083},
    {&QstSSTask::sortedObservations, 78, -4084},
};

constexpr EditorRow kIntegerRows[] = {
    {&QstSSTask::dimension, 1, -4001},
    {&QstSSTask::observationCount, 2, -4002},
    {&QstSSTask::observationStorage, 4, -4044},
    {&QstSSTask::indices, 5, -4004},
    {&QstSSTask::covarianceStorage, 20, -4044},
    {&QstSSTask::correlationStorage, 22, -4044},
    {&QstSSTask::quantileOrderCount, 24, -4022},
    {&QstSSTask::groupIndices, 28, -4038},
    {&QstSSTask::pooledCovarianceStorage, 29, -4044},
    {&QstSSTask::groupCovIndices, 32, -4038},
    {&QstSSTask::groupCovarianceStorage, 34, -4044},
    {&QstSSTask::robustCovarianceStorage, 36, -4044},
    {&QstSSTask::robustParamCount, 37, -4043},
    {&QstSSTask::outlierParamCount, 41, -4040},
    {&QstSSTask::orderStatisticsStorage, 44, -4044},
    {&QstSSTask::partialIndices, 45, -4045},
    {&QstSSTask::partialCovarianceStorage, 47, -4044},
    {&QstSSTask::partialCorrelationStorage, 49, -4044},
    {&QstSSTask::missingParamCount, 50, -4049},
    {&QstSSTask::missingInitCount, 52, -4052},
    {&QstSSTask::missingSimulationCount, 54, -4055},
    {&QstSSTask::missingEstimateCount, 56, -4056},
    {&QstSSTask::missingPriorCount, 58, -4061},
    {&QstSSTask::paramCorrelationStorage, 61, -4044},
    {&QstSSTask::streamParamCount, 62, -4066},
    {&QstSSTask::streamQuantileOrderCount, 64, -4069},
    {&QstSSTask::crossProductStorage, 75, -4044},
    {&QstSSTask::sortedObservationsStorage, 79, -4044},
};

// The interface takes addresses of inputs as const; the record has one kind of member. Only results are written.
void* address_of(const void* value) {
  return const_cast<void*>(value);
}

// The range is tested on all 64 bits of the code, before it is narrowed to a row's.
template <size_t N>
int32_t edit(const EditorRow (&rows)[N], int64_t first, int64_t last, QstSSTask* task, int64_t code,
             const void* value) {
  if (task == nullptr) return QST_SS_ERROR_TASK;
  if (code < first || code > last) return QST_SS_ERROR_BAD_CODE;
  for (const EditorRow& row : rows) {
    if (row.code != code) continue;
    if (value == nullptr) return row.null_status;
    task->*row.member = address_of(value);
    return QST_SS_OK;
  }
  return QST_SS_ERROR_BAD_CODE;
}

// The special editors: their members in the order of their arguments.
constexpr Member kMoments[] = {&QstSSTask::mean,          &QstSSTask::rawMoment2,     &QstSSTask::rawMoment3,
                               &QstSSTask::rawMoment4,    &QstSSTask::centralMoment2, &QstSSTask::centralMoment3,
                               &QstSSTask::centralMoment4};
constexpr Member kSums[] = {&QstSSTask::sum,        &QstSSTask::rawSum2,     &QstSSTask::rawSum3,
                            &QstSSTask::rawSum4,    &QstSSTask::centralSum2, &QstSSTask::centralSum3,
                            &QstSSTask::centralSum4};
constexpr Member kCovCor[] = {&QstSSTask::mean, &QstSSTask::covariance, &QstSSTask::covarianceStorage,
                              &QstSSTask::correlation, &QstSSTask::correlationStorage};
constexpr Member kCrossProduct[] = {&QstSSTask::mean, &QstSSTask::sum, &QstSSTask::crossProduct,
                                    &QstSSTask::crossProductStorage};
constexpr Member kPartialCovCor[] = {&QstSSTask::partialIndices,           &QstSSTask::covariance,
                                     &QstSSTask::covarianceStorage,        &QstSSTask::correlation,
                                     &QstSSTask::correlationStorage,       &QstSSTask::partialCovariance,
                                     &QstSSTask::partialCovarianceStorage, &QstSSTask::partialCorrelation,
                                     &QstSSTask::partialCorrelationStorage};
constexpr Member kQuantiles[] = {&QstSSTask::quantileOrderCount, &QstSSTask::quantileOrders, &QstSSTask::quantiles,
                                 &QstSSTask::orderStatistics, &QstSSTask::orderStatisticsStorage};
constexpr Member kStreamQuantiles[] = {&QstSSTask::streamQuantileOrderCount, &QstSSTask::streamQuantileOrders,
                                       &QstSSTask::streamQuantiles, &QstSSTask::streamParamCount,
                                       &QstSSTask::streamParams};
// The two storage words of pooled covariance come through codes 29 and 34.
constexpr Member kPooledCovariance[] = {&QstSSTask::groupIndices,     &QstSSTask::pooledMean,
                                        &QstSSTask::pooledCovariance, &QstSSTask::groupCovIndices,
                                        &QstSSTask::groupMean,        &QstSSTask::groupCovariance};
constexpr Member kRobustCovariance[] = {&QstSSTask::robustCovarianceStorage, &QstSSTask::robustParamCount,
                                        &QstSSTask::robustParams, &QstSSTask::robustMean, &QstSSTask::robustCovariance};
constexpr Member kOutliers[] = {&QstSSTask::outlierParamCount, &QstSSTask::outlierParams, &QstSSTask::outlierWeights};
constexpr Member kMissingValues[] = {&QstSSTask::missingParamCount,      &QstSSTask::missingParams,
                                     &QstSSTask::missingInitCount,       &QstSSTask::missingInit,
                                     &QstSSTask::missingPriorCount,      &QstSSTask::missingPrior,
                                     &QstSSTask::missingSimulationCount, &QstSSTask::missingSimulation,
                                     &QstSSTask::missingEstimateCount,   &QstSSTask::missingEstimates};
constexpr Member kParametrization[] = {&QstSSTask::correlation, &QstSSTask::correlationStorage,
                                       &QstSSTask::paramCorrelation, &QstSSTask::paramCorrelationStorage};

// A null leaves its member as it was.
template <size_t N, class... Address>
int32_t edit_several(QstSSTask* task, const Member (&members)[N], Address... addresses) {
  static_assert(sizeof...(Address) == N);
  if (task == nullptr) return QST_SS_ERROR_TASK;
  const void* const values[] = {addresses...};
  for (size_t i = 0; i < N; ++i) {
    if (values[i] != nullptr) task->*members[i] = address_of(values[i]);
  }
  return QST_SS_OK;
}

int32_t new_task(QstSSTask** slot, const void* p, const void* n, const void* storage, const void* x,
                 const void* weights, const void* indices, int32_t wide_integers, int32_t is_double) {
  QstSSTask fields = {};
  fields.wideIntegers = wide_integers;
  fields.taskTag = 2;
  fields.isDouble = is_double;
  fields.dimension = address_of(p);
  fields.observationCount = address_of(n);
  fields.observations = address_of(x);
  fields.observationStorage = address_of(storage);
  fields.weights = address_of(weights);
  fields.indices = address_of(indices);

  if (p == nullptr || read_integer(fields, p) <= 0) return QST_SS_ERROR_DIMENSION;
  if (x != nullptr) {
    if (storage == nullptr) return QST_SS_ERROR_STORAGE_WORD;
    const int64_t word = read_integer(fields, storage);
    if (word != QST_SS_ROWS && word != QST_SS_COLUMNS) return QST_SS_ERROR_STORAGE;
    if (n == nullptr || read_integer(fields, n) <= 0) return QST_SS_ERROR_OBSERVATION_COUNT;
  }
  *slot = platform::allocate_array<QstSSTask>(1);
  if (*slot == nullptr) return QST_SS_ERROR_MEMORY;
  **slot = fields;
  return QST_SS_OK;
}

}  // namespace
}  // namespace qlx::stats

using namespace qlx::stats;

int32_t __qstSSDeleteTask(QstSSTask** task) {
  if (task == nullptr) return QST_SS_ERROR_TASK;
  qlx_serv_deallocate((*task)->savedMean);
  for (int32_t entry = 0; entry < (*task)->cleanupCount; ++entry) (*task)->cleanupList[entry](*task);
  qlx_serv_deallocate(*task);
  *task = nullptr;
  return QST_SS_OK;
}

int32_t __qstiSSEditTask(QstSSTask* task, int64_t code, const void* value) {
  return edit(kIntegerRows, kFirstIntegerCode, kLastIntegerCode, task, code, value);
}

// The float and double entries; only addresses pass through. I stands for the address of integers.
using I = const void*;
#define QLX_STATS_TASK_ENTRIES(P, T, IS_DOUBLE)                                                                        \
  int32_t __qst##P##SSNewTask(QstSSTask** t, I p, I n, I storage, const T* x, const T* w, I indices, int32_t wide) {   \
    return new_task(t, p, n, storage, x, w, indices, wide, IS_DOUBLE);                                                 \
  }                                                                                                                    \
  int32_t __qst##P##SSEditTask(QstSSTask* t, int64_t code, const T* value) {                                           \
    return edit(kRealRows, kFirstRealCode, kLastRealCode, t, code, value);                                             \
  }                                                                                                                    \
  int32_t __qst##P##SSEditMoments(QstSSTask* t, T* a, T* b, T* c, T* d, T* e, T* f, T* g) {                            \
    return edit_several(t, kMoments, a, b, c, d, e, f, g);                                                             \
  }                                                                                                                    \
  int32_t __qst##P##SSEditSums(QstSSTask* t, T* a, T* b, T* c, T* d, T* e, T* f, T* g) {                               \
    return edit_several(t, kSums, a, b, c, d, e, f, g);                                                                \
  }                                                                                                                    \
  int32_t __qst##P##SSEditCovCor(QstSSTask* t, T* a, T* b, I c, T* d, I e) {                                           \
    return edit_several(t, kCovCor, a, b, c, d, e);                                                                    \
  }                                                                                                                    \
  int32_t __qst##P##SSEditCP(QstSSTask* t, T* a, T* b, T* c, I d) {                                                    \
    return edit_several(t, kCrossProduct, a, b, c, d);                                                                 \
  }                                                                                                                    \
  int32_t __qst##P##SSEditPartialCovCor(QstSSTask* t, I a, const T* b, I c, const T* d, I e, T* f, I g, T* h, I i) {   \
    return edit_several(t, kPartialCovCor, a, b, c, d, e, f, g, h, i);                                                 \
  }                                                                                                                    \
  int32_t __qst##P##SSEditQuantiles(QstSSTask* t, I a, const T* b, T* c, T* d, I e) {                                  \
    return edit_several(t, kQuantiles, a, b, c, d, e);                                                                 \
  }                                                                                                                    \
  int32_t __qst##P##SSEditStreamQuantiles(QstSSTask* t, I a, const T* b, T* c, I d, const T* e) {                      \
    return edit_several(t, kStreamQuantiles, a, b, c, d, e);                                                           \
  }                                                                                                                    \
  int32_t __qst##P##SSEditPooledCovariance(QstSSTask* t, I a, T* b, T* c, I d, T* e, T* f) {                           \
    return edit_several(t, kPooledCovariance, a, b, c, d, e, f);                                                       \
  }                                                                                                                    \
  int32_t __qst##P##SSEditRCov(QstSSTask* t, I a, I b, const T* c, T* d, T* e) {                                       \
    return edit_several(t, kRobustCovariance, a, b, c, d, e);                                                          \
  }                                                                                                                    \
  int32_t __qst##P##SSEditOutDetect(QstSSTask* t, I a, const T* b, T* c) {                                             \
    return edit_several(t, kOutliers, a, b, c);                                                                        \
  }                                                                                                                    \
  int32_t __qst##P##SSEditMissingVals(QstSSTask* t, I a, const T* b, I c, const T* d, I e, const T* f, I g, T* h, I i, \
                                      T* j) {                                                                          \
    return edit_several(t, kMissingValues, a, b, c, d, e, f, g, h, i, j);                                              \
  }                                                                                                                    \
  int32_t __qst##P##SSEditMtxParametrz(QstSSTask* t, const T* a, I b, T* c, I d) {                                     \
    return edit_several(t, kParametrization, a, b, c, d);                                                              \
  }

QLX_STATS_TASK_ENTRIES(d, double, 1)
QLX_STATS_TASK_ENTRIES(s, float, 0)
