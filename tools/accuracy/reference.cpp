// One row a function: name, MPFR expression, sieve, intervals of ordinary results.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/reference.h"

#include <cmath>
#include <limits>

namespace qlx::tools {

namespace {

constexpr mpfr_rnd_t kNearest = MPFR_RNDN;

// A row from a generic expression, so that both sieves are one text. `Sieve` is a captureless lambda.
template <class Sieve>
Reference one(std::string_view name, void (*exact)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr), Sieve,
              std::vector<Interval> dense, double slack = 4) {
  return {name,
          1,
          Plan::kSweep,
          exact,
          +[](double a, double) -> double { return Sieve{}(a); },
          +[](long double a, long double) -> long double { return Sieve{}(a); },
          slack,
          std::move(dense)};
}

template <class Sieve>
Reference two(std::string_view name, Plan plan, void (*exact)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr), Sieve,
              double slack = 4) {
  return {name,
          2,
          plan,
          exact,
          +[](double a, double b) -> double { return Sieve{}(a, b); },
          +[](long double a, long double b) -> long double { return Sieve{}(a, b); },
          slack,
          {}};
}

// MPFR functions of one argument, in the form of a row.
template <int (*kFunction)(mpfr_ptr, mpfr_srcptr, mpfr_rnd_t)>
void mpfr_one(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr) {
  kFunction(r, a, kNearest);
}

// The exponent as a number; zero, infinities and NaN as C's logb has them.
void exact_logb(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr) {
  if (mpfr_regular_p(a)) {
    mpfr_set_si(r, mpfr_get_exp(a) - 1, kNearest);
  } else if (mpfr_zero_p(a)) {
    mpfr_set_inf(r, -1);
  } else {
    mpfr_abs(r, a, kNearest);
  }
}

void exact_inv_sqrt(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr) {
  mpfr_rec_sqrt(r, a, kNearest);
  // The signed infinity at -0, as 1 / sqrt(-0).
  if (mpfr_zero_p(a)) mpfr_set_inf(r, mpfr_signbit(a) ? -1 : 1);
}

void exact_inv_cbrt(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr) {
  mpfr_cbrt(r, a, kNearest);
  mpfr_ui_div(r, 1, r, kNearest);
}

// The square fits kExactBits, so the root alone rounds.
void exact_pow2o3(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr) {
  mpfr_sqr(r, a, kNearest);
  mpfr_cbrt(r, r, kNearest);
}

// So does the cube.
void exact_pow3o2(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr) {
  mpfr_pow_ui(r, a, 3, kNearest);
  mpfr_sqrt(r, r, kNearest);
}

void exact_hypot(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) {
  mpfr_hypot(r, a, b, kNearest);
}
void exact_pow(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) {
  mpfr_pow(r, a, b, kNearest);
}
void exact_powr(mpfr_ptr r, mpfr_srcptr a, mpfr_srcptr b) {
  if (mpfr_sgn(a) < 0 && !mpfr_zero_p(b)) {
    mpfr_set_nan(r);
  } else {
    mpfr_pow(r, a, b, kNearest);
  }
}

}  // namespace

const std::vector<Reference>& references() {
  using std::cbrt, std::sqrt;
  constexpr auto kPow = [](auto a, auto b) { return std::pow(a, b); };
  constexpr auto kPowr = [](auto a, auto b) {
    return a < 0 && b != 0 ? std::numeric_limits<decltype(a)>::quiet_NaN() : std::pow(a, b);
  };
  // The intervals are those of double; float arguments come from a sweep over bit patterns.
  static const std::vector<Reference> rows = {
      one("Exp", mpfr_one<mpfr_exp>, [](auto a) { return std::exp(a); }, {{-746, 710}, {-1, 1}}),
      one("Exp2", mpfr_one<mpfr_exp2>, [](auto a) { return std::exp2(a); }, {{-1076, 1025}, {-1, 1}}),
      one("Exp10", mpfr_one<mpfr_exp10>,
          [](auto a) {
            if constexpr (sizeof(a) == sizeof(double)) {
              return ::exp10(a);
            } else {
              return ::exp10l(a);
            }
          },
          {{-324, 309}, {-1, 1}}),
      one("Expm1", mpfr_one<mpfr_expm1>, [](auto a) { return std::expm1(a); }, {{-40, 710}, {-1, 1}}),
      one("Ln", mpfr_one<mpfr_log>, [](auto a) { return std::log(a); }, {{0, 8}, {0.96875, 1.03125}}),
      one("Log2", mpfr_one<mpfr_log2>, [](auto a) { return std::log2(a); }, {{0, 8}, {0.96875, 1.03125}}),
      one("Log10", mpfr_one<mpfr_log10>, [](auto a) { return std::log10(a); }, {{0, 8}, {0.96875, 1.03125}}),
      one("Log1p", mpfr_one<mpfr_log1p>, [](auto a) { return std::log1p(a); }, {{-1, 8}, {-0.03125, 0.03125}}),
      one("Logb", exact_logb, [](auto a) { return std::logb(a); }, {{0, 8}}),
      one("Sqrt", mpfr_one<mpfr_sqrt>, [](auto a) { return std::sqrt(a); }, {{0, 4}, {0.96875, 1.03125}}),
      one("InvSqrt", exact_inv_sqrt, [](auto a) { return 1 / std::sqrt(a); }, {{0, 4}, {0.96875, 1.03125}}),
      one("Cbrt", mpfr_one<mpfr_cbrt>, [](auto a) { return std::cbrt(a); }, {{-8, 8}, {0.96875, 1.03125}}),
      one(
          "InvCbrt", exact_inv_cbrt, [](auto a) { return 1 / std::cbrt(a); }, {{-8, 8}, {0.96875, 1.03125}}, 6),
      one(
          "Pow2o3", exact_pow2o3,
          [](auto a) {
            const auto c = std::cbrt(a);
            return c * c;
          },
          {{-8, 8}, {0.96875, 1.03125}}, 8),
      one("Pow3o2", exact_pow3o2, [](auto a) { return a * std::sqrt(a); }, {{0, 4}, {0.96875, 1.03125}}),
      two("Hypot", Plan::kHypot, exact_hypot, [](auto a, auto b) { return std::hypot(a, b); }),
      two("Pow", Plan::kPower, exact_pow, kPow),
      two("Powr", Plan::kPower, exact_powr, kPowr),
      two("Powx", Plan::kPower, exact_pow, kPow),
  };
  return rows;
}

const Reference* find_reference(std::string_view name) {
  for (const Reference& row : references())
    if (row.name == name) return &row;
  return nullptr;
}

bool is_exact_function(std::string_view name) {
  for (const char* exact : {"Abs",   "Add",       "Ceil",      "CopySign", "Div",        "Fdim",    "Floor",     "Fmax",
                            "Fmin",  "Fmod",      "Frac",      "Inv",      "LinearFrac", "MaxMag",  "MinMag",    "Modf",
                            "Mul",   "NearbyInt", "NextAfter", "PackI",    "PackM",      "PackV",   "Remainder", "Rint",
                            "Round", "Sqr",       "Sub",       "Trunc",    "UnpackI",    "UnpackM", "UnpackV"})
    if (name == exact) return true;
  return false;
}

}  // namespace qlx::tools
