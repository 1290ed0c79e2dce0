// Threads of the core library: the limit, the table, and the look-up by name. Who runs the tasks is a file of its own.
// SPDX-License-Identifier: Apache-2.0
#include "threader.h"

#include <atomic>
#include <charconv>
#include <cstring>
#include <thread>

#ifdef __linux__
#include <sched.h>
#endif

namespace qlx::core {
namespace {

constexpr int kHighestLimit = 1024;

thread_local bool running_task = false;

// 0: nothing is set, the environment's limit holds.
std::atomic<int> set_limit{0};

// Processors that the scheduler may give this process: a container or taskset often allows fewer than there are.
int usable_processors() {
#ifdef __linux__
  cpu_set_t allowed;
  if (sched_getaffinity(0, sizeof allowed, &allowed) == 0) return CPU_COUNT(&allowed);
    // Fails on machines with more processors than the set has bits; then all are counted.
#endif
  const unsigned all = std::thread::hardware_concurrency();
  return all == 0 ? 1 : static_cast<int>(all);
}

int environment_limit() {
  char text[32];
  const int length = qlx_serv_getenv("QLX_NUM_THREADS", text, sizeof text);
  int limit = 0;
  if (length > 0) {
    const auto [end, error] = std::from_chars(text, text + length, limit);
    const bool good = error == std::errc() && end == text + length && limit >= 1 && limit <= kHighestLimit;
    if (good) return limit;
  }
  const int processors = usable_processors();
  return processors < kHighestLimit ? processors : kHighestLimit;
}

}  // namespace

bool inside_task() {
  return running_task;
}

TaskMark::TaskMark() : outer_(running_task) {
  running_task = true;
}
TaskMark::~TaskMark() {
  running_task = outer_;
}

int process_thread_limit() {
  static const int environments = environment_limit();
  const int set = set_limit.load(std::memory_order_relaxed);
  return set > 0 ? set : environments;
}

}  // namespace qlx::core

int qlx_qst_serv_threader_get_num_threads_limit() {
  return qlx::core::thread_limit();
}

int qlx_serv_set_num_threads_limit(int limit) {
  using namespace qlx::core;
  const int before = process_thread_limit();
  set_limit.store(limit < 1 ? 0 : (limit < kHighestLimit ? limit : kHighestLimit), std::memory_order_relaxed);
  return before;
}

const QlxThreadTable* qlx_serv_thread_table() {
  static const QlxThreadTable table{qlx_qst_serv_threader_for, qlx_qst_serv_threader_get_num_threads_limit};
  return &table;
}

QlxAnyFunction qlx_serv_load_thread_fun(const char* name) {
  struct Row {
    const char* name;
    QlxAnyFunction function;
  };
  static const Row rows[] = {
      {"qlx_qst_serv_threader_for", reinterpret_cast<QlxAnyFunction>(qlx_qst_serv_threader_for)},
      {"qlx_qst_serv_threader_get_num_threads_limit",
       reinterpret_cast<QlxAnyFunction>(qlx_qst_serv_threader_get_num_threads_limit)},
      {"qlx_serv_set_num_threads_limit", reinterpret_cast<QlxAnyFunction>(qlx_serv_set_num_threads_limit)},
  };
  if (name == nullptr) return nullptr;
  for (const Row& row : rows) {
    if (std::strcmp(row.name, name) == 0) return row.function;
  }
  return nullptr;
}
