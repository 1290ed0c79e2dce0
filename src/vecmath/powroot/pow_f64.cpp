// Pow, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/pow.h"

using namespace qlx::powroot;

QLX_KERNEL(AB_R, d, Pow, LA, PowF64LA<false>)
QLX_KERNEL(AB_R, d, Pow, HA, PowF64HA<false>)
QLX_KERNEL(AB_R, d, Pow, EP, PowF64EP<false>)
