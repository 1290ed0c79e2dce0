// Spline construction: what each kind, boundary class, storage and partition promises.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <string>

#include "df_api.h"

namespace {

using Entry = int32_t (*)(DFTask*, int64_t, int64_t, const QlxThreadTable*);

enum InternalData { kNoData, kFirstData, kSecondData, kKnots, kUniformKnotData };

struct Kind {
  const char* name;
  Entry entry[2];  // double, float
  int64_t order, type, least;
  InternalData internal;
  int smooth;  // derivatives that are continuous
  int exact;   // degree of the polynomials that it reproduces, given their boundary values
  int uniform_exact;
};

#define QLX_TEST_KIND(NAME) \
  { qlx_df_kernel_dDF##NAME##Spline1D, qlx_df_kernel_sDF##NAME##Spline1D }
const Kind kKinds[] = {
    {"linear", QLX_TEST_KIND(Linear), 2, 0, 2, kNoData, 0, 1, 1},
    {"linear in rows of four", QLX_TEST_KIND(Linear), 4, 0, 2, kNoData, 0, 1, 1},
    {"parabolas", QLX_TEST_KIND(Quadratic), 3, 0, 2, kNoData, 1, 2, 2},
    {"Subbotin", QLX_TEST_KIND(Quadratic), 3, 1, 2, kKnots, 1, 2, 2},
    {"Subbotin, uniform knots", QLX_TEST_KIND(Quadratic), 3, 1, 2, kUniformKnotData, 1, 2, 2},
    {"default", QLX_TEST_KIND(DefaultCubic), 4, 0, 3, kNoData, 2, 3, 3},
    {"default, first derivatives", QLX_TEST_KIND(DefaultCubic), 4, 0, 3, kFirstData, 1, 3, 3},
    {"default, second derivatives", QLX_TEST_KIND(DefaultCubic), 4, 0, 3, kSecondData, 0, 3, 3},
    {"natural", QLX_TEST_KIND(NaturalCubic), 4, 2, 2, kNoData, 2, 3, 3},
    {"Hermite", QLX_TEST_KIND(HermiteCubic), 4, 3, 3, kFirstData, 1, 3, 3},
    {"Hermite without derivatives", QLX_TEST_KIND(HermiteCubic), 4, 3, 3, kNoData, 1, 1, 2},
    {"Bessel", QLX_TEST_KIND(BesselCubic), 4, 4, 4, kNoData, 1, 2, 2},
    {"Hyman", QLX_TEST_KIND(HymanCubic), 4, 4, 4, kNoData, 1, 1, 1},
    {"Akima", QLX_TEST_KIND(AkimaCubic), 4, 5, 5, kNoData, 1, 1, 2},
};

// One spline problem in double; float tests round it.
struct Problem {
  const Kind* kind;
  bool uniform;
  int64_t n, functions, boundary;
  std::vector<double> x;               // all points
  std::vector<std::vector<double>> y;  // by function
  std::vector<double> ends, internal;  // boundary and internal conditions
  std::vector<double> knots;           // Subbotin: n + 1
  int64_t cells() const { return kind->type == 1 && kind->order == 3 ? n : n - 1; }
};

bool is_quadratic(const Kind& k) {
  return k.order == 3;
}

std::vector<int64_t> boundaries_of(const Kind& k) {
  if (k.smooth == 0 && k.internal == kNoData) return {0, 64};
  if (is_quadratic(k)) return k.type == 0 ? std::vector<int64_t>{128} : std::vector<int64_t>{12, 24, 36, 48};
  std::vector<int64_t> codes{1, 2, 12, 24, 36, 48, 64};
  if (std::string(k.name) == "Akima") codes.push_back(0);
  return codes;
}

// Polynomial with the coefficients `p`, lowest power first, and its derivatives, at t.
long double polynomial(const std::vector<double>& p, long double t, int derivative) {
  long double value = 0;
  for (int k = static_cast<int>(p.size()) - 1; k >= derivative; --k) {
    long double factor = p[k];
    for (int j = 0; j < derivative; ++j) factor *= k - j;
    value = value * t + factor;
  }
  return value;
}

// Data from `f(function, t, derivative)`, which also tells the derivatives for the conditions.
template <class F>
Problem make_problem(const Kind& kind, bool uniform, int64_t n, int64_t functions, int64_t boundary, F f) {
  Problem p{&kind, uniform, n, functions, boundary, std::vector<double>(n), {}, {}, {}, {}};
  Random random(static_cast<uint64_t>(n * 31 + boundary));
  for (int64_t i = 0; i < n; ++i) {
    // Steps that floats hold exactly, so that both precisions see the same points.
    p.x[i] = 0.25 * static_cast<double>(i) - 1;
    if (uniform || i == 0) continue;
    if (kind.internal == kUniformKnotData) {
      p.x[i] += 0x1p-6 * static_cast<double>(random.below(13) - 6);  // each in its own cell of the knots
    } else {
      p.x[i] = p.x[i - 1] + 0x1p-5 * static_cast<double>(1 + random.below(16));
    }
  }
  p.y.resize(functions);
  for (int64_t k = 0; k < functions; ++k) {
    for (const double t : p.x) p.y[k].push_back(static_cast<double>(static_cast<float>(f(k, t, 0))));
    if (boundary == 64) p.y[k].back() = p.y[k].front();
  }
  const double first = p.x[0], last = p.x[n - 1];
  if (boundary == 128) {
    const double middle = (p.x[0] + p.x[1]) / 2;
    p.ends = {static_cast<double>(f(0, middle, 0))};
  } else {
    p.ends = {static_cast<double>(f(0, first, boundary & 4 ? 1 : 2)),
              static_cast<double>(f(0, last, boundary & 8 ? 1 : 2))};
  }
  if (kind.internal == kFirstData || kind.internal == kSecondData) {
    for (int64_t i = 1; i < n - 1; ++i)
      p.internal.push_back(static_cast<double>(f(0, p.x[i], kind.internal == kFirstData ? 1 : 2)));
  }
  if (kind.internal == kKnots) {
    p.knots.push_back(first - 0.125);
    for (int64_t i = 1; i < n; ++i) p.knots.push_back((p.x[i - 1] + 3 * p.x[i]) / 4);
    p.knots.push_back(last);
    p.internal = p.knots;
  } else if (kind.internal == kUniformKnotData) {
    for (int64_t i = 0; i <= n; ++i) p.knots.push_back(0.25 * static_cast<double>(i) - 1.125);
    p.internal = {p.knots.front(), p.knots.back()};
  }
  return p;
}

template <class Real>
std::vector<std::vector<Real>> build(const Problem& p, int64_t hint, const QlxThreadTable* services = nullptr,
                                     int32_t expected = DF_OK) {
  using A = Api<Real>;
  const auto narrow = [](const std::vector<double>& v) { return std::vector<Real>(v.begin(), v.end()); };
  std::vector<Real> x =
      p.uniform ? std::vector<Real>{static_cast<Real>(p.x[0]), static_cast<Real>(p.x[p.n - 1])} : narrow(p.x);
  std::vector<Real> block;
  for (int64_t i = 0; i < p.n * p.functions; ++i) {
    const int64_t f = hint == 32 ? i % p.functions : i / p.n, point = hint == 32 ? i / p.functions : i % p.n;
    block.push_back(static_cast<Real>(p.y[f][point]));
  }
  const std::vector<Real> ends = narrow(p.ends), internal = narrow(p.internal);
  const int64_t row = p.kind->order * p.cells();
  constexpr Real kUntouched = -12345;
  std::vector<Real> coefficients(row * p.functions + 1, kUntouched);
  TaskHandle t;
  EXPECT_EQ(A::new_task(&t, p.n, x.data(), p.uniform ? 4 : 1, p.functions, block.data(), hint, 1), DF_OK);
  const int64_t internal_type[] = {0, 1, 2, 8, 12};
  EXPECT_EQ(A::edit_spline(t, p.kind->order, p.kind->type, p.boundary, ends.data(), internal_type[p.kind->internal],
                           internal.empty() ? nullptr : internal.data(), coefficients.data(), hint),
            DF_OK);
  if (hint == 128) {
    for (int64_t f = 1; f < p.functions; ++f) {
      EXPECT_EQ(A::edit_idx_ptr(t, DF_FUNCTION, f, block.data() + f * p.n), DF_OK);
      EXPECT_EQ(A::edit_idx_ptr(t, DF_COEFFICIENTS, f, coefficients.data() + f * row), DF_OK);
    }
  }
  EXPECT_EQ(p.kind->entry[sizeof(Real) == sizeof(float)](t, 0, 0, services), expected);
  EXPECT_EQ(coefficients.back(), kUntouched);
  std::vector<std::vector<Real>> rows;
  for (int64_t f = 0; f < p.functions; ++f) {
    rows.emplace_back(coefficients.begin() + f * row, coefficients.begin() + (f + 1) * row);
  }
  return rows;
}

// A function with a kink, extrema and a flat stretch.
long double wavy(int64_t f, long double t, int derivative) {
  const long double w = 1 + 0.3L * static_cast<long double>(f);
  if (derivative == 1) return w * std::cos(w * t);
  if (derivative == 2) return -w * w * std::sin(w * t);
  return std::sin(w * t) + (t > 3 && t < 4 ? 0.5L : 0) + static_cast<long double>(f);
}

// Derivatives of a row at u past the point (or knot cell's point) of cell i.
template <class Real>
long double at(const std::vector<Real>& row, int64_t order, int64_t cell, long double u, int derivative) {
  return polynomial(std::vector<double>(row.begin() + cell * order, row.begin() + (cell + 1) * order), u, derivative);
}

template <class Real>
void check_properties(const Problem& p, const std::vector<std::vector<Real>>& rows) {
  const Kind& kind = *p.kind;
  const int64_t order = kind.order;
  const bool subbotin = !p.knots.empty();
  const std::string where = std::string(kind.name) + " boundary " + std::to_string(p.boundary) + " n " +
                            std::to_string(p.n) + (p.uniform ? " uniform" : "");
  for (int64_t f = 0; f < p.functions; ++f) {
    const auto& row = rows[f];
    // Rounding errors of a derivative scale with the largest of its terms.
    long double scale[4] = {1, 1, 1, 1};
    for (int64_t i = 0; i < p.cells(); ++i) {
      for (int k = 0; k < 4; ++k) {
        const long double u = subbotin ? p.knots[i + 1] - p.x[i] : p.x[i + 1] - p.x[i];
        scale[k] = std::max({scale[k], std::fabs(at(row, order, i, u, k)), std::fabs(at(row, order, i, 0, k))});
      }
    }
    // Derivative k is y's rounding divided by h^k, with h down to 1/32.
    const auto tolerance = [&](int k) {
      return 64 * std::pow(8.0L, k) * scale[0] * std::max(1.0L, scale[k]) * std::numeric_limits<Real>::epsilon();
    };
    for (int64_t i = 0; i < p.cells(); ++i) {
      ASSERT_EQ(row[i * order], static_cast<Real>(p.y[f][i])) << where;
    }
    if (!subbotin) {
      const int64_t last = p.n - 2;
      ASSERT_NEAR(at(row, order, last, p.x[last + 1] - p.x[last], 0), p.y[f][last + 1], tolerance(0)) << where;
    }
    for (int64_t i = 0; i + 1 < p.cells(); ++i) {
      const long double meet = subbotin ? p.knots[i + 1] : p.x[i + 1];
      for (int k = 0; k <= kind.smooth; ++k) {
        ASSERT_NEAR(at(row, order, i, meet - p.x[i], k), at(row, order, i + 1, meet - p.x[i + 1], k), tolerance(k))
            << where << " derivative " << k << " cell " << i;
      }
      if (kind.internal == kSecondData) {
        ASSERT_NEAR(at(row, order, i, meet - p.x[i], 2), p.internal[i], tolerance(2)) << where;
        ASSERT_NEAR(at(row, order, i + 1, 0, 2), p.internal[i], tolerance(2)) << where;
      }
      if (kind.internal == kFirstData) {
        ASSERT_NEAR(row[(i + 1) * order + 1], p.internal[i], tolerance(1)) << where;
      }
    }
    // The boundary equations themselves. `end(k)` is the k-th derivative at an end.
    const int64_t last = p.cells() - 1;
    const long double u = subbotin ? 0 : p.x[p.n - 1] - p.x[last];
    const auto end = [&](bool left, int k) { return left ? at(row, order, 0, 0, k) : at(row, order, last, u, k); };
    if (p.boundary == 128) {
      ASSERT_NEAR(at(row, order, 0, (p.x[1] - p.x[0]) / 2, 0), p.ends[0], tolerance(0)) << where;
    }
    for (const bool left : {true, false}) {
      if (p.boundary & (left ? 4 : 8)) {
        ASSERT_NEAR(end(left, 1), p.ends[left ? 0 : 1], tolerance(1)) << where;
      }
      if (p.boundary & (left ? 16 : 32)) {
        ASSERT_NEAR(end(left, 2), p.ends[left ? 0 : 1], tolerance(2)) << where;
      }
      if (p.boundary == 2) {
        ASSERT_NEAR(end(left, 2), 0, tolerance(2)) << where;
      }
    }
    if (p.boundary == 64) {
      for (int k = 0; k <= kind.smooth; ++k) ASSERT_NEAR(end(true, k), end(false, k), tolerance(k)) << where << k;
      if (kind.internal == kFirstData) {
        ASSERT_NEAR(end(true, 2), end(false, 2), tolerance(2)) << where;
      }
      if (kind.internal == kSecondData) {
        ASSERT_NEAR(end(true, 1), end(false, 1), tolerance(1)) << where;
      }
    }
    if (p.boundary == 1 && (kind.smooth == 2 || kind.internal == kSecondData) && p.n > 3) {
      ASSERT_NEAR(at(row, order, 0, 0, 3), at(row, order, 1, 0, 3), tolerance(3)) << where;
      ASSERT_NEAR(at(row, order, last, 0, 3), at(row, order, last - 1, 0, 3), tolerance(3)) << where;
    }
    // Where the neighbour's derivative is given by the data, so is the end's.
    if ((p.boundary == 1 || p.boundary == 0) && order == 4 && kind.smooth == 1) {
      for (const bool left : {true, false}) {
        const auto width = [&](int64_t i) { return static_cast<long double>(p.x[i + 1]) - p.x[i]; };
        const auto slope = [&](int64_t i) { return (p.y[f][i + 1] - static_cast<long double>(p.y[f][i])) / width(i); };
        const int64_t cell = left ? 0 : last, beside = left ? 1 : last - 1;
        const long double h0 = width(cell), h1 = width(beside), s0 = slope(cell), s1 = slope(beside), both = h0 + h1;
        const long double neighbour = at(row, order, left ? 1 : last, 0, 1);
        long double want = (3 * s0 - s1) / 2;
        if (p.boundary == 1) want = ((h0 * h0 * s1 + (h0 + 2 * both) * h1 * s0) / both - both * neighbour) / h1;
        if (kind.entry[0] == qlx_df_kernel_dDFHymanCubicSpline1D) {
          want = std::clamp(want, std::min(3 * s0, 0.0L), std::max(3 * s0, 0.0L));
        }
        ASSERT_NEAR(end(left, 1), want, tolerance(1)) << where;
      }
    }
    if (order == 4 && kind.exact == 1 && kind.smooth == 0) {
      for (int64_t i = 0; i < p.cells(); ++i) {
        ASSERT_EQ(row[4 * i + 2], 0);
        ASSERT_EQ(row[4 * i + 3], 0);
      }
    }
  }
}

template <class Real>
struct SplineTest : ::testing::Test {};
TYPED_TEST_SUITE(SplineTest, RealTypes);

TYPED_TEST(SplineTest, EveryKindKeepsItsPromisesInEveryStorage) {
  using Real = TypeParam;
  int problems = 0;
  for (const Kind& kind : kKinds) {
    for (const int64_t boundary : boundaries_of(kind)) {
      for (const bool uniform : {false, true}) {
        // Around the least number, around a block of eight, and over the border of a chunk.
        for (const int64_t n : {kind.least, kind.least + 1, int64_t{8}, int64_t{9}, int64_t{10}, int64_t{19},
                                int64_t{40}, int64_t{2200}}) {
          if (n == 2 && boundary == 1) continue;
          const Problem p = make_problem(kind, uniform, n, 5, boundary, wavy);
          const auto rows = build<Real>(p, 16);
          check_properties(p, rows);
          if (::testing::Test::HasFatalFailure()) return;
          for (const int64_t hint : {0, 32, 128}) {
            ASSERT_EQ(build<Real>(p, hint), rows) << kind.name << " storage " << hint;
          }
          ASSERT_EQ(build<Real>(p, 16, &kSlicingServices), rows) << kind.name << " in slices";
          ++problems;
        }
      }
    }
  }
  EXPECT_GT(problems, 1000);
}

TYPED_TEST(SplineTest, PolynomialsAreReproduced) {
  using Real = TypeParam;
  const std::vector<double> coefficients{0.5, -1, 0.75, 0.125};
  for (const Kind& kind : kKinds) {
    for (const int64_t boundary : boundaries_of(kind)) {
      for (const bool uniform : {false, true}) {
        const int exact = uniform ? kind.uniform_exact : kind.exact;
        // Free ends take lines alone, periodic ones constants; Akima's own ending takes what the paper's parabola does.
        const int degree = boundary == 64 ? 0 : boundary == 2 ? 1 : exact;
        const std::vector<double> p(coefficients.begin(), coefficients.begin() + degree + 1);
        const auto problem = make_problem(kind, uniform, 24, 2, boundary,
                                          [&](int64_t, long double t, int k) { return polynomial(p, t, k); });
        const auto rows = build<Real>(problem, 16);
        const long double tolerance = 2e4L * std::numeric_limits<float>::epsilon();  // the data are rounded to float
        for (int64_t i = 0; i < problem.cells(); ++i) {
          for (int k = 1; k < kind.order; ++k) {
            EXPECT_NEAR(at(rows[1], kind.order, i, 0, k), polynomial(p, problem.x[i], k),
                        tolerance * std::pow(8, k - 1))
                << kind.name << " boundary " << boundary << " cell " << i << " derivative " << k;
          }
        }
      }
    }
  }
}

TYPED_TEST(SplineTest, HymanIsMonotoneWhereTheDataAre) {
  using Real = TypeParam;
  Random random(5);
  for (const int64_t boundary : {1, 2, 64}) {
    for (const bool uniform : {false, true}) {
      // Steps of all sizes up and down, flat stretches included.
      double level = 0;
      const Problem p = make_problem(kKinds[12], uniform, 200, 1, boundary, [&](int64_t, long double, int) {
        const double step = random.real();
        return level += step < 0.2 ? 0 : (step < 0.7 ? 1 : -1) * std::pow(random.real(), 4);
      });
      const auto row = build<Real>(p, 16)[0];
      for (int64_t i = 0; i < p.n - 1; ++i) {
        const long double h = p.x[i + 1] - p.x[i], rise = p.y[0][i + 1] - p.y[0][i];
        for (int k = 0; k <= 16; ++k) {
          const long double slope = at(row, 4, i, h * k / 16, 1) * (rise < 0 ? -1 : 1);
          ASSERT_GE(slope, -1e3L * std::numeric_limits<Real>::epsilon()) << boundary << " cell " << i;
          if (rise == 0) {
            ASSERT_NEAR(slope, 0, 1e-6);
          }
        }
      }
    }
  }
}

TYPED_TEST(SplineTest, FloatIsRoundedDouble) {
  if (sizeof(TypeParam) == sizeof(double)) return;
  for (const Kind& kind : kKinds) {
    for (const int64_t boundary : boundaries_of(kind)) {
      for (const bool uniform : {false, true}) {
        const Problem p = make_problem(kind, uniform, 40, 2, boundary, wavy);
        const auto d = build<double>(p, 16)[1];
        const auto s = build<float>(p, 16)[1];
        // A coefficient is a difference of others of its power: its error is of the size of the largest of them.
        double largest[4] = {1, 1, 1, 1};
        for (size_t i = 0; i < d.size(); ++i) {
          double& most = largest[i % static_cast<size_t>(kind.order)];
          most = std::max(most, std::fabs(d[i]));
        }
        for (size_t i = 0; i < d.size(); ++i) {
          const double bound = 256 * largest[i % static_cast<size_t>(kind.order)];
          ASSERT_NEAR(s[i], d[i], bound * std::numeric_limits<float>::epsilon())
              << kind.name << " boundary " << boundary << (uniform ? " uniform" : "") << " element " << i;
        }
      }
    }
  }
}

TYPED_TEST(SplineTest, AkimaTakesTheMeanBelowTheThreshold) {
  using Real = TypeParam;
  // Slopes 0 0 1 1+e: the weights of point 2 are e and 0, so its derivative is 0 by weights and 1/2 by the mean.
  const int exponent = sizeof(Real) == sizeof(double) ? -34 : -20;  // the power of two next below 1e-10, 1e-6
  for (const int above : {0, 1}) {
    const double e = std::ldexp(1.0, exponent + above);
    Problem p = make_problem(kKinds[13], false, 6, 1, 0, wavy);
    p.x = {0, 1, 2, 3, 4, 5};
    p.y[0] = {0, 0, 0, 1, 2 + e, 3};
    EXPECT_EQ(build<Real>(p, 16)[0][4 * 2 + 1], static_cast<Real>(above ? 0 : 0.5));
  }
}

TYPED_TEST(SplineTest, StatusesComeInOrder) {
  using Real = TypeParam;
  using A = Api<Real>;
  const bool single = sizeof(Real) == sizeof(float);
  Real x[] = {0, 1, 2, 3, 4, 5}, y[] = {1, 2, 3, 4, 5, 6}, room[24];
  const auto run = [&](const char* name, int64_t n, int64_t type, int64_t boundary, bool values, int64_t internal,
                       int64_t method) {
    const Kind* kind = kKinds;
    while (std::string(kind->name) != name) ++kind;
    TaskHandle t;
    EXPECT_EQ(A::new_task(&t, n, x, 1, 1, y, 16, 1), DF_OK);
    EXPECT_EQ(A::edit_spline(t, 4, type, 0, values ? x : nullptr, internal, internal ? x : nullptr, room, 16), DF_OK);
    EXPECT_EQ(qlx_df_kernel_iEditVal(t, DF_BOUNDARY_TYPE, boundary), DF_OK);
    for (auto& c : room) c = -7;
    const int32_t status = kind->entry[single](t, 99, method, nullptr);
    for (const auto c : room) EXPECT_TRUE(status == DF_OK || c == -7) << name << ": a failing check writes nothing";
    return status;
  };
  struct Case {
    const char* name;
    int64_t n, type, boundary;
    bool values;
    int64_t internal, method;
    int32_t status;
  };
  const Case cases[] = {
      {"linear", 2, 0, 5, false, 0, 1, DF_BAD_METHOD},
      {"linear", 2, 0, 5, false, 0, 0, DF_OK},
      {"linear", 6, 0, 64, false, 0, 0, DF_NOT_PERIODIC},
      {"natural", 2, 2, 1, false, 0, 1, DF_BAD_METHOD},
      {"natural", 2, 2, 1, false, 0, 0, DF_BAD_PARTITION_SIZE},
      {"natural", 3, 2, 1, false, 0, 0, DF_OK},
      {"natural", 2, 2, 2, false, 0, 0, DF_OK},
      {"natural", 2, 2, 0, false, 0, 0, DF_BAD_BOUNDARY_TYPE},
      {"natural", 6, 2, 3, false, 0, 0, DF_BAD_BOUNDARY_TYPE},
      {"natural", 6, 2, 128, true, 0, 0, DF_BAD_BOUNDARY_TYPE},
      {"natural", 6, 2, 12, false, 0, 0, DF_BAD_BOUNDARY_CONDITIONS},
      {"natural", 6, 2, 64, false, 0, 0, DF_NOT_PERIODIC},
      {"natural", 6, 0, 64, false, 0, 0, DF_BAD_BOUNDARY_CONDITIONS},
      {"natural", 6, 3, 64, false, 0, 0, DF_BAD_BOUNDARY_CONDITIONS},
      {"natural", 6, 3, 64, true, 0, 0, DF_NOT_PERIODIC},
      {"default", 2, 0, 2, false, 0, 7, DF_BAD_PARTITION_SIZE},
      {"default", 3, 0, 2, false, 0, 7, DF_OK},
      {"Hermite", 2, 3, 2, false, 0, 7, DF_BAD_PARTITION_SIZE},
      {"Hermite", 3, 3, 2, false, 0, 7, DF_OK},
      {"Bessel", 3, 4, 2, false, 0, 7, DF_BAD_PARTITION_SIZE},
      {"Bessel", 4, 4, 2, false, 0, 7, DF_OK},
      {"Bessel", 4, 4, 0, false, 0, 7, DF_BAD_BOUNDARY_TYPE},
      {"Hyman", 3, 4, 2, false, 0, 7, DF_BAD_PARTITION_SIZE},
      {"Hyman", 4, 4, 2, false, 0, 7, DF_OK},
      {"Akima", 4, 5, 0, false, 0, 7, DF_BAD_PARTITION_SIZE},
      {"Akima", 5, 5, 0, false, 0, 7, DF_OK},
      {"Akima", 5, 5, 64, false, 0, 7, DF_NOT_PERIODIC},
      {"parabolas", 2, 0, 2, false, 0, 7, DF_BAD_BOUNDARY_TYPE},
      {"parabolas", 2, 0, 128, false, 0, 7, DF_BAD_BOUNDARY_CONDITIONS},
      {"parabolas", 2, 0, 128, true, 0, 7, DF_OK},
      {"parabolas", 2, 2, 128, true, 0, 7, DF_BAD_METHOD},
      {"Subbotin", 2, 1, 3, false, 4, 7, DF_BAD_INTERNAL_TYPE},
      {"Subbotin", 2, 1, 3, false, 8, 7, DF_BAD_BOUNDARY_TYPE},
      {"Subbotin", 2, 1, 12, false, 8, 7, DF_BAD_BOUNDARY_CONDITIONS},
      {"Subbotin", 2, 1, 2, false, 8, 7, DF_BAD_BOUNDARY_TYPE},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(run(c.name, c.n, c.type, c.boundary, c.values, c.internal, c.method), c.status)
        << c.name << " " << c.n << " " << c.boundary << " " << c.method;
  }

  // Ends that differ in the last bit; the last function decides too.
  Real wave[] = {1, 2, 3, 4, 5, 1, 1, 2, 3, 4, 5, std::nextafter(Real{1}, Real{2})};
  for (const Kind& kind : kKinds) {
    const auto codes = boundaries_of(kind);
    if (std::find(codes.begin(), codes.end(), 64) == codes.end()) continue;
    Real many[48];
    std::fill(many, many + 48, Real{-7});
    TaskHandle t;
    ASSERT_EQ(A::new_task(&t, 6, x, 1, 2, wave, 16, 1), DF_OK);
    ASSERT_EQ(A::edit_spline(t, kind.order, kind.type, 64, x, 0, nullptr, many, 16), DF_OK);
    EXPECT_EQ(kind.entry[single](t, 0, 0, nullptr), DF_NOT_PERIODIC) << kind.name;
    EXPECT_EQ(*std::max_element(many, many + 48), -7) << kind.name;
  }
}

}  // namespace
