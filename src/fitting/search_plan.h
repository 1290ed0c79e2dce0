// A cell search made ready: the method chosen for a task and its sites, run block by block.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fitting/search_methods.h"

namespace qlx::fitting {

enum class SearchMethod { kUniform, kQuasiUniform, kSorted, kPeak, kHybrid, kUserDef, kUniUserDef };

template <class Real>
struct SearchPlan {
  SearchMethod method;
  Points<Real> points;
  Real scale;  // as the method takes it
  Real peak;
  const int32_t* table;
  int64_t buckets;
  typename Types<Real>::Search user;
  void* user_parameters;
  int64_t method_word;

  bool is_user() const { return method == SearchMethod::kUserDef || method == SearchMethod::kUniUserDef; }
};

// Scale of the estimates in a partition of n points whose ends are given.
template <class Real>
Real cell_scale(int64_t n, Real first, Real last) {
  return static_cast<Real>(n - 1) / (last - first);
}

// What a search is over: the task's partition, or the knots of Subbotin's spline, which have no table.
template <class Real>
struct SearchGround {
  Points<Real> points;
  int64_t hint;
  Real table_scale;
  const int32_t* table;
  int64_t buckets;
};

template <class Real>
SearchGround<Real> partition_ground(const DFTask& task) {
  return {{task.partition_size, partition_of<Real>(task)},
          task.partition_hint,
          search_scale_of<Real>(task),
          task.search_table,
          task.search_table_size};
}

// Site parameters: which elements say what.
enum { kSiteMethod = 1, kSitePeakCell = 4 };

template <class Real>
int32_t plan_search(const SearchGround<Real>& ground, int64_t method_word, int64_t site_hint,
                    const Real* site_parameters, typename Types<Real>::Search user, void* user_parameters,
                    SearchPlan<Real>& plan) {
  const Points<Real>& p = ground.points;
  const bool uniform = ground.hint == DF_UNIFORM;
  plan = {};
  plan.points = p;
  plan.user = user;
  plan.user_parameters = user_parameters;
  plan.method_word = method_word;
  plan.table = ground.table;
  plan.buckets = ground.buckets;
  if (user != nullptr) {
    plan.method = uniform ? SearchMethod::kUniUserDef : SearchMethod::kUserDef;
  } else if (uniform) {
    plan.method = SearchMethod::kUniform;
  } else if (ground.hint == DF_QUASI_UNIFORM) {
    plan.method = SearchMethod::kQuasiUniform;
  } else if (site_hint == DF_SORTED_SITES) {
    plan.method = SearchMethod::kSorted;
  } else if (site_parameters == nullptr || site_parameters[kSiteMethod] == 0) {
    plan.method = SearchMethod::kHybrid;
  } else if (site_parameters[kSiteMethod] == 1) {
    plan.peak = site_parameters[kSitePeakCell];
    if (!(plan.peak >= 0 && plan.peak <= static_cast<Real>(p.n))) return DF_BAD_SITE_PARAMETERS;
    plan.method = SearchMethod::kPeak;
  } else {
    return DF_BAD_SITE_PARAMETERS;
  }
  plan.scale = plan.method == SearchMethod::kHybrid         ? ground.table_scale
               : uniform                                    ? cell_scale(p.n, p.x[0], p.x[1])
               : plan.method == SearchMethod::kQuasiUniform ? cell_scale(p.n, p.x[0], p.last())
                                                            : Real{0};
  return DF_OK;
}

// Where a run of blocks stands: the merge goes on from the cell before. A negative cell: not started.
struct SearchCursor {
  int32_t cell = -1;
};

template <class Real>
int32_t search_block(const SearchPlan<Real>& plan, SearchCursor& cursor, int64_t m, const Real* sites, int32_t* cells) {
  const Points<Real>& p = plan.points;
  switch (plan.method) {
    case SearchMethod::kUniform:
      uniform_search(p, m, sites, cells, plan.scale);
      break;
    case SearchMethod::kQuasiUniform:
      quasi_uniform_search(p, m, sites, cells, plan.scale);
      break;
    case SearchMethod::kSorted:
      // Each thread starts a cursor of its own, at the cell of its first site.
      if (cursor.cell < 0 && m > 0) {
        cursor.cell = static_cast<int32_t>(sites[0] == p.last() ? p.n - 1 : gallop_up(p, int64_t{0}, sites[0]));
      }
      cursor.cell = sorted_search(p, m, sites, cells, cursor.cell);
      break;
    case SearchMethod::kPeak:
      peak_search(p, m, sites, cells, plan.peak);
      break;
    case SearchMethod::kHybrid:
      hybrid_search(p, m, sites, cells, plan.scale, plan.table, plan.buckets);
      break;
    case SearchMethod::kUserDef:
      return user_defined_search(p, m, sites, cells, plan.user, plan.user_parameters, plan.method_word);
    case SearchMethod::kUniUserDef:
      return uniform_user_defined_search(p, m, sites, cells, plan.user, plan.user_parameters, plan.method_word,
                                         plan.scale);
  }
  return DF_OK;
}

// Sites as a caller passes them: an array, or the ends of `m` equally spaced ones.
template <class Real>
struct Sites {
  int64_t m;
  const Real* array;
  bool uniform;
  Real step;

  Sites(int64_t count, const Real* sites, int64_t hint)
      : m(count),
        array(sites),
        uniform(hint == DF_UNIFORM_SITES),
        // A single site is the first one; the quotient would be 0 / 0 or infinite.
        step(uniform && count > 1 ? (sites[1] - sites[0]) / static_cast<Real>(count - 1) : Real{0}) {}

  // Stores sites first to first + count - 1 in `buffer` when they have to be computed; returns where they are.
  const Real* get(int64_t first, int64_t count, Real* buffer) const {
    if (!uniform) return array + first;
    const Real start = array[0];
    for (int64_t i = 0; i < count; ++i) buffer[i] = start + static_cast<Real>(first + i) * step;
    return buffer;
  }
};

}  // namespace qlx::fitting
