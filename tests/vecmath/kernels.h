// Every kernel of the catalogue behind one call, for tests and benchmarks that run over all of them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
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

// A function for one type. LinearFrac runs with fixed factors, and Powx with the exponent 1.5.
template <class Real>
struct Function {
  std::string name;       // "Exp"
  std::string full_name;  // "sExp"
  int arguments, results;
  std::function<void(int slot, const Call<Real>&)> unit, strided;
  const void* unit_slots[3];
  const void* strided_slots[3];
};

// All functions of the type with a strided form, in the catalogue's order.
template <class Real>
std::vector<Function<Real>> all_functions() {
  static constexpr Real kScalar = static_cast<Real>(1.5);
  std::vector<Function<Real>> list;
  for (const tools::KernelRow& row : tools::kernel_list()) {
    if (row.type != (sizeof(Real) == 4 ? 's' : 'd') || row.shape == tools::Shape::kOther) continue;
    const bool scalar = row.shape == tools::Shape::kAXR;
    Function<Real> f{
        row.name,
        row.type + row.name,
        row.pair() && !scalar ? 2 : 1,
        row.shape == tools::Shape::kARR ? 2 : 1,
        [&row, scalar](int slot, const Call<Real>& c) {
          tools::call_unit<Real>(row, slot, c.n, {c.a, scalar ? &kScalar : c.b, c.r, c.s});
        },
        [&row, scalar](int slot, const Call<Real>& c) {
          tools::call_strided<Real>(row, slot, c.n, {c.a, scalar ? &kScalar : c.b, c.r, c.s},
                                    {c.inca, c.incb, c.incr, c.incs});
        },
        {},
        {},
    };
    for (int k = 0; k < 3; ++k) {
      f.unit_slots[k] = reinterpret_cast<const void*>(row.unit[k]);
      f.strided_slots[k] = reinterpret_cast<const void*>(row.strided[k]);
    }
    list.push_back(f);
  }
  return list;
}

}  // namespace qlx::testing
