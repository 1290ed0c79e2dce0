// Weighted quantile of each variable.
// SPDX-License-Identifier: Apache-2.0
#include "stats/order/weighted_median.h"

#include "stats/order/sort.h"

namespace qlx::stats {
namespace {

template <class T>
T weighted_quantile(const Weighted<T>* a, int64_t n, T total, T q) {
  const T target = total * q;
  const bool odd = n % 2 != 0;
  T sum = a[0].weight;
  int64_t at = 0;
  while (sum < target && at + 1 < n) sum += a[++at].weight;
  const T v = a[at].value, w = a[at].weight;
  if (!(sum > target)) {
    if (odd || at == n - 1) return v;
    int64_t next = at + 1;
    while (next < n - 1 && a[next].weight == 0) ++next;
    return (v + a[next].value) / 2;
  }
  const T before = sum - w;
  if (!(before > 0)) return v;
  if (odd && before == (total - w) * q) return v;
  int64_t previous = at - 1;
  while (previous > 0 && a[previous].weight == 0) --previous;
  const T u = a[previous].value;
  return u + ((target - before) / (sum - before)) * (v - u);
}

template <class T>
int32_t weighted_median(const QstSSTask* task) {
  const int64_t n = read_integer(*task, task->observationCount), p = read_dimension(*task);
  const bool rows = in_rows(*task, task->observationStorage, p);
  const T *const x = as_array<const T>(task->observations), *const w = as_array<const T>(task->weights);
  const T q = as_array<const T>(task->quantileOrders)[0];
  Scratch<Weighted<T>> pairs(n);
  if (!pairs) return QST_SS_ERROR_MEMORY;
  T total = 0;
  for (int64_t j = 0; j < n; ++j) total += w[j];
  for (int64_t i = 0; i < p; ++i) {
    if (!includes(*task, i)) continue;
    for (int64_t j = 0; j < n; ++j) pairs[j] = {rows ? x[i * n + j] : x[j * p + i], w[j]};
    quick_sort(Elements<Weighted<T>, 1>{pairs.get(), 1}, n);
    as_array<T>(task->quantiles)[i] = weighted_quantile(pairs.get(), n, total, q);
  }
  return QST_SS_OK;
}

}  // namespace
}  // namespace qlx::stats

int32_t _qstdSSWMedian(QstSSTask* task) {
  return qlx::stats::weighted_median<double>(task);
}
int32_t _qstsSSWMedian(QstSSTask* task) {
  return qlx::stats::weighted_median<float>(task);
}
