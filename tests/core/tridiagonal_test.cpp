// Tridiagonal solvers: against elimination in a wider type, and the promises of the header.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <vector>

#include "qlx/core.h"

namespace {

template <class T>
struct Names;
template <>
struct Names<double> {
  static constexpr auto factor = ddttrfb_4dfl;
  static constexpr auto solve = ddttrsb_4dfl;
  static constexpr auto both = ddtsvb_4dfl;
};
template <>
struct Names<float> {
  static constexpr auto factor = sdttrfb_4dfl;
  static constexpr auto solve = sdttrsb_4dfl;
  static constexpr auto both = sdtsvb_4dfl;
};

// A diagonally dominant system with right-hand sides; `scale` multiplies the matrix.
template <class T>
struct System {
  System(int64_t order, int64_t columns, int64_t ld, T scale)
      : n(order), nrhs(columns), ldb(ld), b(ldb * nrhs, T(-77)) {
    std::mt19937 random(static_cast<unsigned>(n * 31 + nrhs));
    std::uniform_real_distribution<double> uniform(-1, 1);
    for (int64_t i = 0; i + 1 < n; ++i) {
      dl.push_back(static_cast<T>(uniform(random)) * scale);
      du.push_back(static_cast<T>(uniform(random)) * scale);
    }
    for (int64_t i = 0; i < n; ++i) {
      const T beside = (i > 0 ? std::fabs(dl[i - 1]) : 0) + (i + 1 < n ? std::fabs(du[i]) : 0);
      d.push_back((uniform(random) < 0 ? -1 : 1) * (beside * T(1.01) + T(0.01) * scale));
    }
    for (int64_t k = 0; k < nrhs; ++k) {
      for (int64_t i = 0; i < n; ++i) b[i + k * ldb] = static_cast<T>(uniform(random)) * scale;
    }
  }

  // Largest |A x - b| of a column over (|A| |x| + |b|): the componentwise backward error (W. Oettli and W. Prager,
  // Numerische Mathematik 6, 1964).
  double backward_error(const std::vector<T>& x, int64_t column) const {
    double worst = 0;
    for (int64_t i = 0; i < n; ++i) {
      long double sum = 0, size = std::fabs(static_cast<long double>(b[i + column * ldb]));
      const auto add = [&](T a, int64_t j) {
        const long double product = static_cast<long double>(a) * x[j + column * ldb];
        sum += product;
        size += std::fabs(product);
      };
      if (i > 0) add(dl[i - 1], i - 1);
      add(d[i], i);
      if (i + 1 < n) add(du[i], i + 1);
      worst = std::fmax(worst, static_cast<double>(std::fabs(sum - b[i + column * ldb]) / size));
    }
    return worst;
  }

  int64_t n, nrhs, ldb;
  std::vector<T> dl, d, du, b;
};

template <class T>
class Tridiagonal : public testing::Test {};
using Types = testing::Types<float, double>;
TYPED_TEST_SUITE(Tridiagonal, Types);

}  // namespace

TYPED_TEST(Tridiagonal, solves_with_small_backward_error_whatever_the_road) {
  using T = TypeParam;
  // The last two scales make products of two entries overflow or vanish.
  const T largest = std::sqrt(std::numeric_limits<T>::max()) * 1024;
  for (T scale : {T(1), largest, 1 / largest}) {
    for (int64_t n : {1, 2, 3, 4, 5, 6, 7, 100, 1001}) {
      for (int64_t nrhs : {1, 3, 4, 9}) {
        const System<T> system(n, nrhs, n + 2, scale);
        int64_t info = -99;
        std::vector<T> d = system.d, x = system.b;
        Names<T>::factor(&n, system.dl.data(), d.data(), system.du.data(), &info);
        ASSERT_EQ(info, 0);
        Names<T>::solve(&n, &nrhs, system.dl.data(), d.data(), system.du.data(), x.data(), &system.ldb, &info);
        ASSERT_EQ(info, 0);
        for (int64_t k = 0; k < nrhs; ++k) {
          EXPECT_LT(system.backward_error(x, k), 8 * std::numeric_limits<T>::epsilon()) << n << " " << k;
          EXPECT_EQ(x[n + k * system.ldb], -77) << "rows beyond n belong to the caller";
        }

        std::vector<T> d_both = system.d, x_both = system.b;
        Names<T>::both(&n, &nrhs, system.dl.data(), d_both.data(), system.du.data(), x_both.data(), &system.ldb, &info);
        EXPECT_EQ(info, 0);
        EXPECT_EQ(x_both, x);
        EXPECT_EQ(d_both, d);

        // The last column alone.
        const int64_t one = 1;
        std::vector<T> alone(system.b.end() - system.ldb, system.b.end());
        Names<T>::solve(&n, &one, system.dl.data(), d.data(), system.du.data(), alone.data(), &system.ldb, &info);
        EXPECT_EQ(alone, std::vector<T>(x.end() - system.ldb, x.end()));
      }
    }
  }
}

TYPED_TEST(Tridiagonal, reports_the_row_of_a_zero_pivot) {
  using T = TypeParam;
  const int64_t one = 1;
  for (int64_t n : {1, 2, 3, 4, 5, 8, 9}) {
    for (int64_t row = 1; row <= n; ++row) {
      // Without off-diagonal entries the pivots are the diagonal.
      std::vector<T> dl(n, 0), d(n, 1), b(n, 1);
      d[row - 1] = 0;
      int64_t info = -99;
      std::vector<T> d_both = d;
      Names<T>::factor(&n, dl.data(), d.data(), dl.data(), &info);
      EXPECT_EQ(info, row) << n;
      Names<T>::both(&n, &one, dl.data(), d_both.data(), dl.data(), b.data(), &n, &info);
      EXPECT_EQ(info, row) << n;
    }
  }
}

TYPED_TEST(Tridiagonal, checks_orders_before_touching_anything) {
  using T = TypeParam;
  struct Row {
    int64_t n, nrhs, ldb, info;
  };
  for (const Row& row : {Row{-1, 1, 1, -1}, Row{1, -1, 1, -2}, Row{2, 1, 1, -7}, Row{0, 1, 0, -7}, Row{0, 1, 1, 0}}) {
    int64_t info = -99;
    T* const none = nullptr;
    Names<T>::both(&row.n, &row.nrhs, none, none, none, none, &row.ldb, &info);
    EXPECT_EQ(info, row.info);
    Names<T>::solve(&row.n, &row.nrhs, none, none, none, none, &row.ldb, &info);
    EXPECT_EQ(info, row.info);
  }
  const int64_t n = -1, empty = 0, three = 3;
  int64_t info = -99;
  TypeParam* const none = nullptr;
  Names<T>::factor(&n, none, none, none, &info);
  EXPECT_EQ(info, -1);
  Names<T>::factor(&empty, none, none, none, &info);
  EXPECT_EQ(info, 0);
  // No right-hand side: the factor alone.
  T d[3] = {2, 4, 8};
  const T off[2] = {0, 0};
  Names<T>::both(&three, &empty, off, d, off, none, &three, &info);
  EXPECT_EQ(info, 0);
  EXPECT_EQ(d[2], T(0.125));
}
