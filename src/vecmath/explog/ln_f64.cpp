// Natural logarithm, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/logarithm_f64.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, d, Ln, LA, LogF64LA<BaseE<double>>)
QLX_KERNEL(A_R, d, Ln, HA, LogF64HA<BaseE<double>>)
QLX_KERNEL(A_R, d, Ln, EP, LogF64EP<BaseE<double>>)
