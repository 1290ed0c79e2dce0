// One-pass kernels: running means and central sums, updated observation by observation.
// SPDX-License-Identifier: Apache-2.0
//
// With W the weight seen before an observation x of weight w, a = W / (W + w), b = 1 / (W + w) and d = x - mean:
//
//   C_ik += a w d_i d_k                                   (i <= k)
//   S4   += d^4 W w (W^2 - W w + w^2) / (W + w)^3 + 6 d^2 w^2 S2 / (W + w)^2 - 4 d w S3 / (W + w)
//   S3   += d^3 W w (W - w) / (W + w)^2 - 3 d w S2 / (W + w)
//   S2   += a w d^2
//   mean  = a mean + b w x,  R_k = a R_k + b w x^k
//
// each from the values before this observation: the merge of two samples (P. Pebay, Formulas for robust, one-pass
// parallel computation of covariances and arbitrary-order statistical moments, 2008) of which the second is one
// observation; S2 is Welford's update. The factors depend on the weights alone, so a block computes them once for all
// variables, and its divisions run in packs instead of sitting in each variable's chain.
#ifndef QLX_STATS_MOMENTS_ONE_PASS_H
#define QLX_STATS_MOMENTS_ONE_PASS_H

#include "stats/moments/kernel.h"
#include "stats/moments/one_pass_single.h"
#include "stats/moments/step_factors.h"
#include "stats/simd.h"

namespace qlx::stats {

// The vectors of one pack of variables, in registers.
template <int Order, class P>
struct RunningPack {
  P mean, s2, s3, s4, r2, r3, r4;

  template <class T>
  QLX_STATS_INLINE void read(T* const* vectors, int64_t i) {
    mean = load<P>(vectors[kMean] + i);
    if constexpr (Order >= 1) s2 = load<P>(vectors[kCentral2] + i);
    if constexpr (Order >= 2) r2 = load<P>(vectors[kRaw2] + i);
    if constexpr (Order >= 3) {
      s3 = load<P>(vectors[kCentral3] + i);
      s4 = load<P>(vectors[kCentral4] + i);
      r3 = load<P>(vectors[kRaw3] + i);
      r4 = load<P>(vectors[kRaw4] + i);
    }
  }

  template <class T>
  QLX_STATS_INLINE void write(T* const* vectors, int64_t i) const {
    store(vectors[kMean] + i, mean);
    if constexpr (Order >= 1) store(vectors[kCentral2] + i, s2);
    if constexpr (Order >= 2) store(vectors[kRaw2] + i, r2);
    if constexpr (Order >= 3) {
      store(vectors[kCentral3] + i, s3);
      store(vectors[kCentral4] + i, s4);
      store(vectors[kRaw3] + i, r3);
      store(vectors[kRaw4] + i, r4);
    }
  }

  // Takes in observation k of the block; returns its deviation from the mean before it.
  template <class T>
  QLX_STATS_INLINE P take(P x, const StepFactors<T>& f, int64_t k) {
    const P d = x - mean;
    if constexpr (Order >= 1) {
      const P d2 = d * d;
      if constexpr (Order >= 3) {
        s4 += d2 * (f.fourth[k] * d2 + f.six_gain[k] * s2) - f.four_gain[k] * d * s3;
        s3 += d * (f.third[k] * d2 - f.three_gain[k] * s2);
      }
      s2 += f.spread[k] * d2;
    }
    const T a = f.a[k];
    P power = f.gain[k] * x;
    mean = a * mean + power;
    if constexpr (Order >= 2) {
      power *= x;
      r2 = a * r2 + power;
    }
    if constexpr (Order >= 3) {
      power *= x;
      r3 = a * r3 + power;
      power *= x;
      r4 = a * r4 + power;
    }
    return d;
  }
};

// C_ik += sum over the block of scaled[k][i] d[k][j], upper triangle, in the order of the observations. Tiles of rows
// by 4 columns live in registers while the block passes; tiles on the diagonal fill some elements below it, which
// nobody reads.
template <class T>
__attribute__((noinline, flatten)) void update_matrix(const KernelRange<T>& r, const T* d, const T* scaled,
                                                      int64_t count) {
  constexpr int kColumns = 4;
  const int64_t p = r.p;
  for_groups<kColumns>(r.first_variable, r.end_variable, [&](int64_t column, auto columns) QLX_STATS_INLINE {
    const int64_t end_row = column + columns;
    for_groups<2 * kLanes<T>>(r.first_variable, end_row, [&](int64_t row, auto rows) QLX_STATS_INLINE {
      constexpr int kWidth = rows < kLanes<T> ? int{rows} : kLanes<T>, kPacks = rows / kWidth;
      using P = Pack<T, kWidth>;
      P tile[int{columns}][kPacks];
      repeat<columns>([&](auto j) QLX_STATS_INLINE {
        repeat<kPacks>([&](auto i)
                           QLX_STATS_INLINE { tile[j][i] = load<P>(r.matrix + (column + j) * p + row + i * kWidth); });
      });
      for (int64_t k = 0; k < count; ++k) {
        repeat<columns>([&](auto j) QLX_STATS_INLINE {
          const T factor = d[k * p + column + j];
          repeat<kPacks>([&](auto i)
                             QLX_STATS_INLINE { tile[j][i] += load<P>(scaled + k * p + row + i * kWidth) * factor; });
        });
      }
      repeat<columns>([&](auto j) QLX_STATS_INLINE {
        repeat<kPacks>([&](auto i)
                           QLX_STATS_INLINE { store(r.matrix + (column + j) * p + row + i * kWidth, tile[j][i]); });
      });
    });
  });
}

// One block of observations: every group of variables takes it in. Weights have passed into the factors, so weighted
// and unweighted kernels share this code.
template <class T, int Order, bool Columns, bool Matrix>
__attribute__((noinline, flatten)) void take_block(const KernelRange<T>& r, const StepFactors<T>& factors,
                                                   int64_t block, int64_t count) {
  T *const deviations = r.deviations, *const scaled = r.deviations + kDeviationBlock * r.p;
  if (Columns && r.p >= kWideRow) fetch(r.observations + block * r.p, count * r.p);
  for_groups<kLanes<T>>(r.first_variable, r.end_variable, [&](int64_t i, auto group) QLX_STATS_INLINE {
    using P = Pack<T, group>;
    // Under row storage the block's observations of the group are turned, so that a load takes one of them.
    alignas(kRegisterBytes) T turned[Columns || group == 1 ? 1 : kDeviationBlock * int{group}];
    const T* x;
    int64_t step;
    if constexpr (Columns) {
      x = r.observations + block * r.p + i;
      step = r.p;
    } else if constexpr (group == 1) {
      x = r.observations + i * r.n + block;
      step = 1;
    } else {
      for (int64_t g = 0; g < group; ++g) {
        const T* row = r.observations + (i + g) * r.n + block;
        for (int64_t k = 0; k < count; ++k) turned[k * group + g] = row[k];
      }
      x = turned;
      step = group;
    }
    const auto keep = [&](int64_t k, P d) QLX_STATS_INLINE {
      if constexpr (Matrix) {
        store(deviations + k * r.p + i, d);
        store(scaled + k * r.p + i, static_cast<P>(factors.spread[k] * d));
      }
    };
    if constexpr (group == 1 && Order == 3) {
      if (count == kDeviationBlock) {
        take_single_block(factors, x, step, r.vectors, i, [&](int64_t k, auto d) QLX_STATS_INLINE {
          repeat<4>([&](auto j) QLX_STATS_INLINE { keep(k + j, d[int{j}]); });
        });
        return;
      }
    }
    RunningPack<Order, P> running;
    running.read(r.vectors, i);
    for (int64_t k = 0; k < count; ++k) keep(k, running.take(load<P>(x + k * step), factors, k));
    running.write(r.vectors, i);
  });
  if constexpr (Matrix) update_matrix(r, deviations, scaled, count);
}

template <class T, int Order, bool Weighted, bool Columns, bool Matrix>
void one_pass_kernel(const KernelRange<T>& r) {
  int64_t first = r.first_observation;
  if constexpr (Weighted) {
    while (first < r.end_observation && r.weights[first] == 0) ++first;
  }
  if (first >= r.end_observation) return;

  T w_sum = r.weight_sums[0], w2_sum = r.weight_sums[1];
  StepFactors<T> factors;
  for (int64_t block = first; block < r.end_observation; block += kDeviationBlock) {
    const int64_t left = r.end_observation - block, count = left < kDeviationBlock ? left : kDeviationBlock;
    step_factors<T, Weighted, Order == 3>(factors, Weighted ? r.weights + block : nullptr, count, w_sum, w2_sum);
    take_block<T, Order, Columns, Matrix>(r, factors, block, count);
  }
  r.weight_sums[0] = w_sum;
  r.weight_sums[1] = w2_sum;
}

template <class T>
constexpr KernelTable<T> one_pass_table() {
  return []<int... index>(std::integer_sequence<int, index...>) {
    return KernelTable<T>{
        {&one_pass_kernel<T, index / 2 % 4, (index & 8) != 0, (index & 16) != 0, (index & 1) != 0>...}};
  }
  (std::make_integer_sequence<int, kOnePassKernels>{});
}

}  // namespace qlx::stats

#endif
