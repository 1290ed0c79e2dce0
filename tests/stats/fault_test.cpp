// Memory: every allocation of every entry fails once, nothing leaks, and streaming buffers grow as published.
// SPDX-License-Identifier: Apache-2.0
//
// This program's own qlx_serv_allocate and qlx_serv_deallocate take the place of the core library's.
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "stats/order/weighted_median.h"
#include "stats/task.h"

namespace {

std::atomic<long> live_blocks{0}, live_bytes{0}, calls{0};
std::atomic<long> failing_call{-1};

constexpr size_t kHeader = 128;  // keeps the alignment and holds the size

}  // namespace

extern "C" __attribute__((visibility("default"))) void* qlx_serv_allocate(size_t size, size_t alignment) {
  if (calls++ == failing_call) return nullptr;
  void* block = nullptr;
  if (alignment > kHeader || posix_memalign(&block, kHeader, size + kHeader) != 0) return nullptr;
  *static_cast<size_t*>(block) = size;
  ++live_blocks;
  live_bytes += static_cast<long>(size);
  return static_cast<char*>(block) + kHeader;
}

extern "C" __attribute__((visibility("default"))) void qlx_serv_deallocate(void* block) {
  if (block == nullptr) return;
  void* const start = static_cast<char*>(block) - kHeader;
  --live_blocks;
  live_bytes -= static_cast<long>(*static_cast<size_t*>(start));
  std::free(start);
}

namespace {

using namespace stats_test;

// Runs `use` on a fresh task with call 0, 1, 2, ... failing, until a run meets no failure. Each run with a failure must
// say so and leave nothing behind, and the task must delete.
void expect_every_failure_reported(const std::string& name, int p, int n, int32_t storage, bool weighted,
                                   const std::function<int32_t(Task<double>&)>& use) {
  const auto x = dataset<double>(p, n, storage, [](int i, int j) { return uniform(i + 131 * j); });
  const std::vector<double> w(n, 0.5);
  for (long k = 0;; ++k) {
    ASSERT_LT(k, 1000) << name;
    const long before = live_blocks;
    int32_t status;
    bool failed;
    {
      Task<double> task(p, n, storage, x.data(), weighted ? w.data() : nullptr);
      calls = 0;
      failing_call = k;
      status = use(task);
      failed = calls > k;
      failing_call = -1;
    }
    EXPECT_EQ(live_blocks, before) << name << " call " << k;
    if (!failed) {
      EXPECT_EQ(status, 0) << name;
      EXPECT_GT(k, 0) << name << " allocates nothing";
      return;
    }
    EXPECT_EQ(status, QST_SS_ERROR_MEMORY) << name << " call " << k;
  }
}

TEST(StatsFaults, every_allocation_of_every_entry) {
  const int p = 5, n = 5000;
  std::vector<double> vectors[20], matrices[3], sorted(p * n);
  for (auto& v : vectors) v.assign(p, 1);
  for (auto& m : matrices) m.assign(p * p, 1);
  const int32_t packed = QST_SS_LOWER_PACKED, rows = QST_SS_ROWS, one = 1;
  const double order[1] = {0.5}, epsilon = 0.01;
  const auto register_all = [&](Task<double>& t) {
    int next = 0;
    for (int64_t code = QST_SS_ED_MEAN; code <= QST_SS_ED_VARIATION; ++code) t.set(code, vectors[next++]);
    t.set(QST_SS_ED_COVARIANCE, matrices[0]);
    t.set(QST_SS_ED_CORRELATION, matrices[1]);
    t.set(QST_SS_ED_CROSS_PRODUCT, matrices[2]);
    t.set_integer(QST_SS_ED_CROSS_PRODUCT_STORAGE, packed);
  };
  const uint64_t mask = 0x3FF | QST_SS_COVARIANCE | QST_SS_CORRELATION | QST_SS_CROSS_PRODUCT;
  for (const uint64_t method : {QST_SS_METHOD_FAST, QST_SS_METHOD_1PASS, QST_SS_METHOD_FAST_GIVEN_MEAN})
    for (const bool weighted : {false, true})
      expect_every_failure_reported("basic " + std::to_string(method), p, n, QST_SS_COLUMNS, weighted,
                                    [&](Task<double>& t) {
                                      register_all(t);
                                      return _qstdSSBasic(t.task, mask, method, fake_threads<3>());
                                    });
  expect_every_failure_reported("finished", p, n, QST_SS_ROWS, false, [&](Task<double>& t) {
    register_all(t);
    return _qstdSSBasic(t.task, QST_SS_COVARIANCE | QST_SS_CORRELATION, QST_SS_METHOD_CROSS_PRODUCT_DONE, nullptr);
  });
  for (const int32_t word : {QST_SS_ROWS, QST_SS_COLUMNS})
    expect_every_failure_reported("minmax", p, n, word, false, [&](Task<double>& t) {
      register_all(t);
      return _qstdSSMinmax(t.task, QST_SS_MINIMUM, QST_SS_METHOD_FAST, nullptr);
    });
  expect_every_failure_reported("quantiles", p, n, QST_SS_ROWS, false, [&](Task<double>& t) {
    t.set(QST_SS_ED_QUANTILES, vectors[0]);
    t.set(QST_SS_ED_QUANTILE_ORDERS, order);
    t.set_integer(QST_SS_ED_QUANTILE_ORDER_COUNT, one);
    return _qstdSSQuantiles(t.task, QST_SS_QUANTILES, QST_SS_METHOD_FAST, fake_threads<2>());
  });
  expect_every_failure_reported("sort", p, n, QST_SS_COLUMNS, false, [&](Task<double>& t) {
    t.set(QST_SS_ED_SORTED_OBSERVATIONS, sorted);
    t.set_integer(QST_SS_ED_SORTED_OBSERVATIONS_STORAGE, rows);
    return _qstdSSSort(t.task, 0, QST_SS_METHOD_SORT, fake_threads<2>());
  });
  expect_every_failure_reported("stream", p, n, QST_SS_COLUMNS, false, [&](Task<double>& t) {
    __qstdSSEditStreamQuantiles(t.task, &one, order, vectors[0].data(), &one, &epsilon);
    return _qstdSSStreamQuantiles(t.task, 0, QST_SS_METHOD_STREAM_QUANTILES, nullptr);
  });
  expect_every_failure_reported("weighted median", p, n, QST_SS_ROWS, true, [&](Task<double>& t) {
    t.set(QST_SS_ED_QUANTILES, vectors[0]);
    t.set(QST_SS_ED_QUANTILE_ORDERS, order);
    return _qstdSSWMedian(t.task);
  });
}

TEST(StatsFaults, constructor_without_memory_leaves_null) {
  const int32_t p = 1;
  QstSSTask* task = reinterpret_cast<QstSSTask*>(&task);
  calls = 0;
  failing_call = 0;
  EXPECT_EQ(__qstdSSNewTask(&task, &p, nullptr, nullptr, nullptr, nullptr, nullptr, 0), -4000);
  failing_call = -1;
  EXPECT_EQ(task, nullptr);
}

// A task stays good after a failure in the middle of a stream: it takes more data, answers and deletes.
TEST(StatsFaults, stream_goes_on_after_a_failure) {
  const double order[1] = {0.5}, epsilon = 0.1;
  const int32_t one = 1;
  double answer[1];
  std::vector<double> x(200);
  for (size_t j = 0; j < x.size(); ++j) x[j] = static_cast<double>(j % 2);
  Task<double> t(1, 200, QST_SS_ROWS, x.data());
  __qstdSSEditStreamQuantiles(t.task, &one, order, answer, &one, &epsilon);
  for (long k = 1; k < 12; ++k) {
    calls = 0;
    failing_call = k;
    const int32_t status = _qstdSSStreamQuantiles(t.task, 0, QST_SS_METHOD_STREAM_QUANTILES, nullptr);
    failing_call = -1;
    EXPECT_TRUE(status == 0 || status == -4000);
    EXPECT_EQ(_qstdSSStreamQuantiles(t.task, 0, QST_SS_METHOD_STREAM_QUANTILES, nullptr), 0);
    EXPECT_TRUE(answer[0] == 0 || answer[0] == 1);
  }
}

// Bytes held after n values, against log2(epsilon n)^2 / epsilon entries of a value and two bounds.
TEST(StatsFaults, stream_memory_grows_as_published) {
  for (const double epsilon : {0.1, 0.01, 0.001}) {
    const double order[1] = {0.5};
    const int32_t one = 1;
    double answer[1];
    std::vector<double> x(100000);
    for (size_t j = 0; j < x.size(); ++j) x[j] = uniform(j);
    const long before = live_bytes;
    Task<double> t(1, 100000, QST_SS_ROWS, x.data());
    __qstdSSEditStreamQuantiles(t.task, &one, order, answer, &one, &epsilon);
    for (int block = 1; block <= 20; ++block) {
      ASSERT_EQ(_qstdSSStreamQuantiles(t.task, 0, QST_SS_METHOD_STREAM_TAKE_IN, nullptr), 0);
      const double g = std::log2(epsilon * 1e5 * block), entry = sizeof(double) + 2 * sizeof(int32_t);
      const double published = g * g / epsilon * entry;
      const double held = static_cast<double>(live_bytes - before);
      EXPECT_LT(held, 2 * published + 4096) << epsilon << ' ' << block;
      if (block == 20)
        printf("epsilon %.3f, 2e6 values: %.0f bytes, %.2f of log2(epsilon n)^2 / epsilon\n", epsilon, held,
               held / published);
    }
  }
}

}  // namespace
