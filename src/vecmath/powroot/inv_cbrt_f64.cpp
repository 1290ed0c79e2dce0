// InvCbrt, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/cube_root.h"

using namespace qlx::powroot;

QLX_KERNEL(A_R, d, InvCbrt, LA, ThirdsF64<InvCbrtPower, 8>)
QLX_KERNEL(A_R, d, InvCbrt, HA, ThirdsF64<InvCbrtPower, 9>)
QLX_KERNEL(A_R, d, InvCbrt, EP, ThirdsF64<InvCbrtPower, 4>)
