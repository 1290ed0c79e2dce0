// Pow2o3, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/cube_root.h"

using namespace qlx::powroot;

QLX_KERNEL(A_R, d, Pow2o3, LA, ThirdsF64<Pow2o3Power, 8>)
QLX_KERNEL(A_R, d, Pow2o3, HA, ThirdsF64<Pow2o3Power, 9>)
QLX_KERNEL(A_R, d, Pow2o3, EP, ThirdsF64<Pow2o3Power, 4>)
