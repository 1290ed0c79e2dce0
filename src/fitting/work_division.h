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

// ---- Construction ------------------------------------------------------------------------------------------------

// Cells go in chunks of 2048 and functions in groups of 4, so that a worker's inputs and outputs stay in its caches; an
// item is one chunk of one group.
struct Division {
  int64_t n, functions;
  int64_t chunks, groups;
  int workers;
};

constexpr int64_t kChunkCells = 2048;
constexpr int64_t kLastChunkCells = kChunkCells + 4;  // chunks count n - 5 cells; the last one takes what is left
constexpr int64_t kGroupFunctions = 4;

inline Division divide_work(int64_t n, int64_t functions, const QlxThreadTable* services) {
  constexpr int64_t kWorthThreads = 512;  // values below which the calling thread does everything
  Division division{n, functions, (n - 5) / kChunkCells, (functions + kGroupFunctions - 1) / kGroupFunctions, 1};
  if (division.chunks * kChunkCells < n - 5 || division.chunks < 1) ++division.chunks;
  const int64_t items = division.chunks * division.groups;
  if (n * functions >= kWorthThreads && items > 1) {
    const int64_t threads = thread_count(services);
    division.workers = static_cast<int>(threads < items ? threads : items);
  }
  return division;
}

// For kinds whose cells depend on each other: groups of functions, all cells together.
inline Division divide_functions(int64_t n, int64_t functions, const QlxThreadTable* services) {
  Division division = divide_work(n, functions, services);
  division.chunks = 1;
  if (division.workers > division.groups) division.workers = static_cast<int>(division.groups);
  return division;
}

// A range of cells of a range of functions.
struct Item {
  int64_t first_cell, end_cell;
  int64_t first_function, end_function;
};

// Calls body(worker, item) for every item; a worker's items run one after another on one thread.
template <class Body>
void run_items(const QlxThreadTable* services, const Division& division, const Body& body) {
  const int64_t items = division.chunks * division.groups;
  const auto worker = [&](int w) {
    for (int64_t i = items * w / division.workers; i < items * (w + 1) / division.workers; ++i) {
      const int64_t group = i / division.chunks, chunk = i % division.chunks;
      const int64_t end_function = (group + 1) * kGroupFunctions;
      body(w, Item{chunk * kChunkCells, chunk == division.chunks - 1 ? division.n - 1 : (chunk + 1) * kChunkCells,
                   group * kGroupFunctions, end_function < division.functions ? end_function : division.functions});
    }
  };
  run_tasks(services, division.workers, worker);
}

}  // namespace qlx::fitting
