// The cell search methods, each on a contiguous run of sites.
// SPDX-License-Identifier: Apache-2.0
//
// Cells count the points at or below a site: cell k holds x[k-1] <= t < x[k], 0 lies before the partition, n after it,
// and the last cell n - 1 is closed on the right. Each method finds the same cells; they differ in what they presume of
// partition and sites. On a partition that is not ascending, or holds a NaN, cells mean nothing, but each method ends
// and reads no point outside the partition.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

#include "fitting/df_task.h"

namespace qlx::fitting {

template <class Real>
struct Points {
  int64_t n;
  const Real* x;
  Real last() const { return x[n - 1]; }
};

// ---- Walks, and the bisection that all but the uniform methods rest on --------------------------------------------

// From cell c down to the cell of t, for t below x[c] (or c = n).
template <class Real>
int64_t walk_down(const Points<Real>& p, int64_t c, Real t) {
  while (c > 0 && p.x[c - 1] > t) --c;
  return c;
}

// From cell c up to the cell of t, for t at or above x[c - 1].
template <class Real>
int64_t walk_up(const Points<Real>& p, int64_t c, Real t) {
  while (c < p.n && t >= p.x[c]) ++c;
  return c;
}

// Number of points at or below t among x[c] to x[n-1], added to c: doubles its steps, then bisects, so that a near cell
// is found as fast as by walking and a far one in logarithmic time. No branch depends on the outcome of a bisection.
template <class Real>
int64_t gallop_up(const Points<Real>& p, int64_t c, Real t) {
  int64_t step = 1;
  while (step <= p.n - c && p.x[c + step - 1] <= t) {
    c += step;
    step *= 2;
  }
  int64_t length = step <= p.n - c ? step - 1 : p.n - c;
  while (length > 0) {
    const int64_t half = (length + 1) / 2;
    c += half & -static_cast<int64_t>(p.x[c + half - 1] <= t);
    length -= half;
  }
  return c;
}

// ---- Uniform ---------------------------------------------------------------------------------------------------

// The largest Real whose integer part does not exceed `bound`: a float may round an integer up.
template <class Real>
Real real_at_most(int64_t bound) {
  const Real rounded = static_cast<Real>(bound);
  return static_cast<int64_t>(rounded) > bound ? rounded * (1 - std::numeric_limits<Real>::epsilon()) : rounded;
}

// The partition is given by its ends x[0] and x[1]. Cell = trunc(scale * (t - x[0])) + 1 between the ends. Rounding may
// bring that past the last cell for t just below x[1], or leave it there for t just above: the ends decide themselves.
template <class Real>
void uniform_search(const Points<Real>& p, int64_t m, const Real* sites, int32_t* cells, Real scale) {
  const Real first = p.x[0], end = p.x[1];
  const Real top = real_at_most<Real>(p.n - 2);
  const auto n = static_cast<int32_t>(p.n);
  const Real beyond = static_cast<Real>(n - 1);
  // Every choice is made in the type Real and then converted once, so that the loop runs in vector lanes. The cell
  // after the last can be told that way when n - 1 is exact.
  if (static_cast<int64_t>(beyond) == n - 1 && beyond < static_cast<Real>(std::numeric_limits<int32_t>::max())) {
    for (int64_t i = 0; i < m; ++i) {
      const Real t = sites[i];
      Real steps = scale * (t - first);
      steps = steps < top ? steps : top;
      steps = t > end ? beyond : steps;
      steps = t >= first ? steps : Real{-1};  // a NaN lands here, in cell 0
      cells[i] = static_cast<int32_t>(steps) + 1;
    }
    return;
  }
  for (int64_t i = 0; i < m; ++i) {
    const Real t = sites[i];
    const Real steps = scale * (t - first);
    const int32_t inside = static_cast<int32_t>(steps < top ? steps : top) + 1;
    cells[i] = t > end ? n : t >= first ? inside : 0;
  }
}

// ---- Quasi-uniform ---------------------------------------------------------------------------------------------

// Estimates as in a uniform partition, 32 sites at once in vector lanes, and then walks.
template <class Real>
void quasi_uniform_search(const Points<Real>& p, int64_t m, const Real* sites, int32_t* cells, Real scale) {
  constexpr int64_t kBlock = 32;
  const Real first = p.x[0], last = p.last();
  const Real top = real_at_most<Real>(p.n - 1);
  for (int64_t begin = 0; begin < m; begin += kBlock) {
    const int64_t count = m - begin < kBlock ? m - begin : kBlock;
    int32_t estimates[kBlock];
    for (int64_t i = 0; i < count; ++i) {
      Real steps = scale * (sites[begin + i] - first);
      steps = steps > 0 ? steps : Real{0};  // NaN: sites that are NaN, partitions of equal ends
      steps = steps < top ? steps : top;
      estimates[i] = static_cast<int32_t>(steps) + 1;
    }
    for (int64_t i = 0; i < count; ++i) {
      const Real t = sites[begin + i];
      const int64_t e = estimates[i];
      int64_t cell;
      if (!(t >= first)) {
        cell = 0;
      } else if (t == last) {
        cell = p.n - 1;
      } else if (e >= p.n) {
        cell = walk_down(p, p.n, t);
      } else if (t < p.x[e]) {
        cell = walk_down(p, e, t);
      } else {
        cell = walk_up(p, e, t);
      }
      cells[begin + i] = static_cast<int32_t>(cell);
    }
  }
}

// ---- Sorted ----------------------------------------------------------------------------------------------------

// From cell c up to the cell of t: the next four points without a branch on each, since single steps are mispredicted
// where sites are as dense as points, and then as far as it takes.
template <class Real>
int64_t advance(const Points<Real>& p, int64_t c, Real t) {
  if (c + 4 > p.n) return walk_up(p, c, t);
  const Real* x = p.x + c;
  const int64_t passed = (x[0] <= t) + (x[1] <= t) + (x[2] <= t) + (x[3] <= t);
  return passed < 4 ? c + passed : gallop_up(p, c + 4, t);
}

// Merges ascending sites with the partition, from cell `cursor` on; returns where it ended. Sites that are not
// ascending get the cell of the largest site so far.
template <class Real>
int32_t sorted_search(const Points<Real>& p, int64_t m, const Real* sites, int32_t* cells, int32_t cursor) {
  const int64_t n = p.n;
  const Real last = p.last();
  int64_t c = cursor < 0 ? 0 : cursor > n ? n : cursor;
  if (m > 0 && sites[0] != last) {
    // The first site alone is bisected, and only while more than half of the partition lies ahead.
    for (int64_t hi = n; c < hi - n / 2;) {
      const int64_t mid = (c + hi) >> 1;
      if (p.x[mid] <= sites[0]) {
        c = mid;
      } else {
        hi = mid;
      }
    }
  }
  int64_t i = 0;
  while (i < m && c < n) {
    // Sites before the next point share the cell.
    const Real next = p.x[c];
    const auto cell = static_cast<int32_t>(c);
    while (i < m && sites[i] < next) cells[i++] = cell;
    if (i == m) break;
    const Real t = sites[i];
    if (t == last) {
      cells[i++] = static_cast<int32_t>(n - 1);  // without moving: a later site may lie beyond
      continue;
    }
    c = advance(p, c, t);
    cells[i++] = static_cast<int32_t>(c);
  }
  for (; i < m; ++i) cells[i] = static_cast<int32_t>(sites[i] == last ? n - 1 : n);
  return static_cast<int32_t>(c);
}

// ---- Peak ------------------------------------------------------------------------------------------------------

// From the same cell for every site. It keeps no cursor: sites scatter about the peak.
template <class Real>
void peak_search(const Points<Real>& p, int64_t m, const Real* sites, int32_t* cells, Real peak_cell) {
  // The dispatcher admits 0 to n only; a direct caller's NaN or far number is brought into that range.
  const Real start = peak_cell >= 0 ? peak_cell : Real{0};
  const int64_t peak = start < static_cast<Real>(p.n) ? static_cast<int64_t>(start) : p.n;
  const Real last = p.last();
  for (int64_t i = 0; i < m; ++i) {
    const Real t = sites[i];
    int64_t cell = peak;
    if (t == last) {
      cell = p.n - 1;
    } else if (peak == p.n) {
      cell = t > last ? p.n : walk_down(p, p.n - 1, t);
    } else if (t < p.x[peak]) {
      cell = walk_down(p, peak, t);
    } else {
      cell = walk_up(p, peak, t);
    }
    cells[i] = static_cast<int32_t>(cell);
  }
}

// ---- Hybrid ----------------------------------------------------------------------------------------------------

// The table's bucket bounds the cell to (lo, hi], bisection finds it. Sites go in groups: all their bisections advance
// in step, by the widest range of the group, so that no branch depends on data and the group's loads, which miss the
// cache in a large partition, wait together. Khuong and Morin, "Array layouts for comparison-based searching", ACM
// Journal of Experimental Algorithmics 22 (2017), measure the branch-free bisection used.
template <class Real, int kSites>
void hybrid_group(const Points<Real>& p, const Real* sites, int32_t* cells, Real scale, const int32_t* table,
                  int32_t buckets) {
  const Real first = p.x[0], last = p.last();
  const auto n = static_cast<int32_t>(p.n);
  const Real top = static_cast<Real>(buckets);
  int32_t low[kSites];
  int32_t length = 1;
  for (int j = 0; j < kSites; ++j) {
    Real position = scale * (sites[j] - first);
    position = position > 0 ? position : Real{0};  // before the partition, and NaN
    position = position < top ? position : top;
    const int32_t* pair = table + ptrdiff_t{2} * static_cast<int32_t>(position);
    low[j] = pair[0];
    const int32_t span = pair[1] - pair[0];
    length = span > length ? span : length;
  }
  // A stale table may tell more than the partition has.
  length = length < n - 1 ? length : n - 1;
  // Invariant: the cell is in [low, low + length]. A range that the widest one would carry past n - 1 starts earlier.
  for (int j = 0; j < kSites; ++j) low[j] = low[j] < n - 1 - length ? low[j] : n - 1 - length;
  while (length > 1) {
    const int32_t half = length >> 1;
    for (int j = 0; j < kSites; ++j) low[j] += half & -static_cast<int32_t>(p.x[low[j] + half - 1] <= sites[j]);
    length -= half;
  }
  for (int j = 0; j < kSites; ++j) {
    const int32_t cell = low[j] + static_cast<int32_t>(p.x[low[j]] <= sites[j]);
    cells[j] = sites[j] > last ? n : cell;
  }
}

// `table` holds buckets + 1 pairs; null bisects the whole partition.
template <class Real>
void hybrid_search(const Points<Real>& p, int64_t m, const Real* sites, int32_t* cells, Real scale,
                   const int32_t* table, int64_t buckets) {
  const int32_t whole[2] = {0, static_cast<int32_t>(p.n - 1)};
  if (table == nullptr) {
    table = whole;
    buckets = 0;
  }
  constexpr int kGroup = 8;
  const auto count = static_cast<int32_t>(buckets);
  int64_t i = 0;
  for (; i + kGroup <= m; i += kGroup) hybrid_group<Real, kGroup>(p, sites + i, cells + i, scale, table, count);
  for (; i < m; ++i) hybrid_group<Real, 1>(p, sites + i, cells + i, scale, table, count);
}

// ---- User search -----------------------------------------------------------------------------------------------

// The cell of t from a user's first guess.
template <class Real>
int64_t correct_guess(const Points<Real>& p, int64_t guess, Real t) {
  if (t == p.last()) return p.n - 1;
  if (guess >= p.n) return walk_down(p, p.n, t);
  const int64_t c = guess < 0 ? 0 : guess;
  return t < p.x[c] ? walk_down(p, c, t) : walk_up(p, c, t);
}

constexpr int32_t kCellsFinal = 1000;  // a user search's result: leave the flags unread

// Asks the user's function for blocks of cells. `correct(guess, site)` mends the cells that it only guessed.
template <class Real, class Correct>
int32_t user_search(int64_t m, const Real* sites, int32_t* cells, typename Types<Real>::Search search, void* parameters,
                    int64_t method, const Correct& correct) {
  constexpr int64_t kBlock = 128;
  for (int64_t begin = 0; begin < m; begin += kBlock) {
    const int64_t count = m - begin < kBlock ? m - begin : kBlock;
    int64_t found[kBlock] = {};
    int32_t flags[kBlock] = {};
    const int32_t status = search(&count, sites + begin, found, flags, parameters, method);
    if (status < 0) return status;
    for (int64_t i = 0; i < count; ++i) {
      const bool final = status == kCellsFinal || flags[i] != 0;
      cells[begin + i] = static_cast<int32_t>(final ? found[i] : correct(found[i], sites[begin + i]));
    }
  }
  return DF_OK;
}

template <class Real>
int32_t user_defined_search(const Points<Real>& p, int64_t m, const Real* sites, int32_t* cells,
                            typename Types<Real>::Search search, void* parameters, int64_t method) {
  return user_search(m, sites, cells, search, parameters, method,
                     [&](int64_t guess, Real t) { return correct_guess(p, guess, t); });
}

// In a uniform partition the cell costs no more than the check of a guess.
template <class Real>
int32_t uniform_user_defined_search(const Points<Real>& p, int64_t m, const Real* sites, int32_t* cells,
                                    typename Types<Real>::Search search, void* parameters, int64_t method, Real scale) {
  return user_search(m, sites, cells, search, parameters, method, [&](int64_t, Real t) {
    int32_t cell;
    uniform_search(p, 1, &t, &cell, scale);
    return static_cast<int64_t>(cell);
  });
}

}  // namespace qlx::fitting
