// Cbrt, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/cube_root.h"

using namespace qlx::powroot;

QLX_KERNEL(A_R, s, Cbrt, LA, CbrtF32<ThirdsF32LA<CbrtPower>>)
QLX_KERNEL(A_R, s, Cbrt, HA, ThirdsF32HA<CbrtPower>)
QLX_KERNEL(A_R, s, Cbrt, EP, CbrtF32<ThirdsF32EP<CbrtPower>>)
