// Expressions over named values, evaluated with MPFR: the rules of tables on a command line.
// SPDX-License-Identifier: Apache-2.0
//
//   sum     := product (("+" | "-") product)*
//   product := factor (("*" | "/") factor)*
//   factor  := "-" factor | primary ("^" factor)?
//   primary := number | name | name "(" sum ("," sum)* ")" | "(" sum ")"
//
// Numbers are as strtod reads them, hexadecimal ones included, decimal ones to the full working precision. `pi` is
// known.
#pragma once

#include <mpfr.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace qlx::tools {

constexpr int kTableBits = 400;  // working precision, far beyond any column's

// A value with an owner.
class Value {
 public:
  Value() : value_(new __mpfr_struct) { mpfr_init2(value_.get(), kTableBits); }
  ~Value() {
    if (value_) mpfr_clear(value_.get());
  }
  Value(Value&&) noexcept = default;
  Value& operator=(Value&&) noexcept = default;
  Value(const Value& other) : Value() { mpfr_set(*this, other, MPFR_RNDN); }
  Value& operator=(const Value& other) {
    mpfr_set(*this, other, MPFR_RNDN);
    return *this;
  }
  operator mpfr_ptr() { return value_.get(); }
  operator mpfr_srcptr() const { return value_.get(); }

 private:
  std::unique_ptr<__mpfr_struct> value_;
};

using Names = std::map<std::string, Value, std::less<>>;

// Throws std::invalid_argument with the place of the fault.
Value evaluate(std::string_view text, const Names& names);

}  // namespace qlx::tools
