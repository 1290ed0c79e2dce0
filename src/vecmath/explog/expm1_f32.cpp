// Exponential minus 1, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/expm1.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, s, Expm1, LA, Expm1F32LA)
QLX_KERNEL(A_R, s, Expm1, HA, Expm1F32HA)
QLX_KERNEL(A_R, s, Expm1, EP, Expm1F32EP)
