// Functions that choose or step, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/arithmetic/compare.h"

using namespace qlx::arithmetic;
using P = qlx::simd::PackF64;

QLX_KERNEL(AB_R, d, Fdim, ALL, Fdim<P>)
QLX_KERNEL(AB_R, d, Fmax, ALL, Fmax<P>)
QLX_KERNEL(AB_R, d, Fmin, ALL, Fmin<P>)
QLX_KERNEL(AB_R, d, MaxMag, ALL, MaxMag<P>)
QLX_KERNEL(AB_R, d, MinMag, ALL, MinMag<P>)
QLX_KERNEL(AB_R, d, NextAfter, ALL, NextAfter<P>)
