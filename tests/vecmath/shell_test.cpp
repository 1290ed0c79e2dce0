// What every kernel has from the shell: no element outside the arrays is touched, lanes are independent, and the
// strided form equals the unit-stride form.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <set>

#include "vecmath/kernels.h"

namespace qlx::testing {
namespace {

constexpr int kLongest = 3 * 32 + 3;  // three of the largest blocks and a tail

// `count` elements that end just before, or begin just after, a page that can't be touched.
template <class Real>
class Guarded {
 public:
  Guarded(int count, bool at_end) {
    page_ = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t room = (count * sizeof(Real) / page_ + 1) * page_;
    size_ = room + 2 * page_;
    base_ = static_cast<char*>(mmap(nullptr, size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    mprotect(base_ + page_, room, PROT_READ | PROT_WRITE);
    data = reinterpret_cast<Real*>(base_ + (at_end ? page_ + room - count * sizeof(Real) : page_));
  }
  ~Guarded() { munmap(base_, size_); }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;
  Real* data;

 private:
  size_t page_, size_;
  char* base_;
};

// Ordinary arguments and special ones, mixed.
template <class Real>
void fill(Real* x, int n, unsigned seed) {
  static const Real special[] = {
      0,
      -Real{0},
      std::numeric_limits<Real>::infinity(),
      -1,
      -700,
      std::numeric_limits<Real>::quiet_NaN(),
      std::numeric_limits<Real>::denorm_min(),
      std::numeric_limits<Real>::max(),
      static_cast<Real>(sizeof(Real) == 4 ? 1e30 : 1e100),  // a double beyond a float's range
      static_cast<Real>(sizeof(Real) == 4 ? 1e-30 : 1e-100)};
  std::mt19937 random(seed);
  for (int i = 0; i < n; ++i) {
    x[i] =
        random() % 8 == 0 ? special[random() % std::size(special)] : std::ldexp(static_cast<Real>(random() + 1u), -30);
  }
}

template <class Real>
bool same_bits(const Real* x, const Real* y, size_t n) {
  return std::memcmp(x, y, n * sizeof(Real)) == 0;
}

template <class Real>
struct Results {
  std::vector<Real> r, s;
  bool operator==(const Results& o) const {
    return r.size() == o.r.size() && same_bits(r.data(), o.r.data(), r.size()) &&
           same_bits(s.data(), o.s.data(), s.size());
  }
};

// The reference: each element by a call of its own.
template <class Real>
Results<Real> one_by_one(const Function<Real>& f, int slot, int n, const Real* a, const Real* b) {
  Results<Real> x{std::vector<Real>(n), std::vector<Real>(n)};
  for (int i = 0; i < n; ++i) f.unit(slot, {1, a + i, b + i, &x.r[i], &x.s[i]});
  return x;
}

template <class Real>
class Shell : public ::testing::Test {
 protected:
  void SetUp() override { _qvmSetMode(0x100); }
  void TearDown() override { _qvmSetMode(0x1A00); }

  // Runs body(function, slot) for each kernel once, though several slots may hold it.
  template <class Body>
  static void for_each_kernel(const Body& body) {
    for (const Function<Real>& f : all_functions<Real>()) {
      for (int slot = 0; slot < 3; ++slot) {
        if (f.row->first_slot(slot) != slot) continue;
        SCOPED_TRACE(f.full_name + " slot " + std::to_string(slot));
        body(f, slot);
      }
    }
  }
};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Shell, Types);

TYPED_TEST(Shell, touches_no_element_outside_and_depends_on_no_neighbour) {
  using Real = TypeParam;
  this->for_each_kernel([](const Function<Real>& f, int slot) {
    for (const bool at_end : {false, true}) {
      std::vector<Real> a(kLongest), b(kLongest);
      fill(a.data(), kLongest, 5);
      fill(b.data(), kLongest, 6);
      const Results<Real> expected = one_by_one(f, slot, kLongest, a.data(), b.data());
      for (int n = 0; n <= kLongest; n += n < 40 ? 1 : 7) {
        Guarded<Real> ga(n, at_end), gb(n, at_end), gr(n, at_end), gs(n, at_end);
        std::copy_n(a.data(), n, ga.data);
        std::copy_n(b.data(), n, gb.data);
        f.unit(slot, {n, ga.data, gb.data, gr.data, gs.data});
        ASSERT_TRUE(same_bits(gr.data, expected.r.data(), n)) << n;
        ASSERT_TRUE(f.results == 1 || same_bits(gs.data, expected.s.data(), n)) << n;
        // In place, and elements beyond n as they were.
        if (n > 1) {
          const Real last = ga.data[n - 1];
          f.unit(slot, {n - 1, ga.data, gb.data, ga.data, gs.data});
          ASSERT_TRUE(same_bits(ga.data, expected.r.data(), n - 1)) << n;
          ASSERT_TRUE(same_bits(&last, &ga.data[n - 1], 1)) << n;
        }
      }
      f.unit(slot, {-5, nullptr, nullptr, nullptr, nullptr});
      f.strided(slot, {0, nullptr, nullptr, nullptr, nullptr, 2, 2, 2, 2});
    }
  });
}

TYPED_TEST(Shell, strided_form_equals_unit_stride_form) {
  using Real = TypeParam;
  const int strides[][4] = {{1, 1, 1, 1},  {2, 3, 1, 2},    {1, 2, 3, 1},  {0, 1, 1, 1}, {1, 0, 2, 2},
                            {-1, 2, 1, 1}, {5, -3, -2, -1}, {0, 0, -1, 3}, {7, 1, 1, 1}};
  this->for_each_kernel([&](const Function<Real>& f, int slot) {
    for (const int* stride : strides) {
      for (const int n : {1, 2, 15, 16, 17, 31, 33, kLongest}) {
        // Arrays that end at a guard page in the direction of their stride.
        const auto span = [n](int s) { return (n - 1) * std::abs(s) + 1; };
        const auto begin = [n, span](Real* base, int s) { return s < 0 ? base + span(s) - 1 : base; };
        Guarded<Real> ga(span(stride[0]), true), gb(span(stride[1]), true), gr(span(stride[2]), true),
            gs(span(stride[3]), true);
        fill(ga.data, span(stride[0]), 7);
        fill(gb.data, span(stride[1]), 8);
        Real *a = begin(ga.data, stride[0]), *b = begin(gb.data, stride[1]), *r = begin(gr.data, stride[2]),
             *s = begin(gs.data, stride[3]);
        std::vector<Real> da(n), db(n);
        for (int i = 0; i < n; ++i) {
          da[i] = a[i * stride[0]];
          db[i] = b[i * stride[1]];
        }
        const Results<Real> expected = one_by_one(f, slot, n, da.data(), db.data());
        f.strided(slot, {n, a, b, r, s, stride[0], stride[1], stride[2], stride[3]});
        Results<Real> got{std::vector<Real>(n), std::vector<Real>(n)};
        for (int i = 0; i < n; ++i) {
          got.r[i] = r[i * stride[2]];
          got.s[i] = f.results == 1 ? 0 : s[i * stride[3]];
        }
        ASSERT_TRUE(got == expected) << "n " << n << " strides " << stride[0] << " " << stride[1] << " " << stride[2];
      }
    }
  });
}

// Mode and reports don't move a result, with denormals and without: the road without error handling, the report that
// widens and narrows, and the one that does nothing give the same bits.
TYPED_TEST(Shell, error_mode_has_no_influence_on_results) {
  using Real = TypeParam;
  this->for_each_kernel([](const Function<Real>& f, int slot) {
    std::vector<Real> a(kLongest), b(kLongest), r(kLongest), s(kLongest);
    fill(a.data(), kLongest, 9);
    fill(b.data(), kLongest, 10);
    for (const uint32_t denormals : {0x280000u, 0x140000u}) {
      _qvmSetMode(0x100 | denormals);
      const Results<Real> expected = one_by_one(f, slot, kLongest, a.data(), b.data());
      for (const uint32_t mode : {0x2000u, 0x1A00u, 0x200u}) {
        _qvmSetMode(mode);
        f.unit(slot, {kLongest, a.data(), b.data(), r.data(), s.data()});
        EXPECT_TRUE(same_bits(r.data(), expected.r.data(), kLongest)) << mode << " " << denormals;
        EXPECT_TRUE(f.results == 1 || same_bits(s.data(), expected.s.data(), kLongest)) << mode << " " << denormals;
      }
    }
    _qvmSetMode(0x100);
  });
}

// A count next to the largest, at a stride of 0, ends where it should.
TEST(LongestVector, strided_count_does_not_run_over) {
  const float a = -2;
  float r = 0;
  _qvmsAbsI(INT32_MAX, &a, 0, &r, 0);
  EXPECT_EQ(r, 2);
}

// Lanes past the end raise no flag of their own.
TEST(Flags, come_from_the_elements_alone) {
  const double a[] = {1, 9, 1}, b[] = {2, 9, 2};
  double r[3];
  std::feclearexcept(FE_ALL_EXCEPT);
  _qvmdLinearFrac(1, a, b, 1, 0, 1, -0.75, r);  // 0.75 would be a pole
  EXPECT_FALSE(std::fetestexcept(FE_DIVBYZERO));
  std::feclearexcept(FE_ALL_EXCEPT);
  _qvmdInvI(2, b, 2, r, 2);
  EXPECT_FALSE(std::fetestexcept(FE_INEXACT));
}

}  // namespace
}  // namespace qlx::testing
