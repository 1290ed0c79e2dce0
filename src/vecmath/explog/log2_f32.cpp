// Logarithm to the base 2, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/logarithm_f32.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, s, Log2, LA, LogF32LA<Base2<float>>)
QLX_KERNEL(A_R, s, Log2, HA, LogF32HA<Base2<float>>)
QLX_KERNEL(A_R, s, Log2, EP, LogF32EP<Base2<float>>)
