// Square root of a cube, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/pow3o2.h"

using namespace qlx::powroot;

QLX_KERNEL(A_R, s, Pow3o2, LA, Pow3o2F32LA)
QLX_KERNEL(A_R, s, Pow3o2, HA, Pow3o2F32HA)
QLX_KERNEL(A_R, s, Pow3o2, EP, Pow3o2F32EP)
