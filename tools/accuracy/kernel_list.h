// Every kernel of the library as a row, made from the catalogue: what the meter, the digests and the data-driven tests
// loop over.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace qlx::tools {

enum class Shape { kAR, kARR, kABR, kAXR, kLinearFrac, kOther };

// The slots of a kernel table.
enum Slot { kLA = 0, kHA = 1, kEP = 2 };
constexpr const char* kSlotNames[] = {"LA", "HA", "EP"};

// A kernel with its signature taken off; call() puts it back.
using AnyKernel = void (*)();

struct KernelRow {
  std::string name;  // "Exp"
  char type;         // 's', 'd', 'c', 'z'
  Shape shape;
  AnyKernel unit[3];     // the kernel table, by slot
  AnyKernel strided[3];  // that of the strided form; null where there is none
  const char* equation;

  bool real() const { return type == 's' || type == 'd'; }
  // The first slot with the same kernel: slots that share a kernel are measured once.
  int first_slot(int slot) const;
};

// In the catalogue's order.
const std::vector<KernelRow>& kernel_list();

// Null when the library has no such kernel.
const KernelRow* find_kernel(std::string_view name, char type);

// Arrays of one call. `b` is the second argument, `s` the second result; kAXR reads b[0] alone. kLinearFrac runs with
// the factors scalea 2, shifta 1.5, scaleb 3, shiftb 1.5. Strides in elements.
template <class Real>
struct Arrays {
  const Real* a;
  const Real* b;
  Real* r;
  Real* s;
};
struct Strides {
  int32_t a, b, r, s;
};

template <class Real>
void call_unit(const KernelRow& row, int slot, int32_t n, const Arrays<Real>& x);
template <class Real>
void call_strided(const KernelRow& row, int slot, int32_t n, const Arrays<Real>& x, const Strides& inc);

}  // namespace qlx::tools
