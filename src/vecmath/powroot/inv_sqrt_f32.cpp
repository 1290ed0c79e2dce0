// Reciprocal square root, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/square_root.h"

using namespace qlx::powroot;

QLX_KERNEL(A_R, s, InvSqrt, LAEP, InvSqrtF32LA)
QLX_KERNEL(A_R, s, InvSqrt, HA, InvSqrtF32HA)
