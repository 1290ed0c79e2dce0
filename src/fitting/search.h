// The dispatcher of cell search and its driver.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "fitting/search_plan.h"
#include "fitting/work_division.h"

namespace qlx::fitting {

constexpr int64_t kSitesOnStack = 4096;  // uniform sites up to this number are expanded without an allocation
constexpr int64_t kInlineSites = 32;     // fewer than these are not worth asking for threads

template <class Real>
int32_t drive_search(const SearchPlan<Real>& plan, int64_t m, const Real* sites, int32_t* cells,
                     const QlxThreadTable* services) {
  const auto slice = [&](int64_t first, int64_t count) {
    SearchCursor cursor;
    return search_block(plan, cursor, count, sites + first, cells + first);
  };
  if (m < kInlineSites && !plan.is_user()) return slice(0, m);
  return run_slices(services, m, slice);
}

template <class Real>
int32_t search(const DFTask* task, int64_t method, int64_t m, const Real* sites, int64_t site_hint,
               const Real* site_parameters, int32_t* cells, typename Types<Real>::Search user, void* user_parameters,
               const QlxThreadTable* services) {
  if (task == nullptr) return DF_NULL_TASK;
  SearchPlan<Real> plan;
  const int32_t status =
      plan_search(partition_ground<Real>(*task), method, site_hint, site_parameters, user, user_parameters, plan);
  if (status != DF_OK || m <= 0) return status;
  if (site_hint != DF_UNIFORM_SITES) return drive_search(plan, m, sites, cells, services);

  const Sites<Real> expansion(m, sites, site_hint);
  if (m <= kSitesOnStack) {
    Real buffer[kSitesOnStack];
    return drive_search(plan, m, expansion.get(0, m, buffer), cells, services);
  }
  const Scratch<Real> buffer(m);
  if (buffer.get() == nullptr) return DF_NO_MEMORY;
  return drive_search(plan, m, expansion.get(0, m, buffer.get()), cells, services);
}

}  // namespace qlx::fitting

// Names of one element type. The C interface spells each; a kernel's twin of 32-bit cell numbers is the same function.
#define QLX_DF_DEFINE_KERNEL(NAME, PARAMETERS, BODY) \
  int32_t NAME PARAMETERS{BODY} QLX_DF_ALIAS(int32_t NAME##32 PARAMETERS, NAME)

#define QLX_DF_SITES_OF(T) int64_t n, const T *x, int64_t m, const T *sites, int32_t *cells

#define QLX_DF_DEFINE_SEARCH(P, S, T)                                                                                \
  QLX_DF_DEFINE_KERNEL(qlx_df_kernel_##P##DFUniformSearch1D, (QLX_DF_SITES_OF(T), T scale),                          \
                       qlx::fitting::uniform_search<T>({n, x}, m, sites, cells, scale);                              \
                       return DF_OK;)                                                                                \
  QLX_DF_DEFINE_KERNEL(qlx_df_kernel_##P##DFQuasiUniformSearch1D, (QLX_DF_SITES_OF(T), T scale),                     \
                       qlx::fitting::quasi_uniform_search<T>({n, x}, m, sites, cells, scale);                        \
                       return DF_OK;)                                                                                \
  QLX_DF_DEFINE_KERNEL(qlx_df_kernel_##P##DFSortedSearch1D, (QLX_DF_SITES_OF(T), int32_t * start_cell),              \
                       *start_cell = qlx::fitting::sorted_search<T>({n, x}, m, sites, cells, *start_cell);           \
                       return DF_OK;)                                                                                \
  QLX_DF_DEFINE_KERNEL(qlx_df_kernel_##P##DFPeakSearch1D, (QLX_DF_SITES_OF(T), T peak_cell),                         \
                       qlx::fitting::peak_search<T>({n, x}, m, sites, cells, peak_cell);                             \
                       return DF_OK;)                                                                                \
  QLX_DF_DEFINE_KERNEL(qlx_df_kernel_##P##DFHybridSearch1D,                                                          \
                       (QLX_DF_SITES_OF(T), T scale, const int32_t* search_table),                                   \
                       qlx::fitting::hybrid_search<T>({n, x}, m, sites, cells, scale, search_table,                  \
                                                      qlx::fitting::search_table_buckets(n));                        \
                       return DF_OK;)                                                                                \
  QLX_DF_DEFINE_KERNEL(                                                                                              \
      qlx_df_kernel_##P##DFUserDefSearch1D, (QLX_DF_SITES_OF(T), QlxDfSearch##S user_search, void* user_parameters), \
      return qlx::fitting::user_defined_search<T>({n, x}, m, sites, cells, user_search, user_parameters, 0);)        \
  QLX_DF_DEFINE_KERNEL(qlx_df_kernel_##P##DFUniUserDefSearch1D,                                                      \
                       (QLX_DF_SITES_OF(T), QlxDfSearch##S user_search, void* user_parameters, T scale),             \
                       return qlx::fitting::uniform_user_defined_search<T>({n, x}, m, sites, cells, user_search,     \
                                                                           user_parameters, 0, scale);)              \
  int32_t qlx_df_kernel_##P##DFSearch1D(const DFTask* task, int64_t method, int64_t site_count, const T* sites,      \
                                        int64_t site_hint, const T* site_parameters, int32_t* cells,                 \
                                        QlxDfSearch##S user_search, void* user_parameters,                           \
                                        const QlxThreadTable* services) {                                            \
    return qlx::fitting::search<T>(task, method, site_count, sites, site_hint, site_parameters, cells, user_search,  \
                                   user_parameters, services);                                                       \
  }
