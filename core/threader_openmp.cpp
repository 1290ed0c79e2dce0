// Runs tasks on OpenMP's threads.
// SPDX-License-Identifier: Apache-2.0
#include <omp.h>

#include "threader.h"

namespace qlx::core {

// A caller that is itself inside an active parallel region already keeps the processors busy.
int thread_limit() {
  return inside_task() || omp_in_parallel() ? 1 : process_thread_limit();
}

}  // namespace qlx::core

int qlx_qst_serv_threader_for(int tasks, int, void* context, QlxTaskFunction function) {
  using namespace qlx::core;
  const int limit = thread_limit();
  const int threads = tasks < limit ? tasks : limit;
  if (threads <= 1) {
    TaskMark mark;
    for (int task = 0; task < tasks; ++task) function(task, context);
    return 0;
  }
  const FloatingControl callers = FloatingControl::of_this_thread();
#pragma omp parallel num_threads(threads)
  {
    TaskMark mark;
    BorrowedControl control(callers);
    // Tasks differ in length (ragged last pieces, patterns of missing values), so a thread that is free takes the next.
#pragma omp for schedule(dynamic, 1)
    for (int task = 0; task < tasks; ++task) function(task, context);
  }
  return 0;
}
