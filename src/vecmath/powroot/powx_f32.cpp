// Powx: one exponent for all bases, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/pow.h"

using namespace qlx::powroot;

QLX_KERNEL(AX_R, s, Powx, LA, PowF32LA<false>)
QLX_KERNEL(AX_R, s, Powx, HA, PowF32LA<false>)
QLX_KERNEL(AX_R, s, Powx, EP, PowF32EP<false>)
