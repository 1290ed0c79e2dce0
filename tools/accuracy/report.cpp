// Heads and rows of each style.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/report.h"

#include <cstdio>

#include "accuracy/bounds.h"

namespace qlx::tools {

namespace {

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

}  // namespace

std::string head_text(Style style, const std::string& command) {
  switch (style) {
    case Style::kTable:
      return "function t  a   arguments      max ulp rel bits mean ulp   correct    wrong  worst argument -> result\n";
    case Style::kCsv:
      return "function,type,accuracy,arguments,max_ulp,relative_bits,mean_ulp,share_correct,wrong_kind,worst,result\n";
    case Style::kMarkdown:
      break;
  }
  return "# Accuracy\n\nPrinted by `" + command + "`.\n\n" + kMarkdownHead + "\n";
}

std::string row_text(Style style, const KernelRow& row, const Reference& reference, int slot, const Measurement& m) {
  const Worst& worst = bounded_error(m, slot);
  const std::string argument = hex_arguments(reference, worst.a, worst.b);
  const auto count = static_cast<unsigned long long>(m.count), wrong = static_cast<unsigned long long>(m.wrong_kind);
  const char *name = row.name.c_str(), *accuracy = kSlotNames[slot];
  char text[512];
  if (style == Style::kMarkdown) {
    std::snprintf(text, sizeof text, "| %s | %s | %s | %llu | %.4g | %.2f | %.4f | %.4f | `%s` |\n", name,
                  row.type == 's' ? "float" : "double", accuracy, count, m.ulp.error, m.relative_bits(), m.mean(),
                  m.share_correct(), argument.c_str());
  } else {
    const char* format = style == Style::kCsv ? "%s,%c,%s,%llu,%.4f,%.2f,%.4f,%.4f,%llu,%s,%a\n"
                                              : "%-8s %c %s %11llu %12.4f %7.2f %9.4f %9.4f %8llu  %s -> %a\n";
    std::snprintf(text, sizeof text, format, name, row.type, accuracy, count, m.ulp.error, m.relative_bits(), m.mean(),
                  m.share_correct(), wrong, argument.c_str(), worst.result);
  }
  return text;
}

}  // namespace qlx::tools
