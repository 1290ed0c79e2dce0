// One-pass kernels, double.
// SPDX-License-Identifier: Apache-2.0
#include "stats/moments/one_pass.h"

namespace qlx::stats {
constexpr KernelTable<double> kOnePassDouble = one_pass_table<double>();
}
