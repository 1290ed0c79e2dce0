// What one observation changes in a one-pass update: factors that depend on the weights alone.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_STATS_MOMENTS_STEP_FACTORS_H
#define QLX_STATS_MOMENTS_STEP_FACTORS_H

#include "stats/moments/kernel.h"

namespace qlx::stats {

// With g = w / (W + w), the updates of S4, S3 and S2 are sums of products of these with powers of d and the sums
// before:
//   S4 += d^2 (fourth d^2 + six_gain S2) - four_gain d S3,   S3 += d (third d^2 - three_gain S2),   S2 += spread d^2.
template <class T>
struct StepFactors {
  T a[kDeviationBlock];           // W / (W + w)
  T gain[kDeviationBlock];        // g
  T spread[kDeviationBlock];      // a w
  T third[kDeviationBlock];       // a w (a - g)            = W w (W - w) / (W + w)^2
  T fourth[kDeviationBlock];      // a w (a^2 - a g + g^2)  = W w (W^2 - W w + w^2) / (W + w)^3
  T three_gain[kDeviationBlock];  // 3 g
  T four_gain[kDeviationBlock];   // 4 g
  T six_gain[kDeviationBlock];    // 6 g^2
  T before[kDeviationBlock];      // W
  T weight[kDeviationBlock];      // w
};

// Fills the factors of `count` observations and advances W and W2. Loops run over a whole block, so that their length
// is a constant; what lies beyond `count` is as of weights 1.
template <class T, bool Weighted, bool Central34>
__attribute__((noinline)) void step_factors(StepFactors<T>& f, const T* weights, int64_t count, T& w_sum, T& w2_sum) {
  constexpr int kBlock = kDeviationBlock;
  if constexpr (Weighted) {
    for (int k = 0; k < kBlock; ++k) {
      const T weight = k < count ? weights[k] : T(1);
      f.before[k] = w_sum;
      f.weight[k] = weight;
      w_sum += k < count ? weight : T(0);
      w2_sum += k < count ? weight * weight : T(0);
    }
    for (int k = 0; k < kBlock; ++k) {
      const T sum = f.before[k] + f.weight[k];
      f.a[k] = f.before[k] / sum;
      f.gain[k] = (1 / sum) * f.weight[k];
      f.spread[k] = f.a[k] * f.weight[k];
    }
  } else {
    for (int k = 0; k < kBlock; ++k) {
      const T before = w_sum + static_cast<T>(k), gain = 1 / (before + 1);
      f.gain[k] = gain;
      f.a[k] = f.spread[k] = before * gain;
    }
    w_sum += static_cast<T>(count);
    w2_sum += static_cast<T>(count);
  }
  if constexpr (Central34) {
    for (int k = 0; k < kBlock; ++k) {
      const T a = f.a[k], g = f.gain[k];
      f.third[k] = f.spread[k] * (a - g);
      f.fourth[k] = f.spread[k] * (a * a - a * g + g * g);
      f.three_gain[k] = 3 * g;
      f.four_gain[k] = 4 * g;
      f.six_gain[k] = 6 * (g * g);
    }
  }
}

}  // namespace qlx::stats

#endif
