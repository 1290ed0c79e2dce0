// Powr, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/pow.h"

using namespace qlx::powroot;

QLX_KERNEL(AB_R, s, Powr, LAHA, PowF32LA<true>)
QLX_KERNEL(AB_R, s, Powr, EP, PowF32EP<true>)
