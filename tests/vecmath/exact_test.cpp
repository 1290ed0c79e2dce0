// Results that are numbers of the type come out as themselves, at LA and HA.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "accuracy/kernel_list.h"
#include "accuracy/real.h"
#include "qlx/qvm.h"

namespace {

using namespace qlx::tools;

// Arguments and the results wanted; b is left empty for functions of one argument.
template <class Real>
struct Cases {
  std::vector<Real> a, b, wanted;
  void add(double x, double result) {
    a.push_back(static_cast<Real>(x));
    wanted.push_back(static_cast<Real>(result));
  }
  void add(double x, double y, double result) {
    add(x, result);
    b.push_back(static_cast<Real>(y));
  }
};

template <class Real>
struct Exact {
  const char* function;
  std::function<void(Cases<Real>&)> fill;
};

// Integers that a Real holds with all of their products up to the power.
template <class Real>
int64_t largest_root(int power) {
  return static_cast<int64_t>(std::floor(std::pow(2.0, static_cast<double>(Format<Real>::kPrecision) / power) + 1e-9));
}

// About 4096 steps to the end, each integer where they are fewer.
int64_t step_to(int64_t end) {
  return end / 4096 + 1;
}

template <class Real>
std::vector<Exact<Real>> exact_cases() {
  using F = Format<Real>;
  constexpr int kLeast = F::kMinExponent - F::kPrecision + 1;
  return {
      {"Exp", [](auto& c) { c.add(0, 1), c.add(-0.0, 1); }},
      {"Exp10", [](auto& c) { c.add(0, 1), c.add(-0.0, 1); }},
      {"Expm1", [](auto& c) { c.add(0, 0), c.add(-0.0, -0.0); }},
      {"Ln", [](auto& c) { c.add(1, 0); }},
      {"Log10", [](auto& c) { c.add(1, 0); }},
      {"Log1p", [](auto& c) { c.add(0, 0), c.add(-0.0, -0.0); }},
      {"Log2",
       [](auto& c) {
         for (int k = kLeast; k <= F::kMaxExponent; ++k) c.add(std::ldexp(1.0, k), k);
       }},
      {"Exp2",
       [](auto& c) {
         for (int k = kLeast; k <= F::kMaxExponent; ++k) c.add(k, std::ldexp(1.0, k));
       }},
      {"Cbrt",
       [](auto& c) {
         const int64_t end = largest_root<Real>(3);
         for (int64_t k = 1; k <= end; k += step_to(end))
           for (const int e : {-31, 0, 20}) {
             const double root = std::ldexp(static_cast<double>(k), e);
             c.add(root * root * root, root), c.add(-root * root * root, -root);
           }
       }},
      {"Hypot",
       [](auto& c) {
         // Euclid's triples and their multiples, as far as the sum of squares is exact in a float, or in a double has
         // the 29 bits that still leave its product with an estimate exact.
         const int64_t end = sizeof(Real) == 4 ? 4095 : 23170;
         for (int64_t m = 2; m * m < end; ++m)
           for (int64_t n = 1; n < m; ++n)
             for (int64_t k = 1; k * (m * m + n * n) <= end; ++k) {
               const double x = static_cast<double>(k * (m * m - n * n)), y = static_cast<double>(k * 2 * m * n);
               const double z = static_cast<double>(k * (m * m + n * n));
               c.add(x, y, z), c.add(-y, x, z);
             }
         for (int e = kLeast; e <= F::kMaxExponent; ++e) {
           const double x = static_cast<double>(std::ldexp(Real(1.9), e));
           c.add(x, -0.0, x), c.add(0, -x, x);
         }
       }},
      {"Pow",
       [](auto& c) {
         const int64_t end = largest_root<Real>(2);
         for (int64_t k = 1; k <= end; k += step_to(end)) {
           const double x = static_cast<double>(k);
           c.add(x, 2, x * x), c.add(-x, 2, x * x), c.add(x, 1, x), c.add(1 / x, 1, 1 / x), c.add(x, 0, 1);
         }
       }},
  };
}

template <class Real>
void check() {
  for (const Exact<Real>& exact : exact_cases<Real>()) {
    const KernelRow* kernel = find_kernel(exact.function, Format<Real>::kType);
    ASSERT_NE(kernel, nullptr) << exact.function;
    Cases<Real> c;
    exact.fill(c);
    std::vector<Real> r(c.a.size());
    for (const int slot : {kLA, kHA}) {
      call_unit<Real>(*kernel, slot, static_cast<int32_t>(c.a.size()), {c.a.data(), c.b.data(), r.data(), nullptr});
      int missed = 0;
      for (size_t i = 0; i < r.size(); ++i) {
        if (to_bits(r[i]) == to_bits(c.wanted[i])) continue;
        if (++missed <= 3) {
          ADD_FAILURE() << Format<Real>::kType << exact.function << " " << kSlotNames[slot] << " of " << c.a[i] << " "
                        << (c.b.empty() ? Real{0} : c.b[i]) << ": " << r[i] << ", wanted " << c.wanted[i];
        }
      }
      EXPECT_EQ(missed, 0) << "of " << r.size();
    }
  }
}

TEST(ExactResults, float_kernels) {
  check<float>();
}
TEST(ExactResults, double_kernels) {
  check<double>();
}

}  // namespace
