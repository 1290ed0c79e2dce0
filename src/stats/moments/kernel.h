// What a moment kernel is given, and the tables that they stand in.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_STATS_MOMENTS_KERNEL_H
#define QLX_STATS_MOMENTS_KERNEL_H

#include <cstdint>
#include <utility>

namespace qlx::stats {

// The accumulating vectors, in the order in which kernels and plans index them.
enum Vector { kMean, kRaw2, kRaw3, kRaw4, kCentral2, kCentral3, kCentral4, kVectors };

// One-pass keeps means and raw means (R_k), and central sums (S_k); fast and given-mean keep sums everywhere.
enum class Method { kOnePass, kFast, kGivenMean };

// A range of observations and a range of variables; ends are exclusive.
template <class T>
struct KernelRange {
  int64_t first_observation, end_observation;
  int64_t n;  // leading dimension under row storage
  int64_t first_variable, end_variable;
  int64_t p;  // leading dimension under column storage
  const T* observations;
  const T* weights;
  T* deviations;   // one-pass with matrix: room for 2 * kDeviationBlock * p reals
  T* weight_sums;  // the pair W, W2
  T* vectors[kVectors];
  T* matrix;  // p by p, element (i, k) with i <= k at [k * p + i]; elements below the diagonal hold anything
};

template <class T>
using Kernel = void (*)(const KernelRange<T>& range);

// Observations that a one-pass kernel takes together.
inline constexpr int64_t kDeviationBlock = 32;

// Index: matrix + 2 * order + 8 * weighted + 16 * columns. Orders: 0 means; 1 and central sums 2; 2 and raw means 2;
// 3 and the rest.
inline constexpr int kOnePassKernels = 32;
constexpr int one_pass_index(bool matrix, int order, bool weighted, bool columns) {
  return matrix + 2 * order + 8 * weighted + 16 * columns;
}

// Index: order + 4 * weighted + 8 * columns. Orders of fast: raw sums up to order + 1; of given-mean: central sums up
// to order + 2, and at order 3 the raw sums too.
inline constexpr int kSumKernels = 16;
constexpr int sum_index(int order, bool weighted, bool columns) {
  return order + 4 * weighted + 8 * columns;
}

template <class T>
struct KernelTable {
  Kernel<T> entries[kOnePassKernels];
};
template <class T>
struct SumKernelTable {
  Kernel<T> entries[kSumKernels];
};

// 64 entries for each real type, each table in a unit of its own.
extern const KernelTable<double> kOnePassDouble;
extern const KernelTable<float> kOnePassFloat;
extern const SumKernelTable<double> kFastDouble, kGivenMeanDouble;
extern const SumKernelTable<float> kFastFloat, kGivenMeanFloat;

}  // namespace qlx::stats

#endif
