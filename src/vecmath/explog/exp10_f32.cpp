// Exponential to the base 10, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/exp2.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, s, Exp10, ALL, Exp10F32)
