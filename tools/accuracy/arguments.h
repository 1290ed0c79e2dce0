// Where arguments come from: sweeps over bit patterns, stratified samples, and the directed files.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "accuracy/kernel_list.h"
#include "accuracy/reference.h"

namespace qlx::tools {

// One line of a directed file: an argument or a pair, and how many neighbours on both sides of each go with it.
struct DirectedLine {
  char type;  // 's', 'd', or '*' for both
  double a, b;
  int neighbours;
};

struct SampleOptions {
  bool exhaustive = false;       // float functions of one argument: every bit pattern
  uint32_t stride = 127;         // else every stride-th, odd,
  uint32_t period_stride = 0;    // and from 1 to the function's period every period_stride-th, odd; 0: none
  uint64_t samples = 1'000'000;  // double, and pairs: drawn arguments before duplicates leave
  uint64_t seed = 1;
  double low = -std::numeric_limits<double>::infinity();  // interval of the first argument
  double high = std::numeric_limits<double>::infinity();
  std::string directed;            // folder of the directed files; empty: none
  std::vector<DirectedLine> also;  // more lines
};

// Arguments of a run, distinct, addressed by number so that threads can share the work. `b` is filled for functions of
// two arguments, whose pairs are ordered by b.
template <class Real>
class Arguments {
 public:
  Arguments(const Reference& reference, const SampleOptions& options);

  // Addresses to walk; some of them hold no argument.
  uint64_t size() const { return sweep_ + period_ + a_.size(); }

  // Puts the arguments of the addresses first to first + count - 1 into a and b; returns their number.
  int fill(uint64_t first, int count, Real* a, Real* b) const;

 private:
  // Beside a sweep, ends of reductions are drawn too, one for so many of `samples`.
  static constexpr uint64_t kSweepShare = 8;
  static constexpr Real kPeriodStart = 1;

  bool inside(Real a) const { return !(a < low_ || a > high_); }
  bool swept(Real a) const;

  uint64_t sweep_ = 0, period_ = 0;  // addresses of the sweeps; the drawn arguments follow
  uint64_t stride_ = 1, period_stride_ = 1;
  double low_, high_;
  std::vector<Real> a_, b_;
};

// Lines of a directed file are "[s:|d:] a [b] [~neighbours] [# reason]"; numbers as strtod reads them. Exits with a
// message on a bad line; an absent file is an empty one.
std::vector<DirectedLine> read_directed(const std::string& path, int arguments);

}  // namespace qlx::tools
