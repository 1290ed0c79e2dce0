// Speed of every kernel beside its peers: ns and cycles per element at n = 1000 and 1000000; the ratio to each peer.
// SPDX-License-Identifier: Apache-2.0
//
//   bench_vecmath [--costs] [--markdown] [Google Benchmark's options, such as --benchmark_filter=sFmod]
//
// Benchmarks are named <t><Name>/<n>/<accuracy or peer>. Each runs many times for some microseconds, and the fastest
// run counts: others on the machine can only slow a run down, and leave some of the short ones alone. Cycles are those
// of the core clock at the time of the run, measured by a chain of dependent additions, which take one cycle each.
// --costs prints the catalogue's numbers instead.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <map>
#include <random>

#include "fastest.h"
#include "vecmath/kernels.h"
#include "vecmath_peers.h"

namespace {

using namespace qlx::bench;
using qlx::testing::all_functions;
using qlx::testing::Function;

constexpr int kShort = 1000, kLong = 1000000;
const char* const kAccuracy[] = {"LA", "HA", "EP"};

// Cycles in a nanosecond, from a chain of additions that the compiler can't shorten.
double cycles_per_ns() {
  double best = 0;
  for (int repeat = 0; repeat < 500; ++repeat) {
    constexpr int kAdditions = 100'000;
    const auto begin = std::chrono::steady_clock::now();
    uint64_t x = 1;
    for (int i = 0; i < kAdditions / 10; ++i) {
      asm volatile(
          "add %0, %0\n\tadd %0, %0\n\tadd %0, %0\n\tadd %0, %0\n\tadd %0, %0\n\t"
          "add %0, %0\n\tadd %0, %0\n\tadd %0, %0\n\tadd %0, %0\n\tadd %0, %0"
          : "+r"(x));
    }
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - begin;
    best = std::max(best, kAdditions / time.count());
  }
  return best;
}

// Ordinary arguments: quotients of Fmod and Remainder below 2^11, positive where a function wants it.
template <class Real>
struct Data {
  std::vector<Real> a, b, r, s;
  explicit Data(const std::string& name) : a(kLong), b(kLong), r(kLong), s(kLong) {
    std::mt19937 random(1);
    std::uniform_real_distribution<Real> first(static_cast<Real>(0.5), 20), second(static_cast<Real>(0.5), 4);
    const bool remainder = name == "Fmod" || name == "Remainder";
    for (int i = 0; i < kLong; ++i) {
      a[i] = first(random) * (remainder ? 50 : 1);
      b[i] = second(random);
    }
  }
};

template <class Real>
Data<Real>& data_of(const std::string& name) {
  static std::map<std::string, Data<Real>> cache;
  const bool remainder = name == "Fmod" || name == "Remainder";
  return cache.try_emplace(remainder ? name : "", name).first->second;
}

template <class Run>
void add_run(const std::string& name, int n, Run run) {
  add_benchmark(name, [n, run] { run(n); })
      ->Iterations(n == kLong    ? 1
                   : n == kShort ? 16
                                 : 1000)
      ->Repetitions(n == kLong ? 60 : 300);
}

template <class Real>
void add_function(const Function<Real>& f, const std::vector<Peer<Real>>& peers) {
  auto& data = data_of<Real>(f.name);
  for (const int n : {1, kShort, kLong}) {
    const std::string prefix = f.full_name + "/" + std::to_string(n) + "/";
    for (int slot = 0; slot < 3; ++slot) {
      if (f.row->first_slot(slot) != slot) continue;
      add_run(prefix + kAccuracy[slot], n, [f, slot, &data](int count) {
        f.unit(slot, {count, data.a.data(), data.b.data(), data.r.data(), data.s.data()});
      });
    }
    for (const Peer<Real>& peer : peers) {
      if (peer.function != f.name || n == 1) continue;
      add_run(prefix + peer.name, n, [&data, run = peer.run](int count) {
        run(count, data.a.data(), data.b.data(), data.r.data(), data.s.data());
      });
    }
  }
}

struct Options {
  bool costs = false, markdown = false;
};

template <class Real>
void print_function(const Function<Real>& f, const std::vector<Peer<Real>>& peers, const Fastest& fastest, double clock,
                    const Options& options) {
  const auto time = [&](int n, const std::string& who) {
    return fastest.of(f.full_name + "/" + std::to_string(n) + "/" + who) / n;
  };
  if (options.costs) {
    double cost[3];
    for (int slot = 0; slot < 3; ++slot) {
      cost[slot] = time(kShort, kAccuracy[f.row->first_slot(slot)]) * clock;
    }
    if (!std::isnan(cost[0])) std::printf("%-14s %8.4f %8.4f %8.4f\n", f.full_name.c_str(), cost[0], cost[1], cost[2]);
    return;
  }
  for (const int n : {kShort, kLong}) {
    for (const char* accuracy : kAccuracy) {
      const double ours = time(n, accuracy);
      if (std::isnan(ours)) continue;
      std::string ratios;
      for (const Peer<Real>& peer : peers) {
        const double theirs = time(n, peer.name);
        if (peer.function != f.name || std::isnan(theirs)) continue;
        char text[64];
        std::snprintf(text, sizeof text, "%s%s %.2f", ratios.empty() ? "" : ", ", peer.name, theirs / ours);
        ratios += text;
      }
      const char* format =
          options.markdown ? "| %s | %s | %d | %.1f | %.3f | %.2f | %s |\n" : "%-14s %-3s %8d %7.1f %9.3f %8.2f   %s\n";
      std::printf(format, f.full_name.c_str(),
                  f.row->first_slot(1) == 0 && f.row->first_slot(2) == 0 ? "all" : accuracy, n, time(1, accuracy), ours,
                  ours * clock, ratios.c_str());
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  const Options options{take_flag(arguments, "--costs"), take_flag(arguments, "--markdown")};
  if (!initialize(arguments)) return 2;

  std::vector<Peer<float>> s;
  std::vector<Peer<double>> d;
  qlx::bench::add_plain_peers(s, d);
  qlx::bench::add_glibc_peers(s, d);
  qlx::bench::add_sleef_peers(s, d);
  qlx::bench::add_mvec_peers(s, d);
  qlx::bench::add_eigen_peers(s, d);
  const auto floats = all_functions<float>();
  const auto doubles = all_functions<double>();
  for (const auto& f : floats) add_function(f, s);
  for (const auto& f : doubles) add_function(f, d);
  const double clock = cycles_per_ns();
  const Fastest fastest(Clock::kWall);
  if (!options.costs) {
    std::printf(
        options.markdown
            ? "| function | accuracy | n | one call, ns | ns / element | cycles / element | times as fast as |\n"
              "|---|---|---|---|---|---|---|\n"
            : "function       acc        n  call ns  ns/elem   cycles   times as fast as\n");
  }
  for (size_t k = 0; k < floats.size() || k < doubles.size(); ++k) {
    if (k < floats.size()) print_function(floats[k], s, fastest, clock, options);
    if (k < doubles.size()) print_function(doubles[k], d, fastest, clock, options);
  }
  if (!options.markdown && !options.costs) std::printf("clock %.3f GHz\n", clock);
}
