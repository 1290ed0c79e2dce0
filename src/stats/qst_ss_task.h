// The summary statistics task: its record, and how the estimators read what it points at.
// SPDX-License-Identifier: Apache-2.0
//
// Every member that holds a caller's address is a void pointer: the same record serves float and double tasks, and
// 32-bit and 64-bit integers, so the element type is known only where a member is used. Estimators read integers
// through the functions below and never cast a member by themselves.
#ifndef QLX_STATS_QST_SS_TASK_H
#define QLX_STATS_QST_SS_TASK_H

#include <cstdint>

#include "platform/scratch.h"
#include "qlx/qst_ss.h"

struct QstSSTask {
  int32_t wideIntegers;  // nonzero: integers behind the addresses are 64 bits wide
  uint8_t taskTag;       // always 2
  int32_t isDouble;      // element type of all real arrays

  void *dimension, *observationCount, *indices;
  void *observations, *weights, *accumWeight, *observationStorage;
  void *paramCorrelation, *paramCorrelationStorage;

  void *mean, *rawMoment2, *rawMoment3, *rawMoment4;
  void *centralMoment2, *centralMoment3, *centralMoment4;
  void *sum, *rawSum2, *rawSum3, *rawSum4, *centralSum2, *centralSum3, *centralSum4;
  void *kurtosis, *skewness, *variation, *minimum, *maximum;
  void *covarianceStorage, *covariance, *correlationStorage, *correlation, *crossProductStorage, *crossProduct;

  void *groupIndices, *groupCovIndices, *groupMean, *groupCovariance, *groupCovarianceStorage;
  void *pooledMean, *pooledCovariance, *pooledCovarianceStorage;

  void *quantileOrderCount, *quantileOrders, *quantiles, *orderStatistics, *orderStatisticsStorage;
  void *streamQuantileOrderCount, *streamQuantileOrders, *streamQuantiles;
  void* streamQuantileState;  // owned: p records of the streaming method, null until its first call
  void *streamParamCount, *streamParams;

  void *meanAbsDeviation, *medianAbsDeviation;
  void *robustParamCount, *robustParams, *robustMean, *robustCovariance, *robustCovarianceStorage;
  void *outlierParamCount, *outlierParams, *outlierWeights;
  void *partialIndices, *partialCovariance, *partialCovarianceStorage;
  void *partialCorrelation, *partialCorrelationStorage;
  void *missingParamCount, *missingParams, *missingInitCount, *missingInit, *missingPriorCount, *missingPrior;
  void *missingSimulationCount, *missingSimulation, *missingEstimateCount, *missingEstimates;

  // Hand-over between estimators through a working copy of a task; null in a task that a caller holds.
  void *distanceStart, *distanceEnd, *distanceMatrixA, *distanceMatrixB, *distanceOutput, *distanceSpare0,
      *distanceSpare1;

  // One entry is enough: only the streaming method enters its function, once in the life of a task.
  int32_t cleanupCount;
  void (*cleanupList[1])(QstSSTask* task);

  void *sortedObservations, *sortedObservationsStorage;
  void* savedMean;  // owned: p means kept by Basic between calls of the given-mean method
  // p when these were allocated: the caller may edit the dimension, or let it go before the task is deleted.
  int32_t savedMeanCount, streamStateCount;
};

namespace qlx::stats {

using platform::padded, platform::Scratch;

// Element `index` of an array of the task's integers.
inline int64_t read_integer(const QstSSTask& task, const void* address, int64_t index = 0) {
  return task.wideIntegers != 0 ? static_cast<const int64_t*>(address)[index]
                                : static_cast<const int32_t*>(address)[index];
}

// The compute entries take the low word of p alone; a p whose low word is not positive has no variables.
inline int32_t read_dimension(const QstSSTask& task) {
  const auto p = static_cast<int32_t>(read_integer(task, task.dimension));
  return p > 0 ? p : 0;
}

inline bool includes(const QstSSTask& task, int64_t variable) {
  return task.indices == nullptr || read_integer(task, task.indices, variable) != 0;
}

inline bool is_observation_storage(const QstSSTask& task, const void* word) {
  return word != nullptr && (read_integer(task, word) & (QST_SS_ROWS | QST_SS_COLUMNS)) != 0;
}

// Row storage when the word says so, and always for one variable, whose two forms are the same bytes.
inline bool in_rows(const QstSSTask& task, const void* word, int64_t p) {
  return p == 1 || (read_integer(task, word) & QST_SS_ROWS) != 0;
}

template <class T>
T* as_array(void* member) {
  return static_cast<T*>(member);
}

}  // namespace qlx::stats

#endif
