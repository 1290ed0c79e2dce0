// Exact quantiles, order statistics and the sort of a dataset.
// SPDX-License-Identifier: Apache-2.0
#include <cstring>

#include "stats/extremes.h"
#include "stats/order/sort.h"
#include "stats/qst_ss_task.h"
#include "stats/threads.h"

namespace qlx::stats {
namespace {

template <class T>
bool is_order(T q) {
  return !(q < T(0.0) || q > T(1.0));
}

// The included variables, dealt to threads that have room for the observations of one variable each.
template <class T>
struct Variables {
  Scratch<T> rooms;
  Scratch<int32_t> list;
  int64_t count = 0, threads = 1, room = 0;

  bool allocate(const QstSSTask& task, int64_t n, int64_t p, const QlxThreadTable* table) {
    constexpr int64_t kMostBytes = 0x40000000;  // of one thread's scratch, times the threads
    const int64_t most = kMostBytes / static_cast<int64_t>(sizeof(T)) / n;
    threads = thread_limit(table);
    if (threads > p) threads = p;
    if (threads > most) threads = most;
    if (threads < 1) threads = 1;
    room = padded<T>(n);
    if (!rooms.allocate(threads * room) || !list.allocate(p)) return false;
    for (int64_t i = 0; i < p; ++i) {
      if (includes(task, i)) list[count++] = static_cast<int32_t>(i);
    }
    return true;
  }

  // work(variable, scratch of n reals) for every included variable.
  template <class Work>
  void for_each(const QlxThreadTable* table, Work work) {
    auto worker = [&](int index) {
      const int64_t end = part_start(count, threads, index + 1);
      for (int64_t k = part_start(count, threads, index); k < end; ++k) work(list[k], rooms.get() + index * room);
    };
    run_workers(table, threads, worker);
  }
};

// Copies variable i between a dataset and n reals in a row.
template <class T>
void gather(const T* x, bool rows, int64_t n, int64_t p, int64_t i, T* to) {
  if (rows) {
    std::memcpy(to, x + i * n, sizeof(T) * static_cast<size_t>(n));
  } else {
    for (int64_t j = 0; j < n; ++j) to[j] = x[j * p + i];
  }
}
template <class T>
void scatter(const T* from, bool rows, int64_t n, int64_t p, int64_t i, T* x) {
  if (rows) {
    std::memcpy(x + i * n, from, sizeof(T) * static_cast<size_t>(n));
  } else {
    for (int64_t j = 0; j < n; ++j) x[j * p + i] = from[j];
  }
}

// The two neighbouring ranks of an order and how far it stands between them.
template <class T>
struct Position {
  int64_t low, high;
  T fraction;

  Position(int64_t n, T order) {
    const T position = static_cast<T>(n - 1) * order;
    low = position > 0 ? static_cast<int64_t>(position) : 0;  // an order that is no number keeps its NaN fraction
    if (low > n - 1) low = n - 1;                             // n - 1 may round up in float
    fraction = position - static_cast<T>(low);
    high = low < n - 1 ? low + 1 : n - 1;
  }
};

// Elements of the wanted ranks of one variable. A selection splits the array for good, so each later one works between
// the nearest splits; and the rank after a selected one is the smallest element behind it.
template <class T>
T select_between(T* a, int64_t n, const T* orders, int64_t done, int64_t k) {
  int64_t first = 0, last = n - 1;
  for (int64_t o = 0; o < done; ++o) {
    const Position<T> split(n, orders[o]);
    for (const int64_t rank : {split.low, split.high}) {
      if (rank == k) return a[k];
      if (rank < k && rank + 1 > first) first = rank + 1;
      if (rank > k && rank - 1 < last) last = rank - 1;
    }
  }
  select(Elements<T, 1>{a, 1}, first, last, k);
  return a[k];
}

// Brings the smallest of a[k..end) to a[k].
template <class T>
void bring_smallest(T* a, int64_t k, int64_t end) {
  T smallest = a[k], unused = smallest;
  extremes_of_row<T, true, false>(a + k, end - k, &smallest, &unused);
  int64_t place = k;
  while (place + 1 < end && a[place] != smallest) ++place;
  a[place] = a[k];
  a[k] = smallest;
}

// On a rank the element itself: an infinite neighbour would make NaN of its factor 0.
template <class T>
T interpolate(T fraction, T low, T high) {
  return fraction == 0 ? low : (1 - fraction) * low + fraction * high;
}

template <class T>
void quantiles_by_selection(T* a, int64_t n, const T* orders, int64_t count, T* results) {
  for (int64_t o = 0; o < count; ++o) {
    const Position<T> at(n, orders[o]);
    const T low = select_between(a, n, orders, o, at.low);
    T high = low;
    if (at.high != at.low) {
      // The end of the stretch that holds rank low + 1: the nearest split behind it.
      int64_t end = n;
      bool placed = false;
      for (int64_t d = 0; d < o; ++d) {
        const Position<T> split(n, orders[d]);
        for (const int64_t rank : {split.low, split.high}) {
          placed = placed || rank == at.high;
          if (rank > at.high && rank < end) end = rank;
        }
      }
      if (!placed) bring_smallest(a, at.high, end);
      high = a[at.high];
    }
    results[o] = interpolate(at.fraction, low, high);
  }
}

// Beyond this many orders a sort is cheaper than looking for the nearest splits.
constexpr int64_t kMostSelections = 32;

template <class T>
int32_t quantiles(const QstSSTask* task, uint64_t mask, uint64_t method, const QlxThreadTable* table) {
  if (task == nullptr) return QST_SS_ERROR_TASK;
  if (!is_observation_storage(*task, task->observationStorage)) return QST_SS_ERROR_STORAGE;
  const bool wants_quantiles = (mask & QST_SS_QUANTILES) != 0, wants_sorted = (mask & QST_SS_ORDER_STATISTICS) != 0;
  const T* const orders = as_array<const T>(task->quantileOrders);
  T *const results = as_array<T>(task->quantiles), *const sorted = as_array<T>(task->orderStatistics);
  int64_t order_count = 0;
  if (wants_quantiles) {
    if (results == nullptr) return QST_SS_ERROR_QUANTILES;
    if (orders == nullptr) return QST_SS_ERROR_QUANTILE_ORDERS;
    if (task->quantileOrderCount == nullptr) return QST_SS_ERROR_QUANTILE_ORDER_COUNT;
    order_count = read_integer(*task, task->quantileOrderCount);
    if (order_count < 0) return QST_SS_ERROR_QUANTILE_ORDER_COUNT;
    for (int64_t o = 0; o < order_count; ++o) {
      if (!is_order(orders[o])) return QST_SS_ERROR_QUANTILE_ORDER_COUNT;
    }
  }
  if (wants_sorted) {
    if (sorted == nullptr) return QST_SS_ERROR_ORDER_STATISTICS;
    if (task->orderStatisticsStorage == nullptr) return QST_SS_ERROR_STORAGE_WORD;
    if (!is_observation_storage(*task, task->orderStatisticsStorage)) return QST_SS_ERROR_STORAGE;
  }
  if ((method & QST_SS_METHOD_FAST) == 0) return QST_SS_ERROR_METHOD;
  const int64_t n = task->observationCount != nullptr ? read_integer(*task, task->observationCount) : 0;
  if (n <= 0) return QST_SS_ERROR_OBSERVATION_COUNT;
  if (task->observations == nullptr) return QST_SS_ERROR_OBSERVATIONS;
  const int64_t p = read_dimension(*task);
  if (p == 0 || (order_count == 0 && !wants_sorted)) return QST_SS_OK;

  Variables<T> variables;
  if (!variables.allocate(*task, n, p, table)) return QST_SS_ERROR_MEMORY;
  const T* const x = as_array<const T>(task->observations);
  const bool rows = in_rows(*task, task->observationStorage, p);
  const bool sorts = wants_sorted || order_count > kMostSelections;
  const bool sorted_rows = wants_sorted && in_rows(*task, task->orderStatisticsStorage, p);
  variables.for_each(table, [=](int64_t i, T* a) {
    gather(x, rows, n, p, i, a);
    T* const row = results + i * order_count;
    if (!sorts) {
      quantiles_by_selection(a, n, orders, order_count, row);
      return;
    }
    quick_sort(Elements<T, 1>{a, 1}, n);
    for (int64_t o = 0; o < order_count; ++o) {
      const Position<T> at(n, orders[o]);
      row[o] = interpolate(at.fraction, a[at.low], a[at.high]);
    }
    if (wants_sorted) scatter(a, sorted_rows, n, p, i, sorted);
  });
  return QST_SS_OK;
}

template <class T>
int32_t sort_dataset(const QstSSTask* task, uint64_t method, const QlxThreadTable* table) {
  if (task == nullptr) return QST_SS_ERROR_TASK;
  T* const sorted = as_array<T>(task->sortedObservations);
  if (sorted == nullptr) return QST_SS_ERROR_SORTED_OBSERVATIONS;
  if (task->sortedObservationsStorage == nullptr) return QST_SS_ERROR_STORAGE_WORD;
  // A dataset that was never registered has no storage word either; it is reported below.
  if (sorted == task->observations && task->observationStorage != nullptr) {
    const int64_t differ =
        read_integer(*task, task->observationStorage) ^ read_integer(*task, task->sortedObservationsStorage);
    if ((differ & QST_SS_ROWS) != 0) return QST_SS_ERROR_STORAGE_WORD;
    if (task->indices != nullptr) return QST_SS_ERROR_SORT_INDICES;
  }
  if (!is_observation_storage(*task, task->observationStorage) ||
      !is_observation_storage(*task, task->sortedObservationsStorage)) {
    return QST_SS_ERROR_STORAGE;
  }
  if ((method & QST_SS_METHOD_SORT) == 0) return QST_SS_ERROR_METHOD;
  const int64_t n = task->observationCount != nullptr ? read_integer(*task, task->observationCount) : 0;
  if (n <= 0) return QST_SS_ERROR_OBSERVATION_COUNT;
  if (task->observations == nullptr) return QST_SS_ERROR_OBSERVATIONS;
  const int64_t p = read_dimension(*task);
  if (p == 0) return QST_SS_OK;

  Variables<T> variables;
  if (!variables.allocate(*task, n, p, table)) return QST_SS_ERROR_MEMORY;
  const T* const x = as_array<const T>(task->observations);
  const bool rows = in_rows(*task, task->observationStorage, p);
  const bool sorted_rows = in_rows(*task, task->sortedObservationsStorage, p);
  variables.for_each(table, [=](int64_t i, T* a) {
    T* const place = sorted_rows ? sorted + i * n : a;  // a row of the result can be sorted where it stands
    if (place != x + i * n || !rows) gather(x, rows, n, p, i, place);
    quick_sort(Elements<T, 1>{place, 1}, n);
    if (!sorted_rows) scatter(a, false, n, p, i, sorted);
  });
  return QST_SS_OK;
}

}  // namespace
}  // namespace qlx::stats

using namespace qlx::stats;

int32_t _qstdSSQuantiles(QstSSTask* task, uint64_t mask, uint64_t method, const QlxThreadTable* threads) {
  return quantiles<double>(task, mask, method, threads);
}
int32_t _qstsSSQuantiles(QstSSTask* task, uint64_t mask, uint64_t method, const QlxThreadTable* threads) {
  return quantiles<float>(task, mask, method, threads);
}
int32_t _qstdSSSort(QstSSTask* task, uint64_t, uint64_t method, const QlxThreadTable* threads) {
  return sort_dataset<double>(task, method, threads);
}
int32_t _qstsSSSort(QstSSTask* task, uint64_t, uint64_t method, const QlxThreadTable* threads) {
  return sort_dataset<float>(task, method, threads);
}
