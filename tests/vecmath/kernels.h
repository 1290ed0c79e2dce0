// The functions of one type with a strided form, for tests and benchmarks that run over all of them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "accuracy/kernel_list.h"
#include "qlx/qvm.h"

namespace qlx::testing {

// The arrays of one call. b and s are used by functions of two arguments or results; strides by the strided form.
template <class Real>
struct Call {
  int32_t n;
  const Real* a;
  const Real* b;
  Real* r;
  Real* s;
  int32_t inca = 1, incb = 1, incr = 1, incs = 1;
};

template <class Real>
struct Function {
  const tools::KernelRow* row;
  std::string name;       // "Exp"
  std::string full_name;  // "sExp"
  int results;

  void unit(int slot, const Call<Real>& c) const { tools::call_unit<Real>(*row, slot, c.n, arrays(c)); }
  void strided(int slot, const Call<Real>& c) const {
    tools::call_strided<Real>(*row, slot, c.n, arrays(c), {c.inca, c.incb, c.incr, c.incs});
  }

 private:
  // A scalar argument is the same in every call, whatever part of b the call is about.
  tools::Arrays<Real> arrays(const Call<Real>& c) const {
    static constexpr Real kScalar = 1.5;
    return {c.a, row->shape == tools::Shape::kAXR ? &kScalar : c.b, c.r, c.s};
  }
};

// In the catalogue's order.
template <class Real>
std::vector<Function<Real>> all_functions() {
  std::vector<Function<Real>> list;
  for (const tools::KernelRow& row : tools::kernel_list()) {
    if (row.type != (sizeof(Real) == sizeof(float) ? 's' : 'd') || row.strided[0] == nullptr) continue;
    list.push_back({&row, row.name, row.type + row.name, row.shape == tools::Shape::kARR ? 2 : 1});
  }
  return list;
}

}  // namespace qlx::testing
