// Tridiagonal solvers without pivoting, eliminated from both ends at once.
// SPDX-License-Identifier: Apache-2.0
//
// Elimination from the top is one long chain: each pivot waits for the division of the one before. Elimination from
// both ends towards the middle row does the same work in two chains of half the length, which the processor runs side
// by side, and is as stable for diagonally dominant matrices (V. Fernando and B. Parlett, "Qd algorithms and twisted
// factorizations", 1994; H. van der Vorst, "Large tridiagonal and block tridiagonal linear systems on vector and
// parallel computers", Parallel Computing 5, 1987). With m = n / 2, the twist:
//
//   rows 0 .. m - 1 are eliminated downwards:     p[0] = d[0],         p[i] = d[i] - dl[i-1] du[i-1] / p[i-1]
//   rows n - 1 .. m + 1 are eliminated upwards:   p[n-1] = d[n-1],     p[i] = d[i] - dl[i] du[i] / p[i+1]
//   row m takes both corrections:                 p[m] = d[m] - dl[m-1] du[m-1] / p[m-1] - dl[m] du[m] / p[m+1]
//
// The factor keeps 1 / p[i] in d[i], so that solving divides nowhere, and leaves dl and du as they are. Products are
// taken as (dl / p) du: dominance bounds the quotient by 1, where dl du alone could overflow.
#include <algorithm>
#include <cstddef>

#include "qlx/core.h"

namespace {

// A right-hand side that is not there: factoring alone.
constexpr int kNoColumns = 0;

// Columns that are solved in one sweep. Each has two chains of its own; four columns fill the processor's pipes, and
// their columns and the three diagonals stay within the streams that hardware prefetchers follow.
constexpr int kColumnsAtOnce = 4;

// A row on its way inwards: its pivot (its reciprocal where the factor is given) and its right-hand sides. Rows travel
// in registers: through memory, each step would also wait for the store of the step before.
template <int columns, class T>
struct Row {
  T pivot;
  T values[std::max(columns, 1)];
};

// Sweeps from both ends to the twist. Returns 0, or the number, counted from 1, of the row whose pivot is zero.
template <bool factors, int columns, class T>
int64_t sweep_inwards(ptrdiff_t n, const T* __restrict dl, T* __restrict d, const T* __restrict du, T* __restrict b,
                      ptrdiff_t ldb) {
  using Row = Row<columns, T>;
  const auto load = [&](ptrdiff_t row) {
    Row loaded{};
    loaded.pivot = d[row];
    for (int k = 0; k < columns; ++k) loaded.values[k] = b[row + k * ldb];
    return loaded;
  };
  const auto store = [&](ptrdiff_t row, Row& done) {
    if constexpr (factors) d[row] = done.pivot = 1 / done.pivot;
    for (int k = 0; k < columns; ++k) b[row + k * ldb] = done.values[k];
  };
  // Stores row `number`, which is done, and takes its unknown out of row `to`; `into` is the entry of `to` in the
  // column of `done`, `beside` the entry of `done` in the column of `to`.
  const auto eliminate = [&](ptrdiff_t number, Row done, Row to, T into, T beside) {
    store(number, done);
    const T multiplier = into * done.pivot;
    if constexpr (factors) to.pivot -= multiplier * beside;
    for (int k = 0; k < columns; ++k) to.values[k] -= multiplier * done.values[k];
    return to;
  };
  const auto is_singular = [](const Row& row) { return factors && row.pivot == 0; };

  const ptrdiff_t twist = n / 2;
  Row middle = load(twist);
  if (twist > 0) {
    ptrdiff_t i = 0, j = n - 1;
    Row top = load(i), bottom = load(j);
    // An even n has one row more above the twist than below: it goes first, so that both chains arrive together.
    if (n % 2 == 0 && twist > 1) {
      if (is_singular(top)) return 1;
      top = eliminate(0, top, load(1), dl[0], du[0]);
      i = 1;
    }
    for (; i < twist - 1; ++i, --j) {
      if (is_singular(top)) return i + 1;
      if (is_singular(bottom)) return j + 1;
      top = eliminate(i, top, load(i + 1), dl[i], du[i]);
      bottom = eliminate(j, bottom, load(j - 1), du[j - 1], dl[j - 1]);
    }
    if (is_singular(top)) return i + 1;
    middle = eliminate(i, top, middle, dl[i], du[i]);
    if (n > 2) {
      if (is_singular(bottom)) return j + 1;
      middle = eliminate(j, bottom, middle, du[twist], dl[twist]);
    }
  }
  if (is_singular(middle)) return twist + 1;
  store(twist, middle);
  return 0;
}

// Solves from the twist outwards. The neighbour's unknown enters by a ready factor: one multiplication and one
// subtraction a row are all that waits for the row before.
template <int columns, class T>
void sweep_outwards(ptrdiff_t n, const T* __restrict dl, const T* __restrict d, const T* __restrict du, T* __restrict b,
                    ptrdiff_t ldb) {
  struct Unknowns {
    T x[columns];
  };
  const auto solve = [&](ptrdiff_t row, T beside, Unknowns& neighbours) {
    const T scaled = beside * d[row];
    for (int k = 0; k < columns; ++k) {
      T& value = b[row + k * ldb];
      value = neighbours.x[k] = value * d[row] - scaled * neighbours.x[k];
    }
  };

  const ptrdiff_t twist = n / 2;
  Unknowns above, below;
  for (int k = 0; k < columns; ++k) b[twist + k * ldb] = above.x[k] = below.x[k] = b[twist + k * ldb] * d[twist];
  ptrdiff_t i = twist - 1, j = twist + 1;
  for (; j < n; --i, ++j) {
    solve(i, du[i], above);
    solve(j, dl[j - 1], below);
  }
  if (i == 0) solve(0, du[0], above);
}

template <int columns, class T>
void solve_columns(ptrdiff_t n, const T* dl, const T* d, const T* du, T* b, ptrdiff_t ldb) {
  // The factor is only read: `factors` is false.
  sweep_inwards<false, columns>(n, dl, const_cast<T*>(d), du, b, ldb);
  sweep_outwards<columns>(n, dl, d, du, b, ldb);
}

template <class T>
void solve_all(ptrdiff_t n, ptrdiff_t nrhs, const T* dl, const T* d, const T* du, T* b, ptrdiff_t ldb) {
  for (; nrhs >= kColumnsAtOnce; nrhs -= kColumnsAtOnce, b += kColumnsAtOnce * ldb) {
    solve_columns<kColumnsAtOnce>(n, dl, d, du, b, ldb);
  }
  for (; nrhs > 0; --nrhs, b += ldb) solve_columns<1>(n, dl, d, du, b, ldb);
}

template <class T>
int64_t factor(const int64_t* n, const T* dl, T* d, const T* du) {
  if (*n < 0) return -1;
  if (*n == 0) return 0;
  return sweep_inwards<true, kNoColumns, T>(*n, dl, d, du, nullptr, 0);
}

// The checks that both solving routines make, whose arguments stand in the same places.
int64_t check(const int64_t* n, const int64_t* nrhs, const int64_t* ldb) {
  if (*n < 0) return -1;
  if (*nrhs < 0) return -2;
  if (*ldb < (*n > 1 ? *n : 1)) return -7;
  return 0;
}

template <class T>
int64_t solve(const int64_t* n, const int64_t* nrhs, const T* dl, const T* d, const T* du, T* b, const int64_t* ldb) {
  const int64_t bad = check(n, nrhs, ldb);
  if (bad != 0 || *n == 0) return bad;
  solve_all<T>(*n, *nrhs, dl, d, du, b, *ldb);
  return 0;
}

template <class T>
int64_t factor_and_solve(const int64_t* n, const int64_t* nrhs, const T* dl, T* d, const T* du, T* b,
                         const int64_t* ldb) {
  const int64_t bad = check(n, nrhs, ldb);
  if (bad != 0 || *n == 0) return bad;
  if (*nrhs == 0) return factor(n, dl, d, du);
  // The first column rides along with the factor, in the shadow of its divisions.
  const int64_t zero_pivot = sweep_inwards<true, 1, T>(*n, dl, d, du, b, *ldb);
  if (zero_pivot != 0) return zero_pivot;
  sweep_outwards<1, T>(*n, dl, d, du, b, *ldb);
  solve_all<T>(*n, *nrhs - 1, dl, d, du, b + *ldb, *ldb);
  return 0;
}

}  // namespace

#define QLX_CORE_DEFINE_TRIDIAGONAL(P, T)                                                                             \
  void P##dttrfb_4dfl(const int64_t* n, const T* dl, T* d, const T* du, int64_t* info) {                              \
    *info = factor(n, dl, d, du);                                                                                     \
  }                                                                                                                   \
  void P##dttrsb_4dfl(const int64_t* n, const int64_t* nrhs, const T* dl, const T* d, const T* du, T* b,              \
                      const int64_t* ldb, int64_t* info) {                                                            \
    *info = solve(n, nrhs, dl, d, du, b, ldb);                                                                        \
  }                                                                                                                   \
  void P##dtsvb_4dfl(const int64_t* n, const int64_t* nrhs, const T* dl, T* d, const T* du, T* b, const int64_t* ldb, \
                     int64_t* info) {                                                                                 \
    *info = factor_and_solve(n, nrhs, dl, d, du, b, ldb);                                                             \
  }

QLX_CORE_DEFINE_TRIDIAGONAL(d, double)
QLX_CORE_DEFINE_TRIDIAGONAL(s, float)
