// Logarithm to the base 2, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/logarithm_f64.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, d, Log2, LA, LogF64LA<Base2<double>>)
QLX_KERNEL(A_R, d, Log2, HA, LogF64HA<Base2<double>>)
QLX_KERNEL(A_R, d, Log2, EP, LogF64EP<Base2<double>>)
