// The declared bounds, tests/vecmath/bounds.csv, and how a measurement stands against them.
// SPDX-License-Identifier: Apache-2.0
//
// Rows are "function,type,accuracy,low,high,bound,measured,worst,note": on first arguments from low to high the error
// of the kernel stays within bound. LA and HA: in ULP. EP: as a relative error, written 2^-12.5. `measured` is the
// largest error ever measured, at the argument `worst`. The rows of a kernel together cover the whole line.
#pragma once

#include <string>
#include <vector>

#include "accuracy/meter.h"

namespace qlx::tools {

struct BoundRow {
  std::string function;
  char type;
  int slot;
  double low, high;
  double bound, measured;  // EP: the relative error itself
  std::string worst, note;
};

// Throws std::runtime_error with file and line.
std::vector<BoundRow> read_bounds(const std::string& path);

// The error that the slot's bound is about.
const Worst& bounded_error(const Measurement& m, int slot);

// "0.5123" or "2^-12.5": errors rounded up, so that the text is never below the error.
std::string error_text(double error, int slot);

// A row as measured, with a bound that leaves some room: what an author starts from.
std::string propose_row(const KernelRow& row, const Reference& reference, int slot, const SampleOptions& sample,
                        const Measurement& m);

}  // namespace qlx::tools
