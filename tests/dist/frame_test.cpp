// The frame of the distribution generators over the thread's mode, callback and control words.
// SPDX-License-Identifier: Apache-2.0
#include "dist/frame.h"

#include <gtest/gtest.h>

#include <bit>

namespace {

using namespace qlx;

int32_t before(QvmElementReport*) {
  return 1;
}
int32_t inside(QvmElementReport*) {
  return 0;
}

uint16_t x87_status() {
  uint16_t word;
  asm volatile("fnstsw %0" : "=m"(word));
  return word;
}

// Two exceptions unmasked in each unit and an SSE flag raised, as a caller may have it; the test's own words at the
// end.
class CallerWords {
 public:
  CallerWords() : sse_(platform::read_sse_control()), x87_(platform::read_x87_control()) {
    platform::load_sse_control(sse());
    platform::load_x87_control(x87());
  }
  ~CallerWords() {
    platform::load_sse_control(sse_);
    platform::load_x87_control(x87_);
  }
  uint32_t sse() const { return (sse_ & ~0x280u) | 0x20u; }
  uint16_t x87() const { return static_cast<uint16_t>(x87_ & ~0x05u); }

 private:
  uint32_t sse_;
  uint16_t x87_;
};

template <dist::FramePart kPart>
void frame_gives_everything_back(bool has_words, bool has_callback) {
  const CallerWords caller;
  // Every group named, so that every group can be given back.
  constexpr uint32_t kMode = QVM_MODE_DEFAULT | QVM_DENORMAL_FAST;
  qlx_qvm_kernel_SetErrorCallBack(before);
  qlx_qvm_kernel_SetMode(kMode);
  {
    const dist::Frame<kPart> frame(inside);
    const uint32_t masks = 0x1F80;
    EXPECT_EQ(platform::read_sse_control() & masks, has_words ? masks : caller.sse() & masks);
    EXPECT_EQ(platform::read_x87_control() & 0x3F, has_words ? 0x3F : caller.x87() & 0x3F);
    const uint32_t errors = has_callback ? QVM_ERRMODE_CALLBACK : QVM_ERRMODE_DEFAULT;
    EXPECT_EQ(qlx_qvm_kernel_GetMode(), QVM_HA | errors | QVM_DENORMAL_FAST);
    EXPECT_EQ(qlx_qvm_kernel_GetErrorCallBack(), has_callback ? inside : before);
    dist::call_kernel(
        +[](uint32_t expected) { EXPECT_EQ(qlx_qvm_kernel_GetMode(), expected); },
        QVM_HA | errors | QVM_DENORMAL_ACCURATE);
    EXPECT_EQ(qlx_qvm_kernel_GetMode(), QVM_HA | errors | QVM_DENORMAL_FAST);
    if (has_words) {
      // Flags that the work leaves, in both units: 0 divided by 0.
      asm volatile("fldz\n fldz\n fdivrp\n fstp %%st(0)" : : : "st");
      EXPECT_NE(x87_status() & 1, 0);
      platform::load_sse_control(platform::read_sse_control() | 1);
    }
  }
  EXPECT_EQ(platform::read_sse_control(), caller.sse());
  EXPECT_EQ(platform::read_x87_control(), caller.x87());
  EXPECT_EQ(x87_status() & 0x3F, 0);
  EXPECT_EQ(qlx_qvm_kernel_GetErrorCallBack(), before);
  EXPECT_EQ(qlx_qvm_kernel_GetMode(), kMode);
}

TEST(Frame, each_variation_sets_its_parts_and_gives_them_back) {
  frame_gives_everything_back<dist::FramePart::kFull>(true, true);
  frame_gives_everything_back<dist::FramePart::kCallback>(false, true);
  frame_gives_everything_back<dist::FramePart::kWords>(true, false);
  // Without a callback before, and with an error group that the frame's own empties: both come back.
  qlx_qvm_kernel_ClearErrorCallBack();
  qlx_qvm_kernel_SetMode(QVM_ERRMODE_ERRNO);
  const uint32_t mode = qlx_qvm_kernel_GetMode();
  { const dist::Frame<dist::FramePart::kFull> frame(inside); }
  EXPECT_EQ(qlx_qvm_kernel_GetMode(), mode);
  EXPECT_EQ(qlx_qvm_kernel_GetErrorCallBack(), nullptr);
}

TEST(Frame, callbacks_finish_a_logarithm_of_zero) {
  EXPECT_EQ(std::bit_cast<uint32_t>(static_cast<float>(dist::kLogOfZero<float>)), 0xC2CE8ED0u);
  for (int32_t code : {qvm_status_domain, qvm_status_pole}) {
    const auto results = [code](QvmErrorCallback finish) {
      QvmElementReport report{};
      report.code = code;
      EXPECT_EQ(finish(&report), 0);
      EXPECT_EQ(report.res1, report.res2);
      return report.res1;
    };
    EXPECT_EQ(results(dist::log_of_zero<double, false>), -744.4400719213812);
    EXPECT_EQ(results(dist::log_of_zero<float, false>), -103.2789306640625);
    EXPECT_EQ(results(dist::log_of_zero<double, true>), code == qvm_status_pole ? -744.4400719213812 : 0);
    EXPECT_EQ(results(dist::log_of_zero<float, true>), code == qvm_status_pole ? -103.2789306640625 : 0);
  }
}

}  // namespace
