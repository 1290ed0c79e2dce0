// The table of buckets that starts a hybrid cell search.
// SPDX-License-Identifier: Apache-2.0
#include "fitting/df_task.h"

namespace qlx::fitting {

// Bucket b of a site t is trunc(scale * (t - x[0])). The product rounds monotonically, so a point of an earlier bucket
// lies below t and one of a later bucket above it: with lo the last point of the buckets before b and hi the first
// point of those after b, the cell is in (lo, hi].
template <class Real>
int32_t build_search_table(DFTask& task) {
  const int64_t n = task.partition_size;
  const Real* x = partition_of<Real>(task);
  const int64_t buckets = search_table_buckets(n);

  qlx_serv_deallocate(task.search_table);
  task.search_table = nullptr;
  task.search_table_size = buckets;
  int32_t* pairs = allocate_array<int32_t>(2 * (buckets + 2));
  if (pairs == nullptr) return DF_NO_MEMORY;
  task.search_table = pairs;
  const auto lo = [pairs](int64_t k) -> int32_t& { return pairs[2 * k]; };
  const auto hi = [pairs](int64_t k) -> int32_t& { return pairs[2 * k + 1]; };

  constexpr int32_t kEmpty = -1;
  for (int64_t k = 0; k < buckets; ++k) lo(k) = hi(k) = kEmpty;
  lo(0) = 0;
  const Real scale = static_cast<Real>(buckets) / (x[n - 1] - x[0]);
  search_scale_of<Real>(task) = scale;
  for (int64_t i = 1; i < n; ++i) {
    const Real position = scale * (x[i] - x[0]);
    // Bucket 0 has no earlier neighbour to tell. A NaN (equal ends, NaN in the partition) fails this test too.
    if (!(position >= 1)) continue;
    // The last point falls in bucket T; a point beyond it, which only an unsorted partition has, joins it there.
    const int64_t k = position < static_cast<Real>(buckets) ? static_cast<int64_t>(position) : buckets;
    if (hi(k - 1) == kEmpty) hi(k - 1) = static_cast<int32_t>(i);
    lo(k + 1) = static_cast<int32_t>(i);
  }
  hi(buckets - 1) = static_cast<int32_t>(n - 1);
  for (int64_t k = 1; k < buckets; ++k) {
    if (lo(k) == kEmpty) lo(k) = lo(k - 1);
  }
  for (int64_t k = buckets - 2; k >= 0; --k) {
    if (hi(k) == kEmpty) hi(k) = hi(k + 1);
  }
  // Pair T answers the sites on the last point's bucket; pair T + 1 was at most a place to write.
  lo(buckets) = lo(buckets - 1);
  hi(buckets) = hi(buckets - 1);
  return DF_OK;
}

template int32_t build_search_table<double>(DFTask&);
template int32_t build_search_table<float>(DFTask&);

}  // namespace qlx::fitting
