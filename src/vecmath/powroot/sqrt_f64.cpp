// Square root, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/powroot/square_root.h"

using namespace qlx::powroot;

QLX_KERNEL(A_R, d, Sqrt, LAHA, SqrtHardware<PackF64>)
QLX_KERNEL(A_R, d, Sqrt, EP, SqrtF64EP)
