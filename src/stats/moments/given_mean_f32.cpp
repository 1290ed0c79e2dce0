// Given-mean kernels, float.
// SPDX-License-Identifier: Apache-2.0
#include "stats/moments/sums.h"

namespace qlx::stats {
constexpr SumKernelTable<float> kGivenMeanFloat = sum_table<float, Method::kGivenMean>();
}
