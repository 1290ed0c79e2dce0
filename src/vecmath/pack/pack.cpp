// Pack and unpack, all four types; a complex element moves as one.
// SPDX-License-Identifier: Apache-2.0
#include "vecmath/pack/pack.h"

QLX_MOVES(s)
QLX_MOVES(d)
QLX_MOVES(c)
QLX_MOVES(z)
