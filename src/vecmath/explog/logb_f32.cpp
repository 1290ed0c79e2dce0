// Exponent, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/logb.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, s, Logb, ALL, LogbOf<qlx::simd::PackF32>)
