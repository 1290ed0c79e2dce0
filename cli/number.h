// Numbers as text: strict parsing, and the shortest text that reads back as the same value.
// SPDX-License-Identifier: Apache-2.0
#ifndef QLX_CLI_NUMBER_H
#define QLX_CLI_NUMBER_H

#include <string>
#include <string_view>

namespace qlx::cli {

enum class Parsed { kNumber, kNotANumber, kTooLarge };

// Parses the whole of `text` as a decimal number, correctly rounded to Real (float or double): optional sign, digits
// with an optional point and exponent, or "inf", "infinity", "nan" in any case. A magnitude that rounds to infinity is
// kTooLarge; one too small rounds to a denormal or zero as usual. The locale is not read.
template <typename Real>
Parsed parse_number(std::string_view text, Real* value);

// Appends the shortest decimal that parses back to the same bits; every NaN is "nan".
template <typename Real>
void append_number(std::string* out, Real value);

template <typename Real>
std::string number_text(Real value) {
  std::string out;
  append_number(&out, value);
  return out;
}

}  // namespace qlx::cli

#endif
