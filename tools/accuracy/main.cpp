// qlx_accuracy: measures the kernels of the functions named.
// SPDX-License-Identifier: Apache-2.0
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "accuracy/bounds.h"
#include "accuracy/meter.h"

using namespace qlx::tools;

namespace {

// How the measurements are printed.
enum class Style { kTable, kCsv, kPropose, kMarkdown };

const char* const kMarkdownHead =
    "An error is the distance from the result to the exact real, in units of the last place (ULP) of the binade\n"
    "that holds the exact value, so that a correctly rounded result is at most 0.5 away. Below the least normal\n"
    "number the unit is the least denormal. An infinite result counts as the next power of two beyond the\n"
    "greatest number, unless the exact value rounds to infinity. The relative error is taken to the exact value\n"
    "or the least normal number, whichever is greater, and is given in bits: 12.5 means 2^-12.5. Mean and share\n"
    "of correctly rounded results are over arguments with a finite result that is not 0. The worst argument is\n"
    "that of the relative error for EP, of the error in ULP for LA and HA. The bounds that the tests hold are in\n"
    "tests/vecmath/bounds.csv.\n\n"
    "| function | type | accuracy | arguments | max ULP | relative bits | mean ULP | correctly rounded | worst |\n"
    "|---|---|---|---:|---:|---:|---:|---:|---|";

void print_head(Style style, const std::string& command) {
  switch (style) {
    case Style::kTable:
      std::puts(
          "function t  a   arguments      max ulp rel bits mean ulp   correct    wrong  worst argument -> result");
      break;
    case Style::kCsv:
      std::puts(
          "function,type,accuracy,arguments,max_ulp,relative_bits,mean_ulp,share_correct,wrong_kind,worst,result");
      break;
    case Style::kPropose:
      break;
    case Style::kMarkdown:
      std::printf("# Accuracy\n\nPrinted by `%s`.\n\n%s\n", command.c_str(), kMarkdownHead);
      break;
  }
}

void print_row(Style style, const KernelRow& row, const Reference& reference, int slot, const SampleOptions& sample,
               const Measurement& m) {
  if (style == Style::kPropose) {
    std::puts(propose_row(row, reference, slot, sample, m).c_str());
    return;
  }
  const Worst& worst = bounded_error(m, slot);
  const std::string argument = hex_arguments(reference, worst.a, worst.b);
  const auto count = static_cast<unsigned long long>(m.count), wrong = static_cast<unsigned long long>(m.wrong_kind);
  const char *name = row.name.c_str(), *accuracy = kSlotNames[slot];
  if (style == Style::kMarkdown) {
    std::printf("| %s | %s | %s | %llu | %.4g | %.2f | %.4f | %.4f | `%s` |\n", name,
                row.type == 's' ? "float" : "double", accuracy, count, m.ulp.error, m.relative_bits(), m.mean(),
                m.share_correct(), argument.c_str());
    return;
  }
  const char* format = style == Style::kCsv ? "%s,%c,%s,%llu,%.4f,%.2f,%.4f,%.4f,%llu,%s,%a\n"
                                            : "%-8s %c %s %11llu %12.4f %7.2f %9.4f %9.4f %8llu  %s -> %a\n";
  std::printf(format, name, row.type, accuracy, count, m.ulp.error, m.relative_bits(), m.mean(), m.share_correct(),
              wrong, argument.c_str(), worst.result);
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
  bool csv = false, propose = false, print = false;
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
  CLI::Option* styles[] = {app.add_flag("--csv", csv, "Comma-separated values"),
                           app.add_flag("--propose", propose, "Rows for tests/vecmath/bounds.csv"),
                           app.add_flag("--print", print, "The page docs/accuracy.md")};
  for (CLI::Option* x : styles)
    for (CLI::Option* y : styles)
      if (x != y) x->excludes(y);
  CLI11_PARSE(app, argc, argv);

  bool slots[3];
  for (int slot = 0; slot < 3; ++slot)
    slots[slot] = accuracy.empty() || (accuracy == "la" && slot == kLA) || (accuracy == "ha" && slot == kHA) ||
                  (accuracy == "ep" && slot == kEP);
  // All that are built, in the catalogue's order.
  if (functions.empty())
    for (const KernelRow& row : kernel_list())
      if (find_reference(row.name) && std::find(functions.begin(), functions.end(), row.name) == functions.end())
        functions.push_back(row.name);

  const Style style = csv ? Style::kCsv : propose ? Style::kPropose : print ? Style::kMarkdown : Style::kTable;
  std::string command = "qlx_accuracy";
  for (int k = 1; k < argc; ++k) command += std::string(" ") + argv[k];
  print_head(style, command);
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
        print_row(style, *row, *reference, slot, options.sample, results[slot]);
        std::fflush(stdout);
        if (results[slot].sieve_misses == 0) continue;
        std::fprintf(stderr, "qlx_accuracy: %s: the sieve missed its slack %llu times\n", name.c_str(),
                     static_cast<unsigned long long>(results[slot].sieve_misses));
        status = 1;
      }
    }
  }
  return status;
}
