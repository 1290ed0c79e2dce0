// Basic against direct sums in long double: methods, storages, weights, blocks, thread counts, matrix forms, both
// precisions; certified data; exact integers; state between calls.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <map>
#include <string>
#include <vector>

#include "stats/task.h"

namespace {

using namespace stats_test;

constexpr uint64_t kAllMoments = 0x3FF, kAllSums = uint64_t{0x7F} << 25;
constexpr uint64_t kMatrices = QST_SS_COVARIANCE | QST_SS_CORRELATION | QST_SS_CROSS_PRODUCT;

// Codes of the p-vectors of results, with the estimate bit of each.
const std::map<int64_t, uint64_t> kVectors = {{QST_SS_ED_MEAN, QST_SS_MEAN},
                                              {QST_SS_ED_RAW_MOMENT_2, QST_SS_RAW_MOMENT_2},
                                              {QST_SS_ED_RAW_MOMENT_3, QST_SS_RAW_MOMENT_3},
                                              {QST_SS_ED_RAW_MOMENT_4, QST_SS_RAW_MOMENT_4},
                                              {QST_SS_ED_CENTRAL_MOMENT_2, QST_SS_CENTRAL_MOMENT_2},
                                              {QST_SS_ED_CENTRAL_MOMENT_3, QST_SS_CENTRAL_MOMENT_3},
                                              {QST_SS_ED_CENTRAL_MOMENT_4, QST_SS_CENTRAL_MOMENT_4},
                                              {QST_SS_ED_KURTOSIS, QST_SS_KURTOSIS},
                                              {QST_SS_ED_SKEWNESS, QST_SS_SKEWNESS},
                                              {QST_SS_ED_VARIATION, QST_SS_VARIATION},
                                              {QST_SS_ED_SUM, QST_SS_SUM},
                                              {QST_SS_ED_RAW_SUM_2, QST_SS_RAW_SUM_2},
                                              {QST_SS_ED_RAW_SUM_3, QST_SS_RAW_SUM_3},
                                              {QST_SS_ED_RAW_SUM_4, QST_SS_RAW_SUM_4},
                                              {QST_SS_ED_CENTRAL_SUM_2, QST_SS_CENTRAL_SUM_2},
                                              {QST_SS_ED_CENTRAL_SUM_3, QST_SS_CENTRAL_SUM_3},
                                              {QST_SS_ED_CENTRAL_SUM_4, QST_SS_CENTRAL_SUM_4}};

using Results = std::map<int64_t, std::vector<long double>>;  // matrices by their code, full

// All results by their definitions, two passes in long double. Weights may be null.
template <class T>
Results reference(int p, int n, int32_t storage, const T* x, const T* w) {
  const auto at = [=](int i, int j) -> long double {
    return storage == QST_SS_ROWS ? x[static_cast<size_t>(i) * n + j] : x[static_cast<size_t>(j) * p + i];
  };
  long double weight = 0, squares = 0;
  for (int j = 0; j < n; ++j) {
    const long double wj = w != nullptr ? w[j] : 1;
    weight += wj;
    squares += wj * wj;
  }
  Results r;
  for (const auto& [code, bit] : kVectors) r[code].resize(p);
  std::vector<long double> mean(p);
  for (int i = 0; i < p; ++i) {
    long double raw[5] = {}, central[5] = {};
    for (int j = 0; j < n; ++j)
      for (int k = 1; k <= 4; ++k)
        raw[k] += (w != nullptr ? w[j] : 1) * std::pow(at(i, j), static_cast<long double>(k));
    mean[i] = raw[1] / weight;
    for (int j = 0; j < n; ++j)
      for (int k = 2; k <= 4; ++k)
        central[k] += (w != nullptr ? w[j] : 1) * std::pow(at(i, j) - mean[i], static_cast<long double>(k));
    const long double c2 = central[2] * weight / (weight * weight - squares), c3 = central[3] / weight,
                      c4 = central[4] / weight;
    r[QST_SS_ED_MEAN][i] = mean[i];
    r[QST_SS_ED_SUM][i] = raw[1];
    for (int k = 2; k <= 4; ++k) {
      r[QST_SS_ED_RAW_MOMENT_2 + k - 2][i] = raw[k] / weight;
      r[QST_SS_ED_RAW_SUM_2 + k - 2][i] = raw[k];
      r[QST_SS_ED_CENTRAL_MOMENT_2 + k - 2][i] = k == 2 ? c2 : central[k] / weight;
      r[QST_SS_ED_CENTRAL_SUM_2 + k - 2][i] = central[k];
    }
    r[QST_SS_ED_KURTOSIS][i] = c4 / (c2 * c2) - 3;
    r[QST_SS_ED_SKEWNESS][i] = c3 / std::sqrt(c2 * c2 * c2);
    r[QST_SS_ED_VARIATION][i] = std::sqrt(c2) / mean[i];
  }
  for (int64_t code : {QST_SS_ED_COVARIANCE, QST_SS_ED_CORRELATION, QST_SS_ED_CROSS_PRODUCT})
    r[code].resize(static_cast<size_t>(p) * p);
  auto& product = r[QST_SS_ED_CROSS_PRODUCT];
  for (int i = 0; i < p; ++i)
    for (int k = 0; k < p; ++k)
      for (int j = 0; j < n; ++j)
        product[i * p + k] += (w != nullptr ? w[j] : 1) * (at(i, j) - mean[i]) * (at(k, j) - mean[k]);
  for (int i = 0; i < p; ++i)
    for (int k = 0; k < p; ++k) {
      r[QST_SS_ED_COVARIANCE][i * p + k] = product[i * p + k] / (weight - squares / weight);
      r[QST_SS_ED_CORRELATION][i * p + k] = product[i * p + k] / std::sqrt(product[i * p + i] * product[k * p + k]);
    }
  return r;
}

// Element (i, k) of a stored matrix.
template <class T>
T element(const std::vector<T>& a, int32_t form, int p, int i, int k) {
  if (form == QST_SS_FULL) return a[i * p + k];
  const int low = i < k ? i : k, high = i < k ? k : i;
  return form == QST_SS_LOWER_PACKED ? a[high * (high + 1) / 2 + low] : a[low * p - low * (low - 1) / 2 + high - low];
}

// Arrays for every result, registered with a task.
template <class T>
struct Outputs {
  std::map<int64_t, std::vector<T>> arrays;
  std::vector<T> pair = {0, 0};
  int32_t form;
  static constexpr T kUntouched = -12345;

  Outputs(Task<T>& task, int32_t matrix_form, uint64_t mask = ~uint64_t{0}) : form(matrix_form) {
    for (const auto& [code, bit] : kVectors) {
      if ((mask & bit) != 0) add(task, code, task.p);
    }
    const size_t size = form == QST_SS_FULL ? static_cast<size_t>(task.p) * task.p : task.p * (task.p + 1) / 2;
    if (mask & QST_SS_COVARIANCE) add(task, QST_SS_ED_COVARIANCE, size);
    if (mask & QST_SS_CORRELATION) add(task, QST_SS_ED_CORRELATION, size);
    if (mask & QST_SS_CROSS_PRODUCT) add(task, QST_SS_ED_CROSS_PRODUCT, size);
    for (int64_t code : {QST_SS_ED_COVARIANCE_STORAGE, QST_SS_ED_CORRELATION_STORAGE, QST_SS_ED_CROSS_PRODUCT_STORAGE})
      task.set_integer(code, form);
    task.set(QST_SS_ED_ACCUM_WEIGHT, pair);
  }

  void add(Task<T>& task, int64_t code, size_t size) {
    arrays[code].assign(size, kUntouched);
    task.set(code, arrays[code]);
  }

  std::vector<T>& operator[](int64_t code) { return arrays.at(code); }

  // Every requested array against the reference. Errors are absolute, in units of the data's scale (about 1).
  void expect_near(const Results& expected, uint64_t mask, double tolerance, const std::string& what) {
    const int p = static_cast<int>(expected.at(QST_SS_ED_MEAN).size());
    for (const auto& [code, bit] : kVectors) {
      if ((mask & bit) == 0) continue;
      for (int i = 0; i < p; ++i) {
        const long double e = expected.at(code)[i];
        EXPECT_NEAR(arrays.at(code)[i], static_cast<double>(e), tolerance * (1 + std::fabs(static_cast<double>(e))))
            << what << " code " << code << " variable " << i;
      }
    }
    const std::map<int64_t, uint64_t> matrices = {{QST_SS_ED_COVARIANCE, QST_SS_COVARIANCE},
                                                  {QST_SS_ED_CORRELATION, QST_SS_CORRELATION},
                                                  {QST_SS_ED_CROSS_PRODUCT, QST_SS_CROSS_PRODUCT}};
    for (const auto& [code, bit] : matrices) {
      if ((mask & bit) == 0) continue;
      for (int i = 0; i < p; ++i)
        for (int k = 0; k < p; ++k) {
          const double e = static_cast<double>(expected.at(code)[i * p + k]);
          const double scale = code == QST_SS_ED_CROSS_PRODUCT ? static_cast<double>(expected.at(code)[i * p + i]) : 1;
          EXPECT_NEAR(element(arrays.at(code), form, p, i, k), e, tolerance * (1 + std::fabs(scale)))
              << what << " code " << code << " (" << i << ", " << k << ")";
        }
    }
  }
};

// Means spread over [0.5, 2], deviations about 0.3, correlated through the common term.
double sample_value(int i, int j) {
  return 0.5 + 0.1 * (i % 16) + uniform(1000003 * (i + 1) + j) - 0.4 * (i + 1) / 20 * uniform(j);
}

constexpr uint64_t kMethods[] = {QST_SS_METHOD_FAST, QST_SS_METHOD_1PASS, QST_SS_METHOD_FAST_GIVEN_MEAN};

struct Shape {
  int p, n, block;
  const QlxThreadTable* threads;
};

template <class T>
void expect_all_results(const Shape& shape, double tolerance) {
  for (const uint64_t method : kMethods)
    for (const int32_t storage : {QST_SS_ROWS, QST_SS_COLUMNS})
      for (const bool weighted : {false, true})
        for (const int32_t form : {QST_SS_FULL, QST_SS_LOWER_PACKED, QST_SS_UPPER_PACKED}) {
          const int p = shape.p, n = shape.n;
          const auto x = dataset<T>(p, n, storage, sample_value);
          std::vector<T> w(n);
          for (int j = 0; j < n; ++j) w[j] = static_cast<T>(j % 7 == 0 ? 0 : 0.25 + uniform(77 + j));
          const T* const weights = weighted ? w.data() : nullptr;
          const Results expected = reference(p, n, storage, x.data(), weights);
          Task<T> task(p, n, storage, x.data(), weights);
          Outputs<T> out(task, form);
          if (method == QST_SS_METHOD_FAST_GIVEN_MEAN)
            for (int i = 0; i < p; ++i) out[QST_SS_ED_MEAN][i] = static_cast<T>(expected.at(QST_SS_ED_MEAN)[i]);
          // Blocks of observations: consecutive in column storage, copied together in row storage.
          for (int first = 0; first < n; first += shape.block) {
            task.n = std::min(shape.block, n - first);
            const auto part = dataset<T>(p, task.n, storage, [&](int i, int j) { return sample_value(i, first + j); });
            task.set(QST_SS_ED_OBSERVATIONS, part.data());
            if (weighted) task.set(QST_SS_ED_WEIGHTS, w.data() + first);
            ASSERT_EQ(Api<T>::basic(task.task, kAllMoments | kAllSums | kMatrices, method, shape.threads), 0);
          }
          out.expect_near(expected, kAllMoments | kAllSums | kMatrices, tolerance,
                          "method " + std::to_string(method) + (storage == QST_SS_ROWS ? " rows" : " columns") +
                              (weighted ? " weighted" : "") + " form " + std::to_string(form) + " p " +
                              std::to_string(p) + " n " + std::to_string(n) + " block " + std::to_string(shape.block));
          if (::testing::Test::HasFailure()) return;
        }
}

TEST(StatsBasic, agrees_with_the_definitions) {
  const Shape shapes[] = {{1, 40, 40, nullptr},
                          {2, 7, 7, nullptr},
                          {3, 101, 7, nullptr},
                          {5, 33, 33, nullptr},
                          {15, 130, 64, nullptr},
                          {17, 90, 1, nullptr},
                          {31, 40, 40, nullptr},
                          {6, 3000, 3000, nullptr},
                          {6, 3000, 2500, fake_threads<2>()},
                          {9, 2000, 2000, fake_threads<3>()}};
  for (const Shape& shape : shapes) {
    expect_all_results<double>(shape, 2e-11);
    expect_all_results<float>(shape, 1e-2);
  }
}

// Wide enough that the threads of the fast method have no matrices of their own: 2 * 1100^2 * 8 > 16 MiB.
TEST(StatsBasic, matrix_formed_once_after_the_sweep) {
  const int p = 1100, n = 64;
  for (const int32_t storage : {QST_SS_ROWS, QST_SS_COLUMNS}) {
    const auto x = dataset<double>(p, n, storage, sample_value);
    std::vector<double> w(n, 0.5), cov(p * p), other(p * p), mean(p);
    for (const double* weights : {static_cast<const double*>(nullptr), static_cast<const double*>(w.data())}) {
      Task<double> task(p, n, storage, x.data(), weights);
      task.set(QST_SS_ED_MEAN, mean);
      task.set(QST_SS_ED_COVARIANCE, cov);
      ASSERT_EQ(_qstdSSBasic(task.task, QST_SS_COVARIANCE, QST_SS_METHOD_FAST, fake_threads<4>()), 0);
      task.set(QST_SS_ED_COVARIANCE, other);
      ASSERT_EQ(_qstdSSBasic(task.task, QST_SS_COVARIANCE, QST_SS_METHOD_1PASS, nullptr), 0);
      for (int i = 0; i < p * p; ++i) ASSERT_NEAR(cov[i], other[i], 1e-12) << i / p << ' ' << i % p;
    }
  }
}

// Certified values for the decimal data. The reference of the rounded data stands in for the deviation of NumAcc3,
// whose data move in the tenth digit when they become double.
TEST(StatsBasic, certified_univariate_sets) {
  const struct {
    const char* name;
    double mean, deviation, digits;
  } sets[] = {{"Lottery", 518.958715596330, 291.699727470969, 13},
              {"Michelso", 299.852400000000, 0.0790105478190518, 12},
              {"NumAcc1", 10000002, 1, 13},
              {"NumAcc3", 1000000.2, 0.1, 9}};
  for (const auto& set : sets) {
    const std::vector<double> x = read_column(set.name);
    const int total = static_cast<int>(x.size());
    for (const int block : {total, 7, 1}) {
      Task<double> task(1, total, QST_SS_ROWS, x.data());
      std::vector<double> mean(1), raw(1), variance(1), pair(2);
      task.set(QST_SS_ED_MEAN, mean);
      task.set(QST_SS_ED_RAW_MOMENT_2, raw);
      task.set(QST_SS_ED_CENTRAL_MOMENT_2, variance);
      task.set(QST_SS_ED_ACCUM_WEIGHT, pair);
      for (int first = 0; first < total; first += block) {
        task.n = std::min(block, total - first);
        task.set(QST_SS_ED_OBSERVATIONS, x.data() + first);
        ASSERT_EQ(_qstdSSBasic(task.task, QST_SS_MEAN | QST_SS_CENTRAL_MOMENT_2, QST_SS_METHOD_1PASS, nullptr), 0);
      }
      EXPECT_EQ(pair[0], total);
      const double mean_digits = -std::log10(std::fabs(mean[0] - set.mean) / set.mean + 1e-17);
      const double digits = -std::log10(std::fabs(std::sqrt(variance[0]) - set.deviation) / set.deviation + 1e-17);
      EXPECT_GE(mean_digits, 14) << set.name << " in blocks of " << block;
      EXPECT_GE(digits, set.digits) << set.name << " in blocks of " << block;
      RecordProperty(std::string(set.name) + "_" + std::to_string(block), std::to_string(digits));
      printf("%-9s blocks of %4d: mean %.1f digits, deviation %.1f digits\n", set.name, block, mean_digits, digits);
    }
  }
}

// Small integers: n C is an integer, so the fast method is exact up to its last divisions and one-pass close to it.
TEST(StatsBasic, covariance_of_integers_is_the_exact_rational) {
  const int p = 7, n = 64;
  const auto value = [](int i, int j) { return static_cast<double>((j * (i + 3) * 37 + j * j * i) % 101 - 50); };
  const auto x = dataset<double>(p, n, QST_SS_COLUMNS, value);
  for (const uint64_t method : {QST_SS_METHOD_FAST, QST_SS_METHOD_1PASS}) {
    Task<double> task(p, n, QST_SS_COLUMNS, x.data());
    std::vector<double> mean(p), product(p * p);
    task.set(QST_SS_ED_MEAN, mean);
    task.set(QST_SS_ED_CROSS_PRODUCT, product);
    ASSERT_EQ(_qstdSSBasic(task.task, QST_SS_CROSS_PRODUCT, method, nullptr), 0);
    for (int i = 0; i < p; ++i)
      for (int k = 0; k < p; ++k) {
        int64_t xy = 0, sx = 0, sy = 0;
        for (int j = 0; j < n; ++j) {
          xy += static_cast<int64_t>(value(i, j) * value(k, j));
          sx += static_cast<int64_t>(value(i, j));
          sy += static_cast<int64_t>(value(k, j));
        }
        const double exact = static_cast<double>(n * xy - sx * sy) / n;
        if (method == QST_SS_METHOD_FAST) {
          EXPECT_EQ(product[i * p + k], exact) << i << ' ' << k;
        } else {
          EXPECT_NEAR(product[i * p + k], exact, 1e-10) << i << ' ' << k;
        }
      }
  }
}

// What was not asked for, and variables that `indices` excludes, keep their values, in every matrix form; and a value
// that is no number stays in its own variable.
TEST(StatsBasic, excluded_variables_and_unasked_results_stay) {
  const int p = 5, n = 20;
  const int32_t indices[p] = {1, 0, 1, 1, 0};
  auto x = dataset<double>(p, n, QST_SS_ROWS, sample_value);
  const Results expected = reference<double>(p, n, QST_SS_ROWS, x.data(), nullptr);
  x[1 * n + 3] = NAN;
  for (const int32_t form : {QST_SS_FULL, QST_SS_LOWER_PACKED, QST_SS_UPPER_PACKED})
    for (const uint64_t method : {QST_SS_METHOD_FAST, QST_SS_METHOD_1PASS}) {
      Task<double> task(p, n, QST_SS_ROWS, x.data(), nullptr, indices);
      Outputs<double> out(task, form);
      const uint64_t mask = QST_SS_MEAN | QST_SS_COVARIANCE | QST_SS_CORRELATION;
      ASSERT_EQ(_qstdSSBasic(task.task, mask, method, nullptr), 0);
      for (const auto& [code, bit] : kVectors)
        for (int i = 0; i < p; ++i) {
          if (code == QST_SS_ED_MEAN && indices[i] != 0) {
            EXPECT_NEAR(out[code][i], static_cast<double>(expected.at(code)[i]), 1e-14);
          } else {
            EXPECT_EQ(out[code][i], out.kUntouched) << code;
          }
        }
      for (int i = 0; i < p; ++i)
        for (int k = 0; k < p; ++k) {
          const double got = element(out[QST_SS_ED_CORRELATION], form, p, i, k);
          if (indices[i] != 0 && indices[k] != 0) {
            EXPECT_NEAR(got, static_cast<double>(expected.at(QST_SS_ED_CORRELATION)[i * p + k]), 1e-13);
          } else {
            EXPECT_EQ(got, out.kUntouched);
          }
        }
      for (const double v : out[QST_SS_ED_CROSS_PRODUCT]) EXPECT_EQ(v, out.kUntouched);
    }
}

// Each estimate alone, with only the arrays that it needs, and in two blocks: what it goes on from must be among them.
TEST(StatsBasic, each_estimate_alone_in_two_blocks) {
  const int p = 3, n = 50;
  const std::map<uint64_t, uint64_t> registered = {{QST_SS_KURTOSIS, 0x5F | QST_SS_KURTOSIS},
                                                   {QST_SS_SKEWNESS, 0x37 | QST_SS_SKEWNESS},
                                                   {QST_SS_VARIATION, 0x13 | QST_SS_VARIATION},
                                                   {QST_SS_CENTRAL_MOMENT_2, 0x13},
                                                   {QST_SS_CENTRAL_MOMENT_3, 0x27},
                                                   {QST_SS_CENTRAL_MOMENT_4, 0x4F},
                                                   {QST_SS_RAW_MOMENT_3, 0x4},
                                                   {QST_SS_RAW_SUM_4, QST_SS_RAW_SUM_4},
                                                   {QST_SS_SUM, QST_SS_SUM},
                                                   {QST_SS_CENTRAL_SUM_2, 0x3 | QST_SS_CENTRAL_SUM_2},
                                                   {QST_SS_COVARIANCE, 0x1 | QST_SS_COVARIANCE},
                                                   {QST_SS_CROSS_PRODUCT, 0x1 | QST_SS_CROSS_PRODUCT},
                                                   {QST_SS_CORRELATION, 0x1 | QST_SS_CORRELATION | QST_SS_COVARIANCE}};
  const auto x = dataset<double>(p, n, QST_SS_COLUMNS, sample_value);
  const Results expected = reference<double>(p, n, QST_SS_COLUMNS, x.data(), nullptr);
  for (const auto& [mask, arrays] : registered)
    for (const uint64_t method : kMethods) {
      Task<double> task(p, n, QST_SS_COLUMNS, x.data());
      Outputs<double> out(task, QST_SS_FULL, arrays);
      if (method == QST_SS_METHOD_FAST_GIVEN_MEAN && (arrays & QST_SS_MEAN) != 0)
        for (int i = 0; i < p; ++i) out[QST_SS_ED_MEAN][i] = static_cast<double>(expected.at(QST_SS_ED_MEAN)[i]);
      for (const int first : {0, 20}) {
        task.n = first == 0 ? 20 : 30;
        task.set(QST_SS_ED_OBSERVATIONS, x.data() + first * p);
        ASSERT_EQ(_qstdSSBasic(task.task, mask, method, nullptr), 0) << mask;
      }
      out.expect_near(expected, mask, 1e-11, "mask " + std::to_string(mask) + " method " + std::to_string(method));
    }
}

TEST(StatsBasic, finished_sums_give_the_same_moments_without_a_sweep) {
  const int p = 4, n = 60;
  const auto x = dataset<double>(p, n, QST_SS_ROWS, sample_value);
  std::vector<double> w(n);
  for (int j = 0; j < n; ++j) w[j] = 0.5 + uniform(j);
  for (const int32_t form : {QST_SS_FULL, QST_SS_LOWER_PACKED, QST_SS_UPPER_PACKED})
    for (const double* weights : {static_cast<const double*>(nullptr), static_cast<const double*>(w.data())}) {
      const Results expected = reference(p, n, QST_SS_ROWS, x.data(), weights);
      Task<double> task(p, n, QST_SS_ROWS, x.data(), weights);
      Outputs<double> out(task, form);
      ASSERT_EQ(_qstdSSBasic(task.task, kAllSums | QST_SS_CROSS_PRODUCT, QST_SS_METHOD_1PASS, nullptr), 0);
      const uint64_t finished = QST_SS_METHOD_SUMS_DONE | QST_SS_METHOD_CROSS_PRODUCT_DONE;
      ASSERT_EQ(_qstdSSBasic(task.task, kAllMoments | QST_SS_COVARIANCE | QST_SS_CORRELATION, finished, nullptr), 0);
      out.expect_near(expected, kAllMoments | kAllSums | kMatrices, 1e-12, "finished");
    }
}

// The least thing missing decides, in the stated order; the method comes first of all, the dataset last.
TEST(StatsBasic, checks_in_order) {
  const int p = 2, n = 20;
  const auto x = dataset<double>(p, n, QST_SS_ROWS, sample_value);
  std::vector<double> room(p * p);
  Task<double> task(p, n, QST_SS_ROWS, x.data());
  const auto status = [&](uint64_t mask, uint64_t method) { return _qstdSSBasic(task.task, mask, method, nullptr); };
  const uint64_t all = kAllMoments | kAllSums | kMatrices;
  EXPECT_EQ(_qstdSSBasic(nullptr, all, 1, nullptr), -4031);
  for (const uint64_t method : {0x0, 0x3, 0x102, 0x103, 0x4, 0x203}) EXPECT_EQ(status(all, method), -4029) << method;

  const struct {
    int64_t code;
    int32_t status;
  } order[] = {{7, -4006},  {8, -4007},  {9, -4008},  {10, -4009}, {11, -4010}, {12, -4011}, {13, -4012},
               {19, -4018}, {21, -4019}, {14, -4013}, {15, -4014}, {18, -4017}, {67, -4074}, {68, -4075},
               {69, -4076}, {70, -4077}, {71, -4078}, {72, -4079}, {73, -4080}, {74, -4081}};
  for (const auto& step : order) {
    EXPECT_EQ(status(all, 1), step.status);
    EXPECT_EQ(status(all, 2), step.status);
    task.set(step.code, room);
  }
  // Sums can't come from finished sums.
  for (int bit = 25; bit <= 32; ++bit) EXPECT_EQ(status(uint64_t{1} << bit, QST_SS_METHOD_SUMS_DONE), -4029) << bit;
  EXPECT_EQ(status(QST_SS_MEAN, 0x202), 0);

  task.n = 0;
  EXPECT_EQ(status(QST_SS_MEAN, 2), -4002);
  EXPECT_EQ(status(QST_SS_MEAN, 0x202), -4002);
  task.n = n;
  task.storage = 4;
  EXPECT_EQ(status(QST_SS_MEAN, 2), -4003);
  task.storage = QST_SS_ROWS | QST_SS_COLUMNS | 1;
  EXPECT_EQ(status(QST_SS_MEAN, 2), 0);

  QstSSTask* bare = nullptr;
  const int32_t word = QST_SS_ROWS;
  ASSERT_EQ(__qstdSSNewTask(&bare, &task.p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), 0);
  __qstdSSEditMoments(bare, room.data(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  __qstdSSEditSums(bare, room.data(), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
  EXPECT_EQ(_qstdSSBasic(bare, QST_SS_MEAN, 2, nullptr), -4002);
  EXPECT_EQ(_qstdSSBasic(bare, QST_SS_MEAN, QST_SS_METHOD_SUMS_DONE, nullptr), -4020);
  __qstiSSEditTask(bare, 2, &task.n);
  EXPECT_EQ(_qstdSSBasic(bare, QST_SS_MEAN, 2, nullptr), -4032);
  EXPECT_EQ(_qstdSSBasic(bare, QST_SS_MEAN, QST_SS_METHOD_SUMS_DONE, nullptr), 0);
  __qstdSSEditTask(bare, 3, x.data());
  EXPECT_EQ(_qstdSSBasic(bare, QST_SS_MEAN, 2, nullptr), -4044);
  __qstiSSEditTask(bare, 4, &word);
  EXPECT_EQ(_qstdSSBasic(bare, QST_SS_MEAN, 2, nullptr), 0);
  __qstdSSEditTask(bare, 6, x.data());
  EXPECT_EQ(_qstdSSBasic(bare, QST_SS_MEAN, QST_SS_METHOD_SUMS_DONE, nullptr), -4020);
  __qstSSDeleteTask(&bare);
}

TEST(StatsBasic, one_observation_and_all_zero_weights) {
  const double x[4] = {3, 5, 7, 9}, zeros[4] = {};
  std::vector<double> mean(1, -1), raw(1), variance(1), pair(2);
  for (const double* weights : {static_cast<const double*>(nullptr), static_cast<const double*>(zeros)}) {
    Task<double> task(1, weights != nullptr ? 4 : 1, QST_SS_COLUMNS, x, weights);
    task.set(QST_SS_ED_MEAN, mean);
    task.set(QST_SS_ED_RAW_MOMENT_2, raw);
    task.set(QST_SS_ED_CENTRAL_MOMENT_2, variance);
    task.set(QST_SS_ED_ACCUM_WEIGHT, pair);
    pair = {0, 0};
    ASSERT_EQ(_qstdSSBasic(task.task, QST_SS_MEAN | QST_SS_CENTRAL_MOMENT_2, QST_SS_METHOD_1PASS, nullptr), 0);
    EXPECT_EQ(pair[0], weights != nullptr ? 0 : 1);
    EXPECT_EQ(mean[0], weights != nullptr ? 0 : 3);
    EXPECT_TRUE(std::isnan(variance[0]));  // 0 / 0: nothing guards the divisor
  }
}

// A given mean is an input: it is never written, and sums are taken about it.
TEST(StatsBasic, given_mean_is_kept_and_followed) {
  const int n = 40;
  const auto x = dataset<double>(1, n, QST_SS_ROWS, sample_value);
  std::vector<double> mean = {2}, sum(1), s2(1), s4(1), pair(2);
  Task<double> task(1, n, QST_SS_ROWS, x.data());
  task.set(QST_SS_ED_MEAN, mean);
  task.set(QST_SS_ED_SUM, sum);
  task.set(QST_SS_ED_CENTRAL_SUM_2, s2);
  task.set(QST_SS_ED_CENTRAL_SUM_4, s4);
  task.set(QST_SS_ED_ACCUM_WEIGHT, pair);
  const uint64_t mask = QST_SS_MEAN | QST_SS_SUM | QST_SS_CENTRAL_SUM_2 | QST_SS_CENTRAL_SUM_4;
  ASSERT_EQ(_qstdSSBasic(task.task, mask, QST_SS_METHOD_FAST_GIVEN_MEAN, nullptr), 0);
  long double e2 = 0, e4 = 0;
  for (const double v : x) {
    e2 += (v - 2) * (v - 2);
    e4 += (v - 2) * (v - 2) * (v - 2) * (v - 2);
  }
  EXPECT_EQ(mean[0], 2);
  EXPECT_EQ(sum[0], 2 * n);
  EXPECT_NEAR(s2[0], static_cast<double>(e2), 1e-13 * static_cast<double>(e2));
  EXPECT_NEAR(s4[0], static_cast<double>(e4), 1e-13 * static_cast<double>(e4));
}

// The real threader: the same bits from run to run, whatever order the threads end in.
TEST(StatsBasic, threaded_runs_repeat_bit_for_bit) {
  const int p = 6, n = 20000;
  const auto x = dataset<double>(p, n, QST_SS_COLUMNS, sample_value);
  const int before = qlx_serv_set_num_threads_limit(4);
  for (const uint64_t method : kMethods) {
    std::vector<std::vector<double>> runs;
    for (int run = 0; run < 5; ++run) {
      Task<double> task(p, n, QST_SS_COLUMNS, x.data());
      Outputs<double> out(task, QST_SS_FULL);
      out[QST_SS_ED_MEAN].assign(p, 1);
      ASSERT_EQ(_qstdSSBasic(task.task, kAllMoments | kMatrices, method, qlx_serv_thread_table()), 0);
      std::vector<double> all;
      for (const auto& [code, array] : out.arrays) all.insert(all.end(), array.begin(), array.end());
      runs.push_back(all);
    }
    for (const auto& run : runs) EXPECT_EQ(run, runs[0]);
  }
  qlx_serv_set_num_threads_limit(before);
}

}  // namespace
