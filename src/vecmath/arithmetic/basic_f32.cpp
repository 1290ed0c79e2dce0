// The four operations and their kin, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/arithmetic/basic.h"

using namespace qlx::arithmetic;
using P = qlx::simd::PackF32;

QLX_KERNEL(A_R, s, Abs, ALL, Abs<P>)
QLX_KERNEL(AB_R, s, Add, ALL, Add<P>)
QLX_KERNEL(AB_R, s, CopySign, ALL, CopySign<P>)
QLX_KERNEL(AB_R, s, Div, ALL, Div<P>)
QLX_KERNEL(A_R, s, Inv, ALL, Inv<P>)
QLX_KERNEL(AB_R, s, Mul, ALL, Mul<P>)
QLX_KERNEL(A_R, s, Sqr, ALL, Sqr<P>)
QLX_KERNEL(AB_R, s, Sub, ALL, Sub<P>)
QLX_KERNEL_OF(LINEARFRAC, s, LinearFrac, ALL, "LinearFrac", LinearFrac<P>)
