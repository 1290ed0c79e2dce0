// Square root, float.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/square_root.h"

using namespace qlx::powroot;

QLX_KERNEL(A_R, s, Sqrt, LA, SqrtF32LA)
QLX_KERNEL(A_R, s, Sqrt, HA, SqrtHardware<PackF32>)
QLX_KERNEL(A_R, s, Sqrt, EP, SqrtF32EP)
