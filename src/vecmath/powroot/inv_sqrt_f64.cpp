// Reciprocal square root, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/square_root.h"

using namespace qlx::powroot;

QLX_KERNEL(A_R, d, InvSqrt, LA, InvSqrtF64LA)
QLX_KERNEL(A_R, d, InvSqrt, HA, InvSqrtF64HA)
QLX_KERNEL(A_R, d, InvSqrt, EP, InvSqrtF64EP)
