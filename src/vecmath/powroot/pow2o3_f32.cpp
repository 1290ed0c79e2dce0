// Pow2o3, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/cube_root.h"

using namespace qlx::powroot;

QLX_KERNEL(A_R, s, Pow2o3, LA, ThirdsF32LA<Pow2o3Power>)
QLX_KERNEL(A_R, s, Pow2o3, HA, ThirdsF32HA<Pow2o3Power>)
QLX_KERNEL(A_R, s, Pow2o3, EP, ThirdsF32EP<Pow2o3Power>)
