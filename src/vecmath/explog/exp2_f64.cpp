// Exponential to the base 2, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/exp2.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, d, Exp2, ALL, Exp2F64)
