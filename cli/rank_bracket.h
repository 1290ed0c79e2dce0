// Exact order statistics of values that pass a second time, in memory for a few of them.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_CLI_RANK_BRACKET_H
#define QLX_CLI_RANK_BRACKET_H

#include <algorithm>
#include <cstdint>
#include <vector>

namespace qlx::cli {

// Values low <= high of the data, known from a first pass to enclose the wanted ranks. Only what lies strictly between
// is kept, since ties with the ends may be any number; the rest is counted.
class RankBracket {
 public:
  RankBracket(double low, double high) : low_(low), high_(high) {}

  void take(double x) {
    if (x > low_ && x < high_) {
      inside_.push_back(x);
    } else {
      below_ += x < low_;
      at_low_ += x == low_;
      at_high_ += x == high_ && high_ > low_;
    }
  }

  // Ends the pass.
  void finish() { std::sort(inside_.begin(), inside_.end()); }

  // Stores the element of a rank, counted from 0; false when the bracket does not hold it.
  bool find(int64_t rank, double* value) const {
    const int64_t inside = static_cast<int64_t>(inside_.size());
    int64_t place = rank - below_;
    if (place < 0 || place >= at_low_ + inside + at_high_) return false;
    place -= at_low_;
    *value = place < 0 ? low_ : place < inside ? inside_[static_cast<size_t>(place)] : high_;
    return true;
  }

 private:
  double low_, high_;
  int64_t below_ = 0, at_low_ = 0, at_high_ = 0;
  std::vector<double> inside_;
};

}  // namespace qlx::cli

#endif
