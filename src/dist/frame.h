// What a distribution generator that calls vector math kernels stands inside: control words, mode and callback of the
// calling thread, set on entry and given back on every exit.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <type_traits>

#include "platform/fpu.h"
#include "qlx/qvm.h"

namespace qlx::dist {

// Masks all floating-point exceptions of both units. Each control word is loaded only when that changes it: a load
// serialises the unit. The exit loads both, which brings back the SSE flags of the entry.
class MaskedExceptions {
 public:
  MaskedExceptions() {
    constexpr uint32_t kAllMaskedSse = 0x1F80;  // kFpuAllExceptions at the place of the SSE masks
    platform::clear_x87_exceptions();
    x87_ = platform::read_x87_control();
    sse_ = platform::read_sse_control();
    const uint16_t x87 = x87_ | platform::kFpuAllExceptions;
    if (x87 != x87_) platform::load_x87_control(x87);
    if ((sse_ | kAllMaskedSse) != sse_) platform::load_sse_control(sse_ | kAllMaskedSse);
  }
  ~MaskedExceptions() {
    // A pending exception would fire at the first x87 instruction under the caller's masks.
    platform::clear_x87_exceptions();
    platform::load_x87_control(x87_);
    platform::load_sse_control(sse_);
  }
  MaskedExceptions(const MaskedExceptions&) = delete;
  MaskedExceptions& operator=(const MaskedExceptions&) = delete;

 private:
  uint16_t x87_;
  uint32_t sse_;
};

// Sends the kernels' reports to one callback and nowhere else.
class CallbackAlone {
 public:
  explicit CallbackAlone(QvmErrorCallback callback)
      : mode_(qlx_qvm_kernel_SetMode(QVM_ERRMODE_CALLBACK)), callback_(qlx_qvm_kernel_SetErrorCallBack(callback)) {}
  ~CallbackAlone() {
    qlx_qvm_kernel_SetErrorCallBack(callback_);  // sets or clears a bit of the mode, so the mode comes after it
    qlx_qvm_kernel_SetMode(mode_);
  }
  CallbackAlone(const CallbackAlone&) = delete;
  CallbackAlone& operator=(const CallbackAlone&) = delete;

 private:
  uint32_t mode_;
  QvmErrorCallback callback_;
};

// Stands around each call of a kernel: denormals count, whatever the thread's mode says. A group of the mode that is
// not named stays, so this adds to CallbackAlone. For the same reason a thread whose mode named no denormal group has
// this one from its first such call on: an empty group can't be given back.
class ExactDenormals {
 public:
  ExactDenormals() : mode_(qlx_qvm_kernel_SetMode(QVM_DENORMAL_ACCURATE)) {}
  ~ExactDenormals() { qlx_qvm_kernel_SetMode(mode_); }
  ExactDenormals(const ExactDenormals&) = delete;
  ExactDenormals& operator=(const ExactDenormals&) = delete;

 private:
  uint32_t mode_;
};

// Calls a kernel inside ExactDenormals.
template <class Kernel, class... Arguments>
inline void call_kernel(Kernel* kernel, Arguments... arguments) {
  const ExactDenormals denormals;
  kernel(arguments...);
}

// The parts of the frame by family of generators. `callback` is read only where the family has one.
//   kFull      Exponential, Gumbel, Laplace, Rayleigh, Weibull, Gaussian, Beta, Gamma, geometric, hypergeometric, and
//              Poisson (control words in its outer function: kWords; callback in its methods: kCallback)
//   kCallback  ChiSquare
//   kWords     negative binomial
// Cauchy, Lognormal, binomial, multinomial and PoissonV have ExactDenormals alone.
enum class FramePart { kFull, kCallback, kWords };

template <FramePart kPart>
class Frame {
  struct None {
    None() = default;
    explicit None(QvmErrorCallback) {}
  };
  using Words = std::conditional_t<kPart == FramePart::kCallback, None, MaskedExceptions>;
  using Callback = std::conditional_t<kPart == FramePart::kWords, None, CallbackAlone>;

 public:
  explicit Frame(QvmErrorCallback callback = nullptr) : callback_(callback) {}

 private:
  // Members go in reverse order: callback and mode first, control words last.
  [[no_unique_address]] Words words_;
  [[no_unique_address]] Callback callback_;
};

// The logarithm of the smallest denormal number of the format, rounded: what the logarithm of a uniform number that
// came out as exactly zero is taken to be.
template <class Real>
inline constexpr double kLogOfZero = -744.4400719213812;
template <>
inline constexpr double kLogOfZero<float> = -103.2789306640625;  // the float 0xC2CE8ED0

// Callbacks: the frame's way to finish a logarithm of zero without a report. 0 lets the reporter store the result.
//   kPoleOnly   Rayleigh, Weibull, Beta, Gamma, ChiSquare; its float form also float gamma, hypergeometric, Poisson
//   otherwise   Exponential, Gumbel, Laplace, geometric
template <class Real, bool kPoleOnly>
int32_t log_of_zero(QvmElementReport* report) {
  if (!kPoleOnly || report->code == qvm_status_pole) report->res1 = report->res2 = kLogOfZero<Real>;
  return 0;
}

}  // namespace qlx::dist
