// The exported sort utilities.
// SPDX-License-Identifier: Apache-2.0
#include "stats/order/sort.h"

#include "qlx/qst_ss.h"

namespace qlx::stats {
namespace {

template <class T>
T select_rank(int64_t n, T* a, int64_t k) {
  select(Elements<T, 1>{a, 1}, 0, n - 1, k);
  return a[k];
}

}  // namespace
}  // namespace qlx::stats

using namespace qlx::stats;

void __qstdQSort(int64_t n, double* a) {
  quick_sort(Elements<double, 1>{a, 1}, n);
}
void __qstsQSort(int64_t n, float* a) {
  quick_sort(Elements<float, 1>{a, 1}, n);
}
void __qstdQSortStep(int64_t n, double* a, int64_t step) {
  quick_sort(Elements<double, 0>{a, step}, n);
}
void __qstsQSortStep(int64_t n, float* a, int64_t step) {
  quick_sort(Elements<float, 0>{a, step}, n);
}
double __qstdQSortSelect(int64_t n, double* a, int64_t k) {
  return select_rank(n, a, k);
}
float __qstsQSortSelect(int64_t n, float* a, int64_t k) {
  return select_rank(n, a, k);
}
