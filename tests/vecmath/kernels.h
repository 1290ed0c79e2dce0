// Every kernel of the catalogue behind one call, for tests and benchmarks that run over all of them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "frame/shapes.h"
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

namespace detail {

template <class Real>
using Ar = void (*const*)(int32_t, const Real*, Real*);
template <class Real>
using ArI = void (*const*)(int32_t, const Real*, int32_t, Real*, int32_t);
template <class Real>
using Arr = void (*const*)(int32_t, const Real*, Real*, Real*);
template <class Real>
using ArrI = void (*const*)(int32_t, const Real*, int32_t, Real*, int32_t, Real*, int32_t);
template <class Real>
using Abr = void (*const*)(int32_t, const Real*, const Real*, Real*);
template <class Real>
using AbrI = void (*const*)(int32_t, const Real*, int32_t, const Real*, int32_t, Real*, int32_t);
template <class Real>
using Axr = void (*const*)(int32_t, const Real*, Real, Real*);
template <class Real>
using AxrI = void (*const*)(int32_t, const Real*, int32_t, Real, Real*, int32_t);
template <class Real>
using Fracr = void (*const*)(int32_t, const Real*, const Real*, Real, Real, Real, Real, Real*);
template <class Real>
using FracrI = void (*const*)(int32_t, const Real*, int32_t, const Real*, int32_t, Real, Real, Real, Real, Real*,
                              int32_t);

template <class Real>
constexpr Real kScalar = static_cast<Real>(1.5);

template <class Real>
Function<Real> make(Ar<Real> u, ArI<Real> i) {
  return {"",
          "",
          1,
          1,
          [u](int k, const Call<Real>& c) { u[k](c.n, c.a, c.r); },
          [i](int k, const Call<Real>& c) { i[k](c.n, c.a, c.inca, c.r, c.incr); },
          {},
          {}};
}
template <class Real>
Function<Real> make(Arr<Real> u, ArrI<Real> i) {
  return {"",
          "",
          1,
          2,
          [u](int k, const Call<Real>& c) { u[k](c.n, c.a, c.r, c.s); },
          [i](int k, const Call<Real>& c) { i[k](c.n, c.a, c.inca, c.r, c.incr, c.s, c.incs); },
          {},
          {}};
}
template <class Real>
Function<Real> make(Abr<Real> u, AbrI<Real> i) {
  return {"",
          "",
          2,
          1,
          [u](int k, const Call<Real>& c) { u[k](c.n, c.a, c.b, c.r); },
          [i](int k, const Call<Real>& c) { i[k](c.n, c.a, c.inca, c.b, c.incb, c.r, c.incr); },
          {},
          {}};
}
template <class Real>
Function<Real> make(Axr<Real> u, AxrI<Real> i) {
  constexpr Real x = kScalar<Real>;
  return {"",
          "",
          1,
          1,
          [u](int k, const Call<Real>& c) { u[k](c.n, c.a, x, c.r); },
          [i](int k, const Call<Real>& c) { i[k](c.n, c.a, c.inca, x, c.r, c.incr); },
          {},
          {}};
}
template <class Real>
Function<Real> make(Fracr<Real> u, FracrI<Real> i) {
  constexpr Real x = kScalar<Real>;
  return {"",
          "",
          2,
          1,
          [u](int k, const Call<Real>& c) { u[k](c.n, c.a, c.b, 2, x, 3, x, c.r); },
          [i](int k, const Call<Real>& c) { i[k](c.n, c.a, c.inca, c.b, c.incb, 2, x, 3, x, c.r, c.incr); },
          {},
          {}};
}

}  // namespace detail

// Adds the row whose tables these are if it is of type Real and has a strided form; the overloads tell.
template <class Real, class Unit, class Strided>
void add(std::vector<Function<Real>>& list, const char* name, const char* full_name, Unit unit, Strided strided) {
  if constexpr (requires { detail::make<Real>(unit, strided); }) {
    Function<Real> f = detail::make<Real>(unit, strided);
    f.name = name;
    f.full_name = full_name;
    for (int k = 0; k < 3; ++k) {
      f.unit_slots[k] = reinterpret_cast<const void*>(unit[k]);
      f.strided_slots[k] = reinterpret_cast<const void*>(strided[k]);
    }
    list.push_back(f);
  }
}

// All functions of the type with a strided form, in the catalogue's order.
template <class Real>
std::vector<Function<Real>> all_functions() {
  std::vector<Function<Real>> list;
#define QLX_FUNCTION(Name, equation)
#define QLX_FN(t, Name, Shape, Sharing, la, ha, ep) \
  QLX_IF_STRIDED_##Shape(                           \
      add<Real>(list, #Name, #t #Name, qlx_qvm_kernel_##t##Name##_ttab, qlx_qvm_kernel_##t##Name##I_ttab);)
#include "frame/catalogue.def"
#undef QLX_FN
#undef QLX_FUNCTION
  return list;
}

}  // namespace qlx::testing
