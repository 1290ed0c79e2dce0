// A kernel's entry and exit: control words, and the one reading of the mode.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "frame/qvm_frame.h"
#include "platform/fpu.h"
#include "platform/thread_slot.h"

namespace qlx {

// What qlx_qvm_kernel_GetMode returns, without the call when the thread has its mode.
inline uint32_t current_mode() {
  const auto* state = static_cast<const QvmThreadState*>(platform::thread_slot());
  if (state != nullptr && state->mode != 0) [[likely]]
    return state->mode;
  return qlx_qvm_kernel_GetMode();
}

// The first step of a report: sets the status as the mode says, and tells whether more is to be done.
inline bool note_status(Status status) {
  const uint32_t error_mode = current_mode() & QVM_ERRMODE_MASK;
  if (error_mode == QVM_ERRMODE_NOERR) return false;
  static_cast<QvmThreadState*>(platform::thread_slot())->status = status;  // it has a mode, so it is there
  return error_mode != QVM_ERRMODE_IGNORE;
}

// While one lives, x87 exceptions are masked, and SSE arithmetic rounds to nearest with all exceptions masked and
// denormals as the mode says. Its end restores the caller's words and keeps the exception flags that were raised.
class ControlWords {
 public:
  ControlWords() {
    x87_ = platform::read_x87_control();
    if ((x87_ & platform::kFpuAllExceptions) != platform::kFpuAllExceptions) [[unlikely]] {
      platform::clear_x87_exceptions();
      platform::load_x87_control(x87_ | platform::kFpuAllExceptions);
      restore_ |= kRestoreX87;
    }
    mode_ = current_mode();
    const uint32_t wanted = (mode_ & QVM_DENORMAL_MASK) == QVM_DENORMAL_FAST ? kNearestFlushing : kNearest;
    sse_ = platform::read_sse_control();
    if ((sse_ & kControlBits) != wanted) [[unlikely]] {
      platform::load_sse_control((sse_ & ~kControlBits) | wanted);
      restore_ |= kRestoreSse;
    }
  }

  ~ControlWords() {
    if (restore_ != 0) [[unlikely]]
      restore();
  }

  ControlWords(const ControlWords&) = delete;
  ControlWords& operator=(const ControlWords&) = delete;

  uint32_t mode() const { return mode_; }

  // The value, unknown to the compiler: arithmetic on it can't move to before these words are in force.
  template <class Real>
  Real pin(Real x) const {
    asm volatile("" : "+x"(x));
    return x;
  }

 private:
  static constexpr uint32_t kControlBits = 0xFFC0;      // masks, rounding, flush to zero, denormals are zero
  static constexpr uint32_t kNearest = 0x1F80;          // all masked, round to nearest
  static constexpr uint32_t kNearestFlushing = 0x9FC0;  // and both denormal bits
  static constexpr uint32_t kFlags = 0x3F;
  static constexpr int kRestoreX87 = 1, kRestoreSse = 2;

  [[gnu::noinline, gnu::cold]] void restore() {
    if (restore_ & kRestoreX87) platform::load_x87_control(x87_);
    if (restore_ & kRestoreSse) platform::load_sse_control(sse_ | (platform::read_sse_control() & kFlags));
  }

  uint32_t mode_;
  uint32_t sse_;
  uint16_t x87_;
  int restore_ = 0;
};

}  // namespace qlx
