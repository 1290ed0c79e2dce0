// What the two threaders share: the limit, the mark of a task, and the run of tasks on one thread.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <xmmintrin.h>  // the vector unit's control register

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

// A thread's floating-point control: rounding, masks, and how denormals are taken.
class FloatingControl {
 public:
  static FloatingControl of_this_thread() {
    FloatingControl control;
    std::fegetenv(&control.environment_);
    // On 32 bits the C library's record leaves this register's denormal bits out.
    control.mxcsr_ = _mm_getcsr();
    return control;
  }
  void apply() const {
    std::fesetenv(&environment_);
    _mm_setcsr(mxcsr_);
  }

 private:
  std::fenv_t environment_;
  unsigned mxcsr_;
};

// Gives a worker the control of the thread that asked for the work, so that a result can't depend on which thread
// computed it; the worker's own returns at the end.
class BorrowedControl {
 public:
  explicit BorrowedControl(const FloatingControl& callers) : own_(FloatingControl::of_this_thread()) {
    callers.apply();
  }
  ~BorrowedControl() { own_.apply(); }
  BorrowedControl(const BorrowedControl&) = delete;
  BorrowedControl& operator=(const BorrowedControl&) = delete;

 private:
  FloatingControl own_;
};

// The limit of the process, whatever thread asks.
int process_thread_limit();

// The limit for this thread: 1 inside a task.
int thread_limit();

}  // namespace qlx::core
