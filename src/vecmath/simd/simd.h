// The register layer of the processor generation that is built.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "vecmath/simd/avx.h"
#include "vecmath/simd/avx_estimate.h"
#include "vecmath/simd/avx_integer.h"
#include "vecmath/simd/avx_one_lane.h"
#include "vecmath/simd/avx_shifter.h"
