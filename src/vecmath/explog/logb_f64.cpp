// Exponent, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/logb.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, d, Logb, ALL, LogbOf<qlx::simd::PackF64>)
