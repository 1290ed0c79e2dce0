// Running extremes of a stretch of reals.
// SPDX-License-Identifier: Apache-2.0
//
// A running value is kept unless x is strictly beyond it, so a NaN observation never replaces a value and a NaN in the
// running value stays; that is what the processor's min and max do with the observation as their first operand.
#ifndef QLX_STATS_EXTREMES_H
#define QLX_STATS_EXTREMES_H

#include <cstdint>

#include "stats/simd.h"

namespace qlx::stats {

// One pass over both extremes, or over the one that is wanted.
template <bool Min, bool Max, class P>
struct Extremes {
  P low, high;

  QLX_STATS_INLINE void take(P x) { take(x, x); }
  QLX_STATS_INLINE void take(P x_low, P x_high) {
    if constexpr (Min) low = x_low < low ? x_low : low;
    if constexpr (Max) high = x_high > high ? x_high : high;
  }
};

template <class T, bool Min, bool Max>
__attribute__((flatten)) void extremes_of_row(const T* x, int64_t n, T* low, T* high) {
  constexpr int64_t kWidth = kLanes<T>, kPacks = 4;
  using P = Pack<T, kWidth>;
  Extremes<Min, Max, T> all = {*low, *high};
  int64_t j = 0;
  // The row is read from an aligned address on, so that no load crosses a cache line.
  if (n >= 16) {
    for (; reinterpret_cast<uintptr_t>(x + j) % kRegisterBytes != 0 && j < n; ++j) all.take(x[j]);
  }
  if (n - j >= kPacks * kWidth) {
    Extremes<Min, Max, P> lanes[kPacks];
    repeat<kPacks>([&](auto k) QLX_STATS_INLINE { lanes[k] = {P{} + all.low, P{} + all.high}; });
    for (; j + kPacks * kWidth <= n; j += kPacks * kWidth) {
      repeat<kPacks>([&](auto k) QLX_STATS_INLINE { lanes[k].take(load<P>(x + j + k * kWidth)); });
    }
    repeat<kPacks>([&](auto k) QLX_STATS_INLINE {
      for (int lane = 0; lane < kWidth; ++lane) all.take(lanes[k].low[lane], lanes[k].high[lane]);
    });
  }
  for (; j < n; ++j) all.take(x[j]);
  if constexpr (Min) *low = all.low;
  if constexpr (Max) *high = all.high;
}

}  // namespace qlx::stats

#endif
