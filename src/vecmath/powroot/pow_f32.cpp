// Pow, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/pow.h"

using namespace qlx::powroot;

QLX_KERNEL(AB_R, s, Pow, LAHA, PowF32LA<false>)
QLX_KERNEL(AB_R, s, Pow, EP, PowF32EP<false>)
