// qlx_accuracy: measures the kernels of the functions named.
// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <cstdio>
#include <string>
#include <vector>

#include "accuracy/meter.h"

using namespace qlx::tools;

namespace {

void print_row(const KernelRow& row, const Reference& reference, int slot, const Measurement& m, bool csv) {
  const bool relative = slot == kEP;
  const Worst& worst = relative ? m.relative : m.ulp;
  const std::string argument = hex_arguments(reference, worst.a, worst.b);
  const char* format = csv ? "%s,%c,%s,%llu,%.4f,%.2f,%.4f,%.4f,%llu,%s,%a\n"
                           : "%-8s %c %s %11llu %12.4f %7.2f %9.4f %9.4f %8llu  %s -> %a\n";
  std::printf(format, row.name.c_str(), row.type, kSlotNames[slot], static_cast<unsigned long long>(m.count),
              m.ulp.error, m.relative_bits(), m.mean(), m.share_correct(),
              static_cast<unsigned long long>(m.wrong_kind), argument.c_str(), worst.result);
  if (m.wide_misses != 0)
    std::fprintf(stderr, "qlx_accuracy: %s: the sieve missed its slack %llu times\n", row.name.c_str(),
                 static_cast<unsigned long long>(m.wide_misses));
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{
      "Measures the error of kernels against exact values: in ULP, correctly rounded = 0.5 at most; the worst\n"
      "argument is that of the relative error for EP, of the error in ULP otherwise."};
  std::vector<std::string> functions;
  std::string type, accuracy;
  MeterOptions options;
  options.sample.directed = QLX_SOURCE_DIR "/tests/vecmath/hard";
  bool csv = false;
  app.add_option("FUNCTION", functions, "Functions, for example Exp; none: all of the catalogue that are measured");
  app.add_option("--type", type, "s or d; both when left out")->check(CLI::IsMember({"s", "d"}));
  app.add_option("--accuracy", accuracy, "la, ha or ep; all when left out")->check(CLI::IsMember({"la", "ha", "ep"}));
  app.add_flag("--exhaustive", options.sample.exhaustive, "Float functions of one argument: every bit pattern");
  app.add_option("--stride", options.sample.stride, "Else every stride-th, made odd")->capture_default_str();
  app.add_option("--samples", options.sample.samples, "Double, and pairs: arguments drawn")->capture_default_str();
  app.add_option("--seed", options.sample.seed, "Of the drawn arguments")->capture_default_str();
  app.add_option("--low", options.sample.low, "Least first argument");
  app.add_option("--high", options.sample.high, "Greatest first argument");
  app.add_option("--directed", options.sample.directed, "Folder of directed arguments, <FUNCTION>.txt");
  app.add_option("--threads", options.threads)->capture_default_str();
  app.add_flag("--csv", csv, "Comma-separated values");
  CLI11_PARSE(app, argc, argv);

  bool slots[3];
  for (int slot = 0; slot < 3; ++slot)
    slots[slot] = accuracy.empty() || (accuracy == "la" && slot == kLA) || (accuracy == "ha" && slot == kHA) ||
                  (accuracy == "ep" && slot == kEP);
  if (functions.empty())
    for (const Reference& reference : references()) functions.emplace_back(reference.name);

  std::puts(
      csv ? "function,type,accuracy,arguments,max_ulp,relative_bits,mean_ulp,share_correct,wrong_kind,worst,result"
          : "function t  a   arguments      max ulp rel bits mean ulp   correct    wrong  worst argument -> result");
  int status = 0;
  for (const std::string& name : functions) {
    const Reference* reference = find_reference(name);
    if (!reference) {
      std::fprintf(stderr, "qlx_accuracy: no reference for \"%s\"\n", name.c_str());
      return 2;
    }
    for (const char t : {'s', 'd'}) {
      if (!type.empty() && type[0] != t) continue;
      const KernelRow* row = find_kernel(name, t);
      if (!row) {
        std::fprintf(stderr, "qlx_accuracy: %c%s is not built\n", t, name.c_str());
        continue;
      }
      Measurement results[3];
      measure(*row, *reference, slots, options, results);
      for (int slot = 0; slot < 3; ++slot) {
        if (!slots[slot]) continue;
        print_row(*row, *reference, slot, results[slot], csv);
        if (results[slot].wide_misses != 0) status = 1;
      }
    }
  }
  return status;
}
