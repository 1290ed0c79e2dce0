// Exponential, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/exp.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, s, Exp, LA, ExpF32LA)
QLX_KERNEL(A_R, s, Exp, HA, ExpF32HA)
QLX_KERNEL(A_R, s, Exp, EP, ExpF32EP)
