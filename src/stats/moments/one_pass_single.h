// The one-pass update of order 3 for a variable that has no neighbour to share a register with.
// SPDX-License-Identifier: Apache-2.0
//
// Taken alone the update is some thirty operations an observation, of which few wait for the observation before: mean
// and raw means wait for themselves, S2 for the deviations, S3 for S2, S4 for S3. So four observations go together: one
// register holds the four means, and what does not wait is formed in registers along the observations. The four chains
// run side by side, each sum one four behind what it waits for; in step they would queue, since a processor's scheduler
// does not reach past one four. Every value comes from the same operations in the same order as in the lanes of a
// group, hence with the same bits.
#ifndef QLX_STATS_MOMENTS_ONE_PASS_SINGLE_H
#define QLX_STATS_MOMENTS_ONE_PASS_SINGLE_H

#include "stats/moments/kernel.h"
#include "stats/moments/step_factors.h"
#include "stats/simd.h"

namespace qlx::stats {

// What stands before each of four terms when they join a running sum, which goes on to the sum behind them.
template <class T, class P>
QLX_STATS_INLINE inline P sums_before(T& sum, P terms) {
  const T s0 = sum, s1 = s0 + terms[0], s2 = s1 + terms[1], s3 = s2 + terms[2];
  sum = s3 + terms[3];
  return P{s0, s1, s2, s3};
}

// Takes a whole block of observations x[0], x[step], ... of variable i. emit(k, d) gets the deviations d of the
// observations k to k + 3 from the mean before each.
template <class T, class Emit>
QLX_STATS_INLINE inline void take_single_block(const StepFactors<T>& f, const T* x, int64_t step, T* const* vectors,
                                               int64_t i, Emit emit) {
  constexpr int kFours = kDeviationBlock / 4;
  using P = Pack<T, 4>;
  P means = {vectors[kMean][i], vectors[kRaw2][i], vectors[kRaw3][i], vectors[kRaw4][i]};
  T s2 = vectors[kCentral2][i], s3 = vectors[kCentral3][i], s4 = vectors[kCentral4][i];
  P d[kFours], before2[kFours], before3[kFours];
  repeat<kFours + 3>([&](auto stage) QLX_STATS_INLINE {
    if constexpr (stage < kFours) {
      constexpr int four = stage, k = 4 * four;
      const T* const from = x + k * step;
      const P v = step == 1 ? load<P>(from) : P{from[0], from[step], from[2 * step], from[3 * step]};
      // What each observation adds to the four means: the powers, turned.
      const P p1 = load<P>(f.gain + k) * v, p2 = p1 * v, p3 = p2 * v, p4 = p3 * v;
      const P even12 = __builtin_shufflevector(p1, p2, 0, 4, 2, 6), odd12 = __builtin_shufflevector(p1, p2, 1, 5, 3, 7);
      const P even34 = __builtin_shufflevector(p3, p4, 0, 4, 2, 6), odd34 = __builtin_shufflevector(p3, p4, 1, 5, 3, 7);
      const T d0 = v[0] - means[0];
      means = f.a[k] * means + __builtin_shufflevector(even12, even34, 0, 1, 4, 5);
      const T d1 = v[1] - means[0];
      means = f.a[k + 1] * means + __builtin_shufflevector(odd12, odd34, 0, 1, 4, 5);
      const T d2 = v[2] - means[0];
      means = f.a[k + 2] * means + __builtin_shufflevector(even12, even34, 2, 3, 6, 7);
      const T d3 = v[3] - means[0];
      means = f.a[k + 3] * means + __builtin_shufflevector(odd12, odd34, 2, 3, 6, 7);
      d[four] = P{d0, d1, d2, d3};
      emit(k, d[four]);
    }
    if constexpr (stage >= 1 && stage < kFours + 1) {
      constexpr int four = stage - 1, k = 4 * four;
      before2[four] = sums_before(s2, static_cast<P>(load<P>(f.spread + k) * (d[four] * d[four])));
    }
    if constexpr (stage >= 2 && stage < kFours + 2) {
      constexpr int four = stage - 2, k = 4 * four;
      before3[four] = sums_before(s3, static_cast<P>(d[four] * (load<P>(f.third + k) * (d[four] * d[four]) -
                                                                load<P>(f.three_gain + k) * before2[four])));
    }
    if constexpr (stage >= 3) {
      constexpr int four = stage - 3, k = 4 * four;
      const P square = d[four] * d[four];
      sums_before(s4,
                  static_cast<P>(square * (load<P>(f.fourth + k) * square + load<P>(f.six_gain + k) * before2[four]) -
                                 load<P>(f.four_gain + k) * d[four] * before3[four]));
    }
  });
  repeat<4>([&](auto r) QLX_STATS_INLINE { vectors[kMean + r][i] = means[int{r}]; });
  vectors[kCentral2][i] = s2;
  vectors[kCentral3][i] = s3;
  vectors[kCentral4][i] = s4;
}

}  // namespace qlx::stats

#endif
