// Logarithm to the base 10, double.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/explog/logarithm_f64.h"

using namespace qlx::explog;

QLX_KERNEL(A_R, d, Log10, LA, LogF64LA<Base10<double>>)
QLX_KERNEL(A_R, d, Log10, HA, LogF64HA<Base10<double>>)
QLX_KERNEL(A_R, d, Log10, EP, LogF64EP<Base10<double>>)
