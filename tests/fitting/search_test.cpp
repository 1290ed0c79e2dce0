// Cell search: every method against the definition of the cells.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "df_api.h"

namespace {

template <class Real>
int32_t defined_cell(const std::vector<Real>& x, Real t) {
  const auto n = static_cast<int32_t>(x.size());
  if (t == x.back()) return n - 1;
  int32_t cell = 0;
  while (cell < n && x[cell] <= t) ++cell;
  return cell;
}

template <class Real>
struct Partition {
  const char* name;
  std::vector<Real> x;
  bool uniform;  // with points that i / (n - 1) steps reach exactly
};

template <class Real>
std::vector<Partition<Real>> partitions() {
  Random random(3);
  std::vector<Partition<Real>> all;
  all.push_back({"two points", {-1, 1}, true});
  all.push_back({"three points", {0, 1, 10}, false});
  std::vector<Real> x(1025);
  for (size_t i = 0; i < x.size(); ++i) x[i] = static_cast<Real>(i) / 8;  // from 0: t - x[0] is exact
  all.push_back({"uniform", x, true});
  for (size_t i = 0; i < x.size(); ++i) x[i] += static_cast<Real>(random.real() * 0.124);
  all.push_back({"quasi-uniform", x, false});
  x.resize(700);
  Real at = -5;
  for (auto& v : x) v = at += static_cast<Real>(std::pow(random.real(), 30) + 1e-4);
  all.push_back({"clustered", x, false});
  for (size_t i = 0; i < x.size(); ++i) x[i] = static_cast<Real>((i / 7) * 3);
  all.push_back({"repeated points", x, false});
  x.resize(300);
  for (size_t i = 0; i < x.size(); ++i) x[i] = static_cast<Real>(std::ldexp(1.0, static_cast<int>(i) / 3 - 50));
  all.push_back({"repeated scales", x, false});
  x.assign(50, 2);
  all.push_back({"equal points", x, false});
  return all;
}

// On knots, one bit off knots, inside, outside, infinite.
template <class Real>
std::vector<Real> sites_for(const std::vector<Real>& x, int64_t extra) {
  constexpr Real inf = std::numeric_limits<Real>::infinity();
  std::vector<Real> t{-inf, inf, std::numeric_limits<Real>::max(), -std::numeric_limits<Real>::max()};
  for (const Real v : x) {
    t.insert(t.end(), {v, std::nextafter(v, inf), std::nextafter(v, -inf)});
  }
  Random random(11);
  const double width = x.back() - x[0] + 1;
  for (int64_t i = 0; i < extra; ++i) t.push_back(static_cast<Real>(x[0] + width * random.real(-0.1, 1.1)));
  for (size_t i = t.size() - 1; i > 0; --i) std::swap(t[i], t[random.below(static_cast<int64_t>(i) + 1)]);
  return t;
}

template <class Real>
struct SearchTest : ::testing::Test {};
TYPED_TEST_SUITE(SearchTest, RealTypes);

// A user's search: guesses of any quality, some of them told to be final.
struct Guessing {
  int64_t n;
  int mode;  // 0: guess 0; 1: guess n + 3; 2: guess -7; 3: from the sites' bits
  bool saw_method = true;
};
template <class Real>
int32_t guess(const int64_t* count, const Real* t, int64_t* cells, int32_t*, void* parameters, int64_t method) {
  auto& g = *static_cast<Guessing*>(parameters);
  g.saw_method = g.saw_method && method == 42;
  for (int64_t i = 0; i < *count; ++i) {
    uint32_t bits = static_cast<uint32_t>(std::fmod(std::fabs(static_cast<double>(t[i])) * 1e3, 1e6));
    cells[i] = g.mode == 0 ? 0 : g.mode == 1 ? g.n + 3 : g.mode == 2 ? -7 : bits % (g.n + 1);
  }
  return g.mode;
}

TYPED_TEST(SearchTest, EveryMethodFindsTheDefinedCells) {
  using Real = TypeParam;
  using A = Api<Real>;
  for (const auto& partition : partitions<Real>()) {
    const auto& x = partition.x;
    const auto n = static_cast<int64_t>(x.size());
    auto sites = sites_for(x, 2000);
    std::vector<Real> ends{x[0], x.back()};
    TaskHandle task, uniform;
    ASSERT_EQ(A::new_task(&task, n, x.data(), 0, 0, nullptr, 0, 1), DF_OK);
    ASSERT_EQ(A::new_task(&uniform, n, ends.data(), DF_UNIFORM, 0, nullptr, 0, 1), DF_OK);
    for (const char* order : {"shuffled", "sorted", "reversed"}) {
      if (order[0] == 's' && order[1] == 'o') std::sort(sites.begin(), sites.end());
      if (order[0] == 'r') std::reverse(sites.begin(), sites.end());
      std::vector<int32_t> want(sites.size()), got(sites.size());
      for (size_t i = 0; i < sites.size(); ++i) want[i] = defined_cell(x, sites[i]);
      // Sizes on both sides of the inline limit, of the groups and of the thread limit.
      for (const auto m : {size_t{1}, size_t{7}, size_t{31}, size_t{32}, size_t{129}, sites.size()}) {
        const auto count = static_cast<int64_t>(std::min(m, sites.size()));
        const auto check = [&](const char* method, int32_t status) {
          ASSERT_EQ(status, DF_OK) << method;
          for (int64_t i = 0; i < count; ++i) {
            ASSERT_EQ(got[i], want[i]) << partition.name << " " << order << " " << method << " t=" << sites[i];
          }
          std::fill(got.begin(), got.end(), -5);
        };
        const auto run = [&](const char* method, DFTask* on, int64_t hint, const Real* parameters,
                             Guessing* user = nullptr) {
          const auto search = user == nullptr ? nullptr : &guess<Real>;
          check(method,
                A::search(on, 42, count, sites.data(), hint, parameters, got.data(), search, user, &kSlicingServices));
          if (user != nullptr) {
            EXPECT_TRUE(user->saw_method);
          }
        };
        Real parameters[5] = {};
        run("hybrid", task, 0, nullptr, nullptr);
        run("hybrid by parameter", task, 0, parameters, nullptr);
        ASSERT_EQ(qlx_df_kernel_iEditVal(task, DF_PARTITION_HINT, DF_QUASI_UNIFORM), DF_OK);
        run("quasi-uniform", task, 0, nullptr, nullptr);
        ASSERT_EQ(qlx_df_kernel_iEditVal(task, DF_PARTITION_HINT, DF_PARTITION_UNKNOWN), DF_OK);
        if (order[0] == 's' && order[1] == 'o') run("sorted", task, DF_SORTED_SITES, nullptr, nullptr);
        parameters[1] = 1;
        for (const int64_t peak : {int64_t{0}, n / 2, n - 1, n}) {
          parameters[4] = static_cast<Real>(peak);
          run("peak", task, 0, parameters, nullptr);
        }
        for (int mode = 0; mode < 4; ++mode) {
          Guessing user{n, mode};
          run("user", task, 0, nullptr, &user);
          if (partition.uniform) run("uniform user", uniform, 0, nullptr, &user);
        }
        if (partition.uniform) run("uniform", uniform, DF_SORTED_SITES, parameters, nullptr);
      }
    }
  }
}

TYPED_TEST(SearchTest, KernelsAndTheirTwinsAgreeWithTheDispatcher) {
  using Real = TypeParam;
  using A = Api<Real>;
  const auto x = partitions<Real>()[2].x;
  const auto n = static_cast<int64_t>(x.size());
  const Real ends[] = {x[0], x.back()};
  const auto scale = static_cast<Real>(n - 1) / (x.back() - x[0]);
  auto sites = sites_for(x, 100);
  std::sort(sites.begin(), sites.end());
  const auto m = static_cast<int64_t>(sites.size());
  std::vector<int32_t> want(sites.size()), got(sites.size());
  for (size_t i = 0; i < sites.size(); ++i) want[i] = defined_cell(x, sites[i]);
  const auto same = [&](int32_t status) {
    const bool equal = status == DF_OK && got == want;
    std::fill(got.begin(), got.end(), -5);
    return equal;
  };
  TaskHandle t;
  ASSERT_EQ(A::new_task(&t, n, x.data(), 0, 0, nullptr, 0, 1), DF_OK);
  // Through the dispatcher, a table of the right size: 1025 / 16 = 64 buckets.
  std::vector<int32_t> table;
  for (int64_t k = 0; k <= 64; ++k) table.insert(table.end(), {0, static_cast<int32_t>(n - 1)});
  const Real table_scale = 64 / (x.back() - x[0]);
  Guessing user{n, 0};
  for (const auto kernel : {&A::Uniform_search, &A::Uniform_search32}) {
    EXPECT_TRUE(same((*kernel)(n, ends, m, sites.data(), got.data(), scale)));
  }
  for (const auto kernel : {&A::QuasiUniform_search, &A::QuasiUniform_search32}) {
    EXPECT_TRUE(same((*kernel)(n, x.data(), m, sites.data(), got.data(), scale)));
  }
  for (const auto kernel : {&A::Peak_search, &A::Peak_search32}) {
    EXPECT_TRUE(same((*kernel)(n, x.data(), m, sites.data(), got.data(), Real{100.75})));
  }
  for (const auto kernel : {&A::Hybrid_search, &A::Hybrid_search32}) {
    EXPECT_TRUE(same((*kernel)(n, x.data(), m, sites.data(), got.data(), table_scale, table.data())));
  }
  for (const auto kernel : {&A::UserDef_search, &A::UserDef_search32}) {
    EXPECT_TRUE(same((*kernel)(n, x.data(), m, sites.data(), got.data(), guess<Real>, &user)));
  }
  for (const auto kernel : {&A::UniUserDef_search, &A::UniUserDef_search32}) {
    EXPECT_TRUE(same((*kernel)(n, ends, m, sites.data(), got.data(), guess<Real>, &user, scale)));
  }
  for (const auto kernel : {&A::Sorted_search, &A::Sorted_search32}) {
    // In two runs: the start cell carries the merge on.
    int32_t start = 0;
    EXPECT_EQ((*kernel)(n, x.data(), m / 2, sites.data(), got.data(), &start), DF_OK);
    EXPECT_EQ(start, want[m / 2 - 1]);
    EXPECT_TRUE(same((*kernel)(n, x.data(), m - m / 2, sites.data() + m / 2, got.data() + m / 2, &start)));
    EXPECT_EQ(start, n);
  }
  EXPECT_EQ(&A::Peak_search, &A::Peak_search32);
  EXPECT_EQ(&A::Sorted_search, &A::Sorted_search32);
}

TYPED_TEST(SearchTest, NotANumberGetsACellInRange) {
  using Real = TypeParam;
  using A = Api<Real>;
  constexpr Real nan = std::numeric_limits<Real>::quiet_NaN();
  for (const auto& partition : partitions<Real>()) {
    auto x = partition.x;
    const auto n = static_cast<int64_t>(x.size());
    std::vector<Real> sites(40, nan);
    sites[5] = x[n / 2];
    // A sound partition, then NaN at its places, then descending: no method may run away.
    for (int damage = 0; damage < 5; ++damage) {
      auto bad = x;
      if (damage == 1) bad[0] = nan;
      if (damage == 2) bad[n - 1] = nan;
      if (damage == 3) bad[n / 2] = nan;
      if (damage == 4) std::reverse(bad.begin(), bad.end());
      TaskHandle t;
      ASSERT_EQ(A::new_task(&t, n, bad.data(), 0, 0, nullptr, 0, 1), DF_OK);
      for (const int64_t hint : {0, 2, 4}) {
        ASSERT_EQ(qlx_df_kernel_iEditVal(t, DF_PARTITION_HINT, hint), DF_OK);
        const Real peak[] = {0, 1, 0, 0, 1};
        for (const Real* parameters : {static_cast<const Real*>(nullptr), peak}) {
          for (const int64_t site_hint : {0, 64}) {
            std::vector<int32_t> cells(sites.size(), -5);
            EXPECT_EQ(A::search(t, 0, 40, sites.data(), site_hint, parameters, cells.data(), nullptr, nullptr, nullptr),
                      DF_OK);
            for (const int32_t cell : cells) ASSERT_TRUE(cell >= 0 && cell <= n) << damage << " " << hint;
            // The methods that test a site against x[0] first tell a NaN by it.
            if (damage == 0 && (hint != 0 || (site_hint == 0 && parameters == nullptr))) {
              EXPECT_EQ(cells[0], 0);
            }
          }
        }
      }
    }
  }
}

TYPED_TEST(SearchTest, UniformSitesAreExpanded) {
  using Real = TypeParam;
  using A = Api<Real>;
  const auto x = partitions<Real>()[4].x;
  TaskHandle t;
  ASSERT_EQ(A::new_task(&t, static_cast<int64_t>(x.size()), x.data(), 0, 0, nullptr, 0, 1), DF_OK);
  const Real ends[] = {x[0] - 1, x.back() + 1};
  for (const int64_t m : {1, 2, 31, 32, 4096, 4097}) {
    const Real step = m == 1 ? 0 : (ends[1] - ends[0]) / static_cast<Real>(m - 1);
    std::vector<int32_t> cells(m + 1, -5);
    ASSERT_EQ(A::search(t, 0, m, ends, DF_UNIFORM_SITES, nullptr, cells.data(), nullptr, nullptr, &kSlicingServices),
              DF_OK);
    for (int64_t i = 0; i < m; ++i) {
      ASSERT_EQ(cells[i], defined_cell(x, ends[0] + static_cast<Real>(i) * step)) << m << " " << i;
    }
    EXPECT_EQ(cells[m], -5);
  }
}

TYPED_TEST(SearchTest, SiteParametersAndUserResultsDecide) {
  using Real = TypeParam;
  using A = Api<Real>;
  const Real x[] = {0, 1, 2}, sites[] = {0.5, 1.5, 1, 0, 2, 3};
  TaskHandle t;
  ASSERT_EQ(A::new_task(&t, 3, x, 0, 0, nullptr, 0, 1), DF_OK);
  int32_t cells[6];
  const auto with = [&](Real method, Real peak) {
    const Real parameters[] = {9, method, 9, 9, peak};
    return A::search(t, 0, 6, sites, 0, parameters, cells, nullptr, nullptr, nullptr);
  };
  EXPECT_EQ(A::search(nullptr, 0, 6, sites, 0, nullptr, cells, nullptr, nullptr, nullptr), DF_NULL_TASK);
  EXPECT_EQ(with(0, -99), DF_OK);
  EXPECT_EQ(with(1, 3), DF_OK);
  EXPECT_EQ(with(1, 0), DF_OK);
  constexpr Real nan = std::numeric_limits<Real>::quiet_NaN();
  for (const Real bad : {Real{-1}, Real{3.5}, nan}) EXPECT_EQ(with(1, bad), DF_BAD_SITE_PARAMETERS);
  for (const Real bad : {Real{2}, Real{-1}, Real{0.5}, nan}) EXPECT_EQ(with(bad, 1), DF_BAD_SITE_PARAMETERS);

  // A user's cells are kept when it says 1000, or where it sets a flag; else they are mended.
  static int32_t result, flag;
  const auto user = [](const int64_t* count, const Real*, int64_t* found, int32_t* flags, void*, int64_t) {
    for (int64_t i = 0; i < *count; ++i) {
      found[i] = 77;
      flags[i] = flag;
    }
    return result;
  };
  const int32_t cases[][3] = {{1000, 0, 77}, {1000, 1, 77}, {0, 1, 77}, {5, 0, 1}, {-321, 1, 0}};
  for (const auto& c : cases) {
    result = c[0];
    flag = c[1];
    const int32_t status = A::search(t, 0, 6, sites, 0, nullptr, cells, user, nullptr, nullptr);
    EXPECT_EQ(status, result < 0 ? result : 0);
    if (result >= 0) {
      EXPECT_EQ(cells[0], c[2]);
    }
  }
}

}  // namespace
