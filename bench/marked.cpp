// What one marked lane costs: a lane that leaves the fast path in an array of ordinary ones, for every kernel.
// SPDX-License-Identifier: Apache-2.0
//
//   bench_marked [--lanes] [FUNCTION...]      such as sExp dPow; none: all
//
// Prints the ns of a call with n = 1000 where all lanes are ordinary, and what it takes longer when one element is a
// NaN, a denormal, an infinity, -1, the largest number, or one whose result is denormal: the dearest of them counts.
// The element is another one in each call, so that the processor can't foresee which pass has it. The mode is
// QVM_ERRMODE_IGNORE, so that a status is set and no callback runs. Each time is of the fastest tenth of many.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "vecmath/kernels.h"

namespace {

using qlx::testing::all_functions;
using qlx::testing::Function;

constexpr int kN = 1000, kRuns = 1001, kCalls = 8;
const char* const kAccuracy[] = {"LA", "HA", "EP"};

// A lane: its first argument, and the second one if not that of the ordinary lanes.
template <class Real>
struct Kind {
  const char* name;
  Real value, second = 0;
};

// The ns of a call with the lane somewhere in a and b, which are ordinary again behind it.
template <class Real, class Call>
double time_of(std::vector<Real>& a, std::vector<Real>& b, const Kind<Real>& kind, const Call& call) {
  using Clock = std::chrono::steady_clock;
  static unsigned at = 1;
  const auto begin = Clock::now();
  for (int k = 0; k < kCalls; ++k) {
    at = at * 1664525 + 1013904223;  // an ordinary congruential generator will do
    const size_t i = (at >> 16) % kN;
    const Real kept_a = a[i], kept_b = b[i];
    a[i] = kind.value;
    if (kind.second != 0) b[i] = kind.second;
    call();
    a[i] = kept_a;
    b[i] = kept_b;
  }
  const std::chrono::duration<double, std::nano> time = Clock::now() - begin;
  return time.count() / kCalls;
}

// Of many times the one that a tenth is faster than: what an undisturbed machine takes.
double undisturbed(std::vector<double>& times) {
  const auto tenth = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 10);
  std::nth_element(times.begin(), tenth, times.end());
  return *tenth;
}

// The dearest lane's cost over all kernels measured.
struct Dearest {
  double cost = 0;
  std::string kernel;
};

template <class Real>
void measure(const Function<Real>& f, bool lanes, Dearest& dearest) {
  using Limits = std::numeric_limits<Real>;
  // From "e^a" on, the result is denormal; the last ones are for two arguments, far from 1 or from each other.
  constexpr bool kFloat = sizeof(Real) == 4;
  const Real small = kFloat ? Real(1e-30) : Real(1e-200), large = kFloat ? Real(1e30) : Real(1e200);
  const Kind<Real> kinds[] = {{"NaN", Limits::quiet_NaN()},
                              {"infinity", Limits::infinity()},
                              {"-1", -1},
                              {"largest", Limits::max()},
                              {"denormal", Limits::denorm_min()},
                              {"e^a denormal", kFloat ? Real(-88) : Real(-709)},
                              {"a^3 denormal", kFloat ? Real(1e-13) : Real(1e-103), 3},
                              {"a^(3/2) denormal", kFloat ? Real(1e-26) : Real(1e-206), Real(1.5)},
                              {"two denormals", Limits::denorm_min(), Limits::denorm_min()},
                              {"two small", small, small},
                              {"two large", large, large},
                              {"large and small", large, small}};
  const Kind<Real> ordinary_lane = {"", 1.5};
  std::vector<Real> a(kN), b(kN), r(kN), s(kN);
  for (int i = 0; i < kN; ++i) {
    a[i] = static_cast<Real>(0.5 + 0.0195 * i);
    b[i] = static_cast<Real>(0.5 + 0.0035 * ((i * 7) % kN));
  }
  for (int slot = 0; slot < 3; ++slot) {
    if (f.row->first_slot(slot) != slot) continue;
    const auto call = [&] { f.unit(slot, {kN, a.data(), b.data(), r.data(), s.data()}); };
    // In pairs, one behind the other, so that what slows the machine for a while slows both.
    double marked[std::size(kinds)], call_time = 0;
    for (size_t k = 0; k < std::size(kinds); ++k) {
      std::vector<double> ordinary, with_lane;
      for (int run = 0; run < kRuns; ++run) {
        ordinary.push_back(time_of(a, b, ordinary_lane, call));
        with_lane.push_back(time_of(a, b, kinds[k], call));
      }
      call_time = undisturbed(ordinary);
      marked[k] = undisturbed(with_lane) - call_time;
    }
    const auto at = std::max_element(std::begin(marked), std::end(marked));
    const double most = *at;
    const char* of = kinds[at - std::begin(marked)].name;
    const bool all = f.row->first_slot(1) == 0 && f.row->first_slot(2) == 0;
    const char* accuracy = all ? "all" : kAccuracy[slot];
    std::printf("%-14s %-3s %9.0f %8.0f  %s\n", f.full_name.c_str(), accuracy, call_time, most, of);
    for (size_t k = 0; lanes && k < std::size(kinds); ++k) {
      std::printf("%28s %8.0f  %s\n", "", marked[k], kinds[k].name);
    }
    if (most > dearest.cost) dearest = {most, f.full_name + " " + accuracy};
  }
}

template <class Real>
void measure_all(const std::vector<std::string>& names, bool lanes, Dearest& dearest) {
  for (const auto& f : all_functions<Real>()) {
    const bool wanted = names.empty() || std::count(names.begin(), names.end(), f.full_name) != 0;
    if (wanted) measure(f, lanes, dearest);
  }
}

}  // namespace

int main(int argc, char** argv) {
  qlx_qvm_kernel_SetMode(QVM_ERRMODE_IGNORE);
  std::puts("function       acc   call ns  +lane ns  dearest lane");
  std::vector<std::string> names(argv + 1, argv + argc);
  const bool lanes = std::erase(names, "--lanes") != 0;
  Dearest dearest;
  measure_all<float>(names, lanes, dearest);
  measure_all<double>(names, lanes, dearest);
  std::printf("dearest: %s, %.0f ns\n", dearest.kernel.c_str(), dearest.cost);
}
