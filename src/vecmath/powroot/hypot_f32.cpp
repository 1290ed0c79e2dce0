// Square root of a sum of two squares, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/hypot.h"

using namespace qlx::powroot;

QLX_KERNEL(AB_R, s, Hypot, LA, HypotF32LA)
QLX_KERNEL(AB_R, s, Hypot, HA, HypotF32HA)
QLX_KERNEL(AB_R, s, Hypot, EP, HypotF32EP)
