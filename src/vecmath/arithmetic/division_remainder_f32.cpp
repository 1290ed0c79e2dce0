// Remainders of a division, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/arithmetic/division_remainder.h"

using namespace qlx::arithmetic;
using P = qlx::simd::PackF32;

QLX_KERNEL(AB_R, s, Fmod, ALL, Fmod<P>)
QLX_KERNEL(AB_R, s, Remainder, ALL, Remainder<P>)
