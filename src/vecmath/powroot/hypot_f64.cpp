// Square root of a sum of two squares, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/hypot.h"

using namespace qlx::powroot;

QLX_KERNEL(AB_R, d, Hypot, LA, HypotF64LA)
QLX_KERNEL(AB_R, d, Hypot, HA, HypotF64HA)
QLX_KERNEL(AB_R, d, Hypot, EP, HypotF64EP)
