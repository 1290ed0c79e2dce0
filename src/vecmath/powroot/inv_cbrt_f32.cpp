// InvCbrt, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/cube_root.h"

using namespace qlx::powroot;

QLX_KERNEL(A_R, s, InvCbrt, LA, ThirdsF32LA<InvCbrtPower>)
QLX_KERNEL(A_R, s, InvCbrt, HA, ThirdsF32HA<InvCbrtPower>)
QLX_KERNEL(A_R, s, InvCbrt, EP, ThirdsF32EP<InvCbrtPower>)
