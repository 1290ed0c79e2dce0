// Measurements as text: a table, comma-separated values, and the page docs/accuracy.md.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "accuracy/meter.h"

namespace qlx::tools {

enum class Style { kTable, kCsv, kMarkdown };

// Ends with a newline. `command` is what made the page.
std::string head_text(Style style, const std::string& command);

std::string row_text(Style style, const KernelRow& row, const Reference& reference, int slot, const Measurement& m);

}  // namespace qlx::tools
