// Exponential, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/exp.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, d, Exp, LA, ExpF64LA)
QLX_KERNEL(A_R, d, Exp, HA, ExpF64HA)
QLX_KERNEL(A_R, d, Exp, EP, ExpF64EP)
