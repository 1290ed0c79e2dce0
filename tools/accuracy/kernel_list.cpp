// The rows of the kernel list, and calls through them.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/kernel_list.h"

#include "frame/shapes.h"
#include "qlx/qvm.h"

namespace qlx::tools {

namespace {

constexpr Shape shape_of(std::string_view shape) {
  if (shape == "A_R") return Shape::kAR;
  if (shape == "A_RR") return Shape::kARR;
  if (shape == "AB_R") return Shape::kABR;
  if (shape == "AX_R") return Shape::kAXR;
  if (shape == "LINEARFRAC") return Shape::kLinearFrac;
  return Shape::kOther;
}

template <class Table>
void fill(AnyKernel (&slots)[3], const Table& table) {
  for (int slot = 0; slot < 3; ++slot) slots[slot] = reinterpret_cast<AnyKernel>(table[slot]);
}

template <class Real>
using A_R = void (*)(int32_t, const Real*, Real*);
template <class Real>
using A_RR = void (*)(int32_t, const Real*, Real*, Real*);
template <class Real>
using AB_R = void (*)(int32_t, const Real*, const Real*, Real*);
template <class Real>
using AX_R = void (*)(int32_t, const Real*, Real, Real*);
template <class Real>
using A_R_I = void (*)(int32_t, const Real*, int32_t, Real*, int32_t);
template <class Real>
using A_RR_I = void (*)(int32_t, const Real*, int32_t, Real*, int32_t, Real*, int32_t);
template <class Real>
using AB_R_I = void (*)(int32_t, const Real*, int32_t, const Real*, int32_t, Real*, int32_t);
template <class Real>
using AX_R_I = void (*)(int32_t, const Real*, int32_t, Real, Real*, int32_t);

template <class Real>
using LinearFrac = void (*)(int32_t, const Real*, const Real*, Real, Real, Real, Real, Real*);
template <class Real>
using LinearFrac_I = void (*)(int32_t, const Real*, int32_t, const Real*, int32_t, Real, Real, Real, Real, Real*,
                              int32_t);
constexpr float kScaleA = 2, kShiftA = 1.5, kScaleB = 3, kShiftB = 1.5;

template <class Signature>
Signature as(AnyKernel kernel) {
  return reinterpret_cast<Signature>(kernel);
}

}  // namespace

int KernelRow::first_slot(int slot) const {
  int first = 0;
  while (unit[first] != unit[slot]) ++first;
  return first;
}

const std::vector<KernelRow>& kernel_list() {
  static const std::vector<KernelRow> rows = [] {
    std::vector<KernelRow> list;
    const char* text = nullptr;
    // The table of the strided form is named in the rows of shapes that have one alone.
#define QLX_FUNCTION(Name, equation) text = equation;
#define QLX_FN(t, Name, shape, Sharing, la, ha, ep)             \
  list.push_back({#Name, *#t, shape_of(#shape), {}, {}, text}); \
  fill(list.back().unit, qlx_qvm_kernel_##t##Name##_ttab);      \
  QLX_IF_STRIDED(shape)(fill(list.back().strided, qlx_qvm_kernel_##t##Name##I_ttab);)
#include "frame/catalogue.def"
#undef QLX_FUNCTION
#undef QLX_FN
    return list;
  }();
  return rows;
}

const KernelRow* find_kernel(std::string_view name, char type) {
  for (const KernelRow& row : kernel_list())
    if (row.name == name && row.type == type) return &row;
  return nullptr;
}

template <class Real>
void call_unit(const KernelRow& row, int slot, int32_t n, const Arrays<Real>& x) {
  const AnyKernel k = row.unit[slot];
  switch (row.shape) {
    case Shape::kAR:
      return as<A_R<Real>>(k)(n, x.a, x.r);
    case Shape::kARR:
      return as<A_RR<Real>>(k)(n, x.a, x.r, x.s);
    case Shape::kABR:
      return as<AB_R<Real>>(k)(n, x.a, x.b, x.r);
    case Shape::kAXR:
      return as<AX_R<Real>>(k)(n, x.a, x.b[0], x.r);
    case Shape::kLinearFrac:
      return as<LinearFrac<Real>>(k)(n, x.a, x.b, kScaleA, kShiftA, kScaleB, kShiftB, x.r);
    case Shape::kOther:
      return;
  }
}

template <class Real>
void call_strided(const KernelRow& row, int slot, int32_t n, const Arrays<Real>& x, const Strides& inc) {
  const AnyKernel k = row.strided[slot];
  switch (row.shape) {
    case Shape::kAR:
      return as<A_R_I<Real>>(k)(n, x.a, inc.a, x.r, inc.r);
    case Shape::kARR:
      return as<A_RR_I<Real>>(k)(n, x.a, inc.a, x.r, inc.r, x.s, inc.s);
    case Shape::kABR:
      return as<AB_R_I<Real>>(k)(n, x.a, inc.a, x.b, inc.b, x.r, inc.r);
    case Shape::kAXR:
      return as<AX_R_I<Real>>(k)(n, x.a, inc.a, x.b[0], x.r, inc.r);
    case Shape::kLinearFrac:
      return as<LinearFrac_I<Real>>(k)(n, x.a, inc.a, x.b, inc.b, kScaleA, kShiftA, kScaleB, kShiftB, x.r, inc.r);
    case Shape::kOther:
      return;
  }
}

template void call_unit(const KernelRow&, int, int32_t, const Arrays<float>&);
template void call_unit(const KernelRow&, int, int32_t, const Arrays<double>&);
template void call_strided(const KernelRow&, int, int32_t, const Arrays<float>&, const Strides&);
template void call_strided(const KernelRow&, int, int32_t, const Arrays<double>&, const Strides&);

}  // namespace qlx::tools
