// Recursive descent over the expression, with the functions as a table.
// SPDX-License-Identifier: Apache-2.0
#include "tables/expression.h"

#include <cctype>
#include <stdexcept>
#include <vector>

namespace qlx::tools {

namespace {

using Function1 = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t);
using Function2 = int (*)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr, mpfr_rnd_t);

struct NamedFunction {
  std::string_view name;
  Function1 one = nullptr;
  Function2 two = nullptr;
};

// To n significant bits, ties to even.
int keep_bits(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr n, mpfr_rnd_t) {
  mpfr_set(r, a, MPFR_RNDN);
  mpfr_prec_round(r, mpfr_get_si(n, MPFR_RNDN), MPFR_RNDN);
  return mpfr_prec_round(r, kTableBits, MPFR_RNDN);
}
// To a multiple of g.
int keep_grid(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr g, mpfr_rnd_t) {
  mpfr_div(r, a, g, MPFR_RNDN);
  mpfr_rint(r, r, MPFR_RNDN);
  return mpfr_mul(r, r, g, MPFR_RNDN);
}
int floor1(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t) {
  return mpfr_floor(r, a);
}
int less2(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b, mpfr_rnd_t) {
  return mpfr_set_si(r, mpfr_less_p(a, b), MPFR_RNDN);
}
int lgamma1(mpfr_ptr r, mpfr_srcptr a, mpfr_rnd_t rounding) {
  int sign;
  return mpfr_lgamma(r, &sign, a, rounding);
}

const NamedFunction kFunctions[] = {
    {"abs", mpfr_abs},
    {"acos", mpfr_acos},
    {"asin", mpfr_asin},
    {"atan", mpfr_atan},
    {"bits", nullptr, keep_bits},  // bits(x, n): x to n significant bits
    {"cbrt", mpfr_cbrt},
    {"cos", mpfr_cos},
    {"cosh", mpfr_cosh},
    {"erf", mpfr_erf},
    {"erfc", mpfr_erfc},
    {"exp", mpfr_exp},
    {"exp10", mpfr_exp10},
    {"exp2", mpfr_exp2},
    {"expm1", mpfr_expm1},
    {"floor", floor1},
    {"gamma", mpfr_gamma},
    {"grid", nullptr, keep_grid},  // grid(x, g): the multiple of g nearest to x
    {"less", nullptr, less2},      // less(x, y): 1 or 0
    {"lgamma", lgamma1},
    {"log", mpfr_log},
    {"log10", mpfr_log10},
    {"log1p", mpfr_log1p},
    {"log2", mpfr_log2},
    {"mod", nullptr, mpfr_fmod},
    {"rint", mpfr_rint},
    {"sin", mpfr_sin},
    {"sinh", mpfr_sinh},
    {"sqrt", mpfr_sqrt},
    {"tan", mpfr_tan},
    {"tanh", mpfr_tanh},
};

class Parser {
 public:
  Parser(std::string_view text, const Names& names) : text_(text), names_(names) {}

  Value all() {
    Value value = sum();
    if (at_ != text_.size()) fail("end expected");
    return value;
  }

 private:
  Value sum() {
    Value value = product();
    for (;;) {
      if (take('+')) {
        mpfr_add(value, value, product(), MPFR_RNDN);
      } else if (take('-')) {
        mpfr_sub(value, value, product(), MPFR_RNDN);
      } else {
        return value;
      }
    }
  }

  Value product() {
    Value value = factor();
    for (;;) {
      if (take('*')) {
        mpfr_mul(value, value, factor(), MPFR_RNDN);
      } else if (take('/')) {
        mpfr_div(value, value, factor(), MPFR_RNDN);
      } else {
        return value;
      }
    }
  }

  Value factor() {
    if (take('-')) {
      Value value = factor();
      mpfr_neg(value, value, MPFR_RNDN);
      return value;
    }
    Value value = primary();
    if (take('^')) mpfr_pow(value, value, factor(), MPFR_RNDN);
    return value;
  }

  Value primary() {
    if (take('(')) {
      Value value = sum();
      expect(')');
      return value;
    }
    const size_t start = at_;
    if (at_ < text_.size() && (std::isdigit(text_[at_]) || text_[at_] == '.')) return number();
    while (at_ < text_.size() && (std::isalnum(text_[at_]) || text_[at_] == '_')) ++at_;
    const std::string_view name = text_.substr(start, at_ - start);
    if (name.empty()) fail("value expected");
    if (take('(')) return call(name);
    skip();
    Value value;
    if (name == "pi") {
      mpfr_const_pi(value, MPFR_RNDN);
      return value;
    }
    const auto found = names_.find(name);
    if (found == names_.end()) fail("unknown name");
    return found->second;
  }

  Value number() {
    Value value;
    const std::string rest(text_.substr(at_));
    char* end;
    mpfr_strtofr(value, rest.c_str(), &end, 0, MPFR_RNDN);
    at_ += static_cast<size_t>(end - rest.c_str());
    skip();
    return value;
  }

  Value call(std::string_view name) {
    std::vector<Value> arguments;
    do arguments.push_back(sum());
    while (take(','));
    expect(')');
    for (const NamedFunction& f : kFunctions) {
      if (f.name != name) continue;
      Value value;
      if (f.one && arguments.size() == 1) {
        f.one(value, arguments[0], MPFR_RNDN);
      } else if (f.two && arguments.size() == 2) {
        f.two(value, arguments[0], arguments[1], MPFR_RNDN);
      } else {
        fail("wrong number of arguments");
      }
      return value;
    }
    fail("unknown function");
  }

  void skip() {
    while (at_ < text_.size() && text_[at_] == ' ') ++at_;
  }
  bool take(char c) {
    skip();
    if (at_ >= text_.size() || text_[at_] != c) return false;
    ++at_;
    skip();
    return true;
  }
  void expect(char c) {
    if (!take(c)) fail(std::string("'") + c + "' expected");
  }
  [[noreturn]] void fail(const std::string& what) const {
    throw std::invalid_argument(what + " at " + std::to_string(at_) + " of \"" + std::string(text_) + "\"");
  }

  std::string_view text_;
  const Names& names_;
  size_t at_ = 0;
};

}  // namespace

Value evaluate(std::string_view text, const Names& names) {
  return Parser(text, names).all();
}

}  // namespace qlx::tools
