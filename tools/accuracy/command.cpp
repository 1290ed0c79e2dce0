// The command: options, what is printed, and its styles.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/command.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "accuracy/bounds.h"
#include "accuracy/meter.h"

namespace qlx::tools {

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

// What the options say.
struct Request {
  std::vector<std::string> functions;
  std::string type, accuracy;
  MeterOptions options;
  bool csv = false, propose = false, print = false;

  Style style() const {
    return csv ? Style::kCsv : propose ? Style::kPropose : print ? Style::kMarkdown : Style::kTable;
  }
};

// A function's name in any case.
const Reference& reference_of(const std::string& name) {
  const auto same = [](char x, char y) { return std::tolower(x) == std::tolower(y); };
  for (const Reference& row : references())
    if (std::equal(row.name.begin(), row.name.end(), name.begin(), name.end(), same)) return row;
  throw std::runtime_error("no exact values for a function '" + name + "'");
}

// The functions named, or all that are built, in the catalogue's order.
std::vector<const Reference*> functions_of(const Request& request) {
  std::vector<const Reference*> list;
  for (const std::string& name : request.functions) list.push_back(&reference_of(name));
  if (!list.empty()) return list;
  for (const KernelRow& row : kernel_list()) {
    const Reference* reference = find_reference(row.name);
    if (reference && std::find(list.begin(), list.end(), reference) == list.end()) list.push_back(reference);
  }
  return list;
}

int run(const Request& request, const std::string& command) {
  const std::vector<const Reference*> functions = functions_of(request);
  bool slots[3];
  for (int slot = 0; slot < 3; ++slot)
    slots[slot] = request.accuracy.empty() || (request.accuracy == "la" && slot == kLA) ||
                  (request.accuracy == "ha" && slot == kHA) || (request.accuracy == "ep" && slot == kEP);
  print_head(request.style(), command);
  int status = 0;
  for (const Reference* reference : functions) {
    const std::string name(reference->name);
    for (const char type : {'s', 'd'}) {
      if (!request.type.empty() && request.type[0] != type) continue;
      const KernelRow* row = find_kernel(name, type);
      if (!row) {
        std::fprintf(stderr, "%c%s is not built\n", type, name.c_str());
        continue;
      }
      Measurement results[3];
      measure(*row, *reference, slots, request.options, results);
      for (int slot = 0; slot < 3; ++slot) {
        if (!slots[slot]) continue;
        print_row(request.style(), *row, *reference, slot, request.options.sample, results[slot]);
        std::fflush(stdout);
        if (results[slot].sieve_misses == 0) continue;
        std::fprintf(stderr, "%c%s: the sieve missed its slack %llu times\n", type, name.c_str(),
                     static_cast<unsigned long long>(results[slot].sieve_misses));
        status = 1;
      }
    }
  }
  return status;
}

// The command as typed, from what was parsed.
std::string command_text(const CLI::App& app) {
  std::string text = "qlx accuracy";
  for (const CLI::Option* option : app.get_options()) {
    if (option->count() == 0) continue;
    if (!option->get_lnames().empty()) text += " --" + option->get_lnames()[0];
    if (option->get_expected_max() == 0) continue;  // a flag
    for (const std::string& value : option->results()) text += " " + value;
  }
  return text;
}

}  // namespace

std::function<int()> attach_accuracy(CLI::App& app) {
  const auto request = std::make_shared<Request>();
  SampleOptions& sample = request->options.sample;
  sample.directed = QLX_SOURCE_DIR "/tests/vecmath/hard";
  app.footer(
      "Errors are in ULP of the exact value's binade: a correctly rounded result is at most 0.5 away. The worst "
      "argument is that of the relative error for EP, of the error in ULP otherwise.");
  app.add_option("FUNCTION", request->functions, "Functions, such as Exp; none: all that are approximated");
  app.add_option("--type", request->type, "s or d; both when left out")->check(CLI::IsMember({"s", "d"}));
  app.add_option("--accuracy", request->accuracy, "la, ha or ep; all when left out")
      ->check(CLI::IsMember({"la", "ha", "ep"}));
  app.add_flag("--exhaustive", sample.exhaustive, "Float functions of one argument: every bit pattern");
  app.add_option("--stride", sample.stride, "Else every stride-th, made odd")->capture_default_str();
  app.add_option("--samples", sample.samples, "Double, and pairs: arguments drawn")->capture_default_str();
  app.add_option("--seed", sample.seed, "Of the drawn arguments")->capture_default_str();
  app.add_option("--low", sample.low, "Least first argument");
  app.add_option("--high", sample.high, "Greatest first argument");
  app.add_option("--directed", sample.directed, "Folder of directed arguments, <FUNCTION>.txt");
  request->options.refine = 512;
  app.add_option("--refine", request->options.refine, "Double, and pairs: rounds of search around the worst, at most")
      ->capture_default_str();
  app.add_option("--threads", request->options.threads, "Threads")->capture_default_str();
  CLI::Option* styles[] = {app.add_flag("--csv", request->csv, "Comma-separated values"),
                           app.add_flag("--propose", request->propose, "Rows for tests/vecmath/bounds.csv"),
                           app.add_flag("--print", request->print, "The page docs/accuracy.md")};
  for (CLI::Option* x : styles)
    for (CLI::Option* y : styles)
      if (x != y) x->excludes(y);
  return [request, &app] { return run(*request, command_text(app)); };
}

}  // namespace qlx::tools
