// Special values of every function: rows of data, run through the kernel tables in every setting that a caller can be
// in. SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "accuracy/kernel_list.h"
#include "accuracy/real.h"
#include "qlx/qvm.h"
#include "vecmath/special_rows.h"

namespace {

using namespace qlx::tests;
using namespace qlx::tools;

bool has_slot(const std::string& accuracy, int slot) {
  if (accuracy == "*") return true;
  for (const std::string& part : split(accuracy, '+'))
    if (part == kSlotNames[slot]) return true;
  return false;
}

// What the callback saw: the last report, and how many.
struct Seen {
  int count = 0;
  QvmElementReport last;
} seen;
int32_t remember(QvmElementReport* report) {
  ++seen.count;
  seen.last = *report;
  return 0;
}

bool same(double x, double y) {
  return std::isnan(x) ? std::isnan(y) : x == y && std::signbit(x) == std::signbit(y);
}

// How the kernel is called.
struct Setting {
  const char* name;
  bool strided;
  bool silent;    // QVM_ERRMODE_NOERR
  int rounding;   // the caller's
  int32_t place;  // of the argument among the elements
};
constexpr int32_t kElements = 45;  // a block and a tail of every kernel
constexpr Setting kSettings[] = {
    {"unit stride, in a block", false, false, FE_TONEAREST, 5},
    {"unit stride, in the tail", false, false, FE_TONEAREST, kElements - 1},
    {"unit stride, no reports", false, true, FE_TONEAREST, 9},
    {"unit stride, caller rounds up", false, false, FE_UPWARD, 2},
    {"strided, in a block", true, false, FE_TONEAREST, 6},
    {"strided, in the tail", true, false, FE_TONEAREST, kElements - 1},
    {"strided, no reports", true, true, FE_TONEAREST, kElements - 1},
};
constexpr int32_t kStride = 3;

template <class Real>
void check(const SpecialRow& row, const KernelRow& kernel, int slot, const Setting& setting) {
  using Bits = typename Format<Real>::Bits;
  const Real a = from_bits<Real>(static_cast<Bits>(row.a)), b = from_bits<Real>(static_cast<Bits>(row.b));
  const int32_t stride = setting.strided ? kStride : 1;
  std::vector<Real> as(kElements * stride, Real{0.75}), bs(as), rs(kElements * stride, Real{-7}), ss(rs);
  as[setting.place * stride] = a;
  // A scalar second argument is everyone's, so everyone gets the first argument as well: one report an element.
  const bool scalar = kernel.shape == Shape::kAXR;
  if (scalar) {
    bs.assign(bs.size(), b);
    as.assign(as.size(), Real{1});  // 1 to any power is 1, without a report
    as[setting.place * stride] = a;
  } else {
    bs[setting.place * stride] = b;
  }

  seen = {};
  qlx_qvm_kernel_SetMode(setting.silent ? QVM_ERRMODE_NOERR : QVM_ERRMODE_DEFAULT);
  if (!setting.silent) qlx_qvm_kernel_SetErrorCallBack(remember);
  qlx_qvm_kernel_ClearErrStatus();
  std::fesetround(setting.rounding);
  const Arrays<Real> arrays{as.data(), bs.data(), rs.data(), ss.data()};
  if (setting.strided) {
    call_strided(kernel, slot, kElements, arrays, {stride, stride, stride, stride});
  } else {
    call_unit(kernel, slot, kElements, arrays);
  }
  EXPECT_EQ(std::fegetround(), setting.rounding);
  std::fesetround(FE_TONEAREST);

  const Real result = rs[setting.place * stride];
  EXPECT_TRUE(matches(result, row.result))
      << "result 0x" << std::hex << to_bits(result) << " (" << result << "), wanted " << row.result;
  const int status = qlx_qvm_kernel_GetErrStatus();
  if (setting.silent || row.status != kAnyStatus) {
    EXPECT_EQ(status, setting.silent ? 0 : row.status);
  }
  ASSERT_EQ(seen.count, status == 0 ? 0 : 1);
  if (seen.count == 0) return;
  EXPECT_EQ(seen.last.code, status);
  EXPECT_EQ(seen.last.index, setting.place);
  EXPECT_TRUE(same(seen.last.arg1, static_cast<double>(a))) << seen.last.arg1;
  EXPECT_TRUE(same(seen.last.arg2, static_cast<double>(row.pair ? b : a))) << seen.last.arg2;
  EXPECT_TRUE(same(seen.last.res1, static_cast<double>(result))) << seen.last.res1;
  const std::string name = std::string("v") + kernel.type + kernel.name;
  const std::string func_name(seen.last.func_name, static_cast<size_t>(seen.last.func_name_len));
  EXPECT_TRUE(func_name == name || (setting.strided && func_name == name + "I")) << func_name;
}

TEST(SpecialValues, rows_hold_in_every_setting) {
  const std::vector<SpecialRow> rows = read_all_rows();
  int run = 0, not_built = 0;
  for (const SpecialRow& row : rows) {
    const KernelRow* kernel = find_kernel(row.function, row.type);
    if (!kernel) {
      ++not_built;
      continue;
    }
    ASSERT_EQ(row.pair, kernel->shape == Shape::kABR || kernel->shape == Shape::kAXR) << row.where;
    for (int slot = 0; slot < 3; ++slot) {
      if (!has_slot(row.accuracy, slot)) continue;
      for (const Setting& setting : kSettings) {
        SCOPED_TRACE(row.where + " " + row.function + " " + row.type + " " + kSlotNames[slot] + ", " + setting.name);
        if (row.type == 's') {
          check<float>(row, *kernel, slot, setting);
        } else {
          check<double>(row, *kernel, slot, setting);
        }
      }
    }
    ++run;
  }
  qlx_qvm_kernel_SetErrorCallBack(nullptr);
  std::printf("%d rows run, %d rows of functions that are not built\n", run, not_built);
  EXPECT_GT(run + not_built, 0);
}

}  // namespace
