// Cell search over float data.
// SPDX-License-Identifier: Apache-2.0
#include "fitting/search.h"

QLX_DF_DEFINE_SEARCH(s, S, float)
