// Kinds and boundary conditions by name, and the library's calls in their order.
// SPDX-License-Identifier: Apache-2.0
#include "spline_fit.h"

#include <algorithm>
#include <cmath>

#include "error.h"
#include "number.h"
#include "qlx/core.h"
#include "text.h"

namespace qlx::cli {
namespace {

using Entry = int32_t (*)(DFTask*, int64_t, int64_t, const QlxThreadTable*);

struct Kind {
  const char* name;
  Entry entry;
  int64_t order, type;
  const char* boundary;  // when the user names none
  size_t least_points;
};

// A linear spline is kept in rows of four coefficients, which evaluation reads.
constexpr Kind kKinds[] = {
    {"natural", qlx_df_kernel_dDFNaturalCubicSpline1D, 4, 2, "free", 2},
    {"hermite", qlx_df_kernel_dDFHermiteCubicSpline1D, 4, 3, "not-a-knot", 3},
    {"bessel", qlx_df_kernel_dDFBesselCubicSpline1D, 4, 4, "not-a-knot", 4},
    {"hyman", qlx_df_kernel_dDFHymanCubicSpline1D, 4, 4, "not-a-knot", 4},
    {"akima", qlx_df_kernel_dDFAkimaCubicSpline1D, 4, 5, "none", 5},
    {"linear", qlx_df_kernel_dDFLinearSpline1D, 4, 0, "none", 2},
    {"quadratic", qlx_df_kernel_dDFQuadraticSpline1D, 3, 0, "middle", 2},
    {"default", qlx_df_kernel_dDFDefaultCubicSpline1D, 4, 0, "not-a-knot", 3},
};

struct BoundaryName {
  const char* name;
  int64_t code;
  size_t values;
};

constexpr BoundaryName kBoundaries[] = {
    {"free", DF_BC_FREE_END, 0},        {"not-a-knot", DF_BC_NOT_A_KNOT, 0},
    {"periodic", DF_BC_PERIODIC, 0},    {"none", DF_BC_NONE, 0},
    {"first", DF_BC_1ST_1ST, 2},        {"first-second", DF_BC_1ST_2ND, 2},
    {"second-first", DF_BC_2ND_1ST, 2}, {"second", DF_BC_2ND_2ND, 2},
    {"middle", DF_BC_MIDDLE_VALUE, 1},
};

template <typename Table>
std::vector<std::string> names_of(const Table& table) {
  std::vector<std::string> names;
  for (const auto& row : table) names.emplace_back(row.name);
  return names;
}

const Kind& find_kind(const std::string& name) {
  for (const Kind& kind : kKinds)
    if (name == kind.name) return kind;
  throw Error(unknown_name("kind", name, spline_kinds(), "qlx spline --help"));
}

Error not_finite(const std::string& where, const std::string& number) {
  return Error(where + ": '" + number + "' is not a finite number");
}

// "NAME" or "NAME:LEFT:RIGHT".
Boundary parse_boundary(const std::string& text) {
  const size_t colon = text.find(':');
  const std::string name = text.substr(0, colon);
  for (const BoundaryName& row : kBoundaries) {
    if (name != row.name) continue;
    Boundary boundary{row.code, {}};
    if (colon != std::string::npos) boundary.values = colon_numbers("--bc " + text, text.substr(colon + 1));
    // The quadratic spline's value may be left out: it is then taken from the data.
    const bool left_out = row.code == DF_BC_MIDDLE_VALUE && boundary.values.empty();
    if (boundary.values.size() != row.values && !left_out)
      throw Error("--bc " + name + " takes " + std::to_string(row.values) + (row.values == 1 ? " value" : " values") +
                  (row.values == 2   ? ", as in " + name + ":0:0"
                   : row.values == 1 ? ", as in " + name + ":0"
                                     : ""));
    return boundary;
  }
  throw Error(unknown_name("boundary condition", name, boundary_names(), "qlx spline --help"));
}

// The value in the middle of the first cell, on the parabola through the first three points.
double middle_value(const std::vector<double>& x, const std::vector<double>& y) {
  const double t = (x[0] + x[1]) / 2;
  const double first = (y[1] - y[0]) / (x[1] - x[0]);
  if (x.size() < 3) return y[0] + first * (t - x[0]);
  const double second = ((y[2] - y[1]) / (x[2] - x[1]) - first) / (x[2] - x[0]);
  return y[0] + (t - x[0]) * (first + (t - x[1]) * second);
}

void check(int32_t status, const std::string& kind) {
  if (status == DF_OK) return;
  const std::string why = status == DF_BAD_BOUNDARY_TYPE ? "it does not take this boundary condition"
                          : status == DF_NOT_PERIODIC    ? "the first and the last value differ"
                          : status == DF_NO_MEMORY       ? "out of memory"
                                                         : "status " + std::to_string(status);
  throw Error("spline " + kind + ": " + why);
}

}  // namespace

std::vector<std::string> spline_kinds() {
  return names_of(kKinds);
}
std::vector<std::string> boundary_names() {
  return names_of(kBoundaries);
}

std::vector<double> colon_numbers(const std::string& where, const std::string& text) {
  std::vector<double> numbers;
  for (size_t at = 0; at <= text.size();) {
    const size_t colon = std::min(text.find(':', at), text.size());
    const std::string part = text.substr(at, colon - at);
    double& value = numbers.emplace_back();
    if (parse_number(part, &value) != Parsed::kNumber || !std::isfinite(value)) throw not_finite(where, part);
    at = colon + 1;
  }
  return numbers;
}

SplineFit::SplineFit(const std::string& kind_name, const std::string& boundary, std::vector<double> x,
                     const std::vector<std::vector<double>>& y, const std::vector<double>& slopes)
    : kind_(kind_name), x_(std::move(x)), functions_(y.size()) {
  const Kind& kind = find_kind(kind_name);
  const size_t n = x_.size();
  if (!slopes.empty() && kind_ != "hermite") throw Error("--slope is for the kind hermite");
  boundary_ = parse_boundary(!boundary.empty() ? boundary : slopes.empty() ? kind.boundary : "first:0:0");
  if (!slopes.empty()) {
    if (boundary.empty()) boundary_.values = {slopes.front(), slopes.back()};
    internal_.assign(slopes.begin() + 1, slopes.end() - 1);
  }
  const size_t least = std::max(kind.least_points, size_t{boundary_.code == DF_BC_NOT_A_KNOT ? 3u : 2u});
  if (n < least)
    throw Error("spline " + kind_ + " needs at least " + std::to_string(least) + " points, not " + std::to_string(n));
  const bool lacks_ends = kind_ == "linear" && boundary_.code != DF_BC_NONE && boundary_.code != DF_BC_PERIODIC;
  const bool lacks_middle = kind.order != 3 && boundary_.code == DF_BC_MIDDLE_VALUE;
  if (lacks_ends || lacks_middle) check(DF_BAD_BOUNDARY_TYPE, kind_);
  if (kind.order == 3 && boundary_.values.empty()) {
    if (functions_ > 1 && boundary_.code == DF_BC_MIDDLE_VALUE)
      throw Error("spline quadratic: fit one --y at a time, or give --bc middle:VALUE for all");
    boundary_.values = {middle_value(x_, y[0])};
  }
  // Two spline types ask for values with the periodic condition, and read none.
  if (boundary_.code == DF_BC_PERIODIC) boundary_.values = {0, 0};
  for (const auto& column : y) y_.insert(y_.end(), column.begin(), column.end());
  coefficients_.resize(functions_ * (n - 1) * static_cast<size_t>(kind.order));

  const auto points = static_cast<int64_t>(n), count = static_cast<int64_t>(functions_);
  check(qlx_df_kernel_dNewTask1D(&task_.handle, points, x_.data(), DF_NON_UNIFORM, count, y_.data(), DF_ROWS, 1),
        kind_);
  check(qlx_df_kernel_dEditPPSpline1D(task_.handle, kind.order, kind.type, boundary_.code,
                                      boundary_.values.empty() ? nullptr : boundary_.values.data(),
                                      internal_.empty() ? DF_IC_NONE : DF_IC_1ST_DERIVATIVE,
                                      internal_.empty() ? nullptr : internal_.data(), coefficients_.data(), DF_ROWS),
        kind_);
  check(kind.entry(task_.handle, 0, 0, qlx_serv_thread_table()), kind_);
}

std::vector<double> SplineFit::evaluate(const std::vector<double>& sites, const std::vector<int64_t>& orders) const {
  std::vector<double> results(functions_ * orders.size() * sites.size());
  const int64_t hint = std::is_sorted(sites.begin(), sites.end()) ? DF_SORTED_SITES : 0;
  check(qlx_df_kernel_dDFInterpolate1D(task_.handle, 0, 0, static_cast<int64_t>(sites.size()), sites.data(), hint,
                                       nullptr, static_cast<int64_t>(orders.size()), orders.data(), results.data(),
                                       DF_ROWS, nullptr, nullptr, qlx_serv_thread_table()),
        kind_);
  return results;
}

std::vector<double> SplineFit::integrate(const std::vector<double>& from, const std::vector<double>& to) const {
  std::vector<double> results(functions_ * from.size());
  check(qlx_df_kernel_dDFIntegrate1D(task_.handle, 0, 0, static_cast<int64_t>(from.size()), from.data(), 0, to.data(),
                                     0, nullptr, results.data(), DF_ROWS, nullptr, qlx_serv_thread_table()),
        kind_);
  return results;
}

}  // namespace qlx::cli
