// Packs of reals as compiler vectors, and compile-time repetition. The scalar is the pack of one lane, so that one
// kernel text serves every group size.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_STATS_SIMD_H
#define QLX_STATS_SIMD_H

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#define QLX_STATS_INLINE __attribute__((always_inline))

namespace qlx::stats {

inline constexpr int kRegisterBytes = 32;

template <class T>
inline constexpr int kLanes = kRegisterBytes / sizeof(T);

template <class T, int N>
struct PackOf {
  typedef T type __attribute__((vector_size(N * sizeof(T))));
};
template <class T>
struct PackOf<T, 1> {
  using type = T;
};
template <class T, int N>
using Pack = typename PackOf<T, N>::type;

template <class P, class T>
QLX_STATS_INLINE inline P load(const T* from) {
  P pack;
  std::memcpy(&pack, from, sizeof pack);
  return pack;
}

template <class P, class T>
QLX_STATS_INLINE inline void store(T* to, P pack) {
  std::memcpy(to, &pack, sizeof pack);
}

// Adds the lanes in order.
template <class T, class P>
QLX_STATS_INLINE inline T lane_sum(P pack) {
  if constexpr (std::is_same_v<P, T>) {
    return pack;
  } else {
    T sum = pack[0];
    for (size_t lane = 1; lane < sizeof(P) / sizeof(T); ++lane) sum += pack[lane];
    return sum;
  }
}

// body(0) to body(N - 1) with the index a constant: local arrays indexed by it stay in registers.
template <int N, class Body>
QLX_STATS_INLINE inline void repeat(Body&& body) {
  [&]<int... k>(std::integer_sequence<int, k...>) QLX_STATS_INLINE {
    (body(std::integral_constant<int, k>{}), ...);
  }
  (std::make_integer_sequence<int, N>{});
}

// Calls body(first variable, constant group size) over the variables [first, end) in groups of `Largest`, then of
// half that, down to 1; a group starts only where that many variables remain.
template <int Largest, class Body>
QLX_STATS_INLINE inline void for_groups(int64_t first, int64_t end, Body&& body) {
  for (; first + Largest <= end; first += Largest) body(first, std::integral_constant<int, Largest>{});
  if constexpr (Largest > 1) for_groups<Largest / 2>(first, end, body);
}

}  // namespace qlx::stats

#endif
