// The accuracy meter measured: its unit in the last place at the corners, and kernels whose error is known.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/meter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "accuracy/draw.h"
#include "accuracy/real.h"
#include "accuracy/sieve.h"
#include "vecmath/special_rows.h"

namespace {

using namespace qlx::tools;

constexpr double kInf = std::numeric_limits<double>::infinity();
const double kNaN = std::numeric_limits<double>::quiet_NaN();

struct UlpCase {
  const char* function;
  double a;
  double result;
  double ulp;
};

// Float results against exact values that are known in closed form.
TEST(Meter, ulp_follows_the_exact_value) {
  const UlpCase cases[] = {
      {"Sqrt", 4, 2, 0},
      {"Sqrt", 4, 2 + 0x1p-22, 1},
      // 2 lies at the lower end of its binade: a result below it is measured in 2's own unit.
      {"Sqrt", 4, 2 - 0x1p-23, 0.5},
      {"Exp2", -149, 0x1p-149, 0},
      {"Exp2", -150, 0x1p-149, 0.5},
      {"Exp2", -150, 0, 0.5},
      {"Exp2", -127, 0x1p-127 + 0x1p-149, 1},  // a denormal's unit is the least denormal
      {"Exp2", -1000, 0, 0x1p-851},
      {"Exp2", -1000, 0x1p-149, 1},
      {"Exp2", 127, 0x1p127, 0},
      // The greatest float is half of its own binade's units away from 2^128; an infinity is right.
      {"Exp2", 128, kInf, 0},
      {"Exp2", 128, 0x1.fffffep127, 1},
      {"Exp2", 129, 0x1.fffffep127, 0x1p24 + 1},
      {"Exp2", 100, kInf, kInf},
      {"Exp2", 128, -kInf, kInf},
      {"Sqrt", -1, kNaN, 0},
      {"Sqrt", -1, 0, kInf},
      {"Sqrt", 1, kNaN, kInf},
      {"Ln", 0, -kInf, 0},
      {"Ln", 0, kInf, kInf},
      {"Ln", 0, -1000, kInf},
      {"Ln", 1, 0x1p-149, 1},  // an exact zero counts in least denormals
      {"InvSqrt", -0.0, -kInf, 0},
      {"Logb", 0x1p-149, -149, 0},
  };
  for (const UlpCase& c : cases) {
    const ExactError e =
        exact_error(*find_reference(c.function), static_cast<float>(c.a), 0.0f, static_cast<float>(c.result));
    if (std::isfinite(c.ulp)) {
      EXPECT_NEAR(e.ulp, c.ulp, 1e-9) << c.function << " of " << c.a;
    } else {
      EXPECT_EQ(e.ulp, c.ulp) << c.function << " of " << c.a;
    }
  }
}

TEST(Meter, neighbours_cross_zero_and_stop_at_infinity) {
  EXPECT_EQ(neighbour(0x1p-149f, -2), -0x1p-149f);
  EXPECT_EQ(neighbour(-0x1p-149f, 1), 0.0f);
  EXPECT_EQ(neighbour(1.0, 1), 1 + 0x1p-52);
  EXPECT_EQ(neighbour(std::numeric_limits<float>::max(), 5), std::numeric_limits<float>::infinity());
}

template <class Real, class Function>
void map(int32_t n, const Real* a, Real* r, Function f) {
  for (int32_t i = 0; i < n; ++i) r[i] = f(a[i]);
}
// Rounded from a wider type: 0.5 ULP but for double rounding.
void exp_right(int32_t n, const float* a, float* r) {
  map(n, a, r, [](float x) { return static_cast<float>(std::exp(static_cast<double>(x))); });
}
// One place too high wherever the result is ordinary.
void exp_high(int32_t n, const float* a, float* r) {
  map(n, a, r, [](float x) { return neighbour(static_cast<float>(std::exp(static_cast<double>(x))), 1); });
}
// Wrong at one argument alone.
void exp_blot(int32_t n, const float* a, float* r) {
  map(n, a, r, [](float x) {
    return to_bits(x) == 4099u * 250'000 ? 1e9f : static_cast<float>(std::exp(static_cast<double>(x)));
  });
}

TEST(Meter, finds_what_is_wrong_with_a_kernel) {
  KernelRow row{"Exp", 's', Shape::kAR, {}, {}, ""};
  row.unit[kLA] = reinterpret_cast<AnyKernel>(exp_high);
  row.unit[kHA] = reinterpret_cast<AnyKernel>(exp_right);
  row.unit[kEP] = reinterpret_cast<AnyKernel>(exp_blot);
  MeterOptions options;
  options.sample.stride = 4099;
  options.sample.samples = 0;  // the sweep alone
  Measurement m[3];
  measure(row, *find_reference("Exp"), {true, true, true}, options, m);
  for (const Measurement& x : m) {
    EXPECT_EQ(x.count, 1047809u);
    EXPECT_EQ(x.sieve_misses, 0u);
  }
  EXPECT_NEAR(m[kHA].ulp.error, 0.5, 1e-3);
  EXPECT_GT(m[kHA].share_correct(), 0.999999);
  EXPECT_EQ(m[kHA].wrong_kind, 0u);
  // Just below a power of two the right result may be the power itself, and the next place is two lower units further.
  EXPECT_NEAR(m[kLA].ulp.error, 2.5, 1e-3);
  EXPECT_EQ(m[kEP].relative.a, static_cast<double>(from_bits<float>(4099u * 250'000)));
}

// Errors that rise toward one argument, by a unit whenever the distance halves.
constexpr double kSummit = 0x1.23456789abcdep3;
void exp_hill(int32_t n, const double* a, double* r) {
  map(n, a, r, [](double x) {
    const auto distance = static_cast<double>(std::abs(static_cast<int64_t>(to_bits(x) - to_bits(kSummit))));
    const double slope = 60 - std::log2(distance + 1);
    return neighbour(std::exp(x), slope > 0 ? static_cast<int64_t>(slope) : 0);
  });
}

TEST(Meter, search_climbs_to_the_worst_argument) {
  const AnyKernel kernel = reinterpret_cast<AnyKernel>(exp_hill);
  const KernelRow row{"Exp", 'd', Shape::kAR, {kernel, kernel, kernel}, {}, ""};
  MeterOptions options;
  options.sample.samples = 10'000;
  options.threads = 1;  // sums in one order
  Measurement m[3];
  measure(row, *find_reference("Exp"), {true, false, false}, options, m);
  EXPECT_LT(m[kLA].ulp.error, 40);  // the sample alone
  const Measurement sampled = m[kLA];
  options.refine = 64;
  measure(row, *find_reference("Exp"), {true, false, false}, options, m);
  EXPECT_EQ(m[kLA].ulp.a, kSummit);
  EXPECT_NEAR(m[kLA].ulp.error, 60, 1);
  EXPECT_EQ(m[kLA].count, sampled.count);
  EXPECT_EQ(m[kLA].mean(), sampled.mean());
}

// Every reference's sieve as a kernel, rounded from the wider type: off by little more than the rounding, and never by
// more than the slack that the meter trusts.
const Reference* sieved;
template <class Real>
Real round_sieve(Real a, Real b) {
  if constexpr (sizeof(Real) == 4) return static_cast<float>(sieved->sieve_f32(a, b));
  return static_cast<Real>(sieved->sieve_f64(a, b));
}
template <class Real>
void sieve_of_one(int32_t n, const Real* a, Real* r) {
  for (int32_t i = 0; i < n; ++i) r[i] = round_sieve(a[i], Real{0});
}
template <class Real>
void sieve_of_two(int32_t n, const Real* a, const Real* b, Real* r) {
  for (int32_t i = 0; i < n; ++i) r[i] = round_sieve(a[i], b[i]);
}

template <class Real>
void check_sieve(const Reference& reference) {
  sieved = &reference;
  const bool pairs = reference.arguments == 2;
  const AnyKernel kernel =
      pairs ? reinterpret_cast<AnyKernel>(sieve_of_two<Real>) : reinterpret_cast<AnyKernel>(sieve_of_one<Real>);
  const KernelRow row{std::string(reference.name),
                      Format<Real>::kType,
                      pairs ? Shape::kABR : Shape::kAR,
                      {kernel, kernel, kernel},
                      {},
                      ""};
  MeterOptions options;
  options.sample.stride = 20011;
  options.sample.samples = 100'000;
  options.sample.directed = QLX_SOURCE_DIR "/tests/vecmath/hard";
  Measurement m[3];
  measure(row, reference, {true, false, false}, options, m);
  EXPECT_GT(m[kLA].count, 50'000u) << reference.name;
  EXPECT_EQ(m[kLA].sieve_misses, 0u) << reference.name;
  EXPECT_EQ(m[kLA].wrong_kind, 0u) << reference.name << hex_arguments(reference, m[kLA].ulp.a, m[kLA].ulp.b);
  EXPECT_LT(m[kLA].ulp.error, 0.51) << reference.name << " " << hex_arguments(reference, m[kLA].ulp.a, m[kLA].ulp.b);
}

TEST(Meter, sieves_hold_their_slack) {
  for (const Reference& reference : references()) {
    if (reference.sieve_f32) check_sieve<float>(reference);
    if (reference.sieve_f64) check_sieve<double>(reference);
  }
}

// The same numbers with the sieve and by MPFR alone.
void expect_same(const Measurement& sieved_one, const Measurement& exact, double reach, const std::string& name) {
  EXPECT_EQ(sieved_one.count, exact.count) << name;
  EXPECT_EQ(sieved_one.ordinary, exact.ordinary) << name;
  EXPECT_EQ(sieved_one.correct, exact.correct) << name;
  EXPECT_EQ(sieved_one.wrong_kind, exact.wrong_kind) << name;
  EXPECT_NEAR(sieved_one.sum, exact.sum, reach * static_cast<double>(exact.count) + 1e-9 * exact.sum) << name;
  for (const Worst Measurement::*w : {&Measurement::ulp, &Measurement::relative}) {
    const Worst &x = sieved_one.*w, &y = exact.*w;
    if (exact.ulp.error <= 2 * reach) continue;  // below what a sieve sees
    EXPECT_EQ(x.error, y.error) << name;
    EXPECT_EQ(x.a, y.a) << name;
    EXPECT_EQ(x.b, y.b) << name;
  }
}

TEST(Meter, the_sieve_changes_no_measurement) {
  for (const Reference& reference : references())
    for (const char type : {'s', 'd'}) {
      const KernelRow* row = find_kernel(reference.name, type);
      if (!row) continue;
      MeterOptions options;
      options.sample.stride = 1'000'003;
      options.sample.samples = 2'000;
      const bool all[] = {true, true, true};
      Measurement sieved_ones[3], exact[3];
      measure(*row, reference, all, options, sieved_ones);
      options.sieveless = true;
      measure(*row, reference, all, options, exact);
      const double reach = type == 's' ? sieve_reach<float>(reference.slack) : sieve_reach<double>(reference.slack);
      for (int slot = 0; slot < 3; ++slot)
        expect_same(sieved_ones[slot], exact[slot], reach, type + row->name + " " + kSlotNames[slot]);
    }
}

// The ends of reductions are in the sample, from both sides and close by.
TEST(Meter, draws_lie_beside_the_ends_of_reductions) {
  struct Case {
    const char* function;
    double end, within;
  };
  for (const Case& c :
       {Case{"Exp", 0x1.62e42fefa39efp-2, 1e-9}, Case{"Log1p", 0x1p-11, 1e-9}, Case{"Ln", 1 + 0x1p-11, 1e-9},
        Case{"Cbrt", 65.0 / 64, 1e-9}, Case{"Sqrt", 0x1p128, 0x1p108}, Case{"Pow", 1 + 0x1p-11, 1e-9}}) {
    Random random(1);
    std::vector<double> a, b;
    draw(*find_reference(c.function), random, 1'000'000, a, b);
    const auto near = [&](double low, double high) {
      return std::count_if(a.begin(), a.end(), [&](double x) { return low < x && x < high; });
    };
    EXPECT_GT(near(c.end - c.within, c.end), 0) << c.function;
    EXPECT_GT(near(c.end, c.end + c.within), 0) << c.function;
  }
}

// A row's result is the exact one, rounded; a kind is that of the exact result.
template <class Real>
bool row_is_right(const qlx::tests::SpecialRow& row) {
  using Bits = typename Format<Real>::Bits;
  const Reference& reference = *find_reference(row.function);
  const Real a = from_bits<Real>(static_cast<Bits>(row.a)), b = from_bits<Real>(static_cast<Bits>(row.b));
  const auto wide = [&] {
    if constexpr (sizeof(Real) == 4) {
      return reference.sieve_f32(a, b);
    } else {
      return reference.sieve_f64(a, b);
    }
  }();
  const Real result = row.result.starts_with("0x")
                          ? from_bits<Real>(static_cast<Bits>(std::stoull(row.result, nullptr, 16)))
                          : static_cast<Real>(wide);
  return qlx::tests::matches(result, row.result) && exact_error(reference, a, b, result).ulp <= 0.501;
}

// The rows of special values against the exact functions: a slip in a row shows before its function is built.
TEST(Meter, special_rows_agree_with_the_exact_functions) {
  for (const qlx::tests::SpecialRow& row : qlx::tests::read_all_rows()) {
    if (!find_reference(row.function)) continue;
    EXPECT_TRUE(row.type == 's' ? row_is_right<float>(row) : row_is_right<double>(row))
        << row.where << " " << row.function << " " << std::hex << row.a << " " << row.b;
  }
}

}  // namespace
