// The walk of the lanes that a formula can't serve.
// SPDX-License-Identifier: Apache-2.0
#include "frame/shell.h"

#include <bit>

namespace qlx::shell {

template <class Real>
void walk(uint32_t bits, int32_t index, SavedPass<Real>& saved, const Care<Real>& care) {
  for (; bits != 0; bits &= bits - 1) {
    const int k = std::countr_zero(bits);
    const Status status = care.callout(saved, k);
    if (status != kOk) care.report(care.run, status, index + k, saved, k);
  }
}

template void walk(uint32_t, int32_t, SavedPass<float>&, const Care<float>&);
template void walk(uint32_t, int32_t, SavedPass<double>&, const Care<double>&);

}  // namespace qlx::shell
