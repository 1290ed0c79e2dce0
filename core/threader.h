// What the two threaders share: the limit, the mark of a task, and the run of tasks on one thread.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cfenv>

#include "qlx/core.h"

namespace qlx::core {

// True while this thread runs a task. Parallel calls from such a thread stay on it.
bool inside_task();

// Marks this thread as running tasks for the lifetime of the object; nests.
class TaskMark {
 public:
  TaskMark();
  ~TaskMark();
  TaskMark(const TaskMark&) = delete;
  TaskMark& operator=(const TaskMark&) = delete;

 private:
  bool outer_;
};

// Gives a worker the floating-point control of the thread that asked for the work, so that a result can't depend on
// which thread computed it; the worker's own returns at the end.
class FloatingControl {
 public:
  explicit FloatingControl(const std::fenv_t& callers) {
    std::fegetenv(&own_);
    std::fesetenv(&callers);
  }
  ~FloatingControl() { std::fesetenv(&own_); }
  FloatingControl(const FloatingControl&) = delete;
  FloatingControl& operator=(const FloatingControl&) = delete;

 private:
  std::fenv_t own_;
};

// The limit of the process, whatever thread asks.
int process_thread_limit();

// The limit for this thread: 1 inside a task.
int thread_limit();

}  // namespace qlx::core
