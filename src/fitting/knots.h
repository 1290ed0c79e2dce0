// Points or knots by number, whether each is given or only the ends are.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "fitting/df_task.h"

namespace qlx::fitting {

// Knot i of 0 to `cells`; kUniform: data holds the first and the last.
template <class Real, bool kUniform>
class Knots {
 public:
  Knots(const Real* data, int64_t cells)
      : data_(data), width_(kUniform ? (data[1] - data[0]) / static_cast<Real>(cells) : Real{0}) {}
  Real operator[](int64_t i) const { return kUniform ? data_[0] + static_cast<Real>(i) * width_ : data_[i]; }

 private:
  const Real* data_;
  Real width_;
};

inline bool has_uniform_knots(const DFTask& task) {
  return (task.internal_condition_type & (DF_IC_UNIFORM_KNOTS & ~DF_IC_KNOTS)) != 0;
}

}  // namespace qlx::fitting
