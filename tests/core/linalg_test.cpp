// Dense linear algebra against plain loops: every letter, sizes on both sides of the blocked roads.
// SPDX-License-Identifier: Apache-2.0
//
// What a routine must not read is NaN, what it must not write is checked afterwards.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "qlx/core.h"

namespace {

constexpr char kSides[] = {'L', 'r'}, kTriangles[] = {'U', 'l'}, kOps[] = {'n', 'T'}, kDiagonals[] = {'N', 'u'};
// Beyond 64 the packed product has several tiles and LAPACK's routines several blocks.
constexpr int kOrders[] = {1, 2, 10, 64, 131};

bool is(char letter, char upper) {
  return (letter & ~0x20) == upper;
}

// An entry by row and column.
using Entry = std::function<double(int, int)>;

Entry transposed(char op, Entry a) {
  if (is(op, 'N')) return a;
  return [a](int i, int j) { return a(j, i); };
}

// Column-major matrix with two rows of padding.
template <class T>
struct Matrix {
  Matrix(int row_count, int column_count)
      : rows(row_count), columns(column_count), ld(rows + 2), data(ld * columns + 1, padding()) {}
  static T padding() { return T(-12345); }

  T& operator()(int i, int j) { return data[i + static_cast<size_t>(j) * ld]; }
  T operator()(int i, int j) const { return data[i + static_cast<size_t>(j) * ld]; }
  Entry entry() const {
    return [this](int i, int j) { return static_cast<double>((*this)(i, j)); };
  }
  // The matrix that a triangle stands for: itself, its mirror image or zeros beyond, ones on the diagonal.
  Entry symmetric(char triangle) const {
    return [=, this](int i, int j) { return (is(triangle, 'U')) == (i <= j) ? (*this)(i, j) : (*this)(j, i); };
  }
  Entry triangular(char triangle, char diagonal) const {
    return [=, this](int i, int j) -> double {
      if (i == j) return is(diagonal, 'U') ? 1 : (*this)(i, i);
      return is(triangle, 'U') == (i < j) ? (*this)(i, j) : 0;
    };
  }
  // Writes `value` to the strict triangle that `triangle` doesn't name.
  void fill_opposite(char triangle, T value) {
    for (int j = 0; j < columns; ++j) {
      for (int i = 0; i < rows; ++i) {
        if (i != j && is(triangle, 'U') != (i < j)) (*this)(i, j) = value;
      }
    }
  }
  void fill_diagonal(T value) {
    for (int i = 0; i < rows; ++i) (*this)(i, i) = value;
  }
  void expect_padding_kept() const {
    for (int j = 0; j < columns; ++j) {
      for (int i = rows; i < ld; ++i) EXPECT_EQ((*this)(i, j), padding());
    }
    EXPECT_EQ(data.back(), padding());
  }
  // The triangle, packed by columns.
  std::vector<T> packed(char triangle) const {
    std::vector<T> result;
    for (int j = 0; j < columns; ++j) {
      const int first = is(triangle, 'U') ? 0 : j, last = is(triangle, 'U') ? j + 1 : rows;
      for (int i = first; i < last; ++i) result.push_back((*this)(i, j));
    }
    return result;
  }

  int rows, columns, ld;
  std::vector<T> data;
};

template <class T>
Matrix<T> random_matrix(int rows, int columns) {
  static std::mt19937 random(2024);
  std::uniform_real_distribution<T> uniform(-1, 1);
  Matrix<T> a(rows, columns);
  for (int j = 0; j < columns; ++j) {
    for (int i = 0; i < rows; ++i) a(i, j) = uniform(random);
  }
  return a;
}

// Expects result = alpha left right + beta old over the entries that `stored` names; `inner` is the order summed over.
// Entries are of size 1 or less, so a sum's rounding is below its length in epsilons.
template <class T>
void expect_product(const Matrix<T>& result, double alpha, const Entry& left, const Entry& right, int inner,
                    double beta, const Entry& old, const std::function<bool(int, int)>& stored,
                    const std::string& what) {
  double worst = 0;
  for (int j = 0; j < result.columns; ++j) {
    for (int i = 0; i < result.rows; ++i) {
      if (!stored(i, j)) continue;
      double sum = beta == 0 ? 0 : beta * old(i, j);
      for (int k = 0; k < inner; ++k) sum += alpha * left(i, k) * right(k, j);
      const double error = std::fabs(result(i, j) - sum);
      if (!(error <= worst)) worst = error;  // a NaN stays
    }
  }
  EXPECT_LT(worst, 4 * (inner + 2) * static_cast<double>(std::numeric_limits<T>::epsilon())) << what;
  result.expect_padding_kept();
}

bool everywhere(int, int) {
  return true;
}
std::function<bool(int, int)> within(char triangle) {
  return [=](int i, int j) { return is(triangle, 'U') ? i <= j : i >= j; };
}

// The exported names of one type in one form.
#define QLX_NAMES(NAME, P, T, X)                                                                             \
  struct NAME {                                                                                              \
    using Real = T;                                                                                          \
    static constexpr auto gemm = qlx_blas_##X##P##gemm;                                                      \
    static constexpr auto gemv = qlx_blas_##X##P##gemv;                                                      \
    static constexpr auto syr = qlx_blas_##X##P##syr;                                                        \
    static constexpr auto syrk = qlx_blas_##X##P##syrk;                                                      \
    static constexpr auto symm = qlx_blas_##X##P##symm;                                                      \
    static constexpr decltype(qlx_blas_##P##trmm)* trmms[] = {qlx_blas_##X##P##trmm, qlx_blas4qvm_##P##trmm, \
                                                              qlx_blas_x##P##trmm_4qvm};                     \
    static constexpr auto ptrmm = qlx_blas4qvm_##P##ptrmm;                                                   \
    static constexpr auto potrf = qlx_lapack_##P##potrf;                                                     \
    static constexpr auto potri = qlx_lapack_##P##potri;                                                     \
    static constexpr auto trtri = qlx_lapack_##P##trtri;                                                     \
    static constexpr auto syev = qlx_lapack_##P##syev;                                                       \
    static constexpr auto spevd = qlx_lapack_##P##spevd;                                                     \
  };
QLX_NAMES(DoublePlain, d, double, )
QLX_NAMES(DoubleInWorker, d, double, x)
QLX_NAMES(FloatPlain, s, float, )
QLX_NAMES(FloatInWorker, s, float, x)

template <class Names>
class Blas : public testing::Test {};
using AllForms = testing::Types<DoublePlain, DoubleInWorker, FloatPlain, FloatInWorker>;
TYPED_TEST_SUITE(Blas, AllForms);

template <class Names>
class Lapack : public testing::Test {};
using PlainForms = testing::Types<DoublePlain, FloatPlain>;
TYPED_TEST_SUITE(Lapack, PlainForms);

}  // namespace

TYPED_TEST(Blas, gemm) {
  using T = typename TypeParam::Real;
  const int shapes[][3] = {{1, 1, 1}, {3, 5, 7}, {64, 65, 66}, {130, 10, 70}, {5, 5, 0}};
  for (const auto& [m, n, k] : shapes) {
    for (char op_a : kOps) {
      for (char op_b : kOps) {
        for (T beta : {T(0), T(1), T(-0.5)}) {
          const auto a = is(op_a, 'N') ? random_matrix<T>(m, k) : random_matrix<T>(k, m);
          const auto b = is(op_b, 'N') ? random_matrix<T>(k, n) : random_matrix<T>(n, k);
          const auto old = random_matrix<T>(m, n);
          auto c = old;
          if (beta == 0) c(0, 0) = std::numeric_limits<T>::quiet_NaN();
          const T alpha = T(0.75);
          TypeParam::gemm(&op_a, &op_b, &m, &n, &k, &alpha, a.data.data(), &a.ld, b.data.data(), &b.ld, &beta,
                          c.data.data(), &c.ld);
          expect_product(c, alpha, transposed(op_a, a.entry()), transposed(op_b, b.entry()), k, beta, old.entry(),
                         everywhere, std::string("gemm ") + op_a + op_b);
        }
      }
    }
  }
}

TYPED_TEST(Blas, gemv_with_any_increment) {
  using T = typename TypeParam::Real;
  const int shapes[][2] = {{1, 1}, {5, 9}, {130, 70}};
  for (const auto& [m, n] : shapes) {
    for (char op : kOps) {
      for (int incx : {1, -2}) {
        for (int incy : {1, 3, -1}) {
          const int inner = is(op, 'N') ? n : m, outer = is(op, 'N') ? m : n;
          const auto a = random_matrix<T>(m, n);
          // A vector is row 0 of a matrix whose leading dimension is the increment's size; a negative one runs back.
          const auto x = random_matrix<T>(1, inner), y_old = random_matrix<T>(1, outer);
          std::vector<T> xs(inner * 3), ys(outer * 3, T(-9));
          const auto at = [](int i, int length, int inc) { return inc > 0 ? i * inc : (i - length + 1) * inc; };
          for (int i = 0; i < inner; ++i) xs[at(i, inner, incx)] = x(0, i);
          for (int i = 0; i < outer; ++i) ys[at(i, outer, incy)] = y_old(0, i);
          const T alpha = T(-0.5), beta = T(0.25);
          TypeParam::gemv(&op, &m, &n, &alpha, a.data.data(), &a.ld, xs.data(), &incx, &beta, ys.data(), &incy);
          auto y = y_old;
          for (int i = 0; i < outer; ++i) y(0, i) = ys[at(i, outer, incy)];
          // As a row: y^T = alpha x^T op(A)^T + beta y^T.
          expect_product(y, alpha, x.entry(), transposed(is(op, 'N') ? 'T' : 'N', a.entry()), inner, beta,
                         y_old.entry(), everywhere, std::string("gemv ") + op);
        }
      }
    }
  }
}

TYPED_TEST(Blas, syr_and_syrk_write_their_triangle_alone) {
  using T = typename TypeParam::Real;
  const T kUntouched = 777;
  for (int n : kOrders) {
    for (char triangle : kTriangles) {
      const T alpha = T(0.5);
      auto old = random_matrix<T>(n, n);
      old.fill_opposite(triangle, kUntouched);
      const auto expect_rest_kept = [&](const Matrix<T>& c) {
        for (int j = 0; j < n; ++j) {
          for (int i = 0; i < n; ++i) {
            if (!within(triangle)(i, j)) {
              EXPECT_EQ(c(i, j), kUntouched);
            }
          }
        }
      };
      const auto x = random_matrix<T>(1, n);
      auto a = old;
      TypeParam::syr(&triangle, &n, &alpha, x.data.data(), &x.ld, a.data.data(), &a.ld);
      expect_product(a, alpha, transposed('T', x.entry()), x.entry(), 1, 1, old.entry(), within(triangle), "syr");
      expect_rest_kept(a);

      for (char op : kOps) {
        for (int k : {1, 80}) {
          const auto g = is(op, 'N') ? random_matrix<T>(n, k) : random_matrix<T>(k, n);
          for (T beta : {T(0), T(-0.5)}) {
            auto c = old;
            TypeParam::syrk(&triangle, &op, &n, &k, &alpha, g.data.data(), &g.ld, &beta, c.data.data(), &c.ld);
            const Entry left = transposed(op, g.entry());
            expect_product(c, alpha, left, transposed('T', left), k, beta, old.entry(), within(triangle),
                           std::string("syrk ") + triangle + op);
            expect_rest_kept(c);
          }
        }
      }
    }
  }
}

TYPED_TEST(Blas, symm_trmm_and_ptrmm_read_their_triangle_alone) {
  using T = typename TypeParam::Real;
  const T nan = std::numeric_limits<T>::quiet_NaN(), alpha = T(-0.75), beta = T(0.5);
  for (int order : kOrders) {
    for (char side : kSides) {
      for (char triangle : kTriangles) {
        const bool left = is(side, 'L');
        const int m = left ? order : 7, n = left ? 7 : order;
        auto a = random_matrix<T>(order, order);
        a.fill_opposite(triangle, nan);
        const auto b = random_matrix<T>(m, n);
        const auto expect_sided = [&](const Matrix<T>& result, const Entry& square, T factor, const Entry& old,
                                      const std::string& what) {
          expect_product(result, alpha, left ? square : b.entry(), left ? b.entry() : square, order, factor, old,
                         everywhere, what + " " + side + triangle + std::to_string(order));
        };

        const auto old = random_matrix<T>(m, n);
        auto c = old;
        TypeParam::symm(&side, &triangle, &m, &n, &alpha, a.data.data(), &a.ld, b.data.data(), &b.ld, &beta,
                        c.data.data(), &c.ld);
        expect_sided(c, a.symmetric(triangle), beta, old.entry(), "symm");

        for (char op : kOps) {
          for (char diagonal : kDiagonals) {
            auto unit = a;
            if (is(diagonal, 'U')) unit.fill_diagonal(nan);
            const Entry square = transposed(op, unit.triangular(triangle, diagonal));
            for (const auto trmm : TypeParam::trmms) {
              auto product = b;
              trmm(&side, &triangle, &op, &diagonal, &m, &n, &alpha, unit.data.data(), &unit.ld, product.data.data(),
                   &product.ld);
              expect_sided(product, square, 0, {}, std::string("trmm ") + op + diagonal);
            }
            const std::vector<T> packed = unit.packed(triangle);
            auto product = b;
            TypeParam::ptrmm(&side, &triangle, &op, &diagonal, &m, &n, &alpha, packed.data(), product.data.data(),
                             &product.ld);
            expect_sided(product, square, 0, {}, std::string("ptrmm ") + op + diagonal);
          }
        }
      }
    }
  }
}

namespace {

// Symmetric, with eigenvalues in [0.5, n / 3 + 2] or so: well inside what the factorizations need.
template <class T>
Matrix<T> positive_definite(int n) {
  const auto g = random_matrix<T>(n, n);
  Matrix<T> a(n, n);
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      double sum = i == j ? 1 : 0;
      for (int k = 0; k < n; ++k) sum += 1.0 * g(i, k) * g(j, k);
      a(i, j) = static_cast<T>(sum);
    }
  }
  return a;
}

// Largest entry of left right - expected.
double residual(int n, const Entry& left, const Entry& right, const Entry& expected) {
  double worst = 0;
  for (int j = 0; j < n; ++j) {
    for (int i = 0; i < n; ++i) {
      double sum = -expected(i, j);
      for (int k = 0; k < n; ++k) sum += left(i, k) * right(k, j);
      if (!(std::fabs(sum) <= worst)) worst = std::fabs(sum);
    }
  }
  return worst;
}

double identity(int i, int j) {
  return i == j;
}

// Checks eigenvalues `w`, ascending, and unit eigenvectors, the columns of `vectors`, of `a`.
template <class T>
void expect_eigen_system(const Matrix<T>& a, const std::vector<T>& w, const Matrix<T>& vectors) {
  const int n = a.rows;
  const double tolerance = 10.0 * n * n * std::numeric_limits<T>::epsilon();
  const Entry v = vectors.entry();
  EXPECT_LT(residual(n, a.entry(), v, [&](int i, int j) { return w[j] * v(i, j); }), tolerance);
  EXPECT_LT(residual(n, transposed('T', v), v, identity), tolerance);
  for (int i = 1; i < n; ++i) EXPECT_LE(w[i - 1], w[i]);
}

}  // namespace

TYPED_TEST(Lapack, potrf_and_potri) {
  using T = typename TypeParam::Real;
  for (int n : kOrders) {
    for (char triangle : kTriangles) {
      const double tolerance = 20.0 * n * n * std::numeric_limits<T>::epsilon();
      const auto a = positive_definite<T>(n);
      auto factor = a;
      factor.fill_opposite(triangle, 777);
      int info = -99;
      TypeParam::potrf(&triangle, &n, factor.data.data(), &factor.ld, &info);
      ASSERT_EQ(info, 0);
      const Entry f = factor.triangular(triangle, 'N');
      const bool lower = is(triangle, 'L');
      EXPECT_LT(residual(n, lower ? f : transposed('T', f), lower ? transposed('T', f) : f, a.entry()), tolerance);
      if (n > 1) {
        EXPECT_EQ(lower ? factor(0, 1) : factor(1, 0), 777);
      }
      factor.expect_padding_kept();

      auto inverse = factor;
      TypeParam::potri(&triangle, &n, inverse.data.data(), &inverse.ld, &info);
      ASSERT_EQ(info, 0);
      EXPECT_LT(residual(n, a.entry(), inverse.symmetric(triangle), identity), tolerance);
      if (n > 1) {
        EXPECT_EQ(lower ? inverse(0, 1) : inverse(1, 0), 777);
      }

      // The leading minor that breaks is told.
      auto broken = a;
      const int last = n - 1;
      broken(last, last) = -1;
      TypeParam::potrf(&triangle, &n, broken.data.data(), &broken.ld, &info);
      EXPECT_EQ(info, n);
    }
  }
}

TYPED_TEST(Lapack, trtri) {
  using T = typename TypeParam::Real;
  for (int n : kOrders) {
    for (char triangle : kTriangles) {
      for (char diagonal : kDiagonals) {
        auto a = random_matrix<T>(n, n);
        for (T& value : a.data) value /= n;  // keeps the inverse of a unit triangle small
        a.fill_opposite(triangle, 777);
        a.fill_diagonal(is(diagonal, 'U') ? 555 : 2);
        auto inverse = a;
        int info = -99;
        TypeParam::trtri(&triangle, &diagonal, &n, inverse.data.data(), &inverse.ld, &info);
        ASSERT_EQ(info, 0);
        EXPECT_LT(residual(n, a.triangular(triangle, diagonal), inverse.triangular(triangle, diagonal), identity),
                  10 * n * std::numeric_limits<T>::epsilon());
        if (n > 1) {
          EXPECT_EQ(is(triangle, 'L') ? inverse(0, 1) : inverse(1, 0), 777);
        }
        if (is(diagonal, 'U')) {
          EXPECT_EQ(inverse(0, 0), 555);
        }
      }
      auto singular = random_matrix<T>(n, n);
      singular.fill_diagonal(1);
      singular(n / 2, n / 2) = 0;
      int info = -99;
      TypeParam::trtri(&triangle, "N", &n, singular.data.data(), &singular.ld, &info);
      EXPECT_EQ(info, n / 2 + 1);
    }
  }
}

TYPED_TEST(Lapack, syev_and_spevd) {
  using T = typename TypeParam::Real;
  for (int n : kOrders) {
    for (char triangle : kTriangles) {
      const auto a = positive_definite<T>(n);
      auto vectors = a;
      vectors.fill_opposite(triangle, std::numeric_limits<T>::quiet_NaN());
      std::vector<T> w(n), w_packed(n), w_alone(n);
      // The query tells the room to bring.
      const int query = -1;
      T room;
      int info = -99, integers;
      TypeParam::syev("V", &triangle, &n, vectors.data.data(), &vectors.ld, w.data(), &room, &query, &info);
      ASSERT_EQ(info, 0);
      std::vector<T> work(static_cast<size_t>(room));
      int lwork = static_cast<int>(work.size());
      TypeParam::syev("V", &triangle, &n, vectors.data.data(), &vectors.ld, w.data(), work.data(), &lwork, &info);
      ASSERT_EQ(info, 0);
      expect_eigen_system(a, w, vectors);

      std::vector<T> packed = a.packed(triangle);
      Matrix<T> z(n, n);
      TypeParam::spevd("V", &triangle, &n, packed.data(), w_packed.data(), z.data.data(), &z.ld, &room, &query,
                       &integers, &query, &info);
      ASSERT_EQ(info, 0);
      work.resize(static_cast<size_t>(room));
      lwork = static_cast<int>(work.size());
      std::vector<int> integer_work(integers);
      TypeParam::spevd("V", &triangle, &n, packed.data(), w_packed.data(), z.data.data(), &z.ld, work.data(), &lwork,
                       integer_work.data(), &integers, &info);
      ASSERT_EQ(info, 0);
      expect_eigen_system(a, w_packed, z);
      z.expect_padding_kept();

      // Values alone are the same values.
      packed = a.packed(triangle);
      TypeParam::spevd("N", &triangle, &n, packed.data(), w_alone.data(), z.data.data(), &z.ld, work.data(), &lwork,
                       integer_work.data(), &integers, &info);
      ASSERT_EQ(info, 0);
      for (int i = 0; i < n; ++i) {
        EXPECT_NEAR(w_alone[i], w[i], 10.0 * n * n * std::numeric_limits<T>::epsilon());
        EXPECT_NEAR(w_packed[i], w[i], 10.0 * n * n * std::numeric_limits<T>::epsilon());
      }
    }
  }
}
