// Shares work among the threads that the caller's services offer.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "qlx/core.h"

namespace qlx::fitting {

inline int32_t thread_count(const QlxThreadTable* services) {
  if (services == nullptr) return 1;
  const int count = services->threader_get_num_threads_limit();
  return count < 1 ? 1 : count;
}

// Calls body(0) to body(tasks - 1), at once where the services allow it. `body` returns nothing and shares no output
// between tasks.
template <class Body>
void run_tasks(const QlxThreadTable* services, int tasks, const Body& body) {
  if (tasks > 1 && services != nullptr) {
    services->threader_for(tasks, 0, const_cast<Body*>(&body),
                           [](int task, void* context) { (*static_cast<const Body*>(context))(task); });
    return;
  }
  for (int task = 0; task < tasks; ++task) body(task);
}

// Calls body(first, count) for slices that cover `total` sites: one slice up to 3000 sites, where starting threads
// costs more than it gains; else total / threads (truncated) for each thread and the remainder for the calling thread.
// `body` returns a status; the first failing slice, in the order of sites, decides.
template <class Body>
int32_t run_slices(const QlxThreadTable* services, int64_t total, const Body& body) {
  constexpr int64_t kWorthThreads = 3000;
  constexpr int kMaxThreads = 1024;
  int threads = total > kWorthThreads ? thread_count(services) : 1;
  if (threads == 1) return body(int64_t{0}, total);
  if (threads > kMaxThreads) threads = kMaxThreads;

  const int64_t share = total / threads;
  int32_t statuses[kMaxThreads];
  const auto slice = [&](int task) { statuses[task] = body(task * share, share); };
  run_tasks(services, threads, slice);
  for (int task = 0; task < threads; ++task) {
    if (statuses[task] != 0) return statuses[task];
  }
  const int64_t done = threads * share;
  return done < total ? body(done, total - done) : 0;
}

}  // namespace qlx::fitting
