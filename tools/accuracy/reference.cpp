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
              std::vector<Interval> dense, std::vector<Ends> ends, double slack = 4, double period = 0) {
  return {name,
          1,
          Plan::kSweep,
          exact,
          +[](double a, double) -> double { return Sieve{}(a); },
          +[](long double a, long double) -> long double { return Sieve{}(a); },
          slack,
          std::move(dense),
          std::move(ends),
          name == "Log1p" ? -1.0 : 0.0,
          period};
}

template <class Sieve>
Reference two(std::string_view name, Plan plan, void (*exact)(mpfr_ptr, mpfr_srcptr, mpfr_srcptr), Sieve,
              std::vector<Ends> ends, double slack = 4) {
  return {name,
          2,
          plan,
          exact,
          +[](double a, double b) -> double { return Sieve{}(a, b); },
          +[](long double a, long double b) -> long double { return Sieve{}(a, b); },
          slack,
          {},
          std::move(ends)};
}

// ---- Ends of reductions. The counts are those of the kernels' tables, and a few more; exp2 has the unit 1. ----------

std::vector<Ends> exponential_ends(double unit) {
  std::vector<double> points;  // results at the ends of both formats and of their denormals
  for (const double exponent : {1024, 1022, 1074, 1075, 128, 126, 149, 150}) points.push_back(exponent * unit);
  return {{Ends::kMultiples, {1, 4, 32, 64, 128, 1024, 2048}, unit}, {Ends::kPoints, {}, 1, points}};
}
constexpr double kLn2 = 0x1.62e42fefa39efp-1, kLog2 = 0x1.34413509f79ffp-2;  // ln 2, log10 2
const std::vector<int> kLogarithmCounts = {64, 128, 256, 512, 1024};
// Double kernels that narrow their argument to float leave its range here; the roots of doubles end at kLargestRooted,
// start at 2^-1020 (2^-970 in HA); the other ends are those of the cube's root and of its fast path.
const Ends kNarrowing = {Ends::kPoints, {}, 1, {0x1p127, 0x1p128, 0x1p-126, 0x1p-127, 0x1p-149, 0x1p-150}};
const Ends kRooted = {Ends::kPoints,
                      {},
                      1,
                      {0x1.fffffffffffffp1021, 0x1p1022, 0x1p-1022, 0x1p-1020, 0x1p-970, 0x1p682, 0x1p-681, 0x1p-715,
                       0x1p-717, 0x1p683, 0x1p-600, 0x1p680}};
// Squares of hypotenuses: the fast paths' ends, and those of both formats.
const Ends kSquares = {Ends::kPoints,
                       {},
                       1,
                       {0x1p-900, 0x1p1021, 0x1p1023, 0x1p-1022, 0x1p128, 0x1p127, 0x1p-126, 0x1p-127, 0x1p-149,
                        0x1p-150, 0x1p-100, 0x1p-76}};

std::vector<Ends> logarithm_ends() {
  return {{Ends::kRows, kLogarithmCounts}, {Ends::kReciprocals, {256, 512}}, {Ends::kBesideOne, {}}, kNarrowing};
}
// Rows of the squared estimate, over all remainders of the exponent.
std::vector<Ends> root_ends() {
  return {{Ends::kRows, {64, 512, 1024}}, {Ends::kBesideOne, {}}, kNarrowing, kRooted};
}
std::vector<Ends> cube_root_ends() {
  return {{Ends::kRows, {16, 32, 64}}, {Ends::kBesideOne, {}}, kNarrowing};
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
      one(
          "Exp", mpfr_one<mpfr_exp>, [](auto a) { return std::exp(a); }, {{-746, 710}, {-1, 1}},
          exponential_ends(kLn2)),
      one(
          "Exp2", mpfr_one<mpfr_exp2>, [](auto a) { return std::exp2(a); }, {{-1076, 1025}, {-1, 1}},
          exponential_ends(1)),
      one(
          "Exp10", mpfr_one<mpfr_exp10>,
          [](auto a) {
            if constexpr (sizeof(a) == sizeof(double)) {
              return ::exp10(a);
            } else {
              return ::exp10l(a);
            }
          },
          {{-324, 309}, {-1, 1}}, exponential_ends(kLog2)),
      one(
          "Expm1", mpfr_one<mpfr_expm1>, [](auto a) { return std::expm1(a); }, {{-40, 710}, {-1, 1}},
          exponential_ends(kLn2)),
      one(
          "Ln", mpfr_one<mpfr_log>, [](auto a) { return std::log(a); }, {{0, 8}, {0.96875, 1.03125}}, logarithm_ends()),
      one(
          "Log2", mpfr_one<mpfr_log2>, [](auto a) { return std::log2(a); }, {{0, 8}, {0.96875, 1.03125}},
          logarithm_ends()),
      one(
          "Log10", mpfr_one<mpfr_log10>, [](auto a) { return std::log10(a); }, {{0, 8}, {0.96875, 1.03125}},
          logarithm_ends()),
      one(
          "Log1p", mpfr_one<mpfr_log1p>, [](auto a) { return std::log1p(a); }, {{-1, 8}, {-0.03125, 0.03125}},
          logarithm_ends()),
      one(
          "Logb", exact_logb, [](auto a) { return std::logb(a); }, {{0, 8}}, logarithm_ends()),
      one(
          "Sqrt", mpfr_one<mpfr_sqrt>, [](auto a) { return std::sqrt(a); }, {{0, 4}, {0.96875, 1.03125}}, root_ends(),
          4, 4),
      one(
          "InvSqrt", exact_inv_sqrt, [](auto a) { return 1 / std::sqrt(a); }, {{0, 4}, {0.96875, 1.03125}}, root_ends(),
          4, 4),
      one(
          "Cbrt", mpfr_one<mpfr_cbrt>, [](auto a) { return std::cbrt(a); }, {{-8, 8}, {0.96875, 1.03125}},
          cube_root_ends(), 4, 8),
      one(
          "InvCbrt", exact_inv_cbrt, [](auto a) { return 1 / std::cbrt(a); }, {{-8, 8}, {0.96875, 1.03125}},
          cube_root_ends(), 6, 8),
      one(
          "Pow2o3", exact_pow2o3,
          [](auto a) {
            const auto c = std::cbrt(a);
            return c * c;
          },
          {{-8, 8}, {0.96875, 1.03125}}, cube_root_ends(), 8, 8),
      one(
          "Pow3o2", exact_pow3o2, [](auto a) { return a * std::sqrt(a); }, {{0, 4}, {0.96875, 1.03125}}, root_ends(), 4,
          4),
      two("Hypot", Plan::kHypot, exact_hypot, [](auto a, auto b) { return std::hypot(a, b); }, {kSquares}),
      two("Pow", Plan::kPower, exact_pow, kPow, logarithm_ends()),
      two("Powr", Plan::kPower, exact_powr, kPowr, logarithm_ends()),
      two("Powx", Plan::kPower, exact_pow, kPow, logarithm_ends()),
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
