// Fractional part, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/rounding/fraction.h"

using namespace qlx::rounding;
using P = qlx::simd::PackF32;

QLX_KERNEL(A_R, s, Frac, ALL, Frac<P>)
QLX_KERNEL(A_RR, s, Modf, ALL, Modf<P>)
