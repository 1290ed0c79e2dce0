// Cbrt, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/cube_root.h"

using namespace qlx::powroot;

QLX_KERNEL(A_R, d, Cbrt, LA, ThirdsF64<CbrtPower, 8>)
QLX_KERNEL(A_R, d, Cbrt, HA, ThirdsF64<CbrtPower, 9>)
QLX_KERNEL(A_R, d, Cbrt, EP, ThirdsF64<CbrtPower, 4>)
