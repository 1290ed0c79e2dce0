// Speed of summary statistics beside its peers, in ns per element of the dataset.
// SPDX-License-Identifier: Apache-2.0
//
//   bench_stats [--growth] [Google Benchmark's options, such as --benchmark_filter=covariance or =threads]
//
// Benchmarks are named <case>/<n>x<p>/<ours or peer>. Each runs several times and the fastest run counts: others on the
// machine can only slow a run down. The closing table gives the ratio to each peer of the same case, and the goal.
// --growth prints instead how the time grows with n, p and the number of threads: the tables of docs/performance.md.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "fastest.h"
#include "qlx/qst_ss.h"
#include "stats_peers.h"

namespace {

using namespace qlx::bench;

constexpr uint64_t kFourMoments =
    QST_SS_MEAN | 0xE | QST_SS_CENTRAL_MOMENT_2 | QST_SS_CENTRAL_MOMENT_3 | QST_SS_CENTRAL_MOMENT_4;

// One dataset with room for its results.
struct Work {
  int32_t n, p, storage;
  std::vector<double> x, moments, matrix, room, order_room;
  double orders[3] = {0.25, 0.5, 0.75}, quantiles[192];
  int32_t order_count = 3, rows = QST_SS_ROWS;
  QstSSTask* task = nullptr;

  Work(int32_t observations, int32_t variables, int32_t word)
      : n(observations), p(variables), storage(word), x(static_cast<size_t>(n) * p), moments(9 * p), matrix(p * p) {
    std::mt19937_64 random(1);
    std::normal_distribution<double> normal(1, 1);
    for (double& v : x) v = normal(random);
    __qstdSSNewTask(&task, &p, &n, &storage, x.data(), nullptr, nullptr, 0);
    double* const m = moments.data();
    __qstdSSEditMoments(task, m, m + p, m + 2 * p, m + 3 * p, m + 4 * p, m + 5 * p, m + 6 * p);
    __qstdSSEditTask(task, QST_SS_ED_MINIMUM, m + 7 * p);
    __qstdSSEditTask(task, QST_SS_ED_MAXIMUM, m + 8 * p);
    __qstdSSEditTask(task, QST_SS_ED_COVARIANCE, matrix.data());
    __qstdSSEditQuantiles(task, &order_count, orders, quantiles, nullptr, nullptr);
  }
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;
  ~Work() { __qstSSDeleteTask(&task); }

  void basic(uint64_t mask, uint64_t method, int threads = 1) {
    qlx_serv_set_num_threads_limit(threads);
    if (_qstdSSBasic(task, mask, method, qlx_serv_thread_table()) != 0) std::abort();
    qlx_serv_set_num_threads_limit(0);
  }
};

// Datasets are made once and kept, since several benchmarks share one.
Work& work(int32_t n, int32_t p, int32_t storage) {
  static std::map<std::array<int32_t, 3>, Work> all;
  return all.try_emplace({n, p, storage}, n, p, storage).first->second;
}

void syrk(Work& w) {
  const double one = 1, zero = 0;
  qlx_blas_xdsyrk("u", "n", &w.p, &w.n, &one, w.x.data(), &w.p, &zero, w.matrix.data(), &w.p);
}

struct Case {
  std::string name, contender;
  int32_t n, p, storage;
  std::function<void(Work&)> run;
  std::string goal_against;  // a peer, or empty: the goal is in ns per element
  double goal;               // 0: a peer
};

constexpr int32_t kRows = QST_SS_ROWS, kColumns = QST_SS_COLUMNS;

std::vector<Case> cases() {
  std::vector<Case> all;
  const auto add = [&](std::string name, int32_t n, int32_t p, int32_t storage, std::string contender,
                       std::function<void(Work&)> run, double goal = 0, std::string against = "") {
    all.push_back({std::move(name), std::move(contender), n, p, storage, std::move(run), std::move(against), goal});
  };
  const auto moments = [](uint64_t method, int threads = 1) {
    return [=](Work& w) { w.basic(kFourMoments, method, threads); };
  };
  const auto covariance = [](uint64_t method, int threads = 1) {
    return [=](Work& w) { w.basic(QST_SS_COVARIANCE, method, threads); };
  };
  const auto gsl_rows = [](Work& w) { gsl_moments(w.x.data(), w.n, w.p, w.n, 1, w.moments.data()); };
  const auto gsl_columns = [](Work& w) { gsl_moments(w.x.data(), w.n, w.p, 1, w.p, w.moments.data()); };

  add("moments rows", 1000000, 1, kRows, "fast", moments(QST_SS_METHOD_FAST), 0.6);
  add("moments rows", 1000000, 1, kRows, "one-pass", moments(QST_SS_METHOD_1PASS), 5);
  add("moments rows", 1000000, 1, kRows, "raw-sum loop",
      [](Work& w) { raw_sums_rows(w.x.data(), w.n, w.p, w.moments.data()); });
  add("moments rows", 1000000, 1, kRows, "two-pass loop",
      [](Work& w) { two_pass_rows(w.x.data(), w.n, w.p, w.moments.data()); });
  add("moments rows", 1000000, 1, kRows, "eigen",
      [](Work& w) { eigen_moments_columns(w.x.data(), w.n, w.p, w.moments.data()); });
  add("moments rows", 1000000, 1, kRows, "gsl", gsl_rows);

  add("moments rows", 100000, 10, kRows, "fast", moments(QST_SS_METHOD_FAST), 1.2);
  add("moments rows", 100000, 10, kRows, "one-pass", moments(QST_SS_METHOD_1PASS), 2.5);
  add("moments rows", 100000, 10, kRows, "raw-sum loop",
      [](Work& w) { raw_sums_rows(w.x.data(), w.n, w.p, w.moments.data()); });
  add("moments rows", 100000, 10, kRows, "gsl", gsl_rows);
  add("moments columns", 100000, 10, kColumns, "fast", moments(QST_SS_METHOD_FAST), 1.2);
  add("moments columns", 100000, 10, kColumns, "one-pass", moments(QST_SS_METHOD_1PASS), 2.5);
  add("moments columns", 100000, 10, kColumns, "raw-sum loop",
      [](Work& w) { raw_sums_columns(w.x.data(), w.n, w.p, w.moments.data()); });
  add("moments columns", 100000, 10, kColumns, "eigen",
      [](Work& w) { eigen_moments_columns(w.x.data(), w.n, w.p, w.moments.data()); });
  add("moments columns", 100000, 10, kColumns, "gsl", gsl_columns);

  for (const int32_t n : {100000, 10000}) {
    const int32_t p = n == 100000 ? 50 : 500;
    add("covariance columns", n, p, kColumns, "fast", covariance(QST_SS_METHOD_FAST), p == 50 ? 1.4 : 1.2, "dsyrk");
    add("covariance columns", n, p, kColumns, "one-pass", covariance(QST_SS_METHOD_1PASS), p == 50 ? 3 : 0, "dsyrk");
    add("covariance columns", n, p, kColumns, "dsyrk", syrk);
    add("covariance columns", n, p, kColumns, "eigen",
        [](Work& w) { eigen_covariance(w.x.data(), w.n, w.p, w.matrix.data()); });
  }

  add(
      "min and max", 1000000, 1, kRows, "ours",
      [](Work& w) { _qstdSSMinmax(w.task, QST_SS_MINIMUM | QST_SS_MAXIMUM, QST_SS_METHOD_FAST, nullptr); }, 0.5);
  add("min and max", 1000000, 1, kRows, "plain loop", [](Work& w) { min_max(w.x.data(), w.n, w.moments.data() + 7); });

  add(
      "three quantiles", 1000000, 1, kRows, "ours",
      [](Work& w) { _qstdSSQuantiles(w.task, QST_SS_QUANTILES, QST_SS_METHOD_FAST, nullptr); }, 22);
  add("three quantiles", 1000000, 1, kRows, "nth_element", [](Work& w) {
    w.room = w.x;
    for (const double q : w.orders) {
      const auto k = static_cast<long>(q * (w.n - 1));
      std::nth_element(w.room.begin(), w.room.begin() + k, w.room.end());
      benchmark::DoNotOptimize(*std::min_element(w.room.begin() + k + 1, w.room.end()));
    }
  });
  add(
      "sort", 1000000, 1, kRows, "ours",
      [](Work& w) {
        w.room = w.x;
        __qstdQSort(w.n, w.room.data());
      },
      55);
  add("sort", 1000000, 1, kRows, "std::sort", [](Work& w) {
    w.room = w.x;
    std::sort(w.room.begin(), w.room.end());
  });

  // Goals of two threads are ratios to one thread: at least 1.7 times as fast.
  add("moments threads", 1000000, 10, kColumns, "two threads", moments(QST_SS_METHOD_1PASS, 2), 1 / 1.7, "one thread");
  add("moments threads", 1000000, 10, kColumns, "one thread", moments(QST_SS_METHOD_1PASS, 1));
  add("fast moments threads", 1000000, 10, kColumns, "two threads", moments(QST_SS_METHOD_FAST, 2), 1 / 1.7,
      "one thread");
  add("fast moments threads", 1000000, 10, kColumns, "one thread", moments(QST_SS_METHOD_FAST, 1));
  add("covariance threads", 100000, 50, kColumns, "two threads", covariance(QST_SS_METHOD_FAST, 2), 1 / 1.7,
      "one thread");
  add("covariance threads", 100000, 50, kColumns, "one thread", covariance(QST_SS_METHOD_FAST, 1));
  add("one-pass covariance threads", 100000, 50, kColumns, "two threads", covariance(QST_SS_METHOD_1PASS, 2), 1 / 1.7,
      "one thread");
  add("one-pass covariance threads", 100000, 50, kColumns, "one thread", covariance(QST_SS_METHOD_1PASS, 1));
  return all;
}

// How the time grows: one table a series, a column each shape.
struct Series {
  const char *name, *what;  // what changes from column to column
  uint64_t mask;
  std::vector<std::pair<int32_t, int32_t>> shapes;  // n, p
};

const Series kGrowth[] = {
    {"four moments by n", "n, p = 10", kFourMoments, {{100, 10}, {1000, 10}, {10000, 10}, {100000, 10}, {1000000, 10}}},
    {"four moments by p",
     "p, n p = 1000000",
     kFourMoments,
     {{1000000, 1}, {333333, 3}, {100000, 10}, {33333, 30}, {10000, 100}, {1000, 1000}}},
    {"covariance by n", "n, p = 50", QST_SS_COVARIANCE, {{100, 50}, {1000, 50}, {10000, 50}, {100000, 50}}},
    {"covariance by p",
     "p, n p = 2000000",
     QST_SS_COVARIANCE,
     {{666666, 3}, {200000, 10}, {40000, 50}, {10000, 200}, {4000, 500}}}};

constexpr std::pair<const char*, uint64_t> kGrowthMethods[] = {{"fast", QST_SS_METHOD_FAST},
                                                               {"one-pass", QST_SS_METHOD_1PASS}};

Case growth_case(const Series& series, size_t column, const char* method_name, uint64_t method, int threads) {
  const auto [n, p] = series.shapes[column];
  return {std::string(series.name) + " " + method_name,
          threads == 1 ? "1 thread" : std::to_string(threads) + " threads",
          n,
          p,
          kColumns,
          [=, mask = series.mask](Work& w) { w.basic(mask, method, threads); },
          "",
          0};
}

std::vector<Case> growth_cases() {
  std::vector<Case> all;
  for (const Series& series : kGrowth)
    for (const auto& [name, method] : kGrowthMethods)
      for (const int threads : {1, 2})
        for (size_t k = 0; k < series.shapes.size(); ++k) all.push_back(growth_case(series, k, name, method, threads));
  return all;
}

std::string full_name(const Case& c) {
  return c.name + "/" + std::to_string(c.n) + "x" + std::to_string(c.p) + "/" + c.contender;
}

double elements(const Case& c) {
  return static_cast<double>(c.n) * c.p;
}

// The goal of a case, met or missed; of two threads, how many times as fast they are.
void print_goal(const Case& c, double mine, const Fastest& fastest) {
  if (c.goal_against.empty()) {
    std::printf("%.2f ns of %.2f %s;", mine, c.goal, mine <= c.goal ? "met" : "MISSED");
    return;
  }
  Case against = c;
  against.contender = c.goal_against;
  const double ratio = mine / (fastest.of(full_name(against)) / elements(c));
  if (std::isnan(ratio)) return;
  const char* verdict = ratio <= c.goal ? "met" : "MISSED";
  if (c.goal < 1) {
    std::printf("%.2f times as fast, of %.2f %s;", 1 / ratio, 1 / c.goal, verdict);
  } else {
    std::printf("%.2f of %.2f %s;", ratio, c.goal, verdict);
  }
}

void print_table(const std::vector<Case>& all, const Fastest& fastest) {
  std::printf("\n%-22s %-12s %-14s %9s   %s\n", "case", "n x p", "contender", "ns/elem", "goal; ratio to peers");
  for (const Case& c : all) {
    const double mine = fastest.of(full_name(c)) / elements(c);
    if (std::isnan(mine)) continue;
    const std::string shape = std::to_string(c.n) + " x " + std::to_string(c.p);
    std::printf("%-22s %-12s %-14s %9.3f   ", c.name.c_str(), shape.c_str(), c.contender.c_str(), mine);
    if (c.goal > 0) print_goal(c, mine, fastest);
    for (const Case& peer : all) {
      if (peer.name != c.name || peer.n != c.n || peer.p != c.p || peer.contender == c.contender || c.goal == 0)
        continue;
      const double other = fastest.of(full_name(peer)) / elements(peer);
      if (!std::isnan(other)) std::printf(" %.2f %s", mine / other, peer.contender.c_str());
    }
    std::printf("\n");
  }
}

// A row of ns per element for one thread, and a row of how many times as fast two threads are by the clock.
void print_growth(const Fastest& fastest) {
  for (const Series& series : kGrowth) {
    const bool by_n = std::strstr(series.name, "by n") != nullptr;
    std::printf("\n| %.*s, ns / element by %s |", static_cast<int>(std::strlen(series.name)) - 5, series.name,
                series.what);
    for (const auto& [n, p] : series.shapes) std::printf(" %d |", by_n ? n : p);
    std::printf("\n|---|");
    for (size_t k = 0; k < series.shapes.size(); ++k) std::printf("---|");
    std::printf("\n");
    for (const auto& [name, method] : kGrowthMethods)
      for (const int threads : {1, 2}) {
        std::vector<double> figures;
        for (size_t k = 0; k < series.shapes.size(); ++k) {
          const Case one = growth_case(series, k, name, method, 1), two = growth_case(series, k, name, method, 2);
          figures.push_back(threads == 1 ? fastest.of(full_name(one)) / elements(one)
                                         : fastest.wall_of(full_name(one)) / fastest.wall_of(full_name(two)));
        }
        if (std::isnan(figures[0])) continue;
        std::printf("| %s, %s |", name, threads == 1 ? "one thread" : "two threads are times as fast");
        for (const double figure : figures) std::isnan(figure) ? std::printf(" |") : std::printf(" %.2f |", figure);
        std::printf("\n");
      }
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  const bool growth = take_flag(arguments, "--growth");
  if (!initialize(arguments)) return 2;
  const std::vector<Case> all = growth ? growth_cases() : cases();
  for (const Case& c : all)
    add_benchmark(full_name(c), [&c] { c.run(work(c.n, c.p, c.storage)); })
        ->UseRealTime()
        ->Repetitions(40)
        ->MinTime(0.01);
  const Fastest fastest(Clock::kProcessor);
  if (growth) {
    print_growth(fastest);
  } else {
    print_table(all, fastest);
  }
}
