// Rounding to integers, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/rounding/integer.h"

using namespace qlx::rounding;
using P = qlx::simd::PackF64;

QLX_KERNEL(A_R, d, Ceil, ALL, Ceil<P>)
QLX_KERNEL(A_R, d, Floor, ALL, Floor<P>)
QLX_KERNEL(A_R, d, NearbyInt, ALL, NearbyInt<P>)
QLX_KERNEL(A_R, d, Rint, ALL, Rint<P>)
QLX_KERNEL(A_R, d, Round, ALL, Round<P>)
QLX_KERNEL(A_R, d, Trunc, ALL, Trunc<P>)
