// Fast kernels, double.
// SPDX-License-Identifier: Apache-2.0
#include "stats/moments/sums.h"

namespace qlx::stats {
constexpr SumKernelTable<double> kFastDouble = sum_table<double, Method::kFast>();
}
