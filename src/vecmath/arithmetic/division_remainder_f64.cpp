// Remainders of a division, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/arithmetic/division_remainder.h"

using namespace qlx::arithmetic;
using P = qlx::simd::PackF64;

QLX_KERNEL(AB_R, d, Fmod, ALL, Fmod<P>)
QLX_KERNEL(AB_R, d, Remainder, ALL, Remainder<P>)
