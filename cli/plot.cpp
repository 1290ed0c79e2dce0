// Drawings by gnuplot, which gets data and commands through a pipe.
// SPDX-License-Identifier: Apache-2.0
#include "plot.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>

#include "error.h"
#include "number.h"
#include "text.h"

namespace qlx::cli {
namespace {

bool ends_with(const std::string& text, const std::string& end) {
  return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// A string of gnuplot's, in single quotes, where only the quote itself is special. Line ends would end the command.
std::string quoted(const std::string& text) {
  std::string result = "'";
  for (const char c : one_line(text)) {
    result += c;
    if (c == '\'') result += c;
  }
  return result + "'";
}

}  // namespace

void check_plot_name(const std::string& file) {
  if (!ends_with(file, ".svg") && !ends_with(file, ".png"))
    throw Error("--plot: '" + file + "' ends in neither .svg nor .png");
}

void draw_plot(const std::string& file, const std::string& x_label, const std::vector<PlotSeries>& series) {
  std::string script = ends_with(file, ".svg") ? "set terminal svg size 800,500 background 'white'\n"
                                               : "set terminal png size 800,500\n";
  // Drawn beside the file and then moved there, so that a failure leaves what was before.
  const std::string part = file + ".part";
  script += "set output " + quoted(part) + "\nset key top left noenhanced\nset grid\n";
  script += "set xlabel " + quoted(x_label) + " noenhanced\n";
  std::string plots;
  for (size_t k = 0; k < series.size(); ++k) {
    const std::string name = "$series" + std::to_string(k);
    script += name + " << EOD\n";
    for (size_t i = 0; i < series[k].x.size(); ++i) {
      script += number_text(series[k].x[i]) + " " + number_text(series[k].y[i]) + "\n";
    }
    script += "EOD\n";
    plots += (plots.empty() ? "plot " : ", ") + name + " using 1:2 title " + quoted(series[k].title) +
             (series[k].points ? " with points pointtype 7 pointsize 0.6" : " with lines linewidth 2");
  }
  script += plots + "\n";

  // gnuplot draws on its standard output what it can't write elsewhere.
  std::FILE* writable = std::fopen(part.c_str(), "w");
  if (writable == nullptr) throw Error("--plot: " + file + ": cannot write: " + std::strerror(errno));
  std::fclose(writable);
  // A gnuplot that isn't there must not kill this process while it writes.
  std::signal(SIGPIPE, SIG_IGN);
  std::FILE* pipe = popen("gnuplot >/dev/null 2>&1", "w");
  int status = -1;
  if (pipe != nullptr) {
    std::fwrite(script.data(), 1, script.size(), pipe);
    status = pclose(pipe);
  }
  if (status == 0 && std::rename(part.c_str(), file.c_str()) == 0) return;
  const int reason = errno;
  std::remove(part.c_str());
  constexpr int kNotFound = 127 << 8;  // the shell's exit status
  if (status == 0) throw Error("--plot: " + file + ": cannot write: " + std::strerror(reason));
  throw Error(status == kNotFound ? "--plot: gnuplot is not installed" : "--plot: gnuplot failed on " + file);
}

}  // namespace qlx::cli
