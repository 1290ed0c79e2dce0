// Data fitting against peers in the same process: cell search, spline construction, evaluation.
// SPDX-License-Identifier: Apache-2.0
//
// Run: build/release/bin/bench_fitting [--benchmark_filter=...]. The table after the runs gives, for each task, the
// least time of the repetitions per site or point, that of each peer, the ratio to the best peer and the goal. A second
// table, of the rows that --benchmark_filter=threads selects, gives the gain of a second thread: in the time that
// passes, which needs two idle processors, and in the processor time of the busiest thread, which tells how evenly the
// work is shared wherever it is measured.
#include <gsl/gsl_interp.h>
#include <gsl/gsl_spline.h>
#include <time.h>  // clock_gettime: processor time of one thread

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "fastest.h"
#include "qlx/core.h"
#include "qlx/df.h"

namespace {

using namespace qlx::bench;

constexpr int64_t kSites = 1'000'000;

// xorshift64* (Vigna 2016): the same data on every run.
double uniform_number() {
  static uint64_t state = 88172645463325252u;
  state ^= state >> 12;
  state ^= state << 25;
  state ^= state >> 27;
  return static_cast<double>((state * 0x2545F4914F6CDD1Du) >> 11) * 0x1p-53;
}

// One partition with a function on it, and sites in every order that matters.
struct Data {
  int64_t n;
  std::vector<double> x, y, ends, random, sorted, coefficients;
  DFTask *task = nullptr, *uniform = nullptr;

  explicit Data(int64_t points) : n(points), x(points), y(points), random(kSites), coefficients(4 * points) {
    for (int64_t i = 0; i < n; ++i) {
      x[i] = static_cast<double>(i) + 0.8 * uniform_number();
      y[i] = std::sin(0.01 * x[i]) + 0.1 * uniform_number();
    }
    for (auto& t : random) t = x[0] + (x[n - 1] - x[0]) * uniform_number();
    sorted = random;
    std::sort(sorted.begin(), sorted.end());
    ends = {x[0], x[n - 1]};
    qlx_df_kernel_dNewTask1D(&task, n, x.data(), DF_NON_UNIFORM, 1, y.data(), DF_ROWS, 1);
    qlx_df_kernel_dNewTask1D(&uniform, n, ends.data(), DF_UNIFORM, 1, y.data(), DF_ROWS, 1);
    for (DFTask* t : {task, uniform}) {
      qlx_df_kernel_dEditPPSpline1D(t, 4, 0, DF_BC_FREE_END, nullptr, 0, nullptr, coefficients.data(), DF_ROWS);
    }
  }
};

Data& data(int64_t n) {
  static std::map<int64_t, Data*> all;
  Data*& d = all[n];
  if (d == nullptr) d = new Data(n);
  return *d;
}

// ---- Peers -----------------------------------------------------------------------------------------------------

int64_t branch_free_cell(const double* x, int64_t n, double t) {
  const double* base = x;
  while (n > 1) {
    const int64_t half = n / 2;
    base += half & -static_cast<int64_t>(base[half - 1] <= t);
    n -= half;
  }
  return base - x + (*base <= t);
}

// Natural cubic spline by plain Gaussian elimination, one pass down and one up, the textbook's way.
void thomas_natural(int64_t n, const double* x, const double* y, double* c, std::vector<double>& work) {
  work.resize(2 * n);
  double *cp = work.data(), *m = work.data() + n;
  cp[0] = m[0] = 0;
  for (int64_t i = 1; i < n - 1; ++i) {
    const double h0 = x[i] - x[i - 1], h1 = x[i + 1] - x[i];
    const double pivot = 2 * (h0 + h1) - h0 * cp[i - 1];
    cp[i] = h1 / pivot;
    m[i] = (6 * ((y[i + 1] - y[i]) / h1 - (y[i] - y[i - 1]) / h0) - h0 * m[i - 1]) / pivot;
  }
  m[n - 1] = 0;
  for (int64_t i = n - 2; i >= 0; --i) {
    m[i] -= cp[i] * m[i + 1];
    const double h = x[i + 1] - x[i];
    c[4 * i] = y[i];
    c[4 * i + 1] = (y[i + 1] - y[i]) / h - h * (2 * m[i] + m[i + 1]) / 6;
    c[4 * i + 2] = m[i] / 2;
    c[4 * i + 3] = (m[i + 1] - m[i]) / (6 * h);
  }
}

// ---- Tasks -----------------------------------------------------------------------------------------------------

struct Row {
  std::string task, contender;  // contender "qlx" or a peer
  int64_t items;                // divides the time
  double goal;                  // ns per item, 0 for none
  std::function<void()> run;
};

std::vector<Row>& rows() {
  static std::vector<Row> all;
  return all;
}
void add(std::string task, std::string contender, int64_t items, double goal, std::function<void()> run) {
  rows().push_back({std::move(task), std::move(contender), items, goal, std::move(run)});
}

// The same call with and without services; seconds on one thread and on two, least of all runs.
struct ThreadsRow {
  std::string task;
  int64_t items;
  std::function<void(const QlxThreadTable*)> run;
  double least[2] = {0, 0};
  double busiest[2] = {0, 0};
};

std::vector<ThreadsRow>& threads_rows() {
  static std::vector<ThreadsRow> all;
  return all;
}
void add_threads(std::string task, int64_t items, std::function<void(const QlxThreadTable*)> run) {
  threads_rows().push_back({std::move(task), items, std::move(run)});
}

double processor_seconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// What the threader took since both were last set to 0: the caller's processor time in it, its waiting included, and
// that of the longest task. A thread gets one task, since the calls divide their work by threads.
double caller_in_threader = 0, longest_task = 0;

int metered_threader(int tasks, int reserved, void* context, QlxTaskFunction function) {
  struct Metered {
    void* context;
    QlxTaskFunction function;
    std::vector<double> seconds;
  } metered{context, function, std::vector<double>(static_cast<size_t>(tasks))};
  const double start = processor_seconds();
  const int result = qlx_qst_serv_threader_for(tasks, reserved, &metered, [](int task, void* of) {
    auto& m = *static_cast<Metered*>(of);
    const double begin = processor_seconds();
    m.function(task, m.context);
    m.seconds[static_cast<size_t>(task)] = processor_seconds() - begin;
  });
  caller_in_threader += processor_seconds() - start;
  longest_task += *std::max_element(metered.seconds.begin(), metered.seconds.end());
  return result;
}

// One thread and two take turns, so that what else runs on the machine meets both alike.
void compare_threads(benchmark::State& state, ThreadsRow& row) {
  static const QlxThreadTable metered{metered_threader, qlx_qst_serv_threader_get_num_threads_limit};
  const int before = qlx_serv_set_num_threads_limit(2);
  const auto keep_least = [](double& least, double seconds) {
    least = least == 0 ? seconds : std::min(least, seconds);
  };
  for (auto _ : state) {
    for (int k = 0; k < 2; ++k) {
      caller_in_threader = longest_task = 0;
      const auto start = std::chrono::steady_clock::now();
      const double processor_start = processor_seconds();
      row.run(k == 0 ? nullptr : &metered);
      benchmark::ClobberMemory();
      keep_least(row.busiest[k], processor_seconds() - processor_start - caller_in_threader + longest_task);
      const double passed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
      keep_least(row.least[k], passed);
      state.SetIterationTime(passed);
    }
  }
  qlx_serv_set_num_threads_limit(before);
}

std::vector<int32_t>& cells() {
  static std::vector<int32_t> all(kSites);
  return all;
}
std::vector<double>& results() {
  static std::vector<double> all(kSites);
  return all;
}

void search(DFTask* task, const std::vector<double>& sites, int64_t hint, const QlxThreadTable* services) {
  qlx_df_kernel_dDFSearch1D(task, 0, kSites, sites.data(), hint, nullptr, cells().data(), nullptr, nullptr, services);
}

void add_search(int64_t n, const char* points, double random_goal, double sorted_goal) {
  const std::string of = std::string(" in ") + points;
  Data& d = data(n);
  add("search, random" + of, "qlx", kSites, random_goal, [&d] { search(d.task, d.random, 0, nullptr); });
  add("search, random" + of, "upper_bound", kSites, 0, [&d] {
    for (int64_t i = 0; i < kSites; ++i) {
      cells()[i] = static_cast<int32_t>(std::upper_bound(d.x.begin(), d.x.end(), d.random[i]) - d.x.begin());
    }
  });
  add("search, random" + of, "branch-free", kSites, 0, [&d] {
    for (int64_t i = 0; i < kSites; ++i) {
      cells()[i] = static_cast<int32_t>(branch_free_cell(d.x.data(), d.n, d.random[i]));
    }
  });
  add("search, sorted" + of, "qlx", kSites, sorted_goal, [&d] { search(d.task, d.sorted, DF_SORTED_SITES, nullptr); });
  add("search, sorted" + of, "GSL", kSites, 0, [&d] {
    gsl_interp_accel* accel = gsl_interp_accel_alloc();
    for (int64_t i = 0; i < kSites; ++i) {
      cells()[i] = static_cast<int32_t>(gsl_interp_accel_find(accel, d.x.data(), d.n, d.sorted[i]));
    }
    gsl_interp_accel_free(accel);
  });
  add("search, uniform" + of, "qlx", kSites, 1.5, [&d] { search(d.uniform, d.random, 0, nullptr); });
  add_threads("search, random" + of, kSites, [&d](auto* services) { search(d.task, d.random, 0, services); });
  add_threads("search, sorted" + of, kSites,
              [&d](auto* services) { search(d.task, d.sorted, DF_SORTED_SITES, services); });
}

// ---- Construction and evaluation ---------------------------------------------------------------------------------

using Entry = int32_t (*)(DFTask*, int64_t, int64_t, const QlxThreadTable*);

void add_construction(const char* name, Entry entry, double goal, int64_t boundary, const gsl_interp_type* peer) {
  Data& d = data(1'000'000);
  const std::string task = std::string("construct, ") + name + ", 1e6 points";
  const auto run = [&d, entry, boundary](const QlxThreadTable* services) {
    qlx_df_kernel_iEditVal(d.task, DF_BOUNDARY_TYPE, boundary);
    entry(d.task, 0, 0, services);
  };
  add(task, "qlx", d.n, goal, [run] { run(nullptr); });
  if (peer != nullptr) {
    gsl_interp* interp = gsl_interp_alloc(peer, d.n);
    add(task, "GSL", d.n, 0, [&d, interp] { gsl_interp_init(interp, d.x.data(), d.y.data(), d.n); });
  }
  if (peer == gsl_interp_cspline) {
    add(task, "Thomas", d.n, 0, [&d] {
      static std::vector<double> work;
      thomas_natural(d.n, d.x.data(), d.y.data(), d.coefficients.data(), work);
    });
  }
  add_threads(task, d.n, run);
}

// A thousand functions on a thousand points.
void add_many_functions(const char* name, Entry entry) {
  constexpr int64_t kPoints = 1000, kFunctions = 1000;
  static std::vector<double> y(kPoints * kFunctions), coefficients(4 * kPoints * kFunctions);
  for (auto& v : y) v = uniform_number();
  DFTask* task = nullptr;
  Data& d = data(kPoints);
  qlx_df_kernel_dNewTask1D(&task, kPoints, d.x.data(), DF_NON_UNIFORM, kFunctions, y.data(), DF_ROWS, 1);
  qlx_df_kernel_dEditPPSpline1D(task, 4, 0, DF_BC_FREE_END, nullptr, 0, nullptr, coefficients.data(), DF_ROWS);
  const std::string row = std::string("construct, ") + name + ", 1e3 functions of 1e3 points";
  const auto run = [task, entry](const QlxThreadTable* services) { entry(task, 0, 0, services); };
  add(row, "qlx", kPoints * kFunctions, 0, [run] { run(nullptr); });
  add_threads(row, kPoints * kFunctions, run);
}

void add_evaluation(int64_t n, const char* points, bool sorted, double goal) {
  Data& d = data(n);
  const std::string task = std::string("evaluate cubic, ") + (sorted ? "sorted" : "random") + " in " + points;
  const std::vector<double>& sites = sorted ? d.sorted : d.random;
  const int64_t hint = sorted ? DF_SORTED_SITES : 0;
  const auto run = [&d, &sites, hint](const QlxThreadTable* services) {
    static const int64_t kValue = 0;
    qlx_df_kernel_dDFInterpolate1D(d.task, 0, 0, kSites, sites.data(), hint, nullptr, 1, &kValue, results().data(),
                                   DF_ROWS, nullptr, nullptr, services);
  };
  add(task, "qlx", kSites, goal, [run] { run(nullptr); });
  gsl_spline* spline = gsl_spline_alloc(gsl_interp_cspline, n);
  gsl_spline_init(spline, d.x.data(), d.y.data(), n);
  add(task, "GSL", kSites, 0, [spline, &sites] {
    gsl_interp_accel* accel = gsl_interp_accel_alloc();
    for (int64_t i = 0; i < kSites; ++i) results()[i] = gsl_spline_eval(spline, sites[i], accel);
    gsl_interp_accel_free(accel);
  });
  add_threads(task, kSites, run);
}

// One benchmark for each row.
std::string full_name(const Row& row) {
  return row.task + "/" + row.contender;
}

// ---- Report ----------------------------------------------------------------------------------------------------

void print_threads() {
  constexpr double kGoal = 1.7;
  bool titled = false;
  for (const ThreadsRow& row : threads_rows()) {
    if (row.least[0] == 0) continue;
    if (!titled) {
      std::printf(
          "\n| task | one thread, ns per item | two threads | gain | goal | gain in processor time |\n"
          "|---|---|---|---|---|---|\n");
    }
    titled = true;
    const double unit = 1e9 / static_cast<double>(row.items), gain = row.least[0] / row.least[1];
    std::printf("| %s | %.2f | %.2f | %.2f | %.1f %s | %.2f |\n", row.task.c_str(), row.least[0] * unit,
                row.least[1] * unit, gain, kGoal, gain >= kGoal ? "met" : "MISSED", row.busiest[0] / row.busiest[1]);
  }
}

void print_table(const Fastest& fastest) {
  const auto nanoseconds = [&fastest](const Row& row) {
    return fastest.of(full_name(row)) / static_cast<double>(row.items);
  };
  bool titled = false;
  for (const Row& row : rows()) {
    const double ours = nanoseconds(row);
    if (row.contender != "qlx" || std::isnan(ours)) continue;
    if (!titled) std::printf("\n| task | ns per item | peers | ratio to best peer | goal |\n|---|---|---|---|---|\n");
    titled = true;
    std::string peers;
    double best = 0;
    for (const Row& peer : rows()) {
      const double time = nanoseconds(peer);
      if (peer.task != row.task || &peer == &row || std::isnan(time)) continue;
      char text[80];
      std::snprintf(text, sizeof text, "%s%s %.2f", peers.empty() ? "" : ", ", peer.contender.c_str(), time);
      peers += text;
      best = best == 0 ? time : std::min(best, time);
    }
    std::printf("| %s | %.2f | %s | ", row.task.c_str(), ours, peers.c_str());
    best > 0 ? std::printf("%.2f | ", ours / best) : std::printf("| ");
    row.goal > 0 ? std::printf("%.1f %s |\n", row.goal, ours <= row.goal ? "met" : "MISSED") : std::printf(" |\n");
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  if (!initialize(arguments)) return 2;
  add_search(1'000, "1e3 points", 20, 2);
  add_search(1'000'000, "1e6 points", 140, 12);
  add_construction("natural", qlx_df_kernel_dDFNaturalCubicSpline1D, 20, DF_BC_FREE_END, gsl_interp_cspline);
  add_construction("Akima", qlx_df_kernel_dDFAkimaCubicSpline1D, 12, DF_BC_NONE, gsl_interp_akima);
  add_construction("Hermite", qlx_df_kernel_dDFHermiteCubicSpline1D, 6, DF_BC_FREE_END, nullptr);
  add_many_functions("natural", qlx_df_kernel_dDFNaturalCubicSpline1D);
  add_many_functions("Akima", qlx_df_kernel_dDFAkimaCubicSpline1D);
  qlx_df_kernel_dDFNaturalCubicSpline1D(data(1'000).task, 0, 0, nullptr);
  add_evaluation(1'000, "1e3 points", false, 25);
  add_evaluation(1'000, "1e3 points", true, 5);
  add_evaluation(1'000'000, "1e6 points", false, 200);
  add_evaluation(1'000'000, "1e6 points", true, 0);
  for (const Row& row : rows()) add_benchmark(full_name(row), row.run)->UseRealTime()->Repetitions(40)->MinTime(0.02);
  for (ThreadsRow& row : threads_rows()) {
    benchmark::RegisterBenchmark(("threads, " + row.task).c_str(),
                                 [&row](benchmark::State& state) { compare_threads(state, row); })
        ->UseManualTime()
        ->Repetitions(60)
        ->MinTime(0.02);
  }
  print_table(Fastest(Clock::kProcessor));
  print_threads();
}
