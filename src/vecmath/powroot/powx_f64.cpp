// Powx: one exponent for all bases, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/pow.h"

using namespace qlx::powroot;

QLX_KERNEL(AX_R, d, Powx, LA, PowF64LA<false>)
QLX_KERNEL(AX_R, d, Powx, HA, PowF64HA<false>)
QLX_KERNEL(AX_R, d, Powx, EP, PowF64EP<false>)
