// Data and requests at the edge: infinities and NaN, one observation, weights of zero, a dimension whose low word is
// zero, results that share an array, variables of no variance, and what the vector math kernels see of the thread's
// mode. SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "qlx/qvm.h"
#include "stats/task.h"

namespace {

using namespace stats_test;

constexpr uint64_t kMoments = 0x3FF, kSums = uint64_t{0x7F} << 25;
constexpr uint64_t kMatrices = QST_SS_COVARIANCE | QST_SS_CORRELATION | QST_SS_CROSS_PRODUCT;
constexpr uint64_t kSweeps[] = {QST_SS_METHOD_FAST, QST_SS_METHOD_1PASS, QST_SS_METHOD_FAST_GIVEN_MEAN};
constexpr int64_t kMomentCodes[] = {7, 8, 9, 10, 11, 12, 13, 14, 15, 18};
constexpr int64_t kSumCodes[] = {67, 68, 69, 70, 71, 72, 73};
constexpr int64_t kMatrixCodes[] = {19, 21, 74};

// All results of Basic, of which any two may be made one array.
template <class T>
struct Results {
  std::vector<std::pair<int64_t, std::vector<T>>> arrays;

  explicit Results(Task<T>& task) {
    const size_t p = static_cast<size_t>(task.p);
    for (const int64_t code : kMomentCodes) arrays.emplace_back(code, std::vector<T>(p));
    for (const int64_t code : kSumCodes) arrays.emplace_back(code, std::vector<T>(p));
    for (const int64_t code : kMatrixCodes) arrays.emplace_back(code, std::vector<T>(p * p));
    for (auto& [code, array] : arrays) task.set(code, array);
  }
  std::vector<T>& operator[](int64_t code) {
    for (auto& [c, array] : arrays) {
      if (c == code) return array;
    }
    std::abort();
  }
};

template <class T>
class StatsEdge : public ::testing::Test {};
using Reals = ::testing::Types<double, float>;
TYPED_TEST_SUITE(StatsEdge, Reals);

double value(int i, int j) {
  return 1 + uniform(977 * i + j) + 0.5 * uniform(j);
}

template <class T>
bool same(T a, T b) {
  return std::memcmp(&a, &b, sizeof a) == 0 || (a != a && b != b);
}

// A value that is not finite spoils its own variable, with what that value makes of each result, and no other.
TYPED_TEST(StatsEdge, values_not_finite_stay_in_their_variable) {
  using T = TypeParam;
  constexpr T kInf = std::numeric_limits<T>::infinity(), kNaN = std::numeric_limits<T>::quiet_NaN();
  const int p = 6, n = 1000;
  const struct {
    std::vector<T> put;
    T mean, raw2, raw3;
  } cases[] = {{{kInf}, kInf, kInf, kInf},
               {{-kInf}, -kInf, kInf, -kInf},
               {{kInf, -kInf}, kNaN, kInf, kNaN},
               {{kNaN}, kNaN, kNaN, kNaN}};
  for (const auto& c : cases)
    for (const int place : {0, 517, n - 2})
      for (const uint64_t method : kSweeps)
        for (const int32_t word : {QST_SS_ROWS, QST_SS_COLUMNS}) {
          std::vector<T> x = dataset<T>(p, n, word, value);
          const auto run = [&](Results<T>* out, Task<T>* task) {
            if (method == QST_SS_METHOD_FAST_GIVEN_MEAN) (*out)[7].assign(p, T(1.75));
            ASSERT_EQ(Api<T>::basic(task->task, kMoments | kSums | kMatrices, method, fake_threads<2>()), 0);
          };
          Task<T> clean(p, n, word, x.data());
          Results<T> expected(clean);
          run(&expected, &clean);
          const int v = 2;
          for (size_t k = 0; k < c.put.size(); ++k) {
            const int j = place + static_cast<int>(k);
            x[word == QST_SS_ROWS ? v * n + j : j * p + v] = c.put[k];
          }
          Task<T> spoilt(p, n, word, x.data());
          Results<T> out(spoilt);
          run(&out, &spoilt);
          const std::string what = "method " + std::to_string(method) + " place " + std::to_string(place);
          if (method != QST_SS_METHOD_FAST_GIVEN_MEAN) {
            EXPECT_TRUE(same(out[7][v], c.mean)) << what << ' ' << out[7][v];
          }
          EXPECT_TRUE(same(out[8][v], c.raw2)) << what << ' ' << out[8][v];
          EXPECT_TRUE(same(out[9][v], c.raw3)) << what << ' ' << out[9][v];
          for (const int64_t code : {11, 12, 13, 71, 72, 73}) EXPECT_FALSE(std::isfinite(out[code][v])) << code << what;
          EXPECT_TRUE(std::isnan(out[21][v * p + v])) << what;
          for (const auto& [code, array] : expected.arrays) {
            const bool matrix = array.size() != static_cast<size_t>(p);
            for (int k = 0; k < static_cast<int>(array.size()); ++k) {
              if (matrix ? k / p == v || k % p == v : k == v) continue;
              ASSERT_TRUE(same(out[code][k], array[k])) << what << " code " << code << " at " << k;
            }
          }
        }
}

// Order statistics know infinities: a quantile on a rank is that element, whatever stands beside it.
TYPED_TEST(StatsEdge, orders_of_infinite_values) {
  using T = TypeParam;
  constexpr T kInf = std::numeric_limits<T>::infinity();
  const int n = 9;
  const T x[n] = {kInf, 3, -kInf, 1, 2, kInf, 5, -kInf, 4};
  const T orders[] = {0, T(0.25), T(0.5), T(0.75), T(0.8125), 1}, epsilon = T(0.01);
  const int32_t count = 6, one = 1;
  Task<T> task(1, n, QST_SS_ROWS, x);
  std::vector<T> low(1, 0), high(1, 0), quantiles(6), streamed(6);
  task.set(QST_SS_ED_MINIMUM, low);
  task.set(QST_SS_ED_MAXIMUM, high);
  task.set(QST_SS_ED_QUANTILE_ORDERS, orders);
  task.set(QST_SS_ED_QUANTILES, quantiles);
  task.set_integer(QST_SS_ED_QUANTILE_ORDER_COUNT, count);
  task.set_integer(QST_SS_ED_STREAM_QUANTILE_ORDER_COUNT, count);
  task.set(QST_SS_ED_STREAM_QUANTILE_ORDERS, orders);
  task.set(QST_SS_ED_STREAM_QUANTILES, streamed);
  task.set_integer(QST_SS_ED_STREAM_PARAM_COUNT, one);
  task.set(QST_SS_ED_STREAM_PARAMS, &epsilon);
  ASSERT_EQ(Api<T>::minmax(task.task, QST_SS_MINIMUM | QST_SS_MAXIMUM, QST_SS_METHOD_FAST, nullptr), 0);
  EXPECT_EQ(low[0], -kInf);
  EXPECT_EQ(high[0], kInf);
  ASSERT_EQ(Api<T>::quantiles(task.task, QST_SS_QUANTILES, QST_SS_METHOD_FAST, nullptr), 0);
  EXPECT_EQ(quantiles[0], -kInf);
  EXPECT_EQ(quantiles[1], 1);
  EXPECT_EQ(quantiles[2], 3);
  EXPECT_EQ(quantiles[3], 5);
  EXPECT_EQ(quantiles[4], kInf);
  EXPECT_EQ(quantiles[5], kInf);
  ASSERT_EQ(Api<T>::stream(task.task, 0, QST_SS_METHOD_STREAM_QUANTILES, nullptr), 0);
  EXPECT_EQ(streamed, (std::vector<T>{-kInf, 1, 3, 5, kInf, kInf}));
}

// Two results in one array: the later of the order in which results are stored stays, and all others are what they are
// without it. Order: correlation, covariance, cross-product; moment and sum of each vector; kurtosis, skewness,
// variation.
TYPED_TEST(StatsEdge, two_results_share_an_array) {
  using T = TypeParam;
  const int p = 5, n = 2000;
  const std::pair<int64_t, int64_t> pairs[] = {{7, 67},  {7, 8},   {8, 11},  {11, 71}, {12, 13}, {13, 14}, {67, 70},
                                               {14, 15}, {15, 18}, {21, 19}, {19, 74}, {21, 74}, {8, 73}};
  const int64_t order[] = {21, 19, 74, 7, 67, 8, 68, 9, 69, 10, 70, 11, 71, 12, 72, 13, 73, 14, 15, 18};
  const auto later = [&](int64_t a, int64_t b) {
    for (const int64_t code : order) {
      if (code == a) return b;
      if (code == b) return a;
    }
    return a;
  };
  const auto x = dataset<T>(p, n, QST_SS_COLUMNS, value);
  for (const uint64_t method : {QST_SS_METHOD_FAST, QST_SS_METHOD_1PASS})
    for (const auto& [first, second] : pairs) {
      Task<T> alone(p, n, QST_SS_COLUMNS, x.data()), sharing(p, n, QST_SS_COLUMNS, x.data());
      Results<T> expected(alone), out(sharing);
      sharing.set(second, out[first]);
      ASSERT_EQ(Api<T>::basic(alone.task, kMoments | kSums | kMatrices, method, fake_threads<2>()), 0);
      ASSERT_EQ(Api<T>::basic(sharing.task, kMoments | kSums | kMatrices, method, fake_threads<2>()), 0);
      EXPECT_EQ(out[first], expected[later(first, second)]) << first << " with " << second << " method " << method;
      for (const auto& [code, array] : expected.arrays) {
        if (code == first || code == second) continue;
        EXPECT_EQ(out[code], array) << first << " with " << second << ": code " << code << " method " << method;
      }
    }

  // Both extremes in one array start from it; the maximum is stored last.
  Task<T> task(p, n, QST_SS_COLUMNS, x.data());
  std::vector<T> shared(p, T(1.5)), high(p, T(1.5));
  task.set(QST_SS_ED_MAXIMUM, high);
  ASSERT_EQ(Api<T>::minmax(task.task, QST_SS_MAXIMUM, QST_SS_METHOD_FAST, nullptr), 0);
  task.set(QST_SS_ED_MINIMUM, shared);
  task.set(QST_SS_ED_MAXIMUM, shared);
  ASSERT_EQ(Api<T>::minmax(task.task, QST_SS_MINIMUM | QST_SS_MAXIMUM, QST_SS_METHOD_FAST, nullptr), 0);
  EXPECT_EQ(shared, high);
}

// One observation, and weights of zero, leave the divisor 0 of a variance unguarded, whatever the method and the number
// of variables; everything that has a value has it.
TYPED_TEST(StatsEdge, one_observation_and_zero_weights) {
  using T = TypeParam;
  for (const int p : {1, 3})
    for (const uint64_t method : kSweeps)
      for (const int zeros : {-1, 0, 4, 40}) {  // -1: no weights; else so many zeros before a weight of 2
        const int n = zeros < 0 ? 1 : zeros + 1;
        const auto x = dataset<T>(p, n, QST_SS_COLUMNS, [&](int i, int j) { return j == n - 1 ? 3 + i : NAN; });
        auto usable = x;  // fast and given mean multiply by a weight of zero, so the rest must be numbers there
        for (T& v : usable) v = v == v ? v : T(7);
        std::vector<T> w(n, 0);
        w[n - 1] = 2;
        const bool skips = method == QST_SS_METHOD_1PASS;
        Task<T> task(p, n, QST_SS_COLUMNS, skips ? x.data() : usable.data(), zeros < 0 ? nullptr : w.data());
        Results<T> out(task);
        std::vector<T> pair(2);
        task.set(QST_SS_ED_ACCUM_WEIGHT, pair);
        if (method == QST_SS_METHOD_FAST_GIVEN_MEAN)
          for (int i = 0; i < p; ++i) out[7][i] = static_cast<T>(3 + i);
        ASSERT_EQ(Api<T>::basic(task.task, kMoments | kSums | kMatrices, method, nullptr), 0);
        const T weight = zeros < 0 ? 1 : 2;
        EXPECT_EQ(pair, (std::vector<T>{weight, weight * weight}));
        for (int i = 0; i < p; ++i) {
          const T v = static_cast<T>(3 + i);
          EXPECT_EQ(out[7][i], v) << method;
          EXPECT_EQ(out[67][i], weight * v);
          EXPECT_EQ(out[8][i], v * v);
          EXPECT_EQ(out[71][i], 0);
          EXPECT_TRUE(std::isnan(out[11][i]) && std::isnan(out[14][i]) && std::isnan(out[15][i])) << method;
          EXPECT_TRUE(std::isnan(out[19][i * p + i]) && std::isnan(out[21][i * p + i])) << method;
          EXPECT_EQ(out[74][i * p + i], 0);
        }
      }
}

// A dimension whose low word is 0 or negative has no variables: nothing is read or written, and a stream, of which some
// variable must be enabled, has none.
TEST(StatsEdgeDimension, low_word_without_variables) {
  for (const int64_t p : {int64_t{1} << 32, (int64_t{1} << 32) + 0x80000000}) {
    const int64_t n = 10, storage = QST_SS_COLUMNS, one = 1;
    const double x[1] = {1}, order[1] = {0.5}, epsilon = 0.1;
    double room[1] = {-5}, pair[2] = {0, 0};
    QstSSTask* task = nullptr;
    ASSERT_EQ(__qstdSSNewTask(&task, &p, &n, &storage, x, nullptr, nullptr, 1), 0);
    for (const int64_t code : {7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 21, 26, 66, 67, 74, 78})
      ASSERT_EQ(__qstdSSEditTask(task, code, room), 0);
    __qstdSSEditTask(task, QST_SS_ED_ACCUM_WEIGHT, pair);
    __qstdSSEditTask(task, QST_SS_ED_QUANTILE_ORDERS, order);
    __qstiSSEditTask(task, QST_SS_ED_QUANTILE_ORDER_COUNT, &one);
    __qstiSSEditTask(task, QST_SS_ED_SORTED_OBSERVATIONS_STORAGE, &storage);
    __qstdSSEditStreamQuantiles(task, &one, order, room, &one, &epsilon);
    for (const uint64_t method : kSweeps) {
      pair[0] = 0;
      EXPECT_EQ(_qstdSSBasic(task, kMoments | QST_SS_SUM | kMatrices, method, qlx_serv_thread_table()), 0);
    }
    EXPECT_EQ(_qstdSSMinmax(task, QST_SS_MINIMUM | QST_SS_MAXIMUM, QST_SS_METHOD_FAST, nullptr), 0);
    EXPECT_EQ(_qstdSSQuantiles(task, QST_SS_QUANTILES, QST_SS_METHOD_FAST, qlx_serv_thread_table()), 0);
    EXPECT_EQ(_qstdSSSort(task, 0, QST_SS_METHOD_SORT, qlx_serv_thread_table()), 0);
    EXPECT_EQ(_qstdSSStreamQuantiles(task, 0, QST_SS_METHOD_STREAM_QUANTILES, qlx_serv_thread_table()), -4004);
    EXPECT_EQ(room[0], -5);
    __qstSSDeleteTask(&task);
  }
}

// The order estimators name a missing n or dataset after all their own checks.
TEST(StatsEdgeDataset, missing_n_or_dataset) {
  const int32_t p = 1, n = 2, zero = 0, storage = QST_SS_ROWS;
  double room[2] = {};
  QstSSTask* task = nullptr;
  ASSERT_EQ(__qstdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  __qstiSSEditTask(task, QST_SS_ED_OBSERVATION_STORAGE, &storage);
  __qstdSSEditTask(task, QST_SS_ED_MINIMUM, room);
  __qstdSSEditTask(task, QST_SS_ED_SORTED_OBSERVATIONS, room);
  __qstiSSEditTask(task, QST_SS_ED_SORTED_OBSERVATIONS_STORAGE, &storage);
  const std::function<int32_t()> calls[] = {
      [&] { return _qstdSSMinmax(task, QST_SS_MINIMUM, QST_SS_METHOD_FAST, nullptr); },
      [&] { return _qstdSSQuantiles(task, 0, QST_SS_METHOD_FAST, nullptr); },
      [&] { return _qstdSSSort(task, 0, QST_SS_METHOD_SORT, nullptr); }};
  for (const auto& call : calls) EXPECT_EQ(call(), -4002);
  __qstiSSEditTask(task, QST_SS_ED_OBSERVATION_COUNT, &zero);
  for (const auto& call : calls) EXPECT_EQ(call(), -4002);
  __qstiSSEditTask(task, QST_SS_ED_OBSERVATION_COUNT, &n);
  for (const auto& call : calls) EXPECT_EQ(call(), -4032);
  __qstSSDeleteTask(&task);
  for (const auto call : {_qstdSSMinmax, _qstdSSQuantiles, _qstdSSSort, _qstdSSStreamQuantiles})
    EXPECT_EQ(call(nullptr, 0, 1, nullptr), -4031);
}

// The correlation's kernel runs at high accuracy with denormals, whatever the thread's mode says, and gives the mode
// back; a variable of no variance is a pole there.
TYPED_TEST(StatsEdge, correlation_whatever_the_mode) {
  using T = TypeParam;
  const uint32_t entry = _qvmSetMode(QVM_DENORMAL_ACCURATE);
  const int p = 3, n = 64;
  // Powers of two whose squares, summed, are denormal in T.
  const double scale = std::ldexp(1.0, std::numeric_limits<T>::min_exponent / 2 - 8);
  const auto tiny = [&](int i, int j) { return scale * (i == 0 ? (j % 2 != 0 ? 1 : -1) : i == 1 ? (j % 2 - 0.5) : 0); };
  const auto x = dataset<T>(p, n, QST_SS_ROWS, tiny), y = dataset<T>(p, n, QST_SS_ROWS, value);
  std::vector<T> mean(p), correlation(p * p), usual;
  const auto correlate = [&](const std::vector<T>& data) {
    Task<T> task(p, n, QST_SS_ROWS, data.data());
    task.set(QST_SS_ED_MEAN, mean);
    task.set(QST_SS_ED_CORRELATION, correlation);
    EXPECT_EQ(Api<T>::basic(task.task, QST_SS_CORRELATION, QST_SS_METHOD_FAST, nullptr), 0);
    return correlation;
  };
  usual = correlate(y);
  _qvmSetMode(QVM_EP | QVM_DENORMAL_FAST | QVM_ERRMODE_IGNORE);
  const uint32_t mode = _qvmGetMode();
  EXPECT_EQ(correlate(y), usual);
  for (int i = 0; i < p; ++i) EXPECT_NEAR(usual[i * p + i], 1, 4 * std::numeric_limits<T>::epsilon());
  _qvmClearErrStatus();
  correlate(x);
  EXPECT_EQ(_qvmGetMode(), mode);
  EXPECT_EQ(_qvmGetErrStatus(), qvm_status_pole);
  for (const int k : {0, 1, p, p + 1}) EXPECT_NEAR(correlation[k], 1, 1e-2) << k;
  for (const int k : {2, p + 2, 2 * p, 2 * p + 1, 2 * p + 2}) EXPECT_TRUE(std::isnan(correlation[k])) << k;
  _qvmClearErrStatus();
  _qvmSetMode(entry);
}

}  // namespace
