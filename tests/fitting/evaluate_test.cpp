// Evaluation and integration against direct sums over the coefficients.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "df_api.h"

namespace {

// A task with arbitrary coefficients: evaluation must not presume a continuous spline.
template <class Real>
struct Spline {
  int64_t n, functions, order, type;
  bool uniform, subbotin;
  std::vector<Real> x, y, knots, coefficients, partition, given_knots;
  TaskHandle task;

  Spline(int64_t points, int64_t count, int64_t spline_order, int64_t spline_type, bool is_uniform)
      : n(points),
        functions(count),
        order(spline_order),
        type(spline_type),
        uniform(is_uniform),
        subbotin(spline_order == 3 && spline_type == 1) {
    Random random(static_cast<uint64_t>(n * 7 + order));
    for (int64_t i = 0; i < n; ++i) {
      x.push_back(
          static_cast<Real>(uniform ? 0.5 * static_cast<double>(i) : static_cast<double>(i) + 0.75 * random.real()));
    }
    for (int64_t i = 0; i < n * functions; ++i) y.push_back(static_cast<Real>(random.real(-2, 2)));
    const int64_t pieces = subbotin ? n : n - 1;
    for (int64_t i = 0; i < pieces * functions * order; ++i) {
      coefficients.push_back(static_cast<Real>(random.real(-1, 1)));
    }
    knots = x;
    if (subbotin) {
      knots = {x[0] - Real{0.25}};
      for (int64_t i = 1; i < n; ++i) knots.push_back((x[i - 1] + x[i]) / 2);
      knots.push_back(x[n - 1] + Real{0.25});
      given_knots = uniform ? std::vector<Real>{knots[0], knots[n]} : knots;
    }
    partition = uniform ? std::vector<Real>{x[0], x[n - 1]} : x;
    using A = Api<Real>;
    EXPECT_EQ(A::new_task(&task, n, partition.data(), uniform ? 4 : 1, functions, y.data(), 16, 1), DF_OK);
    EXPECT_EQ(A::edit_spline(task, order, type, 0, nullptr, subbotin ? (uniform ? 12 : 8) : 0,
                             subbotin ? given_knots.data() : nullptr, coefficients.data(), 16),
              DF_OK);
  }

  int64_t pieces() const { return static_cast<int64_t>(knots.size()) - 1; }
  int64_t piece(long double t) const {
    int64_t i = 0;
    while (i + 1 < pieces() && t >= knots[i + 1]) ++i;
    return i;
  }
  const Real* row(int64_t f, int64_t i) const { return coefficients.data() + (f * pieces() + i) * order; }

  long double value(int64_t f, long double t, int64_t derivative) const {
    const int64_t i = piece(t);
    long double sum = 0;
    for (int64_t j = order - 1; j >= derivative; --j) {
      long double factor = row(f, i)[j];
      for (int64_t k = 0; k < derivative; ++k) factor *= static_cast<long double>(j - k);
      sum = sum * (t - x[i]) + factor;
    }
    return sum;
  }
  long double antiderivative(int64_t f, int64_t i, long double t) const {
    long double sum = 0;
    for (int64_t j = order - 1; j >= 0; --j) sum = sum * (t - x[i]) + row(f, i)[j] / static_cast<long double>(j + 1);
    return sum * (t - x[i]);
  }
  long double integral(int64_t f, long double a, long double b) const {
    if (a > b) return -integral(f, b, a);
    const int64_t from = piece(a), to = piece(b);
    long double sum = 0;
    for (int64_t i = from; i <= to; ++i) {
      sum += antiderivative(f, i, i == to ? b : knots[i + 1]) - antiderivative(f, i, i == from ? a : knots[i]);
    }
    return sum;
  }
};

template <class Real>
struct EvaluationTest : ::testing::Test {};
TYPED_TEST_SUITE(EvaluationTest, RealTypes);

// Every order, hint and layout, over the borders of blocks and of slices.
TYPED_TEST(EvaluationTest, DerivativesOfEveryOrderInEveryLayout) {
  using Real = TypeParam;
  using A = Api<Real>;
  const std::vector<int64_t> orders{2, 0, 1, 0, 3, 4, 77};
  const auto D = static_cast<int64_t>(orders.size());
  struct {
    int64_t order, type;
  } const kinds[] = {{4, 0}, {4, 2}, {4, 3}, {4, 4}, {4, 5}, {4, 9}, {3, 0}, {3, 1}};
  for (const auto& kind : kinds) {
    for (const bool uniform : {false, true}) {
      const Spline<Real> s(40, 3, kind.order, kind.type, uniform);
      for (const int64_t m : {int64_t{1}, int64_t{2}, int64_t{257}, int64_t{3500}}) {
        if (m > 300 && kind.type != 0 && kind.type != 1) continue;
        for (const int64_t hint : {int64_t{0}, int64_t{64}, int64_t{4}}) {
          std::vector<Real> given, sites(m);
          const Real low = s.knots[0] - 1, high = s.knots.back() + 1;
          if (hint == 4) {
            given = {low, high};
            const Real step = m == 1 ? 0 : (high - low) / static_cast<Real>(m - 1);
            for (int64_t i = 0; i < m; ++i) sites[i] = low + static_cast<Real>(i) * step;
          } else {
            Random random(9);
            for (auto& t : sites) t = static_cast<Real>(random.real(low, high));
            for (size_t i = 0; i < std::min(sites.size() - 1, s.knots.size()); ++i) sites[i] = s.knots[i];
            if (hint == 64) std::sort(sites.begin(), sites.end());
            given = sites;
          }
          for (const int64_t layout : {0, 16, 32}) {
            std::vector<Real> results(m * D * 3, -99);
            std::vector<int32_t> cells(m, -1);
            ASSERT_EQ(A::interpolate(s.task, 0, 0, m, given.data(), hint, nullptr, D, orders.data(), results.data(),
                                     layout, cells.data(), nullptr, layout == 16 ? &kSlicingServices : nullptr),
                      DF_OK);
            for (int64_t i = 0; i < m; ++i) {
              const int64_t piece = s.piece(sites[i]);
              if (!(s.uniform && hint != 0)) {  // computed sites may round to the other side of a computed point
                const bool outside = sites[i] < s.knots[0] || sites[i] > s.knots.back();
                ASSERT_TRUE(outside || cells[i] == piece + 1) << sites[i];
              } else if (cells[i] != piece + 1) {
                continue;
              }
              for (int64_t f = 0; f < 3; ++f) {
                for (int64_t k = 0; k < D; ++k) {
                  const Real got = results[layout == 32 ? (i * 3 + f) * D + k : (f * D + k) * m + i];
                  ASSERT_NEAR(got, s.value(f, sites[i], orders[k]), 400 * std::numeric_limits<Real>::epsilon())
                      << kind.order << kind.type << uniform << " t=" << sites[i] << " order " << orders[k];
                }
              }
            }
          }
        }
      }
    }
  }
}

TYPED_TEST(EvaluationTest, EveryDerivativeIsNanWhereTheSiteIs) {
  const Spline<TypeParam> s(6, 1, 4, 0, false);
  const TypeParam sites[] = {1, std::numeric_limits<TypeParam>::quiet_NaN()};
  const int64_t orders[] = {0, 1, 2, 3, 4};
  TypeParam r[10];
  ASSERT_EQ(
      Api<TypeParam>::interpolate(s.task, 0, 0, 2, sites, 0, nullptr, 5, orders, r, 16, nullptr, nullptr, nullptr),
      DF_OK);
  for (int k = 0; k < 10; ++k) EXPECT_EQ(std::isnan(r[k]), k % 2 == 1) << k;
}

TYPED_TEST(EvaluationTest, StepsAndLookupNeedNoCoefficients) {
  using Real = TypeParam;
  using A = Api<Real>;
  const Real x[] = {0, 1, 2, 4}, y[] = {10, 20, 30, 40, 1, 2, 3, 4};
  const Real nan = std::numeric_limits<Real>::quiet_NaN();
  const Real sites[] = {-1, 0, 0.25, 0.5, 0.75, 1, 3, 3.5, 4, 5};
  // Points taken at the sites, by kind.
  const int points[3][10] = {
      {0, 0, 1, 1, 1, 1, 3, 3, 3, 3}, {0, 0, 0, 0, 0, 1, 2, 2, 3, 3}, {0, 0, 0, 1, 1, 1, 3, 3, 3, 3}};
  const Real limits[] = {-1, 0.25, 0.75, 3, 4, 4};
  const Real ends[] = {0, 0.75, 3.25, 5, 4.5, 4};
  const double integrals[3][6] = {{10, 10, 5 + 30 + 1.25 * 40, 80, 20, 0},
                                  {10, 5, 2.5 + 20 + 1.25 * 30, 70, 20, 0},
                                  {10, 2.5 + 5, 0.25 * 20 + 10 + 15 + 30 + 0.25 * 40, 80, 20, 0}};
  const int64_t orders[] = {0, 1};
  for (const int64_t storage : {16, 32}) {
    TaskHandle t;
    ASSERT_EQ(A::new_task(&t, 4, x, 1, 2, y, storage, 1), DF_OK);
    for (int kind = 0; kind < 3; ++kind) {
      Real results[40], integral[12];
      ASSERT_EQ(
          A::interpolate(t, 22 + kind, 0, 10, sites, 0, nullptr, 2, orders, results, 32, nullptr, nullptr, nullptr),
          DF_OK);
      ASSERT_EQ(A::integrate(t, 22 + kind, 0, 6, limits, 0, ends, 0, nullptr, integral, 16, nullptr, nullptr), DF_OK);
      for (int i = 0; i < 10; ++i) {
        for (int f = 0; f < 2; ++f) {
          EXPECT_EQ(results[(i * 2 + f) * 2], storage == 32 ? y[points[kind][i] * 2 + f] : y[f * 4 + points[kind][i]])
              << kind << " " << sites[i];
          EXPECT_EQ(results[(i * 2 + f) * 2 + 1], 0);
        }
      }
      for (int i = 0; storage == 16 && i < 6; ++i) EXPECT_NEAR(integral[i], integrals[kind][i], 1e-5) << kind << i;
      Real at_nan[2];
      ASSERT_EQ(A::interpolate(t, 22 + kind, 0, 1, &nan, 0, nullptr, 1, orders, at_nan, 0, nullptr, nullptr, nullptr),
                DF_OK);
      EXPECT_TRUE(std::isnan(at_nan[0]) && std::isnan(at_nan[1]));
    }
  }
}

TYPED_TEST(EvaluationTest, IntegralsOverListsOfLimits) {
  using Real = TypeParam;
  using A = Api<Real>;
  struct {
    int64_t order, type;
  } const kinds[] = {{4, 0}, {3, 0}, {3, 1}};
  for (const auto& kind : kinds) {
    for (const bool uniform : {false, true}) {
      const Spline<Real> s(60, 2, kind.order, kind.type, uniform);
      Random random(21);
      std::vector<Real> left, right;
      const Real low = s.knots[0], high = s.knots.back();
      // Equal, reversed, outside on one side or both, tiny, on knots.
      left = {1, low - 1, high + 1, low - 2, high, low, s.knots[3], 2, high + 1, low - 1};
      right = {1, high + 1, low - 1, low - 1, high + 1, high, s.knots[9], Real{2} + Real{0x1p-18}, high + 2, low};
      // `spans` makes the running sums worth building; the short list does not.
      for (const int64_t extra : {0, 400, 4000}) {
        for (int64_t i = 0; i < extra; ++i) {
          left.push_back(static_cast<Real>(random.real(low - 0.5, high + 0.5)));
          right.push_back(static_cast<Real>(random.real(low - 0.5, high + 0.5)));
        }
        const auto m = static_cast<int64_t>(left.size());
        for (const int64_t layout : {16, 32}) {
          std::vector<Real> results(2 * m, -99);
          ASSERT_EQ(A::integrate(s.task, 0, 0, m, left.data(), 0, right.data(), 0, nullptr, results.data(), layout,
                                 nullptr, &kSlicingServices),
                    DF_OK);
          for (int64_t i = 0; i < m; ++i) {
            for (int64_t f = 0; f < 2; ++f) {
              const long double want = s.integral(f, left[i], right[i]);
              // Sums over up to 60 cells of terms below 2; a short part keeps its relative accuracy.
              const long double scale = std::min(40.0L, 8 * std::fabs(static_cast<long double>(left[i]) - right[i]));
              ASSERT_NEAR(results[layout == 32 ? i * 2 + f : f * m + i], want,
                          scale * 16 * std::numeric_limits<Real>::epsilon())
                  << left[i] << " to " << right[i];
            }
          }
        }
      }
      // Uniform and sorted limits are the same limits.
      const Real ends[] = {low, high};
      std::vector<Real> want(20), got(20), spread(10), back(10, low);
      for (int i = 0; i < 10; ++i) spread[i] = low + static_cast<Real>(i) * ((high - low) / 9);
      ASSERT_EQ(
          A::integrate(s.task, 0, 0, 10, spread.data(), 64, back.data(), 0, nullptr, want.data(), 16, nullptr, nullptr),
          DF_OK);
      ASSERT_EQ(A::integrate(s.task, 0, 0, 10, ends, 4, back.data(), 0, nullptr, got.data(), 16, nullptr, nullptr),
                DF_OK);
      EXPECT_EQ(got, want);
    }
  }
  // Limits that are no numbers, and infinite ones that are equal.
  const Spline<Real> s(5, 1, 4, 0, false);
  const Real inf = std::numeric_limits<Real>::infinity(), nan = std::numeric_limits<Real>::quiet_NaN();
  const Real a[] = {nan, 0, inf}, b[] = {0, nan, inf};
  Real r[3];
  ASSERT_EQ(A::integrate(s.task, 0, 0, 3, a, 0, b, 0, nullptr, r, 0, nullptr, nullptr), DF_OK);
  EXPECT_TRUE(std::isnan(r[0]) && std::isnan(r[1]) && r[2] == 0);
}

template <class Real>
long double polynomial_at(const Real* c, long double u) {
  return c[0] + u * (c[1] + u * (c[2] + u * c[3]));
}

// A user's functions see what is outside, and the library the rest; their failures end the call.
template <class Real>
struct Outside {
  int32_t status = 0;
  int calls = 0;
  Real mark = 0;
};
template <class Real>
int32_t mark_sites(int64_t f, int64_t order, int64_t count, const Real* sites, Real* results, void* parameters) {
  auto& o = *static_cast<Outside<Real>*>(parameters);
  ++o.calls;
  for (int64_t i = 0; i < count; ++i) results[i] = o.mark + static_cast<Real>(10 * f + order) + sites[i];
  return o.status;
}
template <class Real>
int32_t mark_integral(int64_t f, Real left, Real right, Real* result, void* parameters) {
  const auto& o = *static_cast<Outside<Real>*>(parameters);
  *result = (right - left) * (o.mark + static_cast<Real>(f));
  return o.status;
}
template <class Real>
int32_t all_in_cell_two(const int64_t* count, const Real*, int64_t* cells, int32_t*, void* parameters, int64_t method) {
  for (int64_t i = 0; i < *count; ++i) cells[i] = 2;
  *static_cast<int64_t*>(parameters) = method;
  return 1000;
}

TYPED_TEST(EvaluationTest, CallbacksExtrapolateAndSearch) {
  using Real = TypeParam;
  using A = Api<Real>;
  const Spline<Real> s(6, 2, 4, 0, false);
  const Real low = s.x[0], high = s.x[5];
  const Real sites[] = {low - 1, 2, high + 1, low - 2, high, low};
  const int64_t orders[] = {1, 0};
  Outside<Real> left{0, 0, 100}, right{0, 0, 200};
  typename A::Callbacks callbacks{};
  callbacks.left_extrapolate = mark_sites<Real>;
  callbacks.left_extrapolate_parameters = &left;
  callbacks.right_extrapolate = mark_sites<Real>;
  callbacks.right_extrapolate_parameters = &right;
  callbacks.left_integral = mark_integral<Real>;
  callbacks.left_integral_parameters = &left;
  callbacks.right_integral = mark_integral<Real>;
  callbacks.right_integral_parameters = &right;
  const auto run = [&](std::vector<Real>& r) {
    return A::interpolate(s.task, 0, 0, 6, sites, 0, nullptr, 2, orders, r.data(), 16, nullptr, &callbacks, nullptr);
  };
  std::vector<Real> r(24);
  ASSERT_EQ(run(r), DF_OK);
  for (int64_t f = 0; f < 2; ++f) {
    for (int64_t k = 0; k < 2; ++k) {
      for (int i = 0; i < 6; ++i) {
        const Real mark = static_cast<Real>(10 * f + orders[k]) + sites[i];
        const Real got = r[(f * 2 + k) * 6 + i];
        if (i == 0 || i == 3) {
          EXPECT_EQ(got, 100 + static_cast<Real>(10 * f + orders[k]) + sites[i]);
        } else if (i == 2) {
          EXPECT_NEAR(got, 200 + mark, 1e-4);
        } else {
          EXPECT_NEAR(got, s.value(f, sites[i], orders[k]), 1e-5);
        }
      }
    }
  }
  EXPECT_EQ(left.calls, 4) << "a block of sites at once, for each function and order";
  const Real from[] = {low - 2, high + 1, low - 1}, to[] = {low - 1, low, high + 2};
  Real integrals[6];
  ASSERT_EQ(A::integrate(s.task, 0, 0, 3, from, 0, to, 0, nullptr, integrals, 16, &callbacks, nullptr), DF_OK);
  EXPECT_NEAR(integrals[0], 100, 1e-3);
  EXPECT_NEAR(integrals[1], -200 - s.integral(0, low, high), 1e-3);
  EXPECT_NEAR(integrals[5], 101 + 2 * 201 + s.integral(1, low, high), 1e-3);
  left.status = -4321;
  EXPECT_EQ(run(r), -4321);
  EXPECT_EQ(A::integrate(s.task, 0, 0, 3, from, 0, to, 0, nullptr, integrals, 16, &callbacks, nullptr), -4321);

  // Cells that are nowhere near: the end polynomials.
  typename A::Callbacks astray{};
  astray.search = [](const int64_t* count, const Real*, int64_t* found, int32_t*, void*, int64_t) -> int32_t {
    for (int64_t i = 0; i < *count; ++i) {
      found[i] = i % 2 == 0 ? std::numeric_limits<int32_t>::min() : std::numeric_limits<int32_t>::max();
    }
    return 1000;
  };
  std::vector<Real> at_ends(12);
  ASSERT_EQ(
      A::interpolate(s.task, 0, 0, 6, sites, 0, nullptr, 1, orders + 1, at_ends.data(), 16, nullptr, &astray, nullptr),
      DF_OK);
  EXPECT_NEAR(at_ends[0], s.value(0, sites[0], 0), 1e-4);
  EXPECT_NEAR(at_ends[2], polynomial_at(s.row(0, 0), sites[2] - s.x[0]), 2e-3);
  EXPECT_NEAR(at_ends[3], polynomial_at(s.row(0, 4), sites[3] - s.x[4]), 2e-3);

  int64_t method = 0;
  typename A::Callbacks searching{};
  searching.search = all_in_cell_two<Real>;
  searching.search_parameters = &method;
  int32_t cells[6];
  ASSERT_EQ(A::interpolate(s.task, 0, 77, 6, sites, 0, nullptr, 0, nullptr, nullptr, 0, cells, &searching, nullptr),
            DF_OK);
  EXPECT_EQ(method, 77);
  EXPECT_EQ(*std::min_element(cells, cells + 6), 2);
  EXPECT_EQ(*std::max_element(cells, cells + 6), 2);
}

// The whole chain on real threads: the same bits as on one.
TYPED_TEST(EvaluationTest, ThreadsChangeNothing) {
  using Real = TypeParam;
  using A = Api<Real>;
  constexpr int64_t kPoints = 5000, kFunctions = 6, kSites = 10007;
  std::vector<Real> x, y, sites;
  Random random(17);
  for (int64_t i = 0; i < kPoints; ++i) x.push_back(static_cast<Real>(static_cast<double>(i) + 0.5 * random.real()));
  for (int64_t i = 0; i < kPoints * kFunctions; ++i) y.push_back(static_cast<Real>(random.real()));
  for (int64_t i = 0; i < kSites; ++i) sites.push_back(static_cast<Real>(random.real(0, kPoints)));
  std::sort(sites.begin(), sites.end());
  const int before = qlx_serv_set_num_threads_limit(3);
  const int64_t order = 0;
  for (const auto entry : {A::natural, A::akima}) {
    std::vector<Real> coefficients[2], values[2], integrals[2];
    std::vector<int32_t> cells[2];
    for (const int threads : {0, 1}) {
      const QlxThreadTable* services = threads == 0 ? nullptr : qlx_serv_thread_table();
      coefficients[threads].resize(4 * kPoints * kFunctions);
      values[threads].resize(kSites * kFunctions);
      integrals[threads].resize(kSites * kFunctions);
      cells[threads].resize(kSites);
      TaskHandle t;
      ASSERT_EQ(A::new_task(&t, kPoints, x.data(), 1, kFunctions, y.data(), 16, 1), DF_OK);
      ASSERT_EQ(A::edit_spline(t, 4, 2, DF_BC_FREE_END, nullptr, 0, nullptr, coefficients[threads].data(), 16), DF_OK);
      ASSERT_EQ(entry(t, 0, 0, services), DF_OK);
      ASSERT_EQ(A::search(t, 0, kSites, sites.data(), 64, nullptr, cells[threads].data(), nullptr, nullptr, services),
                DF_OK);
      ASSERT_EQ(A::interpolate(t, 0, 0, kSites, sites.data(), 64, nullptr, 1, &order, values[threads].data(), 16,
                               nullptr, nullptr, services),
                DF_OK);
      const Real zero[] = {0, 0};
      ASSERT_EQ(A::integrate(t, 0, 0, kSites, zero, 4, sites.data(), 64, nullptr, integrals[threads].data(), 16,
                             nullptr, services),
                DF_OK);
    }
    EXPECT_EQ(cells[0], cells[1]);
    EXPECT_EQ(coefficients[0], coefficients[1]);
    EXPECT_EQ(values[0], values[1]);
    EXPECT_EQ(integrals[0], integrals[1]);
  }
  qlx_serv_set_num_threads_limit(before);
}

TYPED_TEST(EvaluationTest, StatusesComeInOrder) {
  using Real = TypeParam;
  using A = Api<Real>;
  const Spline<Real> s(6, 1, 4, 0, false);
  const Real sites[] = {1, 2}, bad_parameters[] = {0, 7, 0, 0, 0};
  const int64_t orders[] = {0, -1};
  Real r[4] = {-5, -5, -5, -5};
  // Each line mends what the line before failed for.
  EXPECT_EQ(A::interpolate(nullptr, 0, 0, -1, nullptr, 0, bad_parameters, -1, nullptr, r, 3, nullptr, nullptr, nullptr),
            DF_NULL_TASK);
  ASSERT_EQ(qlx_df_kernel_iEditVal(s.task, DF_SPLINE_ORDER, 2), DF_OK);
  EXPECT_EQ(A::interpolate(s.task, 22, 0, -1, nullptr, 0, bad_parameters, -1, nullptr, r, 3, nullptr, nullptr, nullptr),
            DF_BAD_SPLINE_TYPE);
  ASSERT_EQ(qlx_df_kernel_iEditVal(s.task, DF_SPLINE_ORDER, 4), DF_OK);
  EXPECT_EQ(A::interpolate(s.task, 0, 0, -1, sites, 0, bad_parameters, -1, nullptr, r, 3, nullptr, nullptr, nullptr),
            DF_BAD_SITES);
  EXPECT_EQ(A::interpolate(s.task, 0, 0, 1, nullptr, 0, bad_parameters, -1, nullptr, r, 3, nullptr, nullptr, nullptr),
            DF_BAD_SITES);
  EXPECT_EQ(A::interpolate(s.task, 0, 0, 2, sites, 0, bad_parameters, -1, nullptr, r, 3, nullptr, nullptr, nullptr),
            DF_BAD_DERIVATIVE_COUNT);
  EXPECT_EQ(
      A::interpolate(s.task, 0, 0, 2, sites, 0, bad_parameters, 1, nullptr, nullptr, 3, nullptr, nullptr, nullptr),
      DF_BAD_DERIVATIVE_COUNT);
  EXPECT_EQ(A::interpolate(s.task, 0, 0, 2, sites, 0, bad_parameters, 1, nullptr, r, 3, nullptr, nullptr, nullptr),
            DF_BAD_DERIVATIVE_ORDERS);
  EXPECT_EQ(A::interpolate(s.task, 0, 0, 2, sites, 0, bad_parameters, 2, orders, r, 3, nullptr, nullptr, nullptr),
            DF_BAD_DERIVATIVE_ORDERS);
  EXPECT_EQ(A::interpolate(s.task, 0, 0, 2, sites, 0, bad_parameters, 1, orders, r, 3, nullptr, nullptr, nullptr),
            DF_BAD_COEFFICIENT_HINT);
  EXPECT_EQ(A::interpolate(s.task, 0, 0, 2, sites, 0, bad_parameters, 1, orders, r, 0, nullptr, nullptr, nullptr),
            DF_BAD_SITE_PARAMETERS);
  EXPECT_EQ(A::integrate(nullptr, 0, 0, -1, sites, 0, sites, 0, bad_parameters, r, 3, nullptr, nullptr), DF_NULL_TASK);
  EXPECT_EQ(A::integrate(s.task, 0, 0, -1, sites, 0, sites, 0, bad_parameters, r, 3, nullptr, nullptr), DF_BAD_SITES);
  EXPECT_EQ(A::integrate(s.task, 0, 0, 2, sites, 0, nullptr, 0, bad_parameters, r, 3, nullptr, nullptr), DF_BAD_SITES);
  EXPECT_EQ(A::integrate(s.task, 0, 0, 2, sites, 0, sites, 0, bad_parameters, r, 3, nullptr, nullptr),
            DF_BAD_COEFFICIENT_HINT);
  EXPECT_EQ(A::integrate(s.task, 0, 0, 2, sites, 0, sites, 0, bad_parameters, r, 0, nullptr, nullptr),
            DF_BAD_SITE_PARAMETERS);
  for (const Real value : r) EXPECT_EQ(value, -5) << "nothing is written before the last check";

  // Order and type choose the kind: 4 takes type 9, which the value editor refuses, and not its 8.
  struct {
    int64_t order, type, kind;
    int32_t status;
  } const kinds[] = {{4, 1, 0, DF_BAD_SPLINE_TYPE},
                     {4, 6, 0, DF_BAD_SPLINE_TYPE},
                     {4, 8, 0, DF_BAD_SPLINE_TYPE},
                     {4, 9, 0, DF_OK},
                     {4, 10, 0, DF_BAD_SPLINE_TYPE},
                     {4, 64, 0, DF_BAD_SPLINE_TYPE},
                     {3, 2, 0, DF_BAD_SPLINE_TYPE},
                     {0, 8, 21, DF_BAD_SPLINE_TYPE},
                     {0, 8, 24, DF_OK},
                     {0, 8, 25, DF_BAD_SPLINE_TYPE},
                     {1, 0, 22, DF_BAD_SPLINE_TYPE},
                     {5, 0, 22, DF_BAD_SPLINE_TYPE}};
  for (const auto& k : kinds) {
    ASSERT_EQ(A::edit_spline(s.task, k.order, k.type, 0, nullptr, 0, nullptr, nullptr, 0), DF_OK);
    EXPECT_EQ(A::interpolate(s.task, k.kind, 0, 2, sites, 0, nullptr, 1, orders, r, 0, nullptr, nullptr, nullptr),
              k.status)
        << k.order << " " << k.type << " " << k.kind;
    EXPECT_EQ(A::integrate(s.task, k.kind, 0, 2, sites, 0, sites, 0, nullptr, r, 0, nullptr, nullptr), k.status);
  }
}

}  // namespace
