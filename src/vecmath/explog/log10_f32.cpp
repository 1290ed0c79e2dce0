// Logarithm to the base 10, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/logarithm_f32.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, s, Log10, LA, LogF32LA<Base10<float>>)
QLX_KERNEL(A_R, s, Log10, HA, LogF32HA<Base10<float>>)
QLX_KERNEL(A_R, s, Log10, EP, LogF32EP<Base10<float>>)
