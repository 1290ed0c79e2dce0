// Rounding to integers, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/rounding/integer.h"

using namespace qlx::rounding;
using P = qlx::simd::PackF32;

QLX_KERNEL(A_R, s, Ceil, ALL, Ceil<P>)
QLX_KERNEL(A_R, s, Floor, ALL, Floor<P>)
QLX_KERNEL(A_R, s, NearbyInt, ALL, NearbyInt<P>)
QLX_KERNEL(A_R, s, Rint, ALL, Rint<P>)
QLX_KERNEL(A_R, s, Round, ALL, Round<P>)
QLX_KERNEL(A_R, s, Trunc, ALL, Trunc<P>)
