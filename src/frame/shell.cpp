// The walk of the lanes that a formula can't serve.
// SPDX-License-Identifier: Apache-2.0
#include "frame/shell.h"

#include <bit>

namespace qlx::shell {

template <class Real>
void walk(uint32_t bits, int32_t index, SavedPass<Real>& block, const Views<Real>& views, const Callout<Real>& callout,
          const char* name) {
  const bool two_results = callout.two_results != nullptr;
  for (; bits != 0; bits &= bits - 1) {
    const int k = std::countr_zero(bits);
    const int32_t i = index + k;
    Status status;
    if (callout.one != nullptr) {
      status = callout.one(&block.a[k], &block.r[k]);
    } else if (two_results) {
      status = callout.two_results(&block.a[k], &block.r[k], &block.s[k]);
    } else {
      status = callout.two_arguments(&block.a[k], &block.b[k], &block.r[k]);
    }
    if (status == kOk) continue;
    // The result stands in the array while it is reported, and what the report leaves there is the result.
    views.r[i] = block.r[k];
    if (two_results) views.s[i] = block.s[k];
    report(status, i, views.a, views.b, views.r, views.s, name);
    block.r[k] = views.r[i];
    if (two_results) block.s[k] = views.s[i];
  }
}

template void walk(uint32_t, int32_t, SavedPass<float>&, const Views<float>&, const Callout<float>&, const char*);
template void walk(uint32_t, int32_t, SavedPass<double>&, const Views<double>&, const Callout<double>&, const char*);

}  // namespace qlx::shell
