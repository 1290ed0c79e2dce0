// Special values of every function: rows of data, run through the kernel tables in every setting that a caller can be
// in. SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "accuracy/kernel_list.h"
#include "accuracy/random.h"
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

// The flag of a status. An infinity that the contract calls a domain error is a division by zero all the same, and a
// denormal that is exact raises nothing.
template <class Real>
int flags_of(int status, Real result) {
  switch (status) {
    case 1:
      return std::isinf(result) ? FE_DIVBYZERO : FE_INVALID;
    case 2:
      return FE_DIVBYZERO;
    case 3:
      return FE_OVERFLOW;
    case 4:
      return result == 0 ? FE_UNDERFLOW : 0;
    default:
      return 0;
  }
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
  // A flag that stood before the call has to stand after it; all others have to come from the call.
  const int before = setting.place % 2 == 0 ? FE_DIVBYZERO : FE_OVERFLOW;
  std::feclearexcept(FE_ALL_EXCEPT);
  std::feraiseexcept(before);
  std::fesetround(setting.rounding);
  const Arrays<Real> arrays{as.data(), bs.data(), rs.data(), ss.data()};
  if (setting.strided) {
    call_strided(kernel, slot, kElements, arrays, {stride, stride, stride, stride});
  } else {
    call_unit(kernel, slot, kElements, arrays);
  }
  EXPECT_EQ(std::fegetround(), setting.rounding);
  std::fesetround(FE_TONEAREST);
  const int flags = std::fetestexcept(FE_ALL_EXCEPT);

  const Real result = rs[setting.place * stride];
  EXPECT_EQ(flags & before, before);
  EXPECT_TRUE(matches(result, row.result))
      << "result 0x" << std::hex << to_bits(result) << " (" << result << "), wanted " << row.result;
  const int status = qlx_qvm_kernel_GetErrStatus();
  if (setting.silent || row.status != kAnyStatus) {
    EXPECT_EQ(status, setting.silent ? 0 : row.status);
  }
  EXPECT_EQ(flags & flags_of(status, result), flags_of(status, result)) << "status " << status;
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

// ---- Where denormals count as zeros

template <class Real>
Real flushed(Real x) {
  return std::fpclassify(x) == FP_SUBNORMAL ? std::copysign(Real{0}, x) : x;
}
// The result and the status of one element, in the mode that flushes.
template <class Real>
std::pair<Real, int> fast_result(const KernelRow& kernel, int slot, Real a, Real b, bool strided) {
  Real r = -7, s = -7;
  qlx_qvm_kernel_ClearErrStatus();
  const Arrays<Real> arrays{&a, &b, &r, &s};
  if (strided) {
    call_strided(kernel, slot, 1, arrays, {2, 2, 2, 2});
  } else {
    call_unit(kernel, slot, 1, arrays);
  }
  return {r, qlx_qvm_kernel_GetErrStatus()};
}
template <class Real>
void check_flushed(const SpecialRow& row, const KernelRow& kernel, int slot, bool strided) {
  using Bits = typename Format<Real>::Bits;
  const Real a = from_bits<Real>(static_cast<Bits>(row.a)), b = from_bits<Real>(static_cast<Bits>(row.b));
  const Real a_zero = flushed(a), b_zero = flushed(b);
  const auto [result, status] = fast_result(kernel, slot, a, b, strided);
  EXPECT_NE(std::fpclassify(result), FP_SUBNORMAL) << result;
  const auto [of_zeros, status_of_zeros] = fast_result(kernel, slot, a_zero, b_zero, strided);
  EXPECT_TRUE(same(static_cast<double>(result), static_cast<double>(of_zeros))) << result << ", of zeros " << of_zeros;
  EXPECT_EQ(status, status_of_zeros);
  // Without a denormal anywhere the mode changes nothing.
  if (to_bits(a) != to_bits(a_zero) || to_bits(b) != to_bits(b_zero)) return;
  if (row.status != kAnyStatus) {
    EXPECT_EQ(status, row.status);
  }
  if (row.result == "denormal") {
    // The least normal number is one rounding away from the greatest denormal.
    EXPECT_TRUE(result == 0 || result == std::numeric_limits<Real>::min()) << result;
  } else if (row.result.starts_with("0x")) {
    const Real wanted = flushed(from_bits<Real>(static_cast<Bits>(std::stoull(row.result, nullptr, 16))));
    EXPECT_EQ(to_bits(result), to_bits(wanted)) << result;
  } else {
    EXPECT_TRUE(matches(result, row.result)) << result;
  }
}

TEST(SpecialValues, denormals_count_as_zeros_in_the_fast_mode) {
  for (const uint32_t errors : {uint32_t{QVM_ERRMODE_IGNORE}, uint32_t{QVM_ERRMODE_NOERR}}) {
    qlx_qvm_kernel_SetMode(errors | QVM_DENORMAL_FAST);
    for (const SpecialRow& row : read_all_rows()) {
      const KernelRow* kernel = find_kernel(row.function, row.type);
      if (!kernel) continue;
      SpecialRow silent = row;
      if (errors == QVM_ERRMODE_NOERR) silent.status = 0;
      for (int slot = 0; slot < 3; ++slot) {
        if (!has_slot(row.accuracy, slot)) continue;
        for (const bool strided : {false, true}) {
          SCOPED_TRACE(row.where + " " + row.function + " " + row.type + " " + kSlotNames[slot] +
                       (strided ? ", strided" : "") + (errors == QVM_ERRMODE_NOERR ? ", no reports" : ""));
          if (row.type == 's') {
            check_flushed<float>(silent, *kernel, slot, strided);
          } else {
            check_flushed<double>(silent, *kernel, slot, strided);
          }
        }
      }
    }
  }
  qlx_qvm_kernel_SetMode(QVM_ERRMODE_DEFAULT);
}

// A kernel's results in a mode: the two arrays of results behind each other.
template <class Real>
std::vector<Real> results_of(const KernelRow& kernel, int slot, uint32_t mode, const std::vector<Real>& a,
                             const std::vector<Real>& b) {
  qlx_qvm_kernel_SetMode(mode);
  const auto n = static_cast<int32_t>(a.size());
  std::vector<Real> r(2 * a.size());
  call_unit(kernel, slot, n, Arrays<Real>{a.data(), b.data(), r.data(), r.data() + n});
  return r;
}
template <class Real>
void check_fast_mode(const KernelRow& kernel) {
  // Half of the arguments over all exponents, half where exponentials and their kin have ordinary results.
  constexpr size_t kCount = 20000;
  Random random(1);
  std::vector<Real> a(kCount), b(kCount);
  for (size_t i = 0; i < kCount; ++i) {
    const auto any = [&] {
      if (i % 2 == 0) return static_cast<Real>(random.between(-1.1, 1.1) * std::numeric_limits<Real>::max_exponent);
      const auto sign = static_cast<Real>(random.bits() % 2 == 0 ? 1 : -1);
      const int64_t least = std::numeric_limits<Real>::min_exponent, most = std::numeric_limits<Real>::max_exponent;
      return sign *
             std::ldexp(static_cast<Real>(random.between(0.5, 1)), static_cast<int>(random.integer(least, most)));
    };
    a[i] = any();
    b[i] = kernel.shape == Shape::kAXR ? Real(1.7) : any();
  }
  for (int slot = 0; slot < 3; ++slot) {
    const std::vector<Real> accurate = results_of(kernel, slot, QVM_ERRMODE_IGNORE | QVM_DENORMAL_ACCURATE, a, b);
    const std::vector<Real> fast = results_of(kernel, slot, QVM_ERRMODE_IGNORE | QVM_DENORMAL_FAST, a, b);
    int different = 0;
    size_t at = 0;
    for (size_t i = 0; i < accurate.size(); ++i) {
      if (std::fpclassify(accurate[i]) == FP_SUBNORMAL || to_bits(accurate[i]) == to_bits(fast[i])) continue;
      if (different++ == 0) at = i;
    }
    EXPECT_EQ(different, 0) << kernel.type << kernel.name << " " << kSlotNames[slot] << " of " << a[at % kCount] << ", "
                            << b[at % kCount] << ": " << accurate[at] << ", in the fast mode " << fast[at];
  }
}

// Nor in what a formula does between.
TEST(SpecialValues, the_fast_mode_changes_no_result_without_denormals) {
  for (const KernelRow& kernel : kernel_list()) {
    if (!kernel.real() || kernel.shape == Shape::kOther || kernel.shape == Shape::kLinearFrac) continue;
    if (kernel.type == 's') {
      check_fast_mode<float>(kernel);
    } else {
      check_fast_mode<double>(kernel);
    }
  }
  qlx_qvm_kernel_SetMode(QVM_ERRMODE_DEFAULT);
}

}  // namespace
