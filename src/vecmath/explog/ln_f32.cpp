// Natural logarithm, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/logarithm_f32.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, s, Ln, LA, LnF32LA)
QLX_KERNEL(A_R, s, Ln, HA, LnF32HA)
QLX_KERNEL(A_R, s, Ln, EP, LnF32EP)
