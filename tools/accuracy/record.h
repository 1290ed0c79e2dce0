// The record of what was measured: tests/vecmath/bounds.csv and docs/accuracy.md.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "accuracy/bounds.h"

namespace qlx::tools {

// Rows of kernels measured stand in for their old ones, others stay.
class Record {
 public:
  // Throws std::runtime_error when a file is there and can't be read.
  Record(std::string bounds_path, std::string page_path);

  // The intervals of first arguments that a kernel's rows declare; the whole line when it has none.
  std::vector<Interval> intervals(const KernelRow& kernel) const;

  // Recorded worst arguments: what was once found is measured again.
  std::vector<DirectedLine> worst(const Reference& reference) const;

  void take(const KernelRow& kernel, const Reference& reference, const bool (&slots)[3], const Interval& interval,
            const Measurement (&results)[3]);

  // A row of the page, as report.h has it.
  void take_page_row(const std::string& row);

  void write(const std::string& page_head) const;

 private:
  std::string bounds_path_, page_path_;
  std::vector<BoundRow> bounds_;
  std::vector<std::string> page_;
};

}  // namespace qlx::tools
