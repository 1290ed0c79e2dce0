// The table of distributions.
// SPDX-License-Identifier: Apache-2.0
#include "distributions.h"

#include <cmath>

namespace qlx::cli {
namespace {

std::string nothing(const std::vector<double>&) {
  return "";
}

std::string increasing(const std::vector<double>& values) {
  return values[0] < values[1] ? "" : "--a must be below --b";
}

// Integers that an int32 argument holds, in order.
std::string increasing_integers(const std::vector<double>& values) {
  for (const double value : values)
    if (!(std::floor(value) == value && value >= INT32_MIN && value <= INT32_MAX))
      return "--a and --b must be integers of 32 bits";
  return increasing(values);
}

template <typename T>
T* numbers(const Draw& d) {
  return static_cast<T*>(d.r);
}

}  // namespace

const std::vector<Distribution>& distributions() {
  static const std::vector<Distribution> table = {
      {"uniform",
       {{"a", "0"}, {"b", "1"}},
       increasing,
       {[](const Draw& d) {
          return _qstdRngUniform(d.method, d.stream, d.n, numbers<double>(d), d.parameters[0], d.parameters[1]);
        },
        Number::kDouble},
       {[](const Draw& d) {
          return _qstsRngUniform(d.method, d.stream, d.n, numbers<float>(d), static_cast<float>(d.parameters[0]),
                                 static_cast<float>(d.parameters[1]));
        },
        Number::kFloat},
       {},
       "real numbers from a to b"},
      {"integers",
       {{"a", "0"}, {"b", ""}},
       increasing_integers,
       {},
       {},
       {[](const Draw& d) {
          return _qstiRngUniform(d.method, d.stream, d.n, numbers<int32_t>(d), static_cast<int32_t>(d.parameters[0]),
                                 static_cast<int32_t>(d.parameters[1]));
        },
        Number::kInt32},
       "integers from a to b - 1"},
      {kRawWords,
       {},
       nothing,
       {},
       {},
       {[](const Draw& d) { return _qstiRngUniformBits(d.method, d.stream, d.n, numbers<uint32_t>(d)); },
        Number::kUint32},
       "the generator's own words, as wide as it makes them"},
      {"bits32",
       {},
       nothing,
       {},
       {},
       {[](const Draw& d) { return _qstiRngUniformBits32(d.method, d.stream, d.n, numbers<uint32_t>(d)); },
        Number::kUint32},
       "32 uniform bits"},
      {"bits64",
       {},
       nothing,
       {},
       {},
       {[](const Draw& d) { return _qstiRngUniformBits64(d.method, d.stream, d.n, numbers<uint64_t>(d)); },
        Number::kUint64},
       "64 uniform bits"},
  };
  return table;
}

}  // namespace qlx::cli
