// One-pass kernels, float.
// SPDX-License-Identifier: Apache-2.0
#include "stats/moments/one_pass.h"

namespace qlx::stats {
constexpr KernelTable<float> kOnePassFloat = one_pass_table<float>();
}
