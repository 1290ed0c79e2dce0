// The threader: every task once, never more threads than the limit, order inside a task, and where the limit comes
// from. SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <atomic>
#include <cfenv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <numeric>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "qlx/core.h"

namespace {

// A limit for the length of a test.
class Limit {
 public:
  explicit Limit(int limit) { qlx_serv_set_num_threads_limit(limit); }
  ~Limit() { qlx_serv_set_num_threads_limit(0); }
};

// threader_for over a callable.
template <class Work>
int run(int tasks, Work work) {
  return qlx_qst_serv_threader_for(tasks, 0, &work,
                                   [](int task, void* context) { (*static_cast<Work*>(context))(task); });
}

}  // namespace

TEST(threader, runs_every_task_once_within_the_limit) {
  for (int limit : {1, 2, 3, 8}) {
    Limit held(limit);
    ASSERT_EQ(qlx_qst_serv_threader_get_num_threads_limit(), limit);
    for (int tasks : {-1, 0, 1, 2, 7, 1000}) {
      std::vector<std::atomic<int>> runs(tasks > 0 ? tasks : 0);
      std::atomic<int> running{0}, most{0};
      EXPECT_EQ(run(tasks,
                    [&](int task) {
                      const int now = ++running;
                      int seen = most;
                      while (seen < now && !most.compare_exchange_weak(seen, now)) {
                      }
                      ++runs[task];
                      --running;
                    }),
                0);
      for (const auto& count : runs) EXPECT_EQ(count, 1);
      EXPECT_LE(most, limit);
    }
  }
}

TEST(threader, uses_several_threads) {
  Limit held(3);
  std::mutex mutex;
  std::set<std::thread::id> ids;
  // Each task waits until three have started, so one thread can't run two: a threader that doesn't share runs out of
  // time and shows a smaller set.
  std::atomic<int> started{0};
  run(3, [&](int) {
    ++started;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (started < 3 && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
    std::lock_guard guard(mutex);
    ids.insert(std::this_thread::get_id());
  });
  EXPECT_EQ(ids.size(), 3u);
  EXPECT_EQ(ids.count(std::this_thread::get_id()), 1u);
}

TEST(threader, runs_nested_tasks_in_order_on_the_task_s_thread) {
  for (int limit : {1, 4}) {
    Limit held(limit);
    std::vector<std::vector<int>> orders(4);
    run(4, [&](int outer) {
      EXPECT_EQ(qlx_qst_serv_threader_get_num_threads_limit(), 1);
      const auto thread = std::this_thread::get_id();
      run(50, [&](int inner) {
        EXPECT_EQ(std::this_thread::get_id(), thread);
        orders[outer].push_back(inner);
      });
      EXPECT_EQ(qlx_qst_serv_threader_get_num_threads_limit(), 1) << "a nested run has ended, the task has not";
    });
    std::vector<int> in_order(50);
    std::iota(in_order.begin(), in_order.end(), 0);
    for (const auto& order : orders) EXPECT_EQ(order, in_order);
    EXPECT_EQ(qlx_qst_serv_threader_get_num_threads_limit(), limit);
  }
}

TEST(threader, serves_several_callers_at_once) {
  Limit held(2);
  std::atomic<int> sum{0};
  std::vector<std::thread> callers;
  for (int i = 0; i < 4; ++i) {
    callers.emplace_back([&] {
      for (int round = 0; round < 50; ++round) run(10, [&](int task) { sum += task; });
    });
  }
  for (std::thread& caller : callers) caller.join();
  EXPECT_EQ(sum, 4 * 50 * 45);
}

TEST(threader, tasks_run_under_the_caller_s_floating_point_control) {
  constexpr unsigned kFlushDenormals = 0x8040;  // both bits of the control register
  Limit held(3);
  std::atomic<int> rounds_up{0}, flushes{0};
  const auto look = [&](int) {
    rounds_up += std::fegetround() == FE_UPWARD;
    flushes += (_mm_getcsr() & kFlushDenormals) == kFlushDenormals;
  };
  const unsigned own = _mm_getcsr();
  std::fesetround(FE_UPWARD);
  _mm_setcsr(_mm_getcsr() | kFlushDenormals);
  run(30, look);
  std::fesetround(FE_TONEAREST);
  _mm_setcsr(own);
  EXPECT_EQ(rounds_up, 30);
  EXPECT_EQ(flushes, 30);
  run(30, look);
  EXPECT_EQ(rounds_up + flushes, 60) << "a worker kept what an earlier caller had";
}

TEST(threader, set_limit_returns_the_one_before_and_clamps) {
  const int own = qlx_serv_set_num_threads_limit(5);
  EXPECT_GE(own, 1);
  EXPECT_EQ(qlx_serv_set_num_threads_limit(5000), 5);
  EXPECT_EQ(qlx_serv_set_num_threads_limit(-1), 1024);
  EXPECT_EQ(qlx_serv_set_num_threads_limit(0), own);
  EXPECT_EQ(qlx_qst_serv_threader_get_num_threads_limit(), own);
}

TEST(threader, functions_are_found_by_name_and_in_the_table) {
  EXPECT_EQ(qlx_serv_load_thread_fun("qlx_qst_serv_threader_for"),
            reinterpret_cast<QlxAnyFunction>(qlx_qst_serv_threader_for));
  EXPECT_EQ(qlx_serv_load_thread_fun("qlx_qst_serv_threader_get_num_threads_limit"),
            reinterpret_cast<QlxAnyFunction>(qlx_qst_serv_threader_get_num_threads_limit));
  EXPECT_EQ(qlx_serv_load_thread_fun("qlx_qst_serv_threader"), nullptr);
  EXPECT_EQ(qlx_serv_load_thread_fun(nullptr), nullptr);
  EXPECT_EQ(qlx_serv_thread_table()->threader_for, qlx_qst_serv_threader_for);
  EXPECT_EQ(qlx_serv_thread_table()->threader_get_num_threads_limit, qlx_qst_serv_threader_get_num_threads_limit);
}

// Run by ctest with a value of QLX_NUM_THREADS and what it should give; "own" stands for the processors.
TEST(DISABLED_threader, limit_of_environment) {
  const char* expected = std::getenv("QLX_TEST_EXPECTED_LIMIT");
  ASSERT_NE(expected, nullptr);
  const unsigned limit = std::strcmp(expected, "own") == 0 ? std::thread::hardware_concurrency() : std::stoi(expected);
  EXPECT_EQ(static_cast<unsigned>(qlx_qst_serv_threader_get_num_threads_limit()), limit);
  EXPECT_EQ(qlx_serv_set_num_threads_limit(7), static_cast<int>(limit));
  EXPECT_EQ(qlx_qst_serv_threader_get_num_threads_limit(), 7);
}
