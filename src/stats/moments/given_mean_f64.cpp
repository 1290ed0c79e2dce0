// Given-mean kernels, double.
// SPDX-License-Identifier: Apache-2.0
#include "stats/moments/sums.h"

namespace qlx::stats {
constexpr SumKernelTable<double> kGivenMeanDouble = sum_table<double, Method::kGivenMean>();
}
