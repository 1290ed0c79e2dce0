// Which linear algebra calls start threads: plain forms up to the limit, `x` forms and calls from tasks never.
// SPDX-License-Identifier: Apache-2.0
//
// Counts the process's threads, so it is a program of its own, whose steps build on each other.
#include <dirent.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "qlx/core.h"

namespace {

// Work far above what any road does on one thread for its size's sake.
constexpr int kOrder = 700;

int process_threads() {
  int count = 0;
  DIR* tasks = opendir("/proc/self/task");
  while (const dirent* entry = readdir(tasks)) count += entry->d_name[0] != '.';
  closedir(tasks);
  return count;
}

struct Operands {
  std::vector<double> a = std::vector<double>(kOrder * kOrder, 1e-3), c = a;
  const double one = 1;
  const int n = kOrder;

  void plain() {
    qlx_blas_dgemm("N", "T", &n, &n, &n, &one, a.data(), &n, a.data(), &n, &one, c.data(), &n);
    qlx_blas_dsyrk("U", "N", &n, &n, &one, a.data(), &n, &one, c.data(), &n);
    qlx_blas_dgemv("N", &n, &n, &one, a.data(), &n, a.data(), &k1, &one, c.data(), &k1);
    for (int i = 0; i < n; ++i) c[i * (n + 1)] = 4 * n;
    int info;
    qlx_lapack_dpotrf("U", &n, c.data(), &n, &info);
    qlx_lapack_dpotri("U", &n, c.data(), &n, &info);
  }
  void for_workers() {
    qlx_blas_xdgemm("N", "T", &n, &n, &n, &one, a.data(), &n, a.data(), &n, &one, c.data(), &n);
    qlx_blas_xdsyrk("U", "N", &n, &n, &one, a.data(), &n, &one, c.data(), &n);
    qlx_blas_xdtrmm_4qvm("L", "U", "T", "N", &n, &n, &one, a.data(), &n, c.data(), &n);
  }
  const int k1 = 1;
};

}  // namespace

TEST(linalg_threads, start_in_plain_calls_outside_tasks_alone) {
  Operands operands;
  std::thread([] {}).join();  // brings what a sanitizer starts along with the first thread
  const int at_start = process_threads();

  qlx_serv_set_num_threads_limit(4);
  operands.for_workers();
  EXPECT_EQ(process_threads(), at_start) << "an x form started threads";

  qlx_serv_set_num_threads_limit(1);
  operands.plain();
  EXPECT_EQ(process_threads(), at_start) << "a plain form passed a limit of 1";

  qlx_serv_set_num_threads_limit(4);
  int dummy = 0;
  qlx_qst_serv_threader_for(1, 0, &dummy, [](int, void*) { Operands().plain(); });
  EXPECT_EQ(process_threads(), at_start) << "a plain form inside a task started threads";

  const int three = 3;
  qlx_serv_set_num_threads_limit(three);
  operands.plain();
  EXPECT_EQ(process_threads(), at_start + QLX_TEST_PLAIN_FORMS_THREAD * (three - 1));

  // A task on a helper's thread, too, stays alone.
  std::atomic<int> most{0};
  qlx_qst_serv_threader_for(three, 0, &most, [](int, void* context) {
    Operands().plain();
    Operands().for_workers();
    auto& highest = *static_cast<std::atomic<int>*>(context);
    const int now = process_threads();
    int seen = highest;
    while (seen < now && !highest.compare_exchange_weak(seen, now)) {
    }
  });
  EXPECT_LE(most, at_start + three - 1);
}

TEST(linalg_threads, several_callers_at_once_get_right_results) {
  qlx_serv_set_num_threads_limit(2);
  std::atomic<int> wrong{0};
  std::vector<std::thread> callers;
  for (int caller = 0; caller < 3; ++caller) {
    callers.emplace_back([&wrong, caller] {
      // Orders on both sides of the threaded road, different in each caller.
      for (int n : {20 + caller, 150 + caller}) {
        const std::vector<double> ones(n * n, 1);
        const double alpha = 1, beta = 0;
        for (int round = 0; round < 20; ++round) {
          std::vector<double> c(n * n);
          qlx_blas_dgemm("N", "N", &n, &n, &n, &alpha, ones.data(), &n, ones.data(), &n, &beta, c.data(), &n);
          for (double value : c) wrong += value != n;
        }
      }
    });
  }
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(wrong, 0);
}
