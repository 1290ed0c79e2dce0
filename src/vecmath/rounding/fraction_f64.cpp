// Fractional part, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/rounding/fraction.h"

using namespace qlx::rounding;
using P = qlx::simd::PackF64;

QLX_KERNEL(A_R, d, Frac, ALL, Frac<P>)
QLX_KERNEL(A_RR, d, Modf, ALL, Modf<P>)
