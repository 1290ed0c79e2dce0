// Bench of the core library: tridiagonal solvers beside Thomas's elimination, the triangular products of multivariate
// Gaussian numbers beside a plain loop, and the cost of a parallel call.
// SPDX-License-Identifier: Apache-2.0
#include "qlx/core.h"

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace {

struct Tridiagonal {
  explicit Tridiagonal(int64_t order) : n(order), dl(n), d(n), du(n), b(n), diagonal(n, 4), right(n) {
    for (int64_t i = 0; i < n; ++i) {
      dl[i] = 1 + 0.1 * std::sin(i);
      du[i] = 1 + 0.1 * std::cos(i);
      right[i] = std::sin(0.3 * i);
    }
  }
  // Solving overwrites its arrays; the time of this copy is taken out.
  void restore(benchmark::State& state) {
    state.PauseTiming();
    d = diagonal;
    b = right;
    state.ResumeTiming();
  }
  int64_t n;
  std::vector<double> dl, d, du, b, diagonal, right;
};

// Elimination from the top, as textbooks have it.
void thomas(int64_t n, const double* __restrict dl, double* __restrict d, const double* __restrict du,
            double* __restrict b) {
  for (int64_t i = 1; i < n; ++i) {
    const double multiplier = dl[i - 1] / d[i - 1];
    d[i] -= multiplier * du[i - 1];
    b[i] -= multiplier * b[i - 1];
  }
  b[n - 1] /= d[n - 1];
  for (int64_t i = n - 2; i >= 0; --i) b[i] = (b[i] - du[i] * b[i + 1]) / d[i];
}

void report_per_item(benchmark::State& state, double items) {
  state.counters["per_item"] =
      benchmark::Counter(items, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void tridiagonal_thomas(benchmark::State& state) {
  Tridiagonal t(state.range(0));
  for (auto _ : state) {
    t.restore(state);
    thomas(t.n, t.dl.data(), t.d.data(), t.du.data(), t.b.data());
    benchmark::ClobberMemory();
  }
  report_per_item(state, t.n);
}

void tridiagonal_dtsvb(benchmark::State& state) {
  Tridiagonal t(state.range(0));
  const int64_t one = 1;
  int64_t info;
  for (auto _ : state) {
    t.restore(state);
    ddtsvb_4dfl(&t.n, &one, t.dl.data(), t.d.data(), t.du.data(), t.b.data(), &t.n, &info);
  }
  report_per_item(state, t.n);
}

void tridiagonal_dttrsb(benchmark::State& state) {
  Tridiagonal t(state.range(0));
  const int64_t one = 1;
  int64_t info;
  t.d = t.diagonal;
  ddttrfb_4dfl(&t.n, t.dl.data(), t.d.data(), t.du.data(), &info);
  for (auto _ : state) {
    state.PauseTiming();
    t.b = t.right;
    state.ResumeTiming();
    ddttrsb_4dfl(&t.n, &one, t.dl.data(), t.d.data(), t.du.data(), t.b.data(), &t.n, &info);
  }
  report_per_item(state, t.n);
}

constexpr int kVectors = 1000;

// The products that multivariate Gaussian numbers need, for vectors of `dimension` elements. Entries keep the vectors
// from growing when they are multiplied over and over.
struct Product {
  explicit Product(int dimension)
      : m(dimension), full(m * m, 0.5 / m), packed(m * (m + 1) / 2, 0.5 / m), b(m * kVectors, 1.0) {}
  const int m, n = kVectors;
  const double one = 1;
  std::vector<double> full, packed, b;
};

void product_loop(benchmark::State& state) {
  Product p(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    for (double* b = p.b.data(); b != p.b.data() + p.b.size(); b += p.m) {
      for (int i = p.m - 1; i >= 0; --i) {
        double sum = 0;
        for (int k = 0; k <= i; ++k) sum += p.full[k + i * p.m] * b[k];
        b[i] = sum;
      }
    }
    benchmark::ClobberMemory();
  }
  report_per_item(state, kVectors);
}

void product_xdtrmm(benchmark::State& state) {
  Product p(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    qlx_blas_xdtrmm_4qvm("L", "U", "T", "N", &p.m, &p.n, &p.one, p.full.data(), &p.m, p.b.data(), &p.m);
  }
  report_per_item(state, kVectors);
}

void product_dptrmm(benchmark::State& state) {
  Product p(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    qlx_blas4qvm_dptrmm("L", "L", "N", "N", &p.m, &p.n, &p.one, p.packed.data(), p.b.data(), &p.m);
  }
  report_per_item(state, kVectors);
}

void threader_empty_tasks(benchmark::State& state) {
  qlx_serv_set_num_threads_limit(static_cast<int>(state.range(0)));
  int64_t dummy = 0;
  for (auto _ : state) qlx_qst_serv_threader_for(8, 0, &dummy, [](int, void*) {});
  qlx_serv_set_num_threads_limit(0);
}

BENCHMARK(tridiagonal_thomas)->Arg(1000)->Arg(1000000);
BENCHMARK(tridiagonal_dtsvb)->Arg(1000)->Arg(1000000);
BENCHMARK(tridiagonal_dttrsb)->Arg(1000)->Arg(1000000);
BENCHMARK(product_loop)->Arg(3)->Arg(10)->Arg(50);
BENCHMARK(product_xdtrmm)->Arg(3)->Arg(10)->Arg(50);
BENCHMARK(product_dptrmm)->Arg(3)->Arg(10)->Arg(50);
BENCHMARK(threader_empty_tasks)->Arg(1)->Arg(2)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
