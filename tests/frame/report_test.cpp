// What a report does, by the mode: status, callback, errno, stderr, floating-point exception; and the control words
// around a kernel.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cerrno>
#include <cfenv>
#include <cmath>
#include <csignal>
#include <limits>
#include <numeric>
#include <string>
#include <vector>

#include "qlx/qvm.h"

namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();

// Each test starts from a clean thread state and leaves one.
class Report : public ::testing::Test {
 protected:
  void SetUp() override { reset(); }
  void TearDown() override { reset(); }
  static void reset() {
    reports.clear();
    answer = 0;
    replacement = 0;
    _qvmSetErrorCallBack(nullptr);
    _qvmSetMode(0x1A02 | 0x140000);
    _qvmClearErrStatus();
    _qvmSetInterfInputVectorPointer(nullptr);
    errno = 0;
    std::feclearexcept(FE_ALL_EXCEPT);
  }
  static int32_t record(QvmElementReport* report) {
    reports.push_back(*report);
    if (replacement != 0) report->res1 = replacement;
    return answer;
  }
  static std::vector<QvmElementReport> reports;
  static int32_t answer;
  static double replacement;
};
std::vector<QvmElementReport> Report::reports;
int32_t Report::answer;
double Report::replacement;

TEST_F(Report, tells_a_callback_the_element) {
  _qvmSetErrorCallBack(record);
  std::vector<float> whole(140, 3.0f), b(40, 2.0f), r(40, 0.0f);
  const float* const a = whole.data() + 100;
  b[3] = 0;
  b[5] = -0.0f;
  b[38] = 0;
  _qvmSetInterfInputVectorPointer(whole.data());
  _qvmsDiv(40, a, b.data(), r.data());
  ASSERT_EQ(reports.size(), 3u);
  const int32_t indices[] = {103, 105, 138};
  const double results[] = {kInf, -kInf, kInf};
  for (int k = 0; k < 3; ++k) {
    EXPECT_EQ(reports[k].code, qvm_status_pole);
    EXPECT_EQ(reports[k].index, indices[k]);
    EXPECT_EQ(reports[k].arg1, 3.0);
    EXPECT_EQ(reports[k].arg2, 0.0);
    EXPECT_EQ(reports[k].res1, results[k]);
    EXPECT_EQ(reports[k].res2, results[k]);
    EXPECT_STREQ(reports[k].func_name, "vsDiv");
    EXPECT_EQ(reports[k].func_name_len, 5);
  }
  EXPECT_EQ(r[3], kInf);
  EXPECT_EQ(r[4], 1.5f);
  EXPECT_EQ(_qvmGetErrStatus(), qvm_status_pole);
}

TEST_F(Report, lets_a_callback_replace_or_keep_the_result) {
  _qvmSetErrorCallBack(record);
  replacement = 42;
  for (const bool strided : {false, true}) {
    for (const int32_t stop : {0, 1}) {
      answer = stop;
      errno = 0;
      double a[6] = {1, 9, 0, 9, 4, 9}, r[6] = {};
      if (strided) {
        _qvmdInvI(3, a, 2, r, 2);
      } else {
        _qvmdInv(6, a, r);
      }
      EXPECT_EQ(r[2], stop ? std::numeric_limits<double>::infinity() : 42.0);
      EXPECT_EQ(errno, stop ? 0 : ERANGE);  // a nonzero answer ends the handling before errno
      EXPECT_EQ(r[4], 0.25);
      EXPECT_EQ(reports.back().index, strided ? 1 : 2);
      EXPECT_STREQ(reports.back().func_name, "vdInv");
    }
  }
}

// The lanes of a block are reported lowest first, each stored before its report; the others are stored after.
TEST_F(Report, happens_between_computing_and_storing_a_block) {
  static float r[32];
  static std::vector<float> seen;
  seen.clear();
  std::iota(r, r + 32, 1000.0f);
  _qvmSetErrorCallBack([](QvmElementReport* report) {
    seen.insert(seen.end(), {static_cast<float>(report->index), r[2], r[9], r[20]});
    return 0;
  });
  std::vector<float> a(32, 1.0f);
  a[2] = a[20] = 0;
  _qvmsInv(32, a.data(), r);  // one block of 32
  EXPECT_EQ(seen, (std::vector<float>{2, kInf, 1009, 1020, 20, kInf, 1009, kInf}));
  EXPECT_EQ(r[9], 1.0f);
  // Two blocks of 16 that one pass takes: the first is stored before the second's report, which may still change it.
  seen.clear();
  std::iota(r, r + 32, 1000.0f);
  _qvmSetErrorCallBack([](QvmElementReport* report) {
    seen.insert(seen.end(), {static_cast<float>(report->index), r[9], r[17], r[20]});
    if (report->index == 20) r[9] = 5;
    return 0;
  });
  _qvmsLn(32, a.data(), r);
  EXPECT_EQ(seen, (std::vector<float>{2, 1009, 1017, 1020, 20, 0, 1017, -kInf}));
  EXPECT_EQ(r[2], -kInf);
  EXPECT_EQ(r[9], 5);
  EXPECT_EQ(r[17], 0);
  _qvmSetErrorCallBack([](QvmElementReport* report) {
    seen.insert(seen.end(), {static_cast<float>(report->index), r[2], r[9], r[20]});
    return 0;
  });
  // Strided calls end element by element: what precedes a marked element is stored.
  seen.clear();
  std::iota(r, r + 32, 1000.0f);
  _qvmsInvI(21, a.data(), 1, r, -1 + 2);  // strides of 1: the unit-stride kernel
  EXPECT_EQ(seen, (std::vector<float>{2, kInf, 1009, 1020, 20, kInf, 1.0f, kInf}));
  static float wide[64];
  seen.clear();
  _qvmSetErrorCallBack([](QvmElementReport* report) {
    seen.insert(seen.end(), {static_cast<float>(report->index), wide[0], wide[6]});
    return 0;
  });
  std::fill(std::begin(wide), std::end(wide), 7.0f);
  _qvmsInvI(5, a.data(), 1, wide, 2);
  EXPECT_EQ(seen, (std::vector<float>{2, 1.0f, 7.0f}));
}

TEST_F(Report, follows_the_error_groups_of_the_mode) {
  const struct {
    uint32_t mode;
    int status, error;
    size_t calls;
    bool flag;
  } rows[] = {
      {0x2000, 0, 0, 0, false},  // not even the status
      {0x100, 2, 0, 0, false},   // the status alone
      {0x1100, 2, 0, 1, false},  // both comparisons are for equality: callback runs
      {0x300, 2, ERANGE, 0, false}, {0x200, 2, ERANGE, 0, false}, {0x800, 2, 0, 0, true},
      {0x1A00, 2, ERANGE, 1, true}, {0x3000, 2, 0, 1, false},
  };
  _qvmSetErrorCallBack(record);
  for (const auto& row : rows) {
    SCOPED_TRACE(row.mode);
    reports.clear();
    _qvmClearErrStatus();
    errno = 0;
    _qvmSetMode(row.mode);
    std::feclearexcept(FE_ALL_EXCEPT);
    // NextAfter steps bits: the processor raises nothing, so a flag is the report's. Overflow serves as the event.
    const float a = std::numeric_limits<float>::max(), b = kInf;
    float r = 0;
    _qvmsNextAfter(1, &a, &b, &r);
    EXPECT_EQ(r, kInf);
    EXPECT_EQ(_qvmGetErrStatus(), row.status == 0 ? 0 : qvm_status_overflow);
    EXPECT_EQ(errno, row.error);
    EXPECT_EQ(reports.size(), row.calls);
    EXPECT_EQ(std::fetestexcept(FE_OVERFLOW) != 0, row.flag);
  }
}

TEST_F(Report, prints_the_values_to_stderr) {
  _qvmSetMode(0x400);
  const double a[] = {1, 0}, b[] = {2, 0};
  double r[2];
  ::testing::internal::CaptureStderr();
  _qvmdInv(2, a, r);
  const std::string one = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(one.find("vdInv"), std::string::npos);
  EXPECT_NE(one.find("[1]"), std::string::npos) << one;
  EXPECT_NE(one.find("inf"), std::string::npos) << one;
  EXPECT_EQ(std::count(one.begin(), one.end(), '\n'), 3) << one;  // status, argument, result
  const double c[] = {1, 5};
  ::testing::internal::CaptureStderr();
  _qvmdFmod(2, c, b, r);
  const std::string fmod = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::count(fmod.begin(), fmod.end(), '\n'), 3) << fmod;  // a second argument of 0 is not printed
}

TEST_F(Report, sets_the_flag_and_traps_where_the_mode_opens_one) {
  _qvmSetMode(0x800);
  const float zero = 0;
  float r;
  std::feclearexcept(FE_ALL_EXCEPT);
  _qvmsFmod(1, &zero, &zero, &r);  // a pole that raises invalid in no arithmetic of the callout
  EXPECT_TRUE(std::fetestexcept(FE_DIVBYZERO));
  EXPECT_TRUE(std::isnan(r));
  const auto trap = [] {
    std::signal(SIGFPE, SIG_DFL);  // a sanitizer would make a report of it
    _qvmSetMode(0x800 | 0x2000000);
    const float z = 0;
    float x;
    _qvmsInv(1, &z, &x);
  };
  EXPECT_EXIT(trap(), ::testing::KilledBySignal(SIGFPE), "");
  const auto other_trap = [] {
    _qvmSetMode(0x800 | 0x4000000);  // overflow alone is open
    const float z = 0;
    float x;
    _qvmsInv(1, &z, &x);
    std::_Exit(0);
  };
  EXPECT_EXIT(other_trap(), ::testing::ExitedWithCode(0), "");
}

class ControlWords : public Report {};

TEST_F(ControlWords, callers_rounding_mode_has_no_influence_and_is_restored) {
  const float a[] = {2.5f, 1.0f}, b[] = {3.0f, 3.0f};
  float nearest[2], r[2], rounded[2];
  _qvmsDiv(2, a, b, nearest);
  for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
    std::fesetround(mode);
    _qvmsDiv(2, a, b, r);
    _qvmsRint(2, a, rounded);
    const int after = std::fegetround();
    std::fesetround(FE_TONEAREST);
    EXPECT_EQ(after, mode);
    EXPECT_EQ(r[0], nearest[0]);
    EXPECT_EQ(r[1], nearest[1]);
    EXPECT_EQ(rounded[0], 2.0f);
  }
}

TEST_F(ControlWords, flags_of_the_kernel_survive_and_masks_return) {
  const float a[] = {2.5f, 1e30f}, b[] = {3.0f, 1e30f};
  float r[2];
  for (const int mode : {FE_TONEAREST, FE_UPWARD}) {
    std::fesetround(mode);
    std::feclearexcept(FE_ALL_EXCEPT);
    _qvmsMul(2, a, b, r);
    EXPECT_TRUE(std::fetestexcept(FE_OVERFLOW)) << mode;
    std::feclearexcept(FE_ALL_EXCEPT);
    _qvmsNearbyInt(1, a, r);
    EXPECT_FALSE(std::fetestexcept(FE_INEXACT)) << mode;
    _qvmsRint(1, a, r);
    EXPECT_TRUE(std::fetestexcept(FE_INEXACT)) << mode;
  }
  std::fesetround(FE_TONEAREST);
#ifdef __GLIBC__
  // A caller with traps open gets its masks back, and no trap from the kernel's own arithmetic.
  std::feclearexcept(FE_ALL_EXCEPT);
  feenableexcept(FE_DIVBYZERO | FE_INVALID);
  const float zero[] = {0, 0};
  _qvmSetMode(0x100);
  _qvmsDiv(2, zero, zero, r);
  const int enabled = fegetexcept();
  fedisableexcept(FE_ALL_EXCEPT);
  std::feclearexcept(FE_ALL_EXCEPT);
  EXPECT_EQ(enabled, FE_DIVBYZERO | FE_INVALID);
  EXPECT_TRUE(std::isnan(r[0]));
#endif
}

TEST_F(ControlWords, denormal_mode_holds_for_one_call) {
  const float tiny = std::numeric_limits<float>::denorm_min() * 1000, two = 2;
  float r;
  const struct {
    uint32_t mode;
    float expected;
  } rows[] = {{0x280000, 0.0f}, {0x140000, tiny * 2}, {0x80000, tiny * 2}, {0x280000, 0.0f}, {0x3C0000, tiny * 2}};
  for (const auto& row : rows) {
    _qvmSetMode(row.mode);
    _qvmsMul(1, &tiny, &two, &r);
    EXPECT_EQ(r, row.expected) << row.mode;
    volatile float x = tiny;
    EXPECT_NE(x * 2, 0.0f);  // the caller's own arithmetic is as before
  }
  // Denormals as zeros make a denormal divisor a pole.
  _qvmSetMode(0x280000);
  _qvmClearErrStatus();
  _qvmsInv(1, &tiny, &r);
  EXPECT_EQ(_qvmGetErrStatus(), qvm_status_pole);
}

}  // namespace
