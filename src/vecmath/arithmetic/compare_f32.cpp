// Functions that choose or step, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/arithmetic/compare.h"

using namespace qlx::arithmetic;
using P = qlx::simd::PackF32;

QLX_KERNEL(AB_R, s, Fdim, ALL, Fdim<P>)
QLX_KERNEL(AB_R, s, Fmax, ALL, Fmax<P>)
QLX_KERNEL(AB_R, s, Fmin, ALL, Fmin<P>)
QLX_KERNEL(AB_R, s, MaxMag, ALL, MaxMag<P>)
QLX_KERNEL(AB_R, s, MinMag, ALL, MinMag<P>)
QLX_KERNEL(AB_R, s, NextAfter, ALL, NextAfter<P>)
