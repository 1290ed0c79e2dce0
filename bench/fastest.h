// What the benchmark programs share: their own options beside Google Benchmark's, one shape of benchmark, and the
// fastest run of each.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace qlx::bench {

// Takes `flag` out of the command line; whether it was there.
inline bool take_flag(std::vector<char*>& arguments, const char* flag) {
  const auto is_flag = [flag](const char* argument) { return std::strcmp(argument, flag) == 0; };
  return std::erase_if(arguments, is_flag) > 0;
}

// Hands the rest of the command line to Google Benchmark; false, with a message, when it knows an option as little. The
// repetitions of all benchmarks take turns, so that a busy stretch of the machine doesn't fall on one of two alone.
inline bool initialize(std::vector<char*>& arguments) {
  static char interleaved[] = "--benchmark_enable_random_interleaving=true";
  arguments.insert(arguments.begin() + 1, interleaved);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  return !benchmark::ReportUnrecognizedArguments(count, arguments.data());
}

// Registers run() under a name, after one run that touches the memory. The caller sets repetitions and their length.
template <class Run>
benchmark::internal::Benchmark* add_benchmark(const std::string& name, Run run) {
  return benchmark::RegisterBenchmark(name.c_str(), [run](benchmark::State& state) {
    run();
    for (auto _ : state) {
      run();
      benchmark::ClobberMemory();
    }
  });
}

// Which clock counts. The processor's time of the thread is what others on the machine stretch least; work of several
// threads, whose names say "threads", counts by the wall's clock all the same, and so do runs of a few microseconds,
// which reading the other clock would lengthen.
enum class Clock { kProcessor, kWall };

// Runs what the options select and keeps the fastest repetition of each: others can only slow a run down.
class Fastest : public benchmark::BenchmarkReporter {
 public:
  explicit Fastest(Clock clock) : clock_(clock) {
    benchmark::RunSpecifiedBenchmarks(this);
    std::fprintf(stderr, "\r                  \r");
  }

  // In ns a call; not a number when it was not run.
  double of(const std::string& name) const {
    const bool by_wall = clock_ == Clock::kWall || name.find("threads") != std::string::npos;
    return find(by_wall ? wall_ : processor_, name);
  }
  // The same by the wall's clock in any case.
  double wall_of(const std::string& name) const { return find(wall_, name); }

  bool ReportContext(const Context&) override { return true; }
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const auto n = static_cast<double>(run.iterations);
      keep_least(processor_, run.run_name.function_name, run.cpu_accumulated_time * 1e9 / n);
      keep_least(wall_, run.run_name.function_name, run.real_accumulated_time * 1e9 / n);
    }
    std::fprintf(stderr, "\r%zu measured ", wall_.size());
  }

 private:
  using Times = std::map<std::string, double>;
  static double find(const Times& times, const std::string& name) {
    const auto at = times.find(name);
    return at == times.end() ? NAN : at->second;
  }
  static void keep_least(Times& times, const std::string& name, double ns) {
    const auto [at, is_new] = times.emplace(name, ns);
    if (!is_new) at->second = std::min(at->second, ns);
  }

  Clock clock_;
  Times processor_, wall_;
};

}  // namespace qlx::bench
