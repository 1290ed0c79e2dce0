// Speed of the basic generators beside their peers: ns per double at n = 1000 and 1000000, the ratio to each peer, and
// the time of a skip.
// SPDX-License-Identifier: Apache-2.0
//
//   bench_rng [--markdown] [Google Benchmark's options, such as --benchmark_filter=MRG32K3A]
//
// Each benchmark runs many times and the fastest run counts. A peer fills an array of doubles by its own call for
// one uniform number; Boost's engine of the same kind has the very parameters of ours where its templates can.
#include <gsl/gsl_rng.h>

#include <boost/random/additive_combine.hpp>
#include <boost/random/linear_congruential.hpp>
#include <boost/random/uniform_01.hpp>
#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "fastest.h"
#include "qlx/qst.h"

namespace {

using namespace qlx::bench;

constexpr int kShort = 1000, kLong = 1000000;

using Fill = std::function<void(double* r, int n)>;

struct Row {
  std::string kind;  // the generator whose kind it is
  std::string name;
  Fill fill;
};

Fill ours(int32_t brng) {
  QstStream* stream = nullptr;  // lives as long as the program
  const uint32_t seed = 777;
  if (__qstNewStreamEx(&stream, brng, 1, &seed) != 0) std::abort();
  return [stream](double* r, int n) { _qstdRngUniform(0, stream, n, r, 0, 1); };
}

Fill gsl(const gsl_rng_type* type) {
  gsl_rng* generator = gsl_rng_alloc(type);  // lives as long as the program
  gsl_rng_set(generator, 777);
  return [generator](double* r, int n) {
    for (int i = 0; i < n; ++i) r[i] = gsl_rng_uniform(generator);
  };
}

template <class Engine>
Fill standard() {
  return [engine = std::make_shared<Engine>(777)](double* r, int n) {
    std::uniform_real_distribution<double> uniform;
    Engine e = *engine;
    for (int i = 0; i < n; ++i) r[i] = uniform(e);
    *engine = e;
  };
}

// boost::random::uniform_01 multiplies one output by the reciprocal of the range, as this library does.
template <class Engine>
Fill boosted() {
  return [engine = std::make_shared<Engine>(777)](double* r, int n) {
    boost::random::uniform_01<double> uniform;
    Engine e = *engine;
    for (int i = 0; i < n; ++i) r[i] = uniform(e);
    *engine = e;
  };
}

using Boost31 = boost::random::linear_congruential_engine<uint32_t, 1132489760, 0, 2147483647>;
using Boost59 = boost::random::linear_congruential_engine<uint64_t, 302875106592253, 0, uint64_t{1} << 59>;

// Wichmann and Hill's sum written out, one element at a time with integer remainders.
Fill plain_wh() {
  struct State {
    uint32_t x[4] = {777, 1, 1, 1};
  };
  return [state = std::make_shared<State>()](double* r, int n) {
    constexpr uint32_t m[4] = {16770647, 16770643, 16770623, 16770617}, a[4] = {125, 117, 127, 126};
    State s = *state;
    for (int i = 0; i < n; ++i) {
      double sum = 0;
      for (int l = 0; l < 4; ++l) {
        sum += s.x[l] * (1.0 / m[l]);
        s.x[l] = s.x[l] * a[l] % m[l];
      }
      r[i] = sum - static_cast<int>(sum);
    }
    *state = s;
  };
}

std::vector<Row> rows() {
  return {
      {"MCG31M1", "qlx", ours(QST_BRNG_MCG31M1)},
      {"MCG31M1", "boost, same parameters", boosted<Boost31>()},
      {"MCG31M1", "gsl minstd", gsl(gsl_rng_minstd)},
      {"MCG31M1", "std::minstd_rand", standard<std::minstd_rand>()},
      {"MCG31M1", "std::mt19937_64", standard<std::mt19937_64>()},
      {"MCG59", "qlx", ours(QST_BRNG_MCG59)},
      {"MCG59", "boost, same parameters", boosted<Boost59>()},
      {"MCG59", "gsl rand48", gsl(gsl_rng_rand48)},
      {"MRG32K3A", "qlx", ours(QST_BRNG_MRG32K3A)},
      {"MRG32K3A", "boost ecuyer1988", boosted<boost::random::ecuyer1988>()},
      {"MRG32K3A", "gsl cmrg", gsl(gsl_rng_cmrg)},
      {"MRG32K3A", "std::mt19937_64", standard<std::mt19937_64>()},
      {"R250", "qlx", ours(QST_BRNG_R250)},
      {"R250", "gsl r250", gsl(gsl_rng_r250)},
      {"WH", "qlx", ours(QST_BRNG_WH)},
      {"WH", "plain loop", plain_wh()},
  };
}

std::string label(const Row& row, int n) {
  return row.kind + "/" + row.name + "/" + std::to_string(n);
}

// Counts with half of their bits and with all of them.
constexpr std::pair<const char*, uint64_t> kSkips[] = {{"skip 0x5555555555555555", 0x5555555555555555u},
                                                       {"skip 0xFFFFFFFFFFFFFFFF", 0xFFFFFFFFFFFFFFFFu}};
constexpr std::pair<const char*, int32_t> kSkipping[] = {
    {"MCG31M1", QST_BRNG_MCG31M1}, {"MCG59", QST_BRNG_MCG59}, {"MRG32K3A", QST_BRNG_MRG32K3A}, {"WH", QST_BRNG_WH}};

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> arguments(argv, argv + argc);
  const bool markdown = take_flag(arguments, "--markdown");
  if (!initialize(arguments)) return 2;

  const std::vector<Row> all = rows();
  static std::vector<double> r(kLong);
  // Many short repetitions: some of them fall between the work of others on the machine.
  for (const Row& row : all)
    for (const int n : {kShort, kLong})
      add_benchmark(label(row, n), [&row, n] { row.fill(r.data(), n); })
          ->Iterations(n == kLong ? 1 : 400)
          ->Repetitions(300);
  for (const auto& [name, brng] : kSkipping) {
    QstStream* stream = nullptr;
    __qstNewStreamEx(&stream, brng, 0, nullptr);
    for (const auto& [text, skip] : kSkips)
      add_benchmark(std::string(name) + "/" + text,
                    [stream, skip = skip] { __qstSkipAheadStream(stream, static_cast<int64_t>(skip)); })
          ->Iterations(200)
          ->Repetitions(100);
  }
  const Fastest fastest(Clock::kProcessor);

  std::printf(markdown ? "| generator | by | n = 1000, ns | n = 1000000, ns | time / ours | time / ours "
                         "|\n|---|---|---|---|---|---|\n"
                       : "%-9s %-24s %9s %9s   time over ours\n",
              "", "", "n = 1000", "n = 1e6");
  std::map<std::string, const Row*> own;
  for (const Row& row : all) {
    if (row.name == "qlx") own[row.kind] = &row;
    const double few = fastest.of(label(row, kShort)) / kShort, many = fastest.of(label(row, kLong)) / kLong;
    if (std::isnan(few) && std::isnan(many)) continue;
    const Row& base = *own[row.kind];
    std::printf(markdown ? "| %s | %s | %.2f | %.2f | %.1f | %.1f |\n" : "%-9s %-24s %9.3f %9.3f   %.1f %.1f\n",
                row.kind.c_str(), row.name.c_str(), few, many, few * kShort / fastest.of(label(base, kShort)),
                many * kLong / fastest.of(label(base, kLong)));
  }
  std::printf(markdown ? "\n| generator | skip | us |\n|---|---|---|\n" : "\n");
  for (const auto& [name, brng] : kSkipping)
    for (const auto& [text, skip] : kSkips) {
      const double time = fastest.of(std::string(name) + "/" + text) / 1000;
      if (!std::isnan(time))
        std::printf(markdown ? "| %s | %s | %.2f |\n" : "%-9s %-24s %9.3f us\n", name, text + 5, time);
    }
  return 0;
}
