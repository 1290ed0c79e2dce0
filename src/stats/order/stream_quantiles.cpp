// Streaming quantiles: checks, state and threads over the summaries.
// SPDX-License-Identifier: Apache-2.0
#include "stats/order/stream_summary.h"
#include "stats/qst_ss_task.h"
#include "stats/threads.h"

namespace qlx::stats {
namespace {

constexpr uint64_t kStreamMethods = QST_SS_METHOD_STREAM_QUANTILES | QST_SS_METHOD_STREAM_TAKE_IN;

template <class T>
int32_t check(const QstSSTask& task, uint64_t method) {
  const int64_t n = task.observationCount != nullptr ? read_integer(task, task.observationCount) : -1;
  if (n < 0) return QST_SS_ERROR_OBSERVATION_COUNT;
  if (n > 0) {
    if (task.observations == nullptr) return QST_SS_ERROR_OBSERVATIONS;
    if (task.observationStorage == nullptr) return QST_SS_ERROR_STORAGE_WORD;
    if (!is_observation_storage(task, task.observationStorage)) return QST_SS_ERROR_STORAGE;
  }
  if (task.streamQuantiles == nullptr) return QST_SS_ERROR_STREAM_QUANTILES;
  const T* const orders = as_array<const T>(task.streamQuantileOrders);
  if (orders == nullptr) return QST_SS_ERROR_STREAM_QUANTILE_ORDERS;
  if (task.streamQuantileOrderCount == nullptr) return QST_SS_ERROR_STREAM_QUANTILE_ORDER_COUNT;
  const int64_t order_count = read_integer(task, task.streamQuantileOrderCount);
  if (order_count < 0) return QST_SS_ERROR_STREAM_QUANTILE_ORDER_COUNT;
  if (task.streamParamCount == nullptr) return QST_SS_ERROR_NO_STREAM_PARAM_COUNT;
  if (read_integer(task, task.streamParamCount) != 1) return QST_SS_ERROR_STREAM_PARAM_COUNT;
  for (int64_t o = 0; o < order_count; ++o) {
    if (orders[o] < T(0.0) || orders[o] > T(1.0)) return QST_SS_ERROR_STREAM_QUANTILE_ORDER_COUNT;
  }
  if (task.streamParams == nullptr) return QST_SS_ERROR_STREAM_PARAMS;
  if ((method & kStreamMethods) == 0) return QST_SS_ERROR_METHOD;
  const T epsilon = as_array<const T>(task.streamParams)[0];
  if (!(epsilon > 0) || epsilon > 1) return QST_SS_ERROR_EPSILON;
  return QST_SS_OK;
}

int32_t create_state(QstSSTask& task, int64_t p) {
  Scratch<StreamState> state(p);
  if (!state) return QST_SS_ERROR_MEMORY;
  for (int64_t i = 0; i < p; ++i) state[i] = {0, -1, includes(task, i) ? 1 : 0, nullptr};
  task.streamQuantileState = state.release();
  task.streamStateCount = static_cast<int32_t>(p);
  task.cleanupList[0] = __qstSQuantilesFreeBuffers;
  task.cleanupCount = 1;
  return QST_SS_OK;
}

// Some variable must take part, and none that the first call left out.
int32_t check_enabled(const QstSSTask& task, int64_t p) {
  const auto* const state = as_array<const StreamState>(task.streamQuantileState);
  bool any = false;
  for (int64_t i = 0; i < p; ++i) {
    if (state[i].enabled == 0 && includes(task, i)) return QST_SS_ERROR_INDICES;
    any = any || state[i].enabled != 0;
  }
  return any ? QST_SS_OK : QST_SS_ERROR_INDICES;
}

// Ends the part that collects and starts the next. A failure leaves the parts as they were.
template <class T>
int32_t start_part(StreamState& state, T epsilon) {
  StreamPart fresh = part_sizes<T>(state.partCount, epsilon);
  Scratch<StreamPart> grown(state.partCount + 1);
  if (!grown) return QST_SS_ERROR_MEMORY;
  if (!allocate_part<T>(fresh)) return QST_SS_ERROR_MEMORY;
  if (state.partCount > 0 && !condense(state.parts[state.topPart], epsilon)) {
    qlx_serv_deallocate(fresh.block);
    return QST_SS_ERROR_MEMORY;
  }
  if (state.partCount > 0) std::memcpy(grown.get(), state.parts, sizeof(StreamPart) * state.partCount);
  grown[state.partCount] = fresh;
  qlx_serv_deallocate(state.parts);
  state.parts = grown.release();
  state.topPart = state.partCount++;
  return QST_SS_OK;
}

template <class T>
int32_t take_in(StreamState& state, const T* x, int64_t n, int64_t step, T epsilon) {
  for (int64_t j = 0; j < n;) {
    if (state.topPart < 0 || state.parts[state.topPart].taken == state.parts[state.topPart].length) {
      if (const int32_t status = start_part(state, epsilon); status != QST_SS_OK) return status;
    }
    StreamPart& part = state.parts[state.topPart];
    int64_t count = n - j;
    if (count > part.length - part.taken) count = part.length - part.taken;
    if (count > part.blockSize - part.collected) count = part.blockSize - part.collected;
    T* const to = static_cast<T*>(part.values) + part.collected;
    for (int64_t k = 0; k < count; ++k) to[k] = x[(j + k) * step];
    part.taken += static_cast<int32_t>(count);
    part.collected += static_cast<int32_t>(count);
    j += count;
    if (part.collected == part.blockSize) push_block<T>(part);
  }
  return QST_SS_OK;
}

template <class T>
int32_t answer(const StreamState& state, const T* orders, int64_t order_count, T* results) {
  int64_t entries = 0, seen = 0;
  for (int32_t k = 0; k < state.partCount; ++k) {
    entries += entries_of<T>(state.parts[k]);
    seen += state.parts[k].taken;
  }
  if (seen == 0) {
    for (int64_t o = 0; o < order_count; ++o) results[o] = static_cast<T>(__builtin_nan(""));
    return QST_SS_OK;
  }
  Scratch<RankStep<T>> steps(entries);
  Scratch<int64_t> sums(entries);  // rmin + rmax, by which the entry nearest to a rank is found
  if (!steps || !sums) return QST_SS_ERROR_MEMORY;
  int64_t count = 0;
  for (int32_t k = 0; k < state.partCount; ++k) count += append_part(state.parts[k], steps.get() + count);
  int64_t at = 0;
  visit_ranks(steps.get(), count, [&](T, int64_t rmin, int64_t rmax) { sums[at++] = rmin + rmax; });
  for (int64_t o = 0; o < order_count; ++o) {
    const double rank = 1 + static_cast<double>(seen - 1) * static_cast<double>(orders[o]);
    int64_t low = 0, high = count - 1;  // the first entry with rmin + rmax >= 2 rank
    while (low < high) {
      const int64_t middle = (low + high) / 2;
      if (static_cast<double>(sums[middle]) >= 2 * rank) {
        high = middle;
      } else {
        low = middle + 1;
      }
    }
    if (low > 0 && 2 * rank - static_cast<double>(sums[low - 1]) < static_cast<double>(sums[low]) - 2 * rank) --low;
    results[o] = steps[low].value;
  }
  return QST_SS_OK;
}

template <class T>
int32_t stream_quantiles(QstSSTask* task, uint64_t method, const QlxThreadTable* table) {
  if (task == nullptr) return QST_SS_ERROR_TASK;
  if (const int32_t status = check<T>(*task, method); status != QST_SS_OK) return status;
  const int64_t p = read_dimension(*task), n = read_integer(*task, task->observationCount);
  if (task->streamQuantileState == nullptr) {
    if (const int32_t status = create_state(*task, p); status != QST_SS_OK) return status;
  }
  if (p != task->streamStateCount) return QST_SS_ERROR_DIMENSION;
  if (const int32_t status = check_enabled(*task, p); status != QST_SS_OK) return status;

  int64_t threads = thread_limit(table);
  if (threads > p) threads = p;
  // Taking in a short block is less work than starting a thread.
  constexpr int64_t kValuesPerThread = 1 << 13;
  const bool answers = (method & QST_SS_METHOD_STREAM_QUANTILES) != 0;
  if (!answers && n < kValuesPerThread && threads > n * p / kValuesPerThread) threads = n * p / kValuesPerThread;
  if (threads < 1) threads = 1;
  Scratch<int32_t> statuses(threads);
  if (!statuses) return QST_SS_ERROR_MEMORY;
  const T epsilon = as_array<const T>(task->streamParams)[0];
  const bool rows = n > 0 && in_rows(*task, task->observationStorage, p);
  const T *const x = as_array<const T>(task->observations), *const orders =
                                                                as_array<const T>(task->streamQuantileOrders);
  const int64_t order_count = read_integer(*task, task->streamQuantileOrderCount);
  auto* const state = as_array<StreamState>(task->streamQuantileState);
  auto worker = [&](int index) {
    const int64_t end = part_start(p, threads, index + 1);
    int32_t status = QST_SS_OK;
    for (int64_t i = part_start(p, threads, index); i < end && status == QST_SS_OK; ++i) {
      if (!includes(*task, i)) continue;
      status = take_in(state[i], rows ? x + i * n : x + i, n, rows ? int64_t{1} : p, epsilon);
      if (status == QST_SS_OK && answers)
        status = answer(state[i], orders, order_count, as_array<T>(task->streamQuantiles) + i * order_count);
    }
    statuses[index] = status;
  };
  run_workers(table, threads, worker);
  for (int64_t t = 0; t < threads; ++t) {
    if (statuses[t] != QST_SS_OK) return statuses[t];
  }
  return QST_SS_OK;
}

}  // namespace
}  // namespace qlx::stats

using namespace qlx::stats;

int32_t _qstdSSStreamQuantiles(QstSSTask* task, uint64_t, uint64_t method, const QlxThreadTable* threads) {
  return stream_quantiles<double>(task, method, threads);
}
int32_t _qstsSSStreamQuantiles(QstSSTask* task, uint64_t, uint64_t method, const QlxThreadTable* threads) {
  return stream_quantiles<float>(task, method, threads);
}

void __qstSQuantilesFreeBuffers(QstSSTask* task) {
  auto* const state = as_array<StreamState>(task->streamQuantileState);
  if (state == nullptr) return;
  for (int32_t i = 0; i < task->streamStateCount; ++i) {
    for (int32_t k = 0; k < state[i].partCount; ++k) qlx_serv_deallocate(state[i].parts[k].block);
    qlx_serv_deallocate(state[i].parts);
  }
  qlx_serv_deallocate(state);
  task->streamQuantileState = nullptr;
}
