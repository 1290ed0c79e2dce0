// Extremes, quantiles, order statistics, sorting, streaming quantiles and the weighted median against plain sorts.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "stats/order/weighted_median.h"
#include "stats/task.h"

namespace {

using namespace stats_test;

// Orders of data that break careless partitions and rank bounds.
const std::vector<std::pair<std::string, std::function<double(int64_t, int64_t)>>> kShapes = {
    {"random", [](int64_t j, int64_t) { return uniform(j); }},
    {"sorted", [](int64_t j, int64_t) { return static_cast<double>(j); }},
    {"reversed", [](int64_t j, int64_t n) { return static_cast<double>(n - j); }},
    {"organ pipe", [](int64_t j, int64_t n) { return static_cast<double>(j < n - j ? j : n - j); }},
    {"constant", [](int64_t, int64_t) { return 3.0; }},
    {"ties", [](int64_t j, int64_t) { return std::floor(5 * uniform(j)); }},
    {"saw", [](int64_t j, int64_t) { return static_cast<double>(j % 1000); }},
    {"alternating", [](int64_t j, int64_t) { return static_cast<double>(j % 2 != 0 ? j : -j); }}};

template <class T>
std::vector<T> shaped(size_t shape, int64_t n) {
  std::vector<T> x(n);
  for (int64_t j = 0; j < n; ++j) x[j] = static_cast<T>(kShapes[shape].second(j, n));
  return x;
}

template <class T>
class StatsOrder : public ::testing::Test {};
using Reals = ::testing::Types<double, float>;
TYPED_TEST_SUITE(StatsOrder, Reals);

TYPED_TEST(StatsOrder, sort_and_select_agree_with_the_library_sort) {
  using T = TypeParam;
  for (size_t shape = 0; shape < kShapes.size(); ++shape)
    for (const int64_t n : {0, 1, 2, 3, 7, 8, 9, 100, 257, 1000, 50000}) {
      const std::vector<T> x = shaped<T>(shape, n);
      std::vector<T> expected = x, sorted = x;
      std::sort(expected.begin(), expected.end());
      Api<T>::qsort(n, sorted.data());
      ASSERT_EQ(sorted, expected) << kShapes[shape].first << ' ' << n;
      for (const int64_t k : {int64_t{0}, n / 3, n / 2, n - 2, n - 1}) {
        if (k < 0 || k >= n) continue;
        std::vector<T> a = x;
        ASSERT_EQ(Api<T>::select(n, a.data(), k), expected[k]) << kShapes[shape].first << ' ' << n << ' ' << k;
        ASSERT_EQ(a[k], expected[k]);
        ASSERT_TRUE(std::all_of(a.begin(), a.begin() + k, [&](T v) { return v <= a[k]; }));
        ASSERT_TRUE(std::all_of(a.begin() + k, a.end(), [&](T v) { return v >= a[k]; }));
      }
      // Elements between the steps stay.
      std::vector<T> wide(3 * n + 1, -7);
      for (int64_t j = 0; j < n; ++j) wide[3 * j] = x[j];
      Api<T>::qsort_step(n, wide.data(), 3);
      for (int64_t j = 0; j < 3 * n; ++j) ASSERT_EQ(wide[j], j % 3 == 0 ? expected[j / 3] : -7);
    }
}

// A NaN compares false with everything: its place is any, but it may neither send a scan out of the array nor lose a
// value.
TYPED_TEST(StatsOrder, no_number_ends_the_sort_with_the_same_values) {
  using T = TypeParam;
  for (const int every : {1, 2, 3, 10}) {
    std::vector<T> x(5000);
    for (size_t j = 0; j < x.size(); ++j) x[j] = j % every == 0 ? static_cast<T>(NAN) : static_cast<T>(uniform(j));
    const auto numbers = [](const std::vector<T>& a) {
      std::vector<T> kept;
      std::copy_if(a.begin(), a.end(), std::back_inserter(kept), [](T v) { return v == v; });
      std::sort(kept.begin(), kept.end());
      return kept;
    };
    const std::vector<T> before = numbers(x);
    Api<T>::select(5000, x.data(), 1234);
    Api<T>::qsort(5000, x.data());
    EXPECT_EQ(numbers(x), before);
  }
}

TYPED_TEST(StatsOrder, quantiles_and_sorted_data_in_every_storage) {
  using T = TypeParam;
  const std::vector<T> few = {1, 0.5, 0.25, 0, T(0.999), 0.25, T(0.26)};
  std::vector<T> many(60);
  for (size_t o = 0; o < many.size(); ++o) many[o] = static_cast<T>(o) / 59;
  for (const int n : {1, 2, 9, 500})
    for (const int p : {1, 4})
      for (const int32_t in : {QST_SS_ROWS, QST_SS_COLUMNS})
        for (const int32_t out : {QST_SS_ROWS, QST_SS_COLUMNS})
          for (const bool excluding : {false, true})
            for (const std::vector<T>& orders : {few, many})
              for (const bool sorting : {false, true}) {
                const auto value = [](int i, int j) { return std::floor(1000 * uniform(17 * i + 1000 * j)) / 8; };
                const auto x = dataset<T>(p, n, in, value);
                const int32_t indices[] = {1, 0, 1, 1}, count = static_cast<int32_t>(orders.size());
                Task<T> task(p, n, in, x.data(), nullptr, excluding ? indices : nullptr);
                const T untouched = -5;
                std::vector<T> quantiles(p * count, untouched), statistics(p * n, untouched), sorted(p * n, untouched);
                task.set(QST_SS_ED_QUANTILE_ORDERS, orders.data());
                task.set(QST_SS_ED_QUANTILES, quantiles);
                task.set_integer(QST_SS_ED_QUANTILE_ORDER_COUNT, count);
                task.set(QST_SS_ED_ORDER_STATISTICS, statistics);
                task.set_integer(QST_SS_ED_ORDER_STATISTICS_STORAGE, out);
                task.set(QST_SS_ED_SORTED_OBSERVATIONS, sorted);
                task.set_integer(QST_SS_ED_SORTED_OBSERVATIONS_STORAGE, out);
                const uint64_t mask = QST_SS_QUANTILES | (sorting ? QST_SS_ORDER_STATISTICS : 0);
                ASSERT_EQ(Api<T>::quantiles(task.task, mask, QST_SS_METHOD_FAST, fake_threads<3>()), 0);
                ASSERT_EQ(Api<T>::sort(task.task, 0, QST_SS_METHOD_SORT, fake_threads<3>()), 0);
                for (int i = 0; i < p; ++i) {
                  std::vector<T> a(n);
                  for (int j = 0; j < n; ++j) a[j] = static_cast<T>(value(i, j));
                  std::sort(a.begin(), a.end());
                  const bool included = !excluding || indices[i] != 0;
                  for (int o = 0; o < count; ++o) {
                    const T h = static_cast<T>(n - 1) * orders[o];
                    const int k = static_cast<int>(h), k2 = std::min(k + 1, n - 1);
                    const T f = h - static_cast<T>(k), expected = (1 - f) * a[k] + f * a[k2];
                    ASSERT_EQ(quantiles[i * count + o], included ? expected : untouched) << n << ' ' << orders[o];
                  }
                  for (int j = 0; j < n; ++j) {
                    const int at = out == QST_SS_ROWS ? i * n + j : j * p + i;
                    ASSERT_EQ(sorted[at], included ? a[j] : untouched);
                    ASSERT_EQ(statistics[at], included && sorting ? a[j] : untouched);
                  }
                }
              }
}

TYPED_TEST(StatsOrder, dataset_sorts_in_place) {
  using T = TypeParam;
  for (const int32_t word : {QST_SS_ROWS, QST_SS_COLUMNS}) {
    auto x = dataset<T>(3, 50, word, [](int i, int j) { return uniform(i + 100 * j); });
    Task<T> task(3, 50, word, x.data());
    task.set(QST_SS_ED_SORTED_OBSERVATIONS, x);
    task.set_integer(QST_SS_ED_SORTED_OBSERVATIONS_STORAGE, word);
    ASSERT_EQ(Api<T>::sort(task.task, 0, QST_SS_METHOD_SORT, nullptr), 0);
    for (int i = 0; i < 3; ++i)
      for (int j = 1; j < 50; ++j) {
        const auto at = [&](int k) { return x[word == QST_SS_ROWS ? i * 50 + k : k * 3 + i]; };
        ASSERT_LE(at(j - 1), at(j));
      }
  }
}

TYPED_TEST(StatsOrder, extremes_start_from_the_arrays_and_pass_over_no_number) {
  using T = TypeParam;
  for (const int n : {1, 5, 16, 40, 300})
    for (const int p : {1, 3, 9, 33})
      for (const int32_t word : {QST_SS_ROWS, QST_SS_COLUMNS})
        for (const uint64_t mask : {QST_SS_MINIMUM, QST_SS_MAXIMUM, QST_SS_MINIMUM | QST_SS_MAXIMUM}) {
          auto x =
              dataset<T>(p + 1, n, word, [&](int i, int j) { return (i + j) % 5 == 2 ? NAN : uniform(i + 64 * j); });
          // One element into the array, so that no row starts aligned.
          x.insert(x.begin(), 0);
          x.resize(static_cast<size_t>(p) * n + 1);
          std::vector<T> low(p, T(0.4)), high(p, T(0.6));
          low[p / 2] = high[p / 2] = static_cast<T>(NAN);
          std::vector<int32_t> indices(p, 1);
          if (p > 1) indices[p - 1] = 0;
          Task<T> task(p, n, word, x.data() + 1, nullptr, indices.data());
          task.set(QST_SS_ED_MINIMUM, low);
          task.set(QST_SS_ED_MAXIMUM, high);
          ASSERT_EQ(Api<T>::minmax(task.task, mask, QST_SS_METHOD_1PASS, nullptr), 0);
          for (int i = 0; i < p; ++i) {
            T expected_low = T(0.4), expected_high = T(0.6);
            for (int j = 0; j < n && indices[i] != 0; ++j) {
              const T v = x[1 + (word == QST_SS_ROWS ? i * n + j : j * p + i)];
              if (v < expected_low && (mask & QST_SS_MINIMUM) != 0) expected_low = v;
              if (v > expected_high && (mask & QST_SS_MAXIMUM) != 0) expected_high = v;
            }
            if (i == p / 2) {
              EXPECT_TRUE(std::isnan(low[i]) && std::isnan(high[i]));
            } else {
              EXPECT_EQ(low[i], expected_low) << n << ' ' << p << ' ' << i;
              EXPECT_EQ(high[i], expected_high) << n << ' ' << p << ' ' << i;
            }
          }
        }
}

// ---- Streaming ------------------------------------------------------------------------------------------------------

// Distance of an answer's nearest rank from the wanted one, beyond the half that rounding to a rank may take.
template <class T>
double rank_error(const std::vector<T>& sorted, T answer, T order) {
  const double wanted = static_cast<double>(order) * static_cast<double>(sorted.size() - 1);
  const auto range = std::equal_range(sorted.begin(), sorted.end(), answer);
  if (range.first == range.second) return INFINITY;  // not a value of the stream
  const double low = static_cast<double>(range.first - sorted.begin());
  const double high = static_cast<double>(range.second - sorted.begin() - 1);
  return std::max(0.0, std::max(low - wanted, wanted - high) - 0.5);
}

template <class T>
struct Stream : Task<T> {
  std::vector<T> orders, answers;
  T epsilon;
  int32_t count, params = 1;

  Stream(int32_t variables, int32_t word, T eps, std::vector<T> wanted)
      : Task<T>(variables, 0, word, nullptr),
        orders(std::move(wanted)),
        answers(variables * orders.size(), -1),
        epsilon(eps),
        count(static_cast<int32_t>(orders.size())) {
    this->set_integer(QST_SS_ED_STREAM_QUANTILE_ORDER_COUNT, count);
    this->set(QST_SS_ED_STREAM_QUANTILE_ORDERS, orders.data());
    this->set(QST_SS_ED_STREAM_QUANTILES, answers);
    this->set_integer(QST_SS_ED_STREAM_PARAM_COUNT, params);
    this->set(QST_SS_ED_STREAM_PARAMS, &epsilon);
  }

  int32_t take(const T* x, int32_t observations, uint64_t method, const QlxThreadTable* threads = nullptr) {
    this->n = observations;
    if (observations > 0) this->set(QST_SS_ED_OBSERVATIONS, x);
    return Api<T>::stream(this->task, 0, method, threads);
  }
};

TYPED_TEST(StatsOrder, stream_answers_stay_within_epsilon_of_their_rank) {
  using T = TypeParam;
  std::vector<T> orders;
  for (int o = 0; o <= 50; ++o) orders.push_back(static_cast<T>(o) / 50);
  double worst = 0;
  for (const double epsilon : {1.0, 0.9, 0.7, 0.3, 0.1, 0.033, 0.01, 0.001})
    for (size_t shape = 0; shape < kShapes.size(); ++shape) {
      const int64_t n = 60000;
      const std::vector<T> x = shaped<T>(shape, n);
      Stream<T> stream(1, QST_SS_ROWS, static_cast<T>(epsilon), orders);
      int64_t seen = 0;
      for (int64_t block = 1; seen < n; block = block * 3 + 1) {
        const auto take = static_cast<int32_t>(std::min(block, n - seen));
        ASSERT_EQ(stream.take(x.data() + seen, take, QST_SS_METHOD_STREAM_TAKE_IN), 0);
        seen += take;
        ASSERT_EQ(stream.take(nullptr, 0, QST_SS_METHOD_STREAM_QUANTILES), 0);
        std::vector<T> sorted(x.begin(), x.begin() + seen);
        std::sort(sorted.begin(), sorted.end());
        for (size_t o = 0; o < orders.size(); ++o) {
          const double error = rank_error(sorted, stream.answers[o], orders[o]) / (epsilon * static_cast<double>(seen));
          worst = std::max(worst, error);
          ASSERT_LT(error, 1) << kShapes[shape].first << ", epsilon " << epsilon << ", seen " << seen << ", order "
                              << orders[o];
        }
      }
    }
  printf("largest rank error: %.3f of epsilon n\n", worst);
}

TYPED_TEST(StatsOrder, stream_of_several_variables_over_threads) {
  using T = TypeParam;
  const int p = 5, n = 3000;
  for (const int32_t word : {QST_SS_ROWS, QST_SS_COLUMNS}) {
    Stream<T> stream(p, QST_SS_ROWS, T(0.05), {0, T(0.5), 1});
    stream.storage = word;
    stream.set_integer(QST_SS_ED_OBSERVATION_STORAGE, stream.storage);
    ASSERT_EQ(stream.take(nullptr, 0, QST_SS_METHOD_STREAM_QUANTILES), 0);
    EXPECT_TRUE(std::isnan(stream.answers[0]));
    const auto x = dataset<T>(p, n, word, [](int i, int j) { return i + uniform(5 * j + i); });
    const int before = qlx_serv_set_num_threads_limit(3);
    ASSERT_EQ(stream.take(x.data(), n, QST_SS_METHOD_STREAM_QUANTILES, qlx_serv_thread_table()), 0);
    qlx_serv_set_num_threads_limit(before);
    for (int i = 0; i < p; ++i) {
      std::vector<T> a(n);
      for (int j = 0; j < n; ++j) a[j] = static_cast<T>(i + uniform(5 * j + i));
      std::sort(a.begin(), a.end());
      EXPECT_EQ(stream.answers[i * 3], a[0]);
      EXPECT_EQ(stream.answers[i * 3 + 2], a[n - 1]);
      EXPECT_LT(rank_error(a, stream.answers[i * 3 + 1], T(0.5)), 0.05 * n);
    }
  }
}

// ---- Checks ---------------------------------------------------------------------------------------------------------

TEST(StatsOrderChecks, first_failing_check_decides) {
  const double x[8] = {4, 3, 2, 1, 8, 7, 6, 5}, good[2] = {0, 1}, bad[2] = {0.5, 1.5};
  double room[8];
  const int32_t two = 2, negative = -1, zero = 0, rows = QST_SS_ROWS, columns = QST_SS_COLUMNS, odd = 3;
  Task<double> t(2, 4, QST_SS_ROWS, x);
  const auto quantiles = [&](uint64_t mask, uint64_t method = 1) {
    return _qstdSSQuantiles(t.task, mask, method, nullptr);
  };
  const auto sort = [&](uint64_t method) { return _qstdSSSort(t.task, 0, method, nullptr); };
  const auto minmax = [&](uint64_t mask, uint64_t method) { return _qstdSSMinmax(t.task, mask, method, nullptr); };
  const uint64_t both = QST_SS_QUANTILES | QST_SS_ORDER_STATISTICS;

  t.storage = 1;
  EXPECT_EQ(quantiles(both), -4003);
  EXPECT_EQ(minmax(0xC00, 0), -4003);
  t.storage = QST_SS_ROWS;
  EXPECT_EQ(quantiles(both, 0), -4023);
  t.set(QST_SS_ED_QUANTILES, room);
  EXPECT_EQ(quantiles(both, 0), -4021);
  t.set(QST_SS_ED_QUANTILE_ORDERS, bad);
  EXPECT_EQ(quantiles(both, 0), -4022);
  t.set_integer(QST_SS_ED_QUANTILE_ORDER_COUNT, negative);
  EXPECT_EQ(quantiles(both, 0), -4022);
  t.set_integer(QST_SS_ED_QUANTILE_ORDER_COUNT, two);
  EXPECT_EQ(quantiles(both, 0), -4022);
  t.set(QST_SS_ED_QUANTILE_ORDERS, good);
  EXPECT_EQ(quantiles(both, 0), -4024);
  EXPECT_EQ(quantiles(QST_SS_QUANTILES, 0), -4029);
  t.set(QST_SS_ED_ORDER_STATISTICS, room);
  EXPECT_EQ(quantiles(both, 0), -4044);
  t.set_integer(QST_SS_ED_ORDER_STATISTICS_STORAGE, odd);
  EXPECT_EQ(quantiles(both, 0), -4003);
  t.set_integer(QST_SS_ED_ORDER_STATISTICS_STORAGE, columns);
  EXPECT_EQ(quantiles(both, 2), -4029);
  EXPECT_EQ(quantiles(both), 0);
  t.set_integer(QST_SS_ED_QUANTILE_ORDER_COUNT, zero);
  room[0] = -1;
  EXPECT_EQ(quantiles(QST_SS_QUANTILES), 0);
  EXPECT_EQ(room[0], -1);

  EXPECT_EQ(minmax(0xC00, 0), -4015);
  t.set(QST_SS_ED_MINIMUM, room);
  EXPECT_EQ(minmax(0xC00, 0), -4016);
  EXPECT_EQ(minmax(QST_SS_MINIMUM, 4), -4029);

  EXPECT_EQ(sort(0), -4084);
  t.set(QST_SS_ED_SORTED_OBSERVATIONS, x);
  EXPECT_EQ(sort(0), -4044);
  t.set_integer(QST_SS_ED_SORTED_OBSERVATIONS_STORAGE, columns);
  t.set_integer(QST_SS_ED_INDICES, two);
  EXPECT_EQ(sort(0), -4044);
  t.set_integer(QST_SS_ED_SORTED_OBSERVATIONS_STORAGE, rows);
  EXPECT_EQ(sort(0), -4085);
  t.set(QST_SS_ED_SORTED_OBSERVATIONS, room);
  t.set_integer(QST_SS_ED_SORTED_OBSERVATIONS_STORAGE, odd);
  EXPECT_EQ(sort(0), -4003);
  t.set_integer(QST_SS_ED_SORTED_OBSERVATIONS_STORAGE, rows);
  EXPECT_EQ(sort(1), -4029);
}

TEST(StatsOrderChecks, streaming_checks_in_order) {
  const double x[4] = {1, 2, 3, 4}, good[1] = {0.5}, bad[1] = {-0.1};
  double room[2] = {}, epsilon = 0;
  int32_t p = 2, n = -1, storage = 1, count = -1, params = 2, indices[2] = {1, 0};
  QstSSTask* task;
  ASSERT_EQ(__qstdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, indices, 0), 0);
  const auto status = [&](uint64_t method = 0) { return _qstdSSStreamQuantiles(task, 0, method, nullptr); };
  EXPECT_EQ(status(), -4002);
  __qstiSSEditTask(task, 2, &n);
  EXPECT_EQ(status(), -4002);
  n = 0;
  EXPECT_EQ(status(), -4070);
  n = 2;
  EXPECT_EQ(status(), -4032);
  __qstdSSEditTask(task, 3, x);
  EXPECT_EQ(status(), -4044);
  __qstiSSEditTask(task, 4, &storage);
  EXPECT_EQ(status(), -4003);
  storage = QST_SS_COLUMNS;
  EXPECT_EQ(status(), -4070);
  __qstdSSEditStreamQuantiles(task, nullptr, nullptr, room, nullptr, nullptr);
  EXPECT_EQ(status(), -4068);
  __qstdSSEditStreamQuantiles(task, nullptr, bad, nullptr, nullptr, nullptr);
  EXPECT_EQ(status(), -4069);
  __qstdSSEditStreamQuantiles(task, &count, nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(status(), -4069);
  count = 1;
  EXPECT_EQ(status(), -4064);
  __qstdSSEditStreamQuantiles(task, nullptr, nullptr, nullptr, &params, nullptr);
  EXPECT_EQ(status(), -4066);
  params = 1;
  EXPECT_EQ(status(), -4069);
  __qstdSSEditStreamQuantiles(task, nullptr, good, nullptr, nullptr, nullptr);
  EXPECT_EQ(status(), -4065);
  __qstdSSEditStreamQuantiles(task, nullptr, nullptr, nullptr, nullptr, &epsilon);
  EXPECT_EQ(status(), -4029);
  for (const double bad_epsilon : {0.0, -1.0, 1.5, static_cast<double>(NAN)}) {
    epsilon = bad_epsilon;
    EXPECT_EQ(status(QST_SS_METHOD_STREAM_QUANTILES), -4067);
  }
  epsilon = 0.1;
  EXPECT_EQ(status(QST_SS_METHOD_STREAM_QUANTILES), 0);
  EXPECT_EQ(room[0], 3);  // of 1 and 3, both half a rank off, the upper
  // A variable that the first call left out can't come in later.
  indices[1] = 1;
  EXPECT_EQ(status(QST_SS_METHOD_STREAM_QUANTILES), -4004);
  __qstSQuantilesFreeBuffers(task);
  __qstSQuantilesFreeBuffers(task);
  indices[0] = indices[1] = 0;
  EXPECT_EQ(status(QST_SS_METHOD_STREAM_QUANTILES), -4004);
  EXPECT_EQ(__qstSSDeleteTask(&task), 0);
}

// Values 1 to 4 by hand; weights as given; the running sum c, its target T = W q.
TEST(StatsWeightedMedian, cases_by_hand) {
  const struct {
    std::vector<double> values, weights;
    double q, expected;
  } cases[] = {
      {{4, 1, 3, 2}, {1, 1, 1, 1}, 0.5, 2.5},    // c = T at 2, even n: the mean with the next value
      {{3, 1, 2}, {1, 1, 1}, 0.5, 2},            // c0 = 1 = (W - w) q with odd n: the value itself
      {{1, 2, 3, 4}, {1, 2, 0, 3}, 0.5, 3},      // c = T at 2: the next value of weight is 4
      {{1, 2, 3, 4}, {4, 1, 1, 1}, 0.5, 1},      // nothing before: the first value
      {{1, 2, 3, 4}, {1, 1, 4, 1}, 0.5, 2.375},  // c = 6 > T = 3.5, c0 = 2: 2 + 1.5 / 4
      {{1, 2, 3}, {1, 1, 1}, 1, 3},              // the last
      {{1, 2, 3, 4}, {1, 0, 3, 1}, 0.5, 2},      // before 3 the value of weight is 1: 1 + 1.5 / 3 * 2
  };
  for (const auto& c : cases) {
    Task<double> t(1, static_cast<int32_t>(c.values.size()), QST_SS_ROWS, c.values.data(), c.weights.data());
    double result = -1;
    t.set(QST_SS_ED_QUANTILE_ORDERS, &c.q);
    t.set(QST_SS_ED_QUANTILES, &result);
    EXPECT_EQ(_qstdSSWMedian(t.task), 0);
    EXPECT_EQ(result, c.expected);
  }
}

}  // namespace
