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

// A kernel's bound by rule, from the largest error measured: 5 % more in ULP, rounded up to 1/50, or 0.1 to 0.2 bits of
// EP's relative error; but 0.5 for what is correctly rounded, 0 for what is exact, and never beyond the promise that
// the error itself keeps.
double bound_for(double error, char type, int slot);

// What an accuracy means to a caller: below 1 ULP (HA), 4 ULP (LA), 2^-11 or 2^-26 relative (EP).
double promise(char type, int slot);

// The rows and the file's head, for reading by read_bounds.
void write_bounds(const std::string& path, const std::vector<BoundRow>& rows);

// The directed lines that measure a function's recorded worst arguments again, with some neighbours.
std::vector<DirectedLine> recorded_worst(const std::vector<BoundRow>& rows, const Reference& reference);

}  // namespace qlx::tools
