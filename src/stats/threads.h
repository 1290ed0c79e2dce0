// Running workers through the table of threading functions that a compute entry receives.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_STATS_THREADS_H
#define QLX_STATS_THREADS_H

#include <cstdint>

#include "qlx/core.h"

namespace qlx::stats {

inline int64_t thread_limit(const QlxThreadTable* table) {
  const int limit = table != nullptr ? table->threader_get_num_threads_limit() : 1;
  return limit > 1 ? limit : 1;
}

// Runs worker(0) to worker(count - 1); a single one on the caller's thread, without the threader.
template <class Worker>
void run_workers(const QlxThreadTable* table, int64_t count, Worker& worker) {
  if (count <= 1 || table == nullptr) {
    for (int64_t index = 0; index < count; ++index) worker(static_cast<int>(index));
    return;
  }
  table->threader_for(static_cast<int>(count), 0, &worker,
                      [](int index, void* context) { (*static_cast<Worker*>(context))(index); });
}

// Start of part `index` when `count` things are dealt to `parts` as evenly as they go.
inline int64_t part_start(int64_t count, int64_t parts, int64_t index) {
  const int64_t share = count / parts, rest = count % parts;
  return index * share + (index < rest ? index : rest);
}

}  // namespace qlx::stats

#endif
