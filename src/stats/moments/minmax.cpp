// Minima and maxima of the variables.
// SPDX-License-Identifier: Apache-2.0
#include "stats/extremes.h"
#include "stats/qst_ss_task.h"
#include "stats/simd.h"

namespace qlx::stats {
namespace {

// Column storage: variables side by side in the lanes, blocks of observations while they are in the first cache.
template <class T, bool Min, bool Max>
__attribute__((flatten)) void extremes_of_columns(const T* x, int64_t n, int64_t p, T* low, T* high) {
  constexpr int64_t kBlockBytes = 16384;
  int64_t block = kBlockBytes / (static_cast<int64_t>(sizeof(T)) * p);
  if (block < 16) block = 16;
  for (int64_t first = 0; first < n; first += block) {
    const int64_t end = first + block < n ? first + block : n;
    for_groups<2 * kLanes<T>>(0, p, [&](int64_t i, auto group) QLX_STATS_INLINE {
      constexpr int kWidth = group < kLanes<T> ? int{group} : kLanes<T>, kPacks = group / kWidth;
      using P = Pack<T, kWidth>;
      Extremes<Min, Max, P> running[kPacks];
      repeat<kPacks>([&](auto k) QLX_STATS_INLINE {
        running[k] = {load<P>(low + i + k * kWidth), load<P>(high + i + k * kWidth)};
      });
      for (int64_t j = first; j < end; ++j) {
        repeat<kPacks>([&](auto k) QLX_STATS_INLINE { running[k].take(load<P>(x + j * p + i + k * kWidth)); });
      }
      repeat<kPacks>([&](auto k) QLX_STATS_INLINE {
        if constexpr (Min) store(low + i + k * kWidth, running[k].low);
        if constexpr (Max) store(high + i + k * kWidth, running[k].high);
      });
    });
  }
}

template <class T, bool Min, bool Max>
int32_t extremes(const QstSSTask& task, int64_t n, int64_t p) {
  const T* const x = as_array<const T>(task.observations);
  T* const minimum = as_array<T>(task.minimum);
  T* const maximum = as_array<T>(task.maximum);
  if (in_rows(task, task.observationStorage, p)) {
    Scratch<int32_t> included(p);
    if (!included) return QST_SS_ERROR_MEMORY;
    int64_t count = 0;
    for (int64_t i = 0; i < p; ++i) {
      if (includes(task, i)) included[count++] = static_cast<int32_t>(i);
    }
    for (int64_t k = 0; k < count; ++k) {
      const int64_t i = included[k];
      T low = Min ? minimum[i] : T(0), high = Max ? maximum[i] : T(0);
      extremes_of_row<T, Min, Max>(x + i * n, n, &low, &high);
      if constexpr (Min) minimum[i] = low;
      if constexpr (Max) maximum[i] = high;
    }
    return QST_SS_OK;
  }
  // Running values of all variables in scratch: the sweep takes them in groups, the results only the included ones.
  Scratch<T> running(2 * p);
  if (!running) return QST_SS_ERROR_MEMORY;
  T *const low = running.get(), *const high = low + p;
  for (int64_t i = 0; i < p; ++i) {
    low[i] = Min ? minimum[i] : T(0);
    high[i] = Max ? maximum[i] : T(0);
  }
  extremes_of_columns<T, Min, Max>(x, n, p, low, high);
  for (int64_t i = 0; i < p; ++i) {
    if (!includes(task, i)) continue;
    if constexpr (Min) minimum[i] = low[i];
    if constexpr (Max) maximum[i] = high[i];
  }
  return QST_SS_OK;
}

template <class T>
int32_t minmax(const QstSSTask* task, uint64_t mask, uint64_t method) {
  if (task == nullptr) return QST_SS_ERROR_TASK;
  const bool min = (mask & QST_SS_MINIMUM) != 0, max = (mask & QST_SS_MAXIMUM) != 0;
  if (!is_observation_storage(*task, task->observationStorage)) return QST_SS_ERROR_STORAGE;
  if (min && task->minimum == nullptr) return QST_SS_ERROR_MINIMUM;
  if (max && task->maximum == nullptr) return QST_SS_ERROR_MAXIMUM;
  if ((method & (QST_SS_METHOD_FAST | QST_SS_METHOD_1PASS)) == 0) return QST_SS_ERROR_METHOD;
  const int64_t n = task->observationCount != nullptr ? read_integer(*task, task->observationCount) : 0;
  if (n <= 0) return QST_SS_ERROR_OBSERVATION_COUNT;
  if (task->observations == nullptr) return QST_SS_ERROR_OBSERVATIONS;
  const int32_t p = read_dimension(*task);
  if (p == 0 || (!min && !max)) return QST_SS_OK;
  if (min && max) return extremes<T, true, true>(*task, n, p);
  return min ? extremes<T, true, false>(*task, n, p) : extremes<T, false, true>(*task, n, p);
}

}  // namespace
}  // namespace qlx::stats

int32_t _qstdSSMinmax(QstSSTask* task, uint64_t mask, uint64_t method, const QlxThreadTable*) {
  return qlx::stats::minmax<double>(task, mask, method);
}
int32_t _qstsSSMinmax(QstSSTask* task, uint64_t mask, uint64_t method, const QlxThreadTable*) {
  return qlx::stats::minmax<float>(task, mask, method);
}
