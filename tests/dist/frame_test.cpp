// The frame of the distribution generators over a mode and a callback that this program keeps.
// SPDX-License-Identifier: Apache-2.0
#include "dist/frame.h"

#include <gtest/gtest.h>

#include <bit>
#include <string>

namespace {

// Stands in for the thread's mode state and keeps a log of the calls.
uint32_t mode = QVM_MODE_DEFAULT;
QvmErrorCallback callback = nullptr;
std::string calls;

int32_t before(QvmElementReport*) {
  return 1;
}
int32_t inside(QvmElementReport*) {
  return 0;
}

uint16_t x87_status() {
  uint16_t word;
  __asm__ volatile("fnstsw %0" : "=m"(word));
  return word;
}

}  // namespace

// An empty group of the argument keeps the mode's.
uint32_t qlx_qvm_kernel_SetMode(uint32_t set) {
  calls += "mode ";
  const uint32_t old = mode;
  for (uint32_t group : {0xFu, 0xFF00u, 0x3C0000u})
    if ((set & group) != 0) mode = (mode & ~group) | (set & group);
  return old;
}
QvmErrorCallback qlx_qvm_kernel_SetErrorCallBack(QvmErrorCallback set) {
  calls += "callback ";
  const QvmErrorCallback old = callback;
  callback = set;
  return old;
}

namespace {

using namespace qlx::dist;

template <FramePart kPart>
void frame_gives_everything_back(bool has_words, bool has_callback) {
  const uint32_t sse = _mm_getcsr();
  const uint16_t x87 = qlx::platform::read_x87_control();
  mode = QVM_MODE_DEFAULT;
  callback = before;
  calls.clear();
  // Unmask two exceptions and raise a flag, as a caller may have it.
  _mm_setcsr((sse & ~0x280u) | 0x20u);
  const uint16_t unmasked = static_cast<uint16_t>(x87 & ~0x1Du);
  qlx::platform::load_x87_control(unmasked);
  {
    const Frame<kPart> frame(inside);
    EXPECT_EQ(_mm_getcsr() & 0x1F80u, has_words ? 0x1F80u : 0x1F80u & ~0x280u);
    EXPECT_EQ(qlx::platform::read_x87_control() & 0x3F, has_words ? 0x3F : unmasked & 0x3F);
    EXPECT_EQ(mode, has_callback ? uint32_t{QVM_ERRMODE_CALLBACK | QVM_HA} : uint32_t{QVM_MODE_DEFAULT});
    EXPECT_EQ(callback, has_callback ? inside : before);
    call_kernel(
        +[](int denormal_mode) { EXPECT_EQ(mode & QVM_DENORMAL_MASK, uint32_t(denormal_mode)); },
        int{QVM_DENORMAL_ACCURATE});
    if (has_words) {
      // Flags that the work leaves, in both units: 0 divided by 0.
      __asm__ volatile("fldz\n fldz\n fdivrp\n fstp %%st(0)" : : : "st");
      EXPECT_NE(x87_status() & 1, 0);
      _mm_setcsr(_mm_getcsr() | 1);
    }
  }
  EXPECT_EQ(_mm_getcsr(), (sse & ~0x280u) | 0x20u);
  EXPECT_EQ(qlx::platform::read_x87_control(), unmasked);
  if (has_words) {
    EXPECT_EQ(x87_status() & 0x3F, 0);
  }
  EXPECT_EQ(callback, before);
  EXPECT_EQ(mode & ~QVM_DENORMAL_MASK, uint32_t{QVM_MODE_DEFAULT});
  EXPECT_EQ(calls, has_callback ? "mode callback mode mode callback mode " : "mode mode ");
  _mm_setcsr(sse);
  qlx::platform::load_x87_control(x87);
}

TEST(Frame, each_variation_sets_its_parts_and_gives_them_back) {
  frame_gives_everything_back<FramePart::kFull>(true, true);
  frame_gives_everything_back<FramePart::kCallback>(false, true);
  frame_gives_everything_back<FramePart::kWords>(true, false);
}

TEST(Frame, callbacks_finish_a_logarithm_of_zero) {
  EXPECT_EQ(std::bit_cast<uint32_t>(static_cast<float>(kLogOfZero<float>)), 0xC2CE8ED0u);
  for (int32_t code : {qvm_status_domain, qvm_status_pole}) {
    const auto results = [code](QvmErrorCallback finish) {
      QvmElementReport report{};
      report.code = code;
      EXPECT_EQ(finish(&report), 0);
      EXPECT_EQ(report.res1, report.res2);
      return report.res1;
    };
    EXPECT_EQ(results(log_of_zero<double, false>), -744.4400719213812);
    EXPECT_EQ(results(log_of_zero<float, false>), -103.2789306640625);
    EXPECT_EQ(results(log_of_zero<double, true>), code == qvm_status_pole ? -744.4400719213812 : 0);
    EXPECT_EQ(results(log_of_zero<float, true>), code == qvm_status_pole ? -103.2789306640625 : 0);
  }
}

}  // namespace
