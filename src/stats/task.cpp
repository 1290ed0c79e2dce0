// Task constructors, deletion and editors.
// SPDX-License-Identifier: Apache-2.0
//
// The general editors are tables of rows (code, member, status); a special editor is the list of its members. Nothing
// here reads a result array, so the float and double editors are the same code.
#include <cstddef>

#include "stats/qst_ss_task.h"

namespace qlx::stats {
namespace {

using Member = void* QstSSTask::*;

struct EditorRow {
  int8_t code;
  Member member;
  int32_t null_status;
};

constexpr int32_t kFirstRealCode = 3, kLastRealCode = 78, kFirstIntegerCode = 1, kLastIntegerCode = 79;

// Code 67 reports the status of the mean, as callers have come to expect; the estimators report -4074 for the sum.
constexpr EditorRow kRealRows[] = {
    {3, &QstSSTask::observations, -4032},
    {6, &QstSSTask::weights, -4005},
    {7, &QstSSTask::mean, -4006},
    {8, &QstSSTask::rawMoment2, -4007},
    {9, &QstSSTask::rawMoment3, -4008},
    {10, &QstSSTask::rawMoment4, -4009},
    {11, &QstSSTask::centralMoment2, -4010},
    {12, &QstSSTask::centralMoment3, -4011},
    {13, &QstSSTask::centralMoment4, -4012},
    {14, &QstSSTask::kurtosis, -4013},
    {15, &QstSSTask::skewness, -4014},
    {16, &QstSSTask::minimum, -4015},
    {17, &QstSSTask::maximum, -4016},
    {18, &QstSSTask::variation, -4017},
    {19, &QstSSTask::covariance, -4018},
    {21, &QstSSTask::correlation, -4019},
    {23, &QstSSTask::accumWeight, -4020},
    {25, &QstSSTask::quantileOrders, -4021},
    {26, &QstSSTask::quantiles, -4023},
    {27, &QstSSTask::orderStatistics, -4024},
    {30, &QstSSTask::pooledMean, -4035},
    {31, &QstSSTask::pooledCovariance, -4034},
    {33, &QstSSTask::groupMean, -4037},
    {35, &QstSSTask::groupCovariance, -4036},
    {38, &QstSSTask::robustParams, -4042},
    {39, &QstSSTask::robustMean, -4028},
    {40, &QstSSTask::robustCovariance, -4027},
    {42, &QstSSTask::outlierParams, -4039},
    {43, &QstSSTask::outlierWeights, -4041},
    {46, &QstSSTask::partialCovariance, -4046},
    {48, &QstSSTask::partialCorrelation, -4047},
    {51, &QstSSTask::missingParams, -4048},
    {53, &QstSSTask::missingInit, -4053},
    {55, &QstSSTask::missingSimulation, -4054},
    {57, &QstSSTask::missingEstimates, -4057},
    {59, &QstSSTask::missingPrior, -4062},
    {60, &QstSSTask::paramCorrelation, -4071},
    {63, &QstSSTask::streamParams, -4065},
    {65, &QstSSTask::streamQuantileOrders, -4068},
    {66, &QstSSTask::streamQuantiles, -4070},
    {67, &QstSSTask::sum, -4006},
    {68, &QstSSTask::rawSum2, -4075},
    {69, &QstSSTask::rawSum3, -4076},
    {70, &QstSSTask::rawSum4, -4077},
    {71, &QstSSTask::centralSum2, -4078},
    {72, &QstSSTask::centralSum3, -4079},
    {73, &QstSSTask::centralSum4, -4080},
    {74, &QstSSTask::crossProduct, -4081},
    {76, &QstSSTask::medianAbsDeviation, -4082},
    {77, &QstSSTask::meanAbsDeviation, -4083},
    {78, &QstSSTask::sortedObservations, -4084},
};

constexpr EditorRow kIntegerRows[] = {
    {1, &QstSSTask::dimension, -4001},
    {2, &QstSSTask::observationCount, -4002},
    {4, &QstSSTask::observationStorage, -4044},
    {5, &QstSSTask::indices, -4004},
    {20, &QstSSTask::covarianceStorage, -4044},
    {22, &QstSSTask::correlationStorage, -4044},
    {24, &QstSSTask::quantileOrderCount, -4022},
    {28, &QstSSTask::groupIndices, -4038},
    {29, &QstSSTask::pooledCovarianceStorage, -4044},
    {32, &QstSSTask::groupCovIndices, -4038},
    {34, &QstSSTask::groupCovarianceStorage, -4044},
    {36, &QstSSTask::robustCovarianceStorage, -4044},
    {37, &QstSSTask::robustParamCount, -4043},
    {41, &QstSSTask::outlierParamCount, -4040},
    {44, &QstSSTask::orderStatisticsStorage, -4044},
    {45, &QstSSTask::partialIndices, -4045},
    {47, &QstSSTask::partialCovarianceStorage, -4044},
    {49, &QstSSTask::partialCorrelationStorage, -4044},
    {50, &QstSSTask::missingParamCount, -4049},
    {52, &QstSSTask::missingInitCount, -4052},
    {54, &QstSSTask::missingSimulationCount, -4055},
    {56, &QstSSTask::missingEstimateCount, -4056},
    {58, &QstSSTask::missingPriorCount, -4061},
    {61, &QstSSTask::paramCorrelationStorage, -4044},
    {62, &QstSSTask::streamParamCount, -4066},
    {64, &QstSSTask::streamQuantileOrderCount, -4069},
    {75, &QstSSTask::crossProductStorage, -4044},
    {79, &QstSSTask::sortedObservationsStorage, -4044},
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
