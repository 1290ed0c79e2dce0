// Runs tasks on threads of the C++ library, started for each call: for tools that can't see through OpenMP, and where
// there is no OpenMP.
// SPDX-License-Identifier: Apache-2.0
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

#include "threader.h"

namespace qlx::core {

int thread_limit() {
  return inside_task() ? 1 : process_thread_limit();
}

}  // namespace qlx::core

int qlx_qst_serv_threader_for(int tasks, int, void* context, QlxTaskFunction function) {
  using namespace qlx::core;
  const int limit = thread_limit();
  const int threads = tasks < limit ? tasks : limit;

  const FloatingControl callers = FloatingControl::of_this_thread();
  std::atomic<int> next{0};
  const auto work = [&] {
    TaskMark mark;
    BorrowedControl control(callers);
    for (int task = next++; task < tasks; task = next++) function(task, context);
  };

  std::vector<std::thread> helpers;
  // A helper that can't be had leaves its tasks to the others: the caller's thread always works too.
  try {
    for (int helper = 1; helper < threads; ++helper) helpers.emplace_back(work);
  } catch (const std::exception&) {
  }
  work();
  for (std::thread& helper : helpers) helper.join();
  return 0;
}
