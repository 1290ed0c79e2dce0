// Natural logarithm of 1 + a, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/log1p.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, d, Log1p, LA, Log1pF64LA)
QLX_KERNEL(A_R, d, Log1p, HA, Log1pF64HA)
QLX_KERNEL(A_R, d, Log1p, EP, Log1pF64EP)
