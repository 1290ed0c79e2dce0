// Splines of the library, fitted to columns of numbers.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_CLI_SPLINE_FIT_H
#define QLX_CLI_SPLINE_FIT_H

#include <cstdint>
#include <string>
#include <vector>

#include "qlx/df.h"

namespace qlx::cli {

// A boundary condition as the user writes it, "first:0:1.5", with the values it needs.
struct Boundary {
  int64_t code = DF_BC_NONE;
  std::vector<double> values;
};

// The kinds and boundary conditions by name, in the order of the help.
std::vector<std::string> spline_kinds();
std::vector<std::string> boundary_names();

// The finite numbers of "A:B:C". Throws Error, which names `where` they stand.
std::vector<double> colon_numbers(const std::string& where, const std::string& text);

class SplineFit {
 public:
  // Fits the columns of `y` on the ascending points `x`. `boundary` empty: the kind's own default. `slopes` are the
  // derivatives at all points for kind hermite, or empty. Throws Error.
  SplineFit(const std::string& kind, const std::string& boundary, std::vector<double> x,
            const std::vector<std::vector<double>>& y, const std::vector<double>& slopes);
  SplineFit(const SplineFit&) = delete;
  SplineFit& operator=(const SplineFit&) = delete;

  // results[(f * orders.size() + k) * sites.size() + i]
  std::vector<double> evaluate(const std::vector<double>& sites, const std::vector<int64_t>& orders) const;
  // results[f * from.size() + i]
  std::vector<double> integrate(const std::vector<double>& from, const std::vector<double>& to) const;

 private:
  std::string kind_;
  std::vector<double> x_, y_, internal_, coefficients_;
  Boundary boundary_;
  size_t functions_;
  // Ends with the members, so that a constructor that throws leaves no task behind.
  struct Task {
    DFTask* handle = nullptr;
    Task() = default;
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task() { qlx_df_kernel_DeleteTask(&handle); }
  } task_;
};

}  // namespace qlx::cli

#endif
