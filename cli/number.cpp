// Numbers as text, over std::from_chars and std::to_chars.
// SPDX-License-Identifier: Apache-2.0
#include "number.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <system_error>

namespace qlx::cli {
namespace {

void parse_with_c_library(const char* text, double* value) {
  *value = std::strtod(text, nullptr);
}
void parse_with_c_library(const char* text, float* value) {
  *value = std::strtof(text, nullptr);
}

}  // namespace

template <typename Real>
Parsed parse_number(std::string_view text, Real* value) {
  const bool plus = text.starts_with('+');
  if (plus) text.remove_prefix(1);
  // from_chars takes a '-' by itself, so a sign after the '+' would slip through.
  if (plus && text.starts_with('-')) return Parsed::kNotANumber;

  Real result = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, result);
  if (error == std::errc::invalid_argument || stop != end) return Parsed::kNotANumber;
  if (error == std::errc::result_out_of_range) {
    // from_chars doesn't say which end of the range was left; the grammar is known to hold, so the C library may.
    parse_with_c_library(std::string(text).c_str(), &result);
    if (std::isinf(result)) return Parsed::kTooLarge;
  }
  *value = result;
  return Parsed::kNumber;
}

template <typename Real>
void append_number(std::string* out, Real value) {
  if (std::isnan(value)) {  // the sign of a NaN means nothing, and x86 makes negative ones
    *out += "nan";
    return;
  }
  char text[32];  // the longest double, "-2.2250738585072014e-308", has 24 characters
  const auto [end, error] = std::to_chars(text, text + sizeof text, value);
  out->append(text, end);
}

template Parsed parse_number(std::string_view, float*);
template Parsed parse_number(std::string_view, double*);
template void append_number(std::string*, float);
template void append_number(std::string*, double);

}  // namespace qlx::cli
