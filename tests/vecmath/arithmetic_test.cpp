// Rounding, arithmetic, comparison and remainder kernels against scalar definitions, bit for bit.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <random>
#include <type_traits>

#include "vecmath/kernels.h"

namespace qlx::testing {
namespace {

template <class Real>
using BitsOf = std::conditional_t<sizeof(Real) == 4, uint32_t, uint64_t>;
template <class Real>
constexpr int kMantissaBits = std::numeric_limits<Real>::digits - 1;

template <class Real>
bool same(Real x, Real y) {
  return std::bit_cast<BitsOf<Real>>(x) == std::bit_cast<BitsOf<Real>>(y) || (std::isnan(x) && std::isnan(y));
}
template <class Real>
Real with_sign(Real magnitude, Real sign) {
  return std::copysign(magnitude, sign);
}

// ---- Exact remainders: significands modulo significand, powers of two by repeated squaring -------------------------

template <class Real>
struct Parts {
  uint64_t m;
  int e;
};
template <class Real>
Parts<Real> parts(Real x) {
  int e;
  const Real f = std::frexp(std::fabs(x), &e);
  return {static_cast<uint64_t>(std::ldexp(f, std::numeric_limits<Real>::digits)),
          e - std::numeric_limits<Real>::digits};
}
uint64_t multiply_mod(uint64_t x, uint64_t y, uint64_t m) {  // m below 2^54
  uint64_t r = 0;
  for (x %= m; y != 0; y >>= 1, x = 2 * x % m) {
    if (y & 1) r = (r + x) % m;
  }
  return r;
}

// |a| = q |b| + r with q truncated: r, and q modulo 2, for finite |a| >= |b| > 0. Both come from |a| mod 2 |b|.
template <class Real>
std::pair<Real, bool> exact_remainder(Real a, Real b) {
  Parts<Real> pa = parts(a), pb = parts(b);
  const int low = std::min(pa.e, pb.e);
  // b's significand absorbs the difference where a's unit is the finer one; |a| >= |b| keeps it small.
  const uint64_t modulus = 2 * (pb.m << (pb.e - low));
  uint64_t power = 1, base = 2 % modulus;
  for (int k = pa.e - low; k != 0; k >>= 1, base = multiply_mod(base, base, modulus)) {
    if (k & 1) power = multiply_mod(power, base, modulus);
  }
  uint64_t r = multiply_mod(pa.m, power, modulus);
  const bool odd = r >= modulus / 2;
  if (odd) r -= modulus / 2;
  return {std::ldexp(static_cast<Real>(r), low), odd};
}

template <class Real>
Real reference_fmod(Real a, Real b) {
  if (std::isnan(a) || std::isnan(b) || std::isinf(a) || b == 0) return std::numeric_limits<Real>::quiet_NaN();
  if (std::isinf(b) || std::fabs(a) < std::fabs(b)) return a;
  return with_sign(exact_remainder(a, b).first, a);
}
template <class Real>
Real reference_remainder(Real a, Real b) {
  if (std::isnan(a) || std::isnan(b) || std::isinf(a) || b == 0) return std::numeric_limits<Real>::quiet_NaN();
  if (std::isinf(b)) return a;
  Real r = std::fabs(a);
  bool odd = false;
  const Real y = std::fabs(b);
  if (r >= y) std::tie(r, odd) = exact_remainder(a, b);
  // y - r is exact wherever r is at least y / 2; a smaller r is kept.
  if (r > y - r || (r == y - r && odd)) r = -(y - r);
  return std::signbit(a) ? -r : r;
}

// ---- References from the definitions ----------------------------------------------------------------------------

template <class Real>
Real integer_near(Real x, int (*choose)(Real fraction, bool odd)) {  // choose: 1 to go up from the truncation of |x|
  if (!(std::fabs(x) < std::ldexp(Real{1}, kMantissaBits<Real>))) return x;
  const auto whole = static_cast<int64_t>(std::fabs(x));
  const Real fraction = std::fabs(x) - static_cast<Real>(whole);
  return with_sign(static_cast<Real>(whole + choose(fraction, whole % 2 != 0)), x);
}
template <class Real>
int never(Real, bool) {
  return 0;
}
template <class Real>
int any_rest(Real fraction, bool) {
  return fraction > 0;
}
template <class Real>
int half_away(Real fraction, bool) {
  return fraction >= Real{0.5};
}
template <class Real>
int half_even(Real fraction, bool odd) {
  return fraction > Real{0.5} || (fraction == Real{0.5} && odd);
}

template <class Real>
Real next_after(Real a, Real b) {
  using Bits = BitsOf<Real>;
  if (std::isnan(a) || std::isnan(b)) return a + b;
  if (a == b) return b;
  if (a == 0) return with_sign(std::numeric_limits<Real>::denorm_min(), b);
  const auto bits = std::bit_cast<Bits>(a);
  return std::bit_cast<Real>((a < b) == (a > 0) ? bits + 1 : bits - 1);
}
template <class Real>
int status_of_step(Real a, Real b) {
  if (std::isnan(a) || std::isnan(b) || a == b) return 0;
  const Real r = next_after(a, b);
  if (std::isinf(r)) return qvm_status_overflow;
  return std::isnormal(r) ? 0 : qvm_status_underflow;
}

template <class Real>
struct Expected {
  Real r, s;
  int status;
};
template <class Real>
using Reference = Expected<Real> (*)(Real a, Real b);

template <class Real>
const std::map<std::string, Reference<Real>>& references() {
  using R = Real;
  static const std::map<std::string, Reference<Real>> table = {
      {"Ceil",
       [](R a, R) -> Expected<R> {
         return {integer_near<R>(a, std::signbit(a) ? never<R> : any_rest<R>), 0, 0};
       }},
      {"Floor",
       [](R a, R) -> Expected<R> {
         return {integer_near<R>(a, std::signbit(a) ? any_rest<R> : never<R>), 0, 0};
       }},
      {"Trunc",
       [](R a, R) -> Expected<R> {
         return {integer_near<R>(a, never<R>), 0, 0};
       }},
      {"Rint",
       [](R a, R) -> Expected<R> {
         return {integer_near<R>(a, half_even<R>), 0, 0};
       }},
      {"NearbyInt",
       [](R a, R) -> Expected<R> {
         return {integer_near<R>(a, half_even<R>), 0, 0};
       }},
      {"Round",
       [](R a, R) -> Expected<R> {
         return {integer_near<R>(a, half_away<R>), 0, 0};
       }},
      {"Frac",
       [](R a, R) -> Expected<R> {
         return {std::isinf(a) ? with_sign(R{0}, a) : with_sign(a - integer_near<R>(a, never<R>), a), 0, 0};
       }},
      {"Modf",
       [](R a, R) -> Expected<R> {
         if (std::isinf(a)) return {a, with_sign(R{0}, a), 0};
         return {integer_near<R>(a, never<R>), with_sign(a - integer_near<R>(a, never<R>), a), 0};
       }},
      {"Abs",
       [](R a, R) -> Expected<R> {
         return {std::fabs(a), 0, 0};
       }},
      {"Add",
       [](R a, R b) -> Expected<R> {
         return {a + b, 0, 0};
       }},
      {"Sub",
       [](R a, R b) -> Expected<R> {
         return {a - b, 0, 0};
       }},
      {"Mul",
       [](R a, R b) -> Expected<R> {
         return {a * b, 0, 0};
       }},
      {"Sqr",
       [](R a, R) -> Expected<R> {
         return {a * a, 0, 0};
       }},
      {"Div",
       [](R a, R b) -> Expected<R> {
         return {a / b, 0, b == 0 ? qvm_status_pole : 0};
       }},
      {"Inv",
       [](R a, R) -> Expected<R> {
         return {1 / a, 0, a == 0 ? qvm_status_pole : 0};
       }},
      {"CopySign",
       [](R a, R b) -> Expected<R> {
         return {std::copysign(a, b), 0, 0};
       }},
      {"LinearFrac",
       [](R a, R b) -> Expected<R> {
         return {(2 * a + R{1.5}) / (3 * b + R{1.5}), 0, 0};
       }},
      {"Fdim",
       [](R a, R b) -> Expected<R> {
         if (std::isnan(a) || std::isnan(b)) return {a + b, 0, 0};
         return {a > b ? a - b : 0, 0, 0};
       }},
      // Of two zeros, and of equal numbers, the second argument stays.
      {"Fmax",
       [](R a, R b) -> Expected<R> {
         return {std::isnan(b) || a > b ? a : b, 0, 0};
       }},
      {"Fmin",
       [](R a, R b) -> Expected<R> {
         return {std::isnan(b) || a < b ? a : b, 0, 0};
       }},
      {"MaxMag",
       [](R a, R b) -> Expected<R> {
         if (std::isnan(a) || std::isnan(b)) return {std::isnan(b) ? a : b, 0, 0};
         if (std::fabs(a) != std::fabs(b)) return {std::fabs(a) > std::fabs(b) ? a : b, 0, 0};
         return {a > b ? a : b, 0, 0};
       }},
      {"MinMag",
       [](R a, R b) -> Expected<R> {
         if (std::isnan(a) || std::isnan(b)) return {std::isnan(b) ? a : b, 0, 0};
         if (std::fabs(a) != std::fabs(b)) return {std::fabs(a) < std::fabs(b) ? a : b, 0, 0};
         return {a < b ? a : b, 0, 0};
       }},
      {"NextAfter",
       [](R a, R b) -> Expected<R> {
         return {next_after(a, b), 0, status_of_step(a, b)};
       }},
      {"Fmod",
       [](R a, R b) -> Expected<R> {
         const bool pole = !std::isnan(a) && !std::isnan(b) && (std::isinf(a) || b == 0);
         return {reference_fmod(a, b), 0, pole ? qvm_status_pole : 0};
       }},
      {"Remainder",
       [](R a, R b) -> Expected<R> {
         return {reference_remainder(a, b), 0, 0};
       }},
  };
  return table;
}

// ---- Arguments -----------------------------------------------------------------------------------------------------

// Every exponent with a few significands, halves and their neighbours, infinities, NaNs; both signs.
template <class Real>
std::vector<Real> arguments() {
  using Bits = BitsOf<Real>;
  constexpr int m = kMantissaBits<Real>;
  std::vector<Real> list;
  std::mt19937_64 random(1);
  for (Bits field = 0; field < Bits{1} << (8 * sizeof(Real) - 1 - m); ++field) {
    for (const Bits fraction :
         {Bits{0}, Bits{1}, (Bits{1} << m) - 1, Bits{1} << (m - 1), static_cast<Bits>(random() >> (64 - m))}) {
      list.push_back(std::bit_cast<Real>(field << m | fraction));
    }
  }
  for (const Real x :
       {0.5, 1.5, 2.5, 3.5, 1023.5, 4194303.5, 8388607.5, 0.3, 1.0, 2.0, 3.0, 7.0, 8388608.0, 16777215.0}) {
    for (const Real y : {x, std::nextafter(x, Real{0}), std::nextafter(x, 2 * x)}) list.push_back(y);
  }
  for (size_t i = 0, n = list.size(); i < n; ++i) list.push_back(-list[i]);
  return list;
}

// Pairs: every argument with a random other one, with near ones, with itself and its opposite, and with the specials.
template <class Real>
void pairs(std::vector<Real>& a, std::vector<Real>& b) {
  using Bits = BitsOf<Real>;
  const std::vector<Real> list = arguments<Real>();
  const Real inf = std::numeric_limits<Real>::infinity(), nan = std::numeric_limits<Real>::quiet_NaN();
  std::mt19937_64 random(2);
  const auto add = [&](Real x, Real y) {
    a.push_back(x);
    b.push_back(y);
  };
  for (const Real x : list) {
    add(x, list[random() % list.size()]);
    add(x, x);
    add(x, -x);
    const auto bits = std::bit_cast<Bits>(x);
    add(x, std::bit_cast<Real>(bits + 1));
    for (const int shift : {1, 10, 11, 12, 24, 26, 30}) {  // quotients around each bound of the fast paths
      const Real y = std::ldexp(static_cast<Real>(1 + (random() >> 11) * 0x1p-53), -shift);
      add(x, x * y);
      add(x, std::ldexp(x, -shift));
    }
    // Quotients just beside a tie: x = (k + 1/2) y with y exact, then one bit off.
    const Real y = std::ldexp(x, -5) / 3;
    for (const Real t : {y * Real{95.5}, y * Real{4.5}, y * Real{5}, y * Real{0.5}}) {
      add(t, y);
      add(std::bit_cast<Real>(std::bit_cast<Bits>(t) + 1), y);
      add(std::bit_cast<Real>(std::bit_cast<Bits>(t) - 1), y);
    }
  }
  for (const Real x : {Real{0}, -Real{0}, Real{1}, -Real{1}, inf, -inf, nan, std::numeric_limits<Real>::max(),
                       std::numeric_limits<Real>::denorm_min(), std::numeric_limits<Real>::min()}) {
    for (const Real y : {Real{0}, -Real{0}, Real{1}, -Real{1}, Real{2.5}, inf, -inf, nan,
                         std::numeric_limits<Real>::max(), std::numeric_limits<Real>::denorm_min()}) {
      add(x, y);
      add(y, x);
    }
  }
  while (a.size() % 32 != 7) add(5, 3);  // a tail
}

template <class Real>
class Arithmetic : public ::testing::Test {};
using Types = ::testing::Types<float, double>;
TYPED_TEST_SUITE(Arithmetic, Types);

std::vector<int32_t> statuses;

TYPED_TEST(Arithmetic, equals_the_definition_bit_for_bit) {
  using Real = TypeParam;
  std::vector<Real> a, b;
  pairs(a, b);
  const auto n = static_cast<int32_t>(a.size());
  std::vector<Real> a3(3 * a.size()), b2(2 * b.size());
  for (int32_t i = 0; i < n; ++i) {
    a3[3 * i] = a[i];
    b2[2 * (n - 1 - i)] = b[i];
  }
  size_t covered = 0;
  for (const Function<Real>& f : all_functions<Real>()) {
    const auto row = references<Real>().find(f.name);
    if (row == references<Real>().end()) continue;
    ++covered;
    for (const bool strided : {false, true}) {
      SCOPED_TRACE(f.full_name + (strided ? " strided" : ""));
      std::vector<Real> r(a.size()), s(a.size());
      statuses.assign(a.size(), 0);
      _qvmSetMode(0x1000);
      _qvmSetErrorCallBack([](QvmElementReport* report) {
        statuses[report->index] = report->code;
        return 1;
      });
      if (strided) {
        // Argument steps of 3 and -2, results backwards.
        f.strided(1, {n, a3.data(), b2.data() + 2 * (n - 1), r.data() + (n - 1), s.data() + (n - 1), 3, -2, -1, -1});
        std::reverse(r.begin(), r.end());
        std::reverse(s.begin(), s.end());
      } else {
        f.unit(1, {n, a.data(), b.data(), r.data(), s.data()});
      }
      _qvmSetErrorCallBack(nullptr);
      int failures = 0;
      for (int32_t i = 0; i < n && failures < 5; ++i) {
        const Expected<Real> e = row->second(a[i], b[i]);
        const bool good = same(r[i], e.r) && (f.results == 1 || same(s[i], e.s)) && statuses[i] == e.status;
        failures += !good;
        EXPECT_TRUE(good) << std::hexfloat << "a " << a[i] << " b " << b[i] << ": " << r[i] << " " << s[i] << " status "
                          << statuses[i] << ", expected " << e.r << " " << e.s << " status " << e.status;
      }
    }
  }
  EXPECT_EQ(covered, references<Real>().size());  // every reference met its kernel
}

// LinearFrac's other two loops, and its silence.
TYPED_TEST(Arithmetic, linear_frac_chooses_its_loop_by_the_factors) {
  using Real = TypeParam;
  const Real nan = std::numeric_limits<Real>::quiet_NaN();
  const auto run = [](Real a, Real b, Real sa, Real ha, Real sb, Real hb) {
    Real r[3], x[] = {a, a, a}, y[] = {b, b, b};
    if constexpr (sizeof(Real) == 4) {
      _qvmsLinearFrac(3, x, y, sa, ha, sb, hb, r);
    } else {
      _qvmdLinearFrac(3, x, y, sa, ha, sb, hb, r);
    }
    EXPECT_TRUE(same(r[0], r[2]));
    return r[1];
  };
  _qvmClearErrStatus();
  EXPECT_EQ(run(5, 7, 2, 1, 3, 1), Real{11} / 22);
  EXPECT_EQ(run(nan, 7, 0, 1, 3, 1), Real{1} / 22);  // a is not read
  int products_that_are_not_quotients = 0;           // b is not read, and one reciprocal is multiplied
  for (Real d = 3; d < 100; d += 2) {
    EXPECT_EQ(run(d - 1, nan, 1, 1, 0, d), d * (1 / d));
    products_that_are_not_quotients += d * (1 / d) != 1;
  }
  EXPECT_GT(products_that_are_not_quotients, 0);
  EXPECT_TRUE(std::isnan(run(5, 7, 2, 1, nan, 3)));
  EXPECT_TRUE(std::isinf(run(5, 7, 2, 1, 0, 0)));
  EXPECT_TRUE(std::isnan(run(0, 7, 2, 0, 0, 0)));
  EXPECT_EQ(_qvmGetErrStatus(), 0);
}

}  // namespace
}  // namespace qlx::testing
