// Data fitting when memory runs out, and on data that no spline has.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>

#include "df_api.h"

namespace {
int countdown = 0;  // the allocation that fails, counted from 1; 0 for none
int made = 0, live = 0;
}  // namespace

// These take the place of the core library's for the whole process.
void* qlx_serv_allocate(size_t size, size_t alignment) {
  ++made;
  if (countdown > 0 && --countdown == 0) return nullptr;
  void* block = nullptr;
  if (posix_memalign(&block, alignment, size) != 0) return nullptr;
  ++live;
  return block;
}
void qlx_serv_deallocate(void* block) {
  if (block == nullptr) return;
  --live;
  std::free(block);
}

namespace {

template <class Real>
struct FaultTest : ::testing::Test {};
TYPED_TEST_SUITE(FaultTest, RealTypes);

constexpr int64_t kPoints = 600;

template <class Real>
struct Bench {
  std::vector<Real> x, y, ends{1, 2}, internal, knots, coefficients, results;
  std::vector<int32_t> cells;
  TaskHandle task;
  Bench() : y(2 * kPoints, 1), coefficients(8 * kPoints, -7), results(20000, -7), cells(10000, -7) {
    for (int64_t i = 0; i < kPoints; ++i) {
      x.push_back(static_cast<Real>(i));
      y[i] = static_cast<Real>(i % 7);
      internal.push_back(static_cast<Real>(i % 3));
      knots.push_back(static_cast<Real>(i) - Real{0.5});
    }
    knots.push_back(static_cast<Real>(kPoints));
    EXPECT_EQ(Api<Real>::new_task(&task, kPoints, x.data(), 1, 2, y.data(), 16, 1), DF_OK);
  }
  int32_t describe(int64_t order, int64_t type, int64_t boundary, int64_t internal_type, const Real* given) {
    return Api<Real>::edit_spline(task, order, type, boundary, ends.data(), internal_type, given, coefficients.data(),
                                  16);
  }
  bool untouched() const {
    for (const Real c : coefficients) {
      if (c != -7) return false;
    }
    for (const Real r : results) {
      if (r != -7) return false;
    }
    for (const int32_t c : cells) {
      if (c != -7) return false;
    }
    return true;
  }
};

TYPED_TEST(FaultTest, EveryAllocationFailureHasItsStatusAndLeaksNothing) {
  using Real = TypeParam;
  using A = Api<Real>;
  using B = Bench<Real>;
  struct Case {
    const char* name;
    int allocations;
    std::function<void(B&)> prepare;
    std::function<int32_t(B&)> run;
  };
  const auto spline = [](int64_t order, int64_t type, int64_t boundary, int64_t internal_type, auto member) {
    return [=](B& b) {
      ASSERT_EQ(b.describe(order, type, boundary, internal_type, internal_type == 0 ? nullptr : (b.*member).data()),
                DF_OK);
    };
  };
  const auto nothing = [](B&) {};
  const Case cases[] = {
      {"functions", 1, nothing, [](B& b) { return A::edit_ptr(b.task, DF_FUNCTION, b.y.data()); }},
      {"coefficients", 1, nothing, [](B& b) { return A::edit_ptr(b.task, DF_COEFFICIENTS, b.y.data()); }},
      {"spline", 1, nothing, [](B& b) { return b.describe(4, 0, 2, 0, nullptr); }},
      {"table", 1, nothing, [](B& b) { return qlx_df_kernel_iEditVal(b.task, DF_PARTITION_HINT, 1); }},
      {"search", 1, nothing,
       [](B& b) {
         return A::search(b.task, 0, 5000, b.ends.data(), DF_UNIFORM_SITES, nullptr, b.cells.data(), nullptr, nullptr,
                          nullptr);
       }},
      {"natural", 1, spline(4, 2, 2, 0, &B::internal),
       [](B& b) { return A::natural(b.task, 0, 0, &kSlicingServices); }},
      {"default", 1, spline(4, 0, 2, 2, &B::internal), [](B& b) { return A::standard(b.task, 0, 0, nullptr); }},
      {"Akima", 1, spline(4, 5, 0, 0, &B::internal), [](B& b) { return A::akima(b.task, 0, 0, nullptr); }},
      {"Subbotin", 1, spline(3, 1, 12, 8, &B::knots), [](B& b) { return A::quadratic(b.task, 0, 0, nullptr); }},
      {"integral", 2, spline(4, 0, 2, 0, &B::internal),
       [](B& b) {
         return A::integrate(b.task, 0, 0, 600, b.x.data(), 0, b.knots.data(), 0, nullptr, b.results.data(), 16,
                             nullptr, nullptr);
       }},
  };
  for (const Case& c : cases) {
    for (int k = 0; k <= c.allocations; ++k) {
      const int before = live;
      {
        B b;
        c.prepare(b);
        const int held = live;
        made = 0;
        countdown = k;
        EXPECT_EQ(c.run(b), k == 0 ? DF_OK : DF_NO_MEMORY) << c.name << " " << k;
        EXPECT_EQ(countdown, 0);
        if (k == 0) {
          EXPECT_EQ(made, c.allocations) << c.name;
        } else {
          EXPECT_TRUE(b.untouched()) << c.name;
          EXPECT_LE(live, held) << c.name;
        }
      }
      EXPECT_EQ(live, before) << c.name;
    }
  }

  // Creation: the task, its rows and its search table. What failed later leaves a task to delete.
  const int before = live;
  const Real x[] = {0, 1, 2};
  for (int k = 1; k <= 3; ++k) {
    DFTask* task = reinterpret_cast<DFTask*>(1);
    countdown = k;
    EXPECT_EQ(A::new_task(&task, 3, x, 0, 1, x, 16, 1), DF_NO_MEMORY);
    EXPECT_EQ(task == nullptr, k == 1);
    EXPECT_EQ(qlx_df_kernel_DeleteTask(&task), k == 1 ? DF_NULL_TASK : DF_OK);
    EXPECT_EQ(live, before);
  }

  // Without an allocation on the way: up to 4096 uniform sites, every evaluation, the kinds with local derivatives.
  B b;
  ASSERT_EQ(b.describe(4, 4, 2, 0, nullptr), DF_OK);
  const int64_t order = 0;
  made = 0;
  EXPECT_EQ(A::search(b.task, 0, 4096, b.ends.data(), 4, nullptr, b.cells.data(), nullptr, nullptr, nullptr), DF_OK);
  EXPECT_EQ(A::bessel(b.task, 0, 0, nullptr), DF_OK);
  EXPECT_EQ(A::interpolate(b.task, 0, 0, 9000, b.ends.data(), 4, nullptr, 1, &order, b.results.data(), 16, nullptr,
                           nullptr, nullptr),
            DF_OK);
  EXPECT_EQ(made, 0);
}

// Points that coincide, descend, or are no numbers: no kind crashes or runs for ever, and sound cells far from the
// damage of a local kind stay sound.
TYPED_TEST(FaultTest, DamagedPartitionsEnd) {
  using Real = TypeParam;
  using A = Api<Real>;
  const Real nan = std::numeric_limits<Real>::quiet_NaN(), inf = std::numeric_limits<Real>::infinity();
  for (int damage = 0; damage < 6; ++damage) {
    Bench<Real> b;
    if (damage == 0) b.x[300] = b.x[301];
    if (damage == 1) b.x[300] = nan;
    if (damage == 2) b.x[0] = nan;
    if (damage == 3) b.x[kPoints - 1] = inf;
    if (damage == 4) b.x.assign(kPoints, 3);
    if (damage == 5) std::reverse(b.x.begin(), b.x.end());
    ASSERT_EQ(qlx_df_kernel_iEditVal(b.task, DF_PARTITION_HINT, 1), DF_OK);
    const int64_t order = 0;
    for (const auto entry : {A::natural, A::hermite, A::bessel, A::hyman, A::akima, A::standard, A::linear}) {
      for (const int64_t boundary : {1, 2, 48}) {
        ASSERT_EQ(b.describe(4, 2, boundary, 0, nullptr), DF_OK);
        EXPECT_EQ(entry(b.task, 0, 0, nullptr), DF_OK);
        const bool local = entry != A::natural && entry != A::standard;
        EXPECT_TRUE(!local || damage > 1 || std::isfinite(b.coefficients[4 * 100 + 3])) << damage;
        EXPECT_EQ(A::interpolate(b.task, 0, 0, kPoints, b.knots.data(), 0, nullptr, 1, &order, b.results.data(), 16,
                                 nullptr, nullptr, nullptr),
                  DF_OK);
        EXPECT_EQ(A::integrate(b.task, 0, 0, kPoints, b.knots.data(), 0, b.x.data(), 0, nullptr, b.results.data(), 16,
                               nullptr, nullptr),
                  DF_OK);
      }
    }
    ASSERT_EQ(b.describe(3, 0, 128, 0, nullptr), DF_OK);
    EXPECT_EQ(A::quadratic(b.task, 0, 0, nullptr), DF_OK);
    b.x.push_back(b.x.back());  // as knots, of which there is one more, the same damage again
    ASSERT_EQ(A::edit_ptr(b.task, DF_PARTITION, b.x.data()), DF_OK);
    ASSERT_EQ(b.describe(3, 1, 12, 8, b.x.data()), DF_OK);
    EXPECT_EQ(A::quadratic(b.task, 0, 0, nullptr), DF_OK);
  }
}

}  // namespace
