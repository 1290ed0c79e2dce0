// Drawings by gnuplot.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_CLI_PLOT_H
#define QLX_CLI_PLOT_H

#include <string>
#include <vector>

namespace qlx::cli {

struct PlotSeries {
  std::string title;
  bool points;  // marks, or a line
  std::vector<double> x, y;
};

// Throws Error when the name of a drawing ends in neither .svg nor .png.
void check_plot_name(const std::string& file);

// Draws the series into `file`. Throws Error, and leaves the file as it was, when gnuplot is missing or fails.
void draw_plot(const std::string& file, const std::string& x_label, const std::vector<PlotSeries>& series);

}  // namespace qlx::cli

#endif
