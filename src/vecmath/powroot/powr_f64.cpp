// Powr, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/pow.h"

using namespace qlx::powroot;

QLX_KERNEL(AB_R, d, Powr, LA, PowF64LA<true>)
QLX_KERNEL(AB_R, d, Powr, HA, PowF64HA<true>)
QLX_KERNEL(AB_R, d, Powr, EP, PowF64EP<true>)
