// Natural logarithm of 1 + a, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/log1p.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, s, Log1p, LA, Log1pF32LA)
QLX_KERNEL(A_R, s, Log1p, HA, Log1pF32HA)
QLX_KERNEL(A_R, s, Log1p, EP, Log1pF32EP)
