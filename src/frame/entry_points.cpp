// Kernel tables, cost tables and entry points of every row of the catalogue.
// SPDX-License-Identifier: Apache-2.0
#include "frame/entry_points.h"

#include "frame/kernels.h"
#include "qlx/qvm.h"

extern "C" {

#define QLX_FUNCTION(Name, equation)
#define QLX_FN(t, Name, Shape, Sharing, la, ha, ep)    \
  QLX_RECORD(t, t##Name, , Shape, Sharing, la, ha, ep) \
  QLX_IF_STRIDED(Shape)(QLX_RECORD(t, t##Name##I, I, Shape, Sharing, la, ha, ep))
#include "frame/catalogue.def"
#undef QLX_FUNCTION
#undef QLX_FN

}  // extern "C"
