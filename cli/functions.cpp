// The table of elementwise functions, made from the library's catalogue.
// SPDX-License-Identifier: Apache-2.0
#include "functions.h"

#include <algorithm>

#include "error.h"
#include "qlx/qvm.h"
#include "text.h"

namespace qlx::cli {
namespace {

const Shape kShapes[] = {
    {1, 1, {}}, {1, 2, {}}, {2, 1, {}}, {1, 1, {"exponent"}}, {2, 1, {"scalea", "shifta", "scaleb", "shiftb"}},
};
static_assert(std::size(kShapes) == std::variant_size_v<Kernel<double>>);

// Adds the kernels of one row of the catalogue. Rows whose kernels have none of Kernel's types, that is pack, unpack
// and the complex types, find no use on columns of a file and are passed over.
template <typename KernelPointer>
void add(std::vector<Function>* list, const char* name, const char* equation, const KernelPointer* table) {
  const auto add_as = [&]<typename Real>(Real) {
    if constexpr (std::is_constructible_v<Kernel<Real>, KernelPointer>) {
      auto found = std::find_if(list->begin(), list->end(), [&](const Function& f) { return f.name == name; });
      if (found == list->end()) found = list->insert(found, Function{name, equation, nullptr, {}});
      const KernelTable<Real> kernels{table[0], table[1], table[2]};
      found->shape = &kShapes[kernels[0].index()];
      std::get<std::optional<KernelTable<Real>>>(found->tables) = kernels;
    }
  };
  add_as(double());
  add_as(float());
}

std::vector<Function> make_functions() {
  std::vector<Function> list;
  const char* equation = "";
#define QLX_FUNCTION(Name, text) equation = text;
#define QLX_FN(type, Name, shape, sharing, la, ha, ep) add(&list, #Name, equation, qlx_qvm_kernel_##type##Name##_ttab);
#include "frame/catalogue.def"
#undef QLX_FN
#undef QLX_FUNCTION
  std::sort(list.begin(), list.end(),
            [](const Function& x, const Function& y) { return lower_case(x.name) < lower_case(y.name); });
  return list;
}

template <typename... Visitors>
struct Overloaded : Visitors... {
  using Visitors::operator()...;
};
template <typename... Visitors>
Overloaded(Visitors...) -> Overloaded<Visitors...>;  // clang 14 does not deduce it by itself

}  // namespace

const std::vector<Function>& functions() {
  static const std::vector<Function> list = make_functions();
  return list;
}

const Function& find_function(std::string_view name) {
  const std::string lower = lower_case(name);
  std::vector<std::string> names;
  for (const Function& function : functions()) {
    names.push_back(lower_case(function.name));
    if (names.back() == lower) return function;
  }
  throw Error(unknown_name("function", name, names, "qlx math --list"));
}

template <typename Real>
void run_kernel(const Kernel<Real>& kernel, int32_t n, const Real* a, const Real* b,
                const std::vector<Real>& parameters, Real* r1, Real* r2) {
  const Real* const p = parameters.data();
  std::visit(Overloaded{
                 [&](void (*k)(int32_t, const Real*, Real*)) { k(n, a, r1); },
                 [&](void (*k)(int32_t, const Real*, Real*, Real*)) { k(n, a, r1, r2); },
                 [&](void (*k)(int32_t, const Real*, const Real*, Real*)) { k(n, a, b, r1); },
                 [&](void (*k)(int32_t, const Real*, Real, Real*)) { k(n, a, p[0], r1); },
                 [&](void (*k)(int32_t, const Real*, const Real*, Real, Real, Real, Real, Real*)) {
                   k(n, a, b, p[0], p[1], p[2], p[3], r1);
                 },
             },
             kernel);
}

template void run_kernel(const Kernel<float>&, int32_t, const float*, const float*, const std::vector<float>&, float*,
                         float*);
template void run_kernel(const Kernel<double>&, int32_t, const double*, const double*, const std::vector<double>&,
                         double*, double*);

}  // namespace qlx::cli
