// qlx spline: splines through columns of a CSV file, evaluated, integrated and drawn.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <numeric>
#include <string>
#include <vector>

#include "csv.h"
#include "csv_arguments.h"
#include "error.h"
#include "number.h"
#include "output.h"
#include "plot.h"
#include "spline_fit.h"
#include "subcommand.h"
#include "text.h"

namespace qlx::cli {
namespace {

constexpr size_t kBlockRows = 1 << 14;
constexpr size_t kCurvePoints = 500;  // of a drawn curve

struct Arguments {
  CsvArguments csv;
  std::string x = "1";
  std::vector<std::string> y;
  std::string slope;
  std::string kind = "natural";
  std::string boundary;
  std::string at, grid;
  std::vector<int64_t> derivatives;
  std::vector<std::string> integrals;
  std::string plot;
};

// "A:B" or "A:B:N" as numbers.
std::vector<double> parse_parts(const std::string& option, const std::string& text, size_t count) {
  std::vector<double> parts = colon_numbers(option + " " + text, text);
  if (parts.size() != count)
    throw Error(option + " takes " + (count == 3 ? "FROM:TO:NUMBER" : "FROM:TO") + ", not '" + text + "'");
  return parts;
}

// The columns of the file, by ascending x.
struct Table {
  std::string x_name;
  std::vector<std::string> y_names;
  std::vector<double> x, slopes;
  std::vector<std::vector<double>> y;
};

Table read_table(const Arguments& arguments) {
  CsvReader reader = arguments.csv.open();
  std::vector<size_t> columns{reader.column(arguments.x)};
  if (!arguments.y.empty()) {
    for (const size_t k : reader.columns(arguments.y)) columns.push_back(k);
  } else {
    if (reader.names().size() != 2) throw Error("--y is required: the file has not just two columns");
    columns.push_back(1 - columns[0]);
  }
  const size_t functions = columns.size() - 1;
  if (!arguments.slope.empty()) {
    if (functions > 1) throw Error("--slope goes with one --y");
    columns.push_back(reader.column(arguments.slope));
  }
  std::vector<std::vector<double>> values(columns.size());
  std::vector<int64_t> lines;
  NumericBlock<double> block;
  while (reader.next_block(columns, kBlockRows, false, &block)) {
    for (size_t k = 0; k < columns.size(); ++k) {
      for (size_t i = 0; i < block.rows(); ++i) {
        if (!std::isfinite(block.columns[k][i]))
          throw Error(reader.file(), block.lines[i], "a spline takes finite numbers only");
      }
      values[k].insert(values[k].end(), block.columns[k].begin(), block.columns[k].end());
    }
    lines.insert(lines.end(), block.lines.begin(), block.lines.end());
  }
  // Rows may come in any order; equal points have no spline.
  std::vector<size_t> order(lines.size());
  std::iota(order.begin(), order.end(), size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return values[0][a] < values[0][b]; });
  for (size_t i = 1; i < order.size(); ++i) {
    if (values[0][order[i]] == values[0][order[i - 1]])
      throw Error(reader.file(), lines[order[i]],
                  "point " + number_text(values[0][order[i]]) + " stands on line " +
                      std::to_string(lines[order[i - 1]]) + " too");
  }
  Table table;
  const auto sorted = [&](size_t column) {
    std::vector<double> result;
    result.reserve(order.size());
    for (const size_t i : order) result.push_back(values[column][i]);
    return result;
  };
  table.x_name = reader.names()[columns[0]];
  table.x = sorted(0);
  for (size_t k = 1; k <= functions; ++k) {
    table.y_names.push_back(reader.names()[columns[k]]);
    table.y.push_back(sorted(k));
  }
  if (!arguments.slope.empty()) table.slopes = sorted(columns.size() - 1);
  return table;
}

std::vector<double> read_sites(const Arguments& arguments) {
  std::vector<double> sites;
  if (!arguments.grid.empty()) {
    const std::vector<double> parts = parse_parts("--grid", arguments.grid, 3);
    constexpr double kMost = 1e9;
    if (!(parts[2] >= 1 && parts[2] <= kMost) || parts[2] != std::floor(parts[2]))
      throw Error("--grid " + arguments.grid + ": the number of sites is whole, from 1 to 1e9");
    const auto count = static_cast<size_t>(parts[2]);
    sites.reserve(count);
    for (size_t i = 0; i < count; ++i) {
      // Both ends exactly.
      const double share = count == 1 ? 0 : static_cast<double>(i) / static_cast<double>(count - 1);
      sites.push_back(i + 1 == count && count > 1 ? parts[1] : parts[0] + share * (parts[1] - parts[0]));
    }
  }
  if (!arguments.at.empty()) {
    CsvReader reader(arguments.at, arguments.csv.options());
    NumericBlock<double> block;
    while (reader.next_block({0}, kBlockRows, false, &block))
      sites.insert(sites.end(), block.columns[0].begin(), block.columns[0].end());
  }
  return sites;
}

// "natural(y)", "natural(y).d1"
std::string label(const Arguments& arguments, const std::string& name, int64_t derivative) {
  return arguments.kind + "(" + name + ")" + (derivative == 0 ? "" : ".d" + std::to_string(derivative));
}

void print_values(const Arguments& arguments, const Table& table, const SplineFit& fit,
                  const std::vector<double>& sites, Output* out) {
  const std::vector<int64_t> orders = arguments.derivatives.empty() ? std::vector<int64_t>{0} : arguments.derivatives;
  const std::vector<double> values = fit.evaluate(sites, orders);
  std::string row;
  append_csv_field(&row, table.x_name);
  for (const std::string& name : table.y_names) {
    for (const int64_t order : orders) {
      row += ',';
      append_csv_field(&row, label(arguments, name, order));
    }
  }
  *out << row << "\n";
  for (size_t i = 0; i < sites.size(); ++i) {
    row.clear();
    append_number(&row, sites[i]);
    for (size_t k = 0; k < table.y.size() * orders.size(); ++k) {
      row += ',';
      append_number(&row, values[k * sites.size() + i]);
    }
    *out << row << "\n";
  }
}

void print_integrals(const Arguments& arguments, const Table& table, const SplineFit& fit, Output* out) {
  std::vector<double> from, to;
  for (const std::string& text : arguments.integrals) {
    const std::vector<double> limits = parse_parts("--integrate", text, 2);
    from.push_back(limits[0]);
    to.push_back(limits[1]);
  }
  const std::vector<double> values = fit.integrate(from, to);
  std::string row = "from,to";
  for (const std::string& name : table.y_names) {
    row += ',';
    append_csv_field(&row, "integral(" + label(arguments, name, 0) + ")");
  }
  *out << row << "\n";
  for (size_t i = 0; i < from.size(); ++i) {
    row.clear();
    append_number(&row, from[i]);
    row += ',';
    append_number(&row, to[i]);
    for (size_t f = 0; f < table.y.size(); ++f) {
      row += ',';
      append_number(&row, values[f * from.size() + i]);
    }
    *out << row << "\n";
  }
}

void draw(const Arguments& arguments, const Table& table, const SplineFit& fit) {
  std::vector<double> sites;
  sites.reserve(kCurvePoints);
  const double low = table.x.front(), high = table.x.back();
  for (size_t i = 0; i < kCurvePoints; ++i)
    sites.push_back(low + (high - low) * static_cast<double>(i) / (kCurvePoints - 1));
  const std::vector<double> values = fit.evaluate(sites, {0});
  std::vector<PlotSeries> series;
  for (size_t f = 0; f < table.y.size(); ++f) {
    const auto start = values.begin() + static_cast<ptrdiff_t>(f * sites.size());
    series.push_back({label(arguments, table.y_names[f], 0), false, sites,
                      std::vector<double>(start, start + static_cast<ptrdiff_t>(sites.size()))});
    series.push_back({table.y_names[f], true, table.x, table.y[f]});
  }
  draw_plot(arguments.plot, table.x_name, series);
}

int run(const Arguments& arguments) {
  const bool evaluates = !arguments.at.empty() || !arguments.grid.empty();
  if (!evaluates && arguments.integrals.empty() && arguments.plot.empty())
    throw Error("give --grid or --at for values, --integrate or --plot");
  if (!evaluates && !arguments.derivatives.empty()) throw Error("--derivative needs --grid or --at");
  if (!arguments.plot.empty()) check_plot_name(arguments.plot);
  const Table table = read_table(arguments);
  const std::vector<double> sites = read_sites(arguments);
  const SplineFit fit(arguments.kind, arguments.boundary, table.x, table.y, table.slopes);
  Output out;
  if (evaluates) print_values(arguments, table, fit, sites, &out);
  if (evaluates && !arguments.integrals.empty()) out << "\n";
  if (!arguments.integrals.empty()) print_integrals(arguments, table, fit, &out);
  if (!arguments.plot.empty()) draw(arguments, table, fit);
  out.send(stdout);
  return kExitOk;
}

}  // namespace

Run attach_spline(CLI::App& command) {
  auto arguments = std::make_shared<Arguments>();
  arguments->csv.attach_file(command);
  command.add_option("-x,--x", arguments->x, "Column of the points")->type_name("NAME|N")->capture_default_str();
  command.add_option("-y,--y", arguments->y, "Column of values; repeat it for more. Default: the other one of two")
      ->type_name("NAME|N")
      ->allow_extra_args(false);
  one_of(command.add_option("-k,--kind", arguments->kind, "Kind of spline"), spline_kinds())->capture_default_str();
  command
      .add_option("-b,--bc", arguments->boundary,
                  "Boundary condition: " + join(boundary_names(), ", ") + "; with values as in first:0:1.5")
      ->type_name("NAME[:LEFT:RIGHT]");
  command.add_option("--slope", arguments->slope, "Column of first derivatives, for hermite")->type_name("NAME|N");
  CLI::Option* grid = command.add_option("-g,--grid", arguments->grid, "Equally spaced sites, both ends included")
                          ->type_name("FROM:TO:NUMBER");
  command.add_option("--at", arguments->at, "Sites: the first column of this CSV file")
      ->type_name("SITES.csv")
      ->excludes(grid);
  command
      .add_option("-d,--derivative", arguments->derivatives,
                  "Derivative to print, 0 for the value; repeat it for more. Default: the value")
      ->type_name("ORDER")
      ->check(CLI::Range(0, 1000).description(""))
      ->allow_extra_args(false);
  command.add_option("-i,--integrate", arguments->integrals, "Print the integral; repeat it for more")
      ->type_name("FROM:TO")
      ->allow_extra_args(false);
  command.add_option("-p,--plot", arguments->plot, "Draw data and curve, with gnuplot")->type_name("FILE.svg|png");
  command.footer(
      "Rows may stand in any order. Without --bc: free for natural, Akima's own ending for akima, the parabola "
      "through\n"
      "three points for quadratic, not-a-knot for the other cubic kinds. hermite without --slope takes the slope\n"
      "between a point's neighbours; default is the spline with two continuous derivatives. Sites outside the data\n"
      "lie on the end polynomials. Values come first, then a blank line and the integrals.\n\n"
      "  qlx spline --grid 595:1075:25 data/titanium.csv\n"
      "  qlx spline --kind akima --x x --y y --grid 0:15:61 -d 0 -d 1 --plot akima.svg data/akima1970.csv\n"
      "  qlx spline --kind hyman --integrate 600:1000 data/titanium.csv");
  return [arguments] { return run(*arguments); };
}

}  // namespace qlx::cli
