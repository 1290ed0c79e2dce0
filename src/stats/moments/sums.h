// Fast and given-mean kernels: weighted sums of powers, of x or of its deviations from a given mean.
// SPDX-License-Identifier: Apache-2.0
//
//   fast:       vector k += sum w x^k                       k = 1 .. order + 1
//   given mean: S_k += sum w (x - mean)^k                   k = 2 .. order + 2 (4 at most)
//               R_k += sum w x^k                            k = 2 .. 4, at order 3 alone
//
// The vectors hold sums; whoever runs the kernels turns means into sums before and sums into means after. Sums run in
// several independent lanes (along the observations under row storage, one variable a lane under column storage), to
// hide the latency of addition.
#ifndef QLX_STATS_MOMENTS_SUMS_H
#define QLX_STATS_MOMENTS_SUMS_H

#include "stats/moments/kernel.h"
#include "stats/simd.h"

namespace qlx::stats {

template <Method M, int Order>
struct PowerSums {
  static constexpr bool kAboutMean = M == Method::kGivenMean;
  static constexpr int kCentral = kAboutMean ? (Order < 2 ? Order + 1 : 3) : 0;
  static constexpr int kRaw = kAboutMean ? (Order == 3 ? 3 : 0) : Order + 1;
  static constexpr int kSums = kCentral + kRaw;

  // The vector that sum s belongs to: central sums first, then raw ones, which start at the mean for fast alone.
  static constexpr int vector(int s) {
    if (s < kCentral) return kCentral2 + s;
    return s - kCentral + (kAboutMean ? kRaw2 : kMean);
  }

  template <bool Weighted, class P>
  QLX_STATS_INLINE static void add(P (&sums)[kSums], P x, P mean, P weight) {
    if constexpr (kAboutMean) {
      const P d = x - mean;
      P power = d * d;
      if constexpr (Weighted) power *= weight;
      repeat<kCentral>([&](auto k) QLX_STATS_INLINE {
        if constexpr (k > 0) power *= d;
        sums[k] += power;
      });
    }
    if constexpr (kRaw > 0) {
      P power = x;
      if constexpr (Weighted) power *= weight;
      if constexpr (kAboutMean) power *= x;
      repeat<kRaw>([&](auto k) QLX_STATS_INLINE {
        if constexpr (k > 0) power *= x;
        sums[kCentral + k] += power;
      });
    }
  }
};

template <class T, bool Weighted>
QLX_STATS_INLINE inline void add_weights(const KernelRange<T>& r) {
  T w = 0, w2 = 0;
  if constexpr (Weighted) {
    using P = Pack<T, kLanes<T>>;
    P lanes = {}, squares = {};
    int64_t j = r.first_observation;
    for (; j + kLanes<T> <= r.end_observation; j += kLanes<T>) {
      const P weight = load<P>(r.weights + j);
      lanes += weight;
      squares += weight * weight;
    }
    w = lane_sum<T>(lanes);
    w2 = lane_sum<T>(squares);
    for (; j < r.end_observation; ++j) {
      w += r.weights[j];
      w2 += r.weights[j] * r.weights[j];
    }
  } else {
    w = w2 = static_cast<T>(r.end_observation - r.first_observation);
  }
  r.weight_sums[0] += w;
  r.weight_sums[1] += w2;
}

// Column storage: one variable a lane; blocks of observations pass all groups while they are in the first cache.
template <class T, class Sums, bool Weighted>
QLX_STATS_INLINE inline void sum_columns(const KernelRange<T>& r) {
  constexpr int64_t kBlockBytes = 16384;
  int64_t block = kBlockBytes / (static_cast<int64_t>(sizeof(T)) * (r.p > 0 ? r.p : 1));
  if (block < 16) block = 16;
  for (int64_t first = r.first_observation; first < r.end_observation; first += block) {
    const int64_t end = first + block < r.end_observation ? first + block : r.end_observation;
    if (r.p >= kWideRow) fetch(r.observations + first * r.p, (end - first) * r.p);
    for_groups<2 * kLanes<T>>(r.first_variable, r.end_variable, [&](int64_t i, auto group) QLX_STATS_INLINE {
      constexpr int kWidth = group < kLanes<T> ? int{group} : kLanes<T>, kPacks = group / kWidth;
      using P = Pack<T, kWidth>;
      P sums[kPacks][Sums::kSums] = {}, mean[kPacks] = {};
      if constexpr (Sums::kAboutMean) {
        repeat<kPacks>([&](auto k) QLX_STATS_INLINE { mean[k] = load<P>(r.vectors[kMean] + i + k * kWidth); });
      }
      for (int64_t j = first; j < end; ++j) {
        P weight = {};
        if constexpr (Weighted) weight += r.weights[j];
        repeat<kPacks>([&](auto k) QLX_STATS_INLINE {
          Sums::template add<Weighted>(sums[k], load<P>(r.observations + j * r.p + i + k * kWidth), mean[k], weight);
        });
      }
      repeat<kPacks>([&](auto k) QLX_STATS_INLINE {
        repeat<Sums::kSums>([&](auto s) QLX_STATS_INLINE {
          T* const to = r.vectors[Sums::vector(s)] + i + k * kWidth;
          store(to, static_cast<P>(load<P>(to) + sums[k][s]));
        });
      });
    });
  }
}

// Row storage: lanes along the observations of one variable.
template <class T, class Sums, bool Weighted>
QLX_STATS_INLINE inline void sum_rows(const KernelRange<T>& r) {
  constexpr int64_t kWidth = kLanes<T>;
  constexpr int64_t kPacks = Sums::kSums > 4 ? 1 : 2;  // as many sums as the registers hold
  using P = Pack<T, kWidth>;
  for (int64_t i = r.first_variable; i < r.end_variable; ++i) {
    const T* const x = r.observations + i * r.n;
    P sums[kPacks][Sums::kSums] = {}, mean = {};
    T rest[Sums::kSums] = {}, scalar_mean = 0;
    if constexpr (Sums::kAboutMean) {
      scalar_mean = r.vectors[kMean][i];
      mean += scalar_mean;
    }
    int64_t j = r.first_observation;
    for (; j + kPacks * kWidth <= r.end_observation; j += kPacks * kWidth) {
      repeat<kPacks>([&](auto k) QLX_STATS_INLINE {
        P weight = {};
        if constexpr (Weighted) weight = load<P>(r.weights + j + k * kWidth);
        Sums::template add<Weighted>(sums[k], load<P>(x + j + k * kWidth), mean, weight);
      });
    }
    for (; j < r.end_observation; ++j) {
      Sums::template add<Weighted>(rest, x[j], scalar_mean, Weighted ? r.weights[j] : T(1));
    }
    repeat<Sums::kSums>([&](auto s) QLX_STATS_INLINE {
      P lanes = sums[0][s];
      repeat<kPacks - 1>([&](auto k) QLX_STATS_INLINE { lanes += sums[k + 1][s]; });
      r.vectors[Sums::vector(s)][i] += lane_sum<T>(lanes) + rest[s];
    });
  }
}

template <class T, Method M, int Order, bool Weighted, bool Columns>
__attribute__((flatten)) void sum_kernel(const KernelRange<T>& r) {
  using Sums = PowerSums<M, Order>;
  add_weights<T, Weighted>(r);
  if constexpr (Columns) {
    sum_columns<T, Sums, Weighted>(r);
  } else {
    sum_rows<T, Sums, Weighted>(r);
  }
}

template <class T, Method M>
constexpr SumKernelTable<T> sum_table() {
  return []<int... index>(std::integer_sequence<int, index...>) {
    return SumKernelTable<T>{{&sum_kernel<T, M, index % 4, (index & 4) != 0, (index & 8) != 0>...}};
  }
  (std::make_integer_sequence<int, kSumKernels>{});
}

}  // namespace qlx::stats

#endif
