// Entries of generators that are on their way; each goes when its unit lands.
// SPDX-License-Identifier: Apache-2.0
#include "rng/qst_stream.h"

#define QLX_PENDING(NAME)                                                                                    \
  __attribute__((weak)) int32_t __qstBRng##NAME##InitStream(int32_t, QstStream*, int32_t, const uint32_t*) { \
    return QST_ERROR_BAD_BRNG;                                                                               \
  }                                                                                                          \
  __attribute__((weak)) int32_t __qstsBRng##NAME(QstStream*, int32_t, float*, float, float) {                \
    return QST_ERROR_BAD_BRNG;                                                                               \
  }                                                                                                          \
  __attribute__((weak)) int32_t __qstdBRng##NAME(QstStream*, int32_t, double*, double, double) {             \
    return QST_ERROR_BAD_BRNG;                                                                               \
  }                                                                                                          \
  __attribute__((weak)) int32_t __qstiBRng##NAME(QstStream*, int32_t, uint32_t*) {                           \
    return QST_ERROR_BAD_BRNG;                                                                               \
  }

QLX_PENDING(MCG31M1)
QLX_PENDING(R250)
QLX_PENDING(MRG32K3A)
QLX_PENDING(MCG59)
QLX_PENDING(WH)

__attribute__((weak)) int32_t __qstLeapfrogStream(QstStream*, int32_t, int32_t) {
  return QST_ERROR_LEAPFROG_UNSUPPORTED;
}
__attribute__((weak)) int32_t __qstSkipAheadStream(QstStream*, int64_t) {
  return QST_ERROR_SKIPAHEAD_UNSUPPORTED;
}
