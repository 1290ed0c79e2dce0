// The kernel frame's chief header: per-thread state, mode, and the report of an element. Kernels need shell.h, which
// includes this.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cfloat>  // FLT_EVAL_METHOD
#include <cstddef>
#include <cstdint>

#include "qlx/qvm.h"

// Kernels count on each operation rounding to its own type.
static_assert(FLT_EVAL_METHOD == 0, "build with SSE arithmetic");

namespace qlx {

// The element report crosses the interface: its members lie at the same places on every target.
static_assert(offsetof(QvmElementReport, code) == 0 && offsetof(QvmElementReport, index) == 4 &&
              offsetof(QvmElementReport, arg1) == 8 && offsetof(QvmElementReport, arg2) == 16 &&
              offsetof(QvmElementReport, res1) == 24 && offsetof(QvmElementReport, res2) == 32 &&
              offsetof(QvmElementReport, func_name) == 40 && offsetof(QvmElementReport, func_name_len) == 104 &&
              offsetof(QvmElementReport, arg1_im) == 112 && offsetof(QvmElementReport, arg2_im) == 120 &&
              offsetof(QvmElementReport, res1_im) == 128 && offsetof(QvmElementReport, res2_im) == 136 &&
              sizeof(QvmElementReport) == 144);

// A thread's record. All of it is cleared at creation; mode 0 means that the environment has not been read yet.
struct QvmThreadState {
  uint32_t mode;
  int32_t status;
  QvmErrorCallback callback;
  uint32_t reserved[2];
  const void* interf_input_vector;
};

// The calling thread's record, made at first use. When it can't be had, prints id 773 and exits with 3.
QvmThreadState& thread_state();

// Status that a callout returns: 0, or what it asks to be reported.
enum Status : int32_t {
  kOk = qvm_status_ok,
  kBadSize = qvm_status_bad_size,
  kBadMemory = qvm_status_bad_memory,
  kDomain = qvm_status_domain,
  kPole = qvm_status_pole,
  kOverflow = qvm_status_overflow,
  kUnderflow = qvm_status_underflow
};

// An array as a report sees it. A unit-stride array has stride 1, a scalar argument stride 0.
template <class Element>
struct View {
  Element* base;
  std::ptrdiff_t stride;
  Element& operator[](std::ptrdiff_t i) const { return base[i * stride]; }
};

// Reports the element `index` by the thread's mode: status, callback, errno, stderr, floating-point exception, and
// stores what a callback made of the results. A function of one argument (result) passes its array twice.
// Instantiated for float, double, QvmComplexFloat and QvmComplexDouble.
template <class Element>
void report(Status status, int32_t index, View<const Element> arg1, View<const Element> arg2, View<Element> res1,
            View<Element> res2, const char* name);

// What a report does beyond status and callback, by the bits of the mode's error group.
void dispatch(const QvmElementReport& record, uint32_t mode);

}  // namespace qlx
