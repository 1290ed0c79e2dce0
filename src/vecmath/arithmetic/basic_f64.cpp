// The four operations and their kin, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/arithmetic/basic.h"

using namespace qlx::arithmetic;
using P = qlx::simd::PackF64;

QLX_KERNEL(A_R, d, Abs, ALL, Abs<P>)
QLX_KERNEL(AB_R, d, Add, ALL, Add<P>)
QLX_KERNEL(AB_R, d, CopySign, ALL, CopySign<P>)
QLX_KERNEL(AB_R, d, Div, ALL, Div<P>)
QLX_KERNEL(A_R, d, Inv, ALL, Inv<P>)
QLX_KERNEL(AB_R, d, Mul, ALL, Mul<P>)
QLX_KERNEL(A_R, d, Sqr, ALL, Sqr<P>)
QLX_KERNEL(AB_R, d, Sub, ALL, Sub<P>)
QLX_KERNEL_OF(LINEARFRAC, d, LinearFrac, ALL, "LinearFrac", LinearFrac<P>)
