// The elementwise functions of the library, looked up by name.
// SPDX-License-Identifier: Apache-2.0
//
// The list is the library's catalogue, and a function's shape is read off its kernel's type: a function that enters
// the catalogue with one of the shapes below is here too.
#ifndef QLX_CLI_FUNCTIONS_H
#define QLX_CLI_FUNCTIONS_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <variant>
#include <vector>

namespace qlx::cli {

// The shapes: r from a; r1 and r2 from a; r from a and b; r from a and one scalar; r from a, b and four scalars.
template <typename Real>
using Kernel = std::variant<
    void (*)(int32_t n, const Real* a, Real* r),             //
    void (*)(int32_t n, const Real* a, Real* r1, Real* r2),  //
    void (*)(int32_t n, const Real* a, const Real* b, Real* r), void (*)(int32_t n, const Real* a, Real b, Real* r),
    void (*)(int32_t n, const Real* a, const Real* b, Real scalea, Real shifta, Real scaleb, Real shiftb, Real* r)>;

template <typename Real>
using KernelTable = std::array<Kernel<Real>, 3>;  // slots LA, HA, EP

// What a shape takes and gives, by the index of its kernel in Kernel.
struct Shape {
  int arguments;                        // arrays: 1 or 2
  int results;                          // arrays: 1 or 2
  std::vector<std::string> parameters;  // scalars, in the kernel's order
};

struct Function {
  std::string name;      // as the catalogue has it, such as "SinCos"
  std::string equation;  // what it computes, such as "r = the least integer not below a"
  const Shape* shape;
  std::tuple<std::optional<KernelTable<double>>, std::optional<KernelTable<float>>> tables;

  // Its kernels of one type, if it has that type.
  template <typename Real>
  const std::optional<KernelTable<Real>>& table() const {
    return std::get<std::optional<KernelTable<Real>>>(tables);
  }
};

// All functions, by name.
const std::vector<Function>& functions();

// The function of that name, in whatever case. Throws Error with the closest names when there is none.
const Function& find_function(std::string_view name);

// Runs a kernel over n elements. `b` and `r2` are read where the shape has them; `parameters` holds one value for each
// of the shape's.
template <typename Real>
void run_kernel(const Kernel<Real>& kernel, int32_t n, const Real* a, const Real* b,
                const std::vector<Real>& parameters, Real* r1, Real* r2);

}  // namespace qlx::cli

#endif
