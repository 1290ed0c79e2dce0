// Exponential minus 1, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/expm1.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, d, Expm1, LA, Expm1F64LA)
QLX_KERNEL(A_R, d, Expm1, HA, Expm1F64HA)
QLX_KERNEL(A_R, d, Expm1, EP, Expm1F64EP)
