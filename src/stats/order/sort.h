// Quicksort and selection over elements `step` apart, with keys and whatever they carry along.
// SPDX-License-Identifier: Apache-2.0
//
// C. A. R. Hoare's quicksort with R. Sedgewick's rules (Implementing quicksort programs, 1978): the pivot is the median
// of first, middle and last, placed second; stretches below 8 elements are left to insertion; the larger side waits on
// an explicit stack, which therefore holds at most log2(n) stretches. Both scans stop at elements equal to the pivot,
// so that ties split evenly.
//
// The scans are branch-free, after S. Edelkamp and A. Weiss (BlockQuicksort: avoiding branch mispredictions in
// quicksort, 2016): the positions where the left scan and the right scan would stop are gathered for a block of each
// side, and then swapped in pairs. It swaps the very pairs that the plain scans swap.
//
// A stretch that was halved badly too often (more than 2 log2(n) levels) goes to heapsort (D. R. Musser, Introspective
// sorting and selection algorithms, 1997), so that no order of the data costs more than n log n.
#ifndef QLX_STATS_ORDER_SORT_H
#define QLX_STATS_ORDER_SORT_H

#include <bit>
#include <cstdint>
#include <utility>

#include "stats/simd.h"

namespace qlx::stats {

// Step 0 is the compile-time step 1.
template <class E, int64_t FixedStep>
struct Elements {
  E* base;
  int64_t step;
  E& operator[](int64_t i) const { return base[i * (FixedStep != 0 ? FixedStep : step)]; }
};

// The key of an element: itself, or the first of what it carries.
template <class T>
struct Weighted {
  T value, weight;
};
inline double key(double x) {
  return x;
}
inline float key(float x) {
  return x;
}
template <class T>
T key(const Weighted<T>& x) {
  return x.value;
}

inline constexpr int64_t kInsertionSpan = 7;  // stretches with last - first below this are inserted

template <class A>
void insertion_sort(A a, int64_t first, int64_t last) {
  for (int64_t i = first + 1; i <= last; ++i) {
    const auto element = a[i];
    int64_t j = i;
    for (; j > first && key(a[j - 1]) > key(element); --j) a[j] = a[j - 1];
    a[j] = element;
  }
}

template <class A>
void sift_down(A a, int64_t first, int64_t root, int64_t count) {
  const auto element = a[first + root];
  for (int64_t child; (child = 2 * root + 1) < count; root = child) {
    if (child + 1 < count && key(a[first + child]) < key(a[first + child + 1])) ++child;
    if (!(key(element) < key(a[first + child]))) break;
    a[first + root] = a[first + child];
  }
  a[first + root] = element;
}

template <class A>
void heap_sort(A a, int64_t first, int64_t last) {
  const int64_t count = last - first + 1;
  for (int64_t root = count / 2 - 1; root >= 0; --root) sift_down(a, first, root, count);
  for (int64_t end = count - 1; end > 0; --end) {
    std::swap(a[first], a[first + end]);
    sift_down(a, first, 0, end);
  }
}

// Orders first, second and last, where second has taken the middle element: key(a[first]) <= key(a[first + 1]) <=
// key(a[last]). Needs last - first >= 2.
template <class A>
void place_pivot(A a, int64_t first, int64_t last) {
  std::swap(a[first + (last - first) / 2], a[first + 1]);
  if (key(a[first]) > key(a[last])) std::swap(a[first], a[last]);
  if (key(a[first + 1]) > key(a[last])) std::swap(a[first + 1], a[last]);
  if (key(a[first]) > key(a[first + 1])) std::swap(a[first], a[first + 1]);
}

// Splits a[first..last] around its pivot. Returns the pivot's final position q: nothing before it is larger, nothing
// after it smaller. Needs last - first >= 2.
template <class A>
int64_t partition(A a, int64_t first, int64_t last) {
  constexpr int64_t kBlock = 128;
  place_pivot(a, first, last);
  const auto pivot = a[first + 1];
  const auto pivot_key = key(pivot);

  // a[first + 2 .. last - 1] is not placed yet; everything left of `left` is <= pivot, right of `right` >= pivot.
  int64_t left = first + 2, right = last - 1;
  alignas(64) uint8_t left_stops[kBlock], right_stops[kBlock];
  int64_t left_count = 0, left_used = 0, right_count = 0, right_used = 0;
  while (right - left + 1 >= 2 * kBlock) {
    if (left_count == left_used) {
      left_count = left_used = 0;
      for (int64_t k = 0; k < kBlock; ++k) {
        left_stops[left_count] = static_cast<uint8_t>(k);
        left_count += !(key(a[left + k]) < pivot_key);
      }
    }
    if (right_count == right_used) {
      right_count = right_used = 0;
      for (int64_t k = 0; k < kBlock; ++k) {
        right_stops[right_count] = static_cast<uint8_t>(k);
        right_count += !(key(a[right - k]) > pivot_key);
      }
    }
    const int64_t left_open = left_count - left_used, right_open = right_count - right_used;
    const int64_t pairs = left_open < right_open ? left_open : right_open;
    for (int64_t k = 0; k < pairs; ++k) {
      std::swap(a[left + left_stops[left_used + k]], a[right - right_stops[right_used + k]]);
    }
    left_used += pairs;
    right_used += pairs;
    if (left_used == left_count) left += kBlock;
    if (right_used == right_count) right -= kBlock;
  }
  // What is left is below two blocks, perhaps with stops of one side still open: the plain scans take it whole, since
  // an element that was scanned and stays is passed over again.
  for (;;) {
    while (left <= right && key(a[left]) < pivot_key) ++left;
    while (left <= right && key(a[right]) > pivot_key) --right;
    if (left >= right) break;
    std::swap(a[left++], a[right--]);
  }
  // On a meeting at an element equal to the pivot, it may stay right of the pivot's place.
  const int64_t place = left - 1;
  a[first + 1] = a[place];
  a[place] = pivot;
  return place;
}

inline int32_t level_limit(int64_t n) {
  return 2 * std::bit_width(static_cast<uint64_t>(n));
}

template <class A>
void quick_sort(A a, int64_t n) {
  struct Stretch {
    int64_t first, last;
    int32_t levels;
  } stack[64];
  int depth = 0;
  Stretch now = {0, n - 1, level_limit(n)};
  for (;;) {
    if (now.last - now.first < kInsertionSpan) {
      insertion_sort(a, now.first, now.last);
    } else if (now.levels == 0) {
      heap_sort(a, now.first, now.last);
    } else {
      const int64_t q = partition(a, now.first, now.last);
      const Stretch before = {now.first, q - 1, now.levels - 1}, after = {q + 1, now.last, now.levels - 1};
      const bool before_is_larger = q - now.first > now.last - q;
      stack[depth++] = before_is_larger ? before : after;
      now = before_is_larger ? after : before;
      continue;
    }
    if (depth == 0) return;
    now = stack[--depth];
  }
}

// Brings the element of rank k of a[first..last] to a[k], by partitions alone; none after it is smaller, none before it
// larger.
template <class A>
void select(A a, int64_t first, int64_t last, int64_t k) {
  for (int32_t levels = level_limit(last - first + 1); last - first >= 2; --levels) {
    if (levels == 0) {
      heap_sort(a, first, last);
      return;
    }
    const int64_t q = partition(a, first, last);
    if (q == k) return;
    if (q > k) {
      last = q - 1;
    } else {
      first = q + 1;
    }
  }
  if (last - first == 1 && key(a[first]) > key(a[last])) std::swap(a[first], a[last]);
}

}  // namespace qlx::stats

#endif
