// Tasks for the tests: one typed face over the float and double entries, thread tables, and generated data.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_TESTS_STATS_TASK_H
#define QLX_TESTS_STATS_TASK_H

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <string>
#include <type_traits>
#include <vector>

#include "qlx/qst_ss.h"

namespace stats_test {

template <class T>
struct Api;
#define QLX_TEST_API(P, T)                                                                                        \
  template <>                                                                                                     \
  struct Api<T> {                                                                                                 \
    static constexpr auto make = __qst##P##SSNewTask;                                                             \
    static constexpr auto edit = __qst##P##SSEditTask;                                                            \
    static constexpr auto basic = _qst##P##SSBasic, minmax = _qst##P##SSMinmax, quantiles = _qst##P##SSQuantiles, \
                          sort = _qst##P##SSSort, stream = _qst##P##SSStreamQuantiles;                            \
    static constexpr auto qsort = __qst##P##QSort;                                                                \
    static constexpr auto qsort_step = __qst##P##QSortStep;                                                       \
    static constexpr auto select = __qst##P##QSortSelect;                                                         \
  };
QLX_TEST_API(d, double)
QLX_TEST_API(s, float)
#undef QLX_TEST_API

// A task that is deleted at the end of its scope. Counts and words are members, so that they outlive the calls.
template <class T>
struct Task {
  QstSSTask* task = nullptr;
  int32_t p, n, storage;

  Task(int32_t variables, int32_t observations, int32_t word, const T* x, const T* weights = nullptr,
       const int32_t* indices = nullptr)
      : p(variables), n(observations), storage(word) {
    EXPECT_EQ(Api<T>::make(&task, &p, &n, &storage, x, weights, indices, 0), 0);
  }
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;
  ~Task() {
    if (task != nullptr) __qstSSDeleteTask(&task);
  }

  void set(int64_t code, std::vector<T>& array) { EXPECT_EQ(Api<T>::edit(task, code, array.data()), 0) << code; }
  void set(int64_t code, const T* array) { EXPECT_EQ(Api<T>::edit(task, code, array), 0) << code; }
  void set_integer(int64_t code, const int32_t& value) { EXPECT_EQ(__qstiSSEditTask(task, code, &value), 0) << code; }
};

// Tables that say "up to N threads" and run the tasks one after another, last first: nothing may hang on their order.
template <int N>
const QlxThreadTable* fake_threads() {
  static const QlxThreadTable table = {[](int tasks, int, void* context, QlxTaskFunction function) {
                                         for (int t = tasks - 1; t >= 0; --t) function(t, context);
                                         return 0;
                                       },
                                       [] { return N; }};
  return &table;
}

// Numbers in [0, 1) from a counter (the finisher of S. Vigna's splitmix64, 2015).
inline double uniform(uint64_t counter) {
  uint64_t z = (counter + 1) * 0x9E3779B97F4A7C15u;
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
  return static_cast<double>((z ^ (z >> 31)) >> 11) * 0x1p-53;
}

// The dataset of a p by n matrix in the wanted storage, from value(variable, observation).
template <class T, class Value>
std::vector<T> dataset(int p, int n, int32_t storage, Value value) {
  std::vector<T> x(static_cast<size_t>(p) * n);
  for (int i = 0; i < p; ++i)
    for (int j = 0; j < n; ++j) {
      x[storage == QST_SS_ROWS ? static_cast<size_t>(i) * n + j : static_cast<size_t>(j) * p + i] =
          static_cast<T>(value(i, j));
    }
  return x;
}

// The numbers of a one-column file of tests/stats/data.
inline std::vector<double> read_column(const std::string& name) {
  std::ifstream file(std::string(QLX_SOURCE_DIR) + "/tests/stats/data/" + name + ".csv");
  std::string line;
  std::getline(file, line);
  std::vector<double> values;
  while (std::getline(file, line)) values.push_back(std::stod(line));
  return values;
}

}  // namespace stats_test

#endif
