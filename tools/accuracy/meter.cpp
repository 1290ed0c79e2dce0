// Sieve, exact comparison, and the threads that share a measurement.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/meter.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <thread>
#include <vector>

#include "accuracy/random.h"
#include "accuracy/real.h"
#include "qlx/qvm.h"

namespace qlx::tools {

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr int kChunk = 4096;

class Big {
 public:
  Big() { mpfr_init2(value_, kExactBits); }
  ~Big() { mpfr_clear(value_); }
  Big(const Big&) = delete;
  Big& operator=(const Big&) = delete;
  operator mpfr_ptr() { return value_; }

 private:
  mpfr_t value_;
};

// One set a thread, so that no comparison allocates.
struct Workspace {
  Big a, b, y, r, d;
};
Workspace& workspace() {
  thread_local Workspace w;
  return w;
}

// 2^k as the wide type, by its bits: the sieve's inner loop has no room for ldexp.
double power_of_two(int k, double) {
  return std::bit_cast<double>(static_cast<uint64_t>(k + 1023) << 52);
}
long double power_of_two(int k, long double) {
  const uint64_t significand = uint64_t{1} << 63;
  const uint16_t field = static_cast<uint16_t>(k + 16383);
  long double x = 0;
  std::memcpy(&x, &significand, 8);
  std::memcpy(reinterpret_cast<char*>(&x) + 8, &field, 2);
  return x;
}
int exponent_of(double y) {
  return static_cast<int>(std::bit_cast<uint64_t>(y) >> 52 & 0x7FF) - 1023;
}
int exponent_of(long double y) {
  uint16_t field;
  std::memcpy(&field, reinterpret_cast<const char*>(&y) + 8, 2);
  return (field & 0x7FFF) - 16383;
}

// The significand without its leading bit, and how many values it takes.
uint64_t fraction_of(double y) {
  return std::bit_cast<uint64_t>(y) & ((uint64_t{1} << 52) - 1);
}
uint64_t fraction_of(long double y) {
  uint64_t significand;
  std::memcpy(&significand, &y, 8);
  return significand & ((uint64_t{1} << 63) - 1);
}
// Whether an error of `slack` units in y's last place may put the exact value into another binade, which has another
// unit.
template <class Wide>
bool near_binade_end(Wide y, double slack) {
  const uint64_t end = uint64_t{1} << (std::numeric_limits<Wide>::digits - 1);
  const uint64_t reach = static_cast<uint64_t>(slack) + 1, fraction = fraction_of(y);
  return fraction < reach || fraction > end - reach;
}

// The sieve's word on one lane: an error in ULP, or that MPFR must say.
struct Sieved {
  double ulp;
  double relative;
  bool certain;
};

template <class Real, class Wide>
Sieved sieve(Real r, Wide y, double slack, double reach) {
  using F = Format<Real>;
  if (std::isfinite(r) && std::isfinite(y)) [[likely]] {
    if (y == 0) return {0, 0, r == 0};
    const int e = exponent_of(y);
    const Wide difference = std::fabs(static_cast<Wide>(r) - y);
    const Wide ulp = difference * power_of_two(-ulp_exponent<Real>(e), Wide{});
    const Wide scale = std::max(std::fabs(y), power_of_two(F::kMinExponent, Wide{}));
    const bool certain = ulp < reach || !near_binade_end(y, slack);
    return {static_cast<double>(ulp), static_cast<double>(difference / scale), certain};
  }
  if (std::isnan(r) && std::isnan(y)) return {0, 0, true};
  // Beyond the last rounding boundary there is nothing to measure.
  if (std::isinf(r) && std::fabs(y) >= power_of_two(F::kMaxExponent + 1, Wide{}) && (r > 0) == (y > 0))
    return {0, 0, true};
  return {0, 0, false};
}

// A reference's sieve for the type, or null.
auto sieve_of(const Reference& reference, float) {
  return reference.sieve_f32;
}
auto sieve_of(const Reference& reference, double) {
  return reference.sieve_f64;
}

template <class Real>
struct Job {
  using Wide = typename Format<Real>::Wide;

  const KernelRow& row;
  const Reference& reference;
  const Arguments<Real>& arguments;
  bool slots[3];
  // How far a sieve's word may be off, in ULP of Real.
  const double reach = std::ldexp(reference.slack, Format<Real>::kPrecision - std::numeric_limits<Wide>::digits);
  std::atomic<uint64_t> next{0};

  // Takes chunks until none is left.
  void work(Measurement (&results)[3]) {
    std::vector<Real> a(kChunk), b(kChunk);
    qlx_qvm_kernel_SetMode(QVM_ERRMODE_IGNORE);
    for (;;) {
      const uint64_t first = next.fetch_add(kChunk);
      if (first >= arguments.size()) break;
      const int n = arguments.fill(first, kChunk, a.data(), b.data());
      chunk(n, a.data(), b.data(), first, slots, results);
    }
  }

  // Walks uphill from the largest errors: rounds of arguments around the worst one so far. What it finds moves only the
  // worst, as mean and shares are those of the sample. It ends after a few rounds that find nothing larger.
  void refine(int rounds, uint64_t seed, double low, double high, Measurement (&results)[3]) {
    constexpr int kPatience = 6;
    std::vector<Real> a(kChunk), b(kChunk);
    Random random(seed);
    for (int slot = 0; slot < 3; ++slot) {
      if (!slots[slot]) continue;
      bool only[3] = {};
      only[slot] = true;
      Worst Measurement::*const bounded = slot == kEP ? &Measurement::relative : &Measurement::ulp;
      for (int round = 0, idle = 0; round < rounds && idle < kPatience; ++round, ++idle) {
        const Worst before = results[slot].*bounded;
        if (before.error == 0 || std::isinf(before.error)) break;
        const int n = around(before, random, low, high, a, b);
        Measurement found[3];
        found[slot].ulp = results[slot].ulp, found[slot].relative = results[slot].relative;
        chunk(n, a.data(), b.data(), 0, only, found);
        results[slot].ulp = found[slot].ulp, results[slot].relative = found[slot].relative;
        results[slot].wrong_kind += found[slot].wrong_kind;
        results[slot].sieve_misses += found[slot].sieve_misses;
        if ((results[slot].*bounded).error > before.error) idle = -1;
      }
    }
  }

 private:
  // The next numbers on both sides, then numbers that differ in random low bits, some of another exponent.
  int around(const Worst& worst, Random& random, double low, double high, std::vector<Real>& a,
             std::vector<Real>& b) const {
    using F = Format<Real>;
    constexpr int kNext = 512;
    const Real x = static_cast<Real>(worst.a), y = static_cast<Real>(worst.b);
    const auto blur = [&](Real value) {
      const auto mask = (typename F::Bits{1} << random.bits() % F::kPrecision) - 1;
      const Real near = from_bits<Real>(to_bits(value) ^ (static_cast<typename F::Bits>(random.bits()) & mask));
      return random.bits() % 8 == 0 ? std::ldexp(near, static_cast<int>(random.integer(-2, 2))) : near;
    };
    const bool pairs = reference.arguments == 2;
    int n = 0;
    for (int i = 0; i < kChunk; ++i) {
      const bool move_b = pairs && i % 2 != 0, move_a = !move_b || i % 4 == 1;
      const int64_t steps = (i - kNext / 2) / (pairs ? 2 : 1);
      a[n] = !move_a ? x : i < kNext ? neighbour(x, move_b ? -steps : steps) : blur(x);
      b[n] = !move_b ? y : i < kNext ? neighbour(y, steps) : blur(y);
      n += std::isfinite(a[n]) && std::isfinite(b[n]) && static_cast<double>(a[n]) >= low &&
           static_cast<double>(a[n]) <= high;
    }
    return n;
  }

  // The kernels of the slots wanted on n arguments, of which the first has the number given.
  void chunk(int n, const Real* a, const Real* b, uint64_t first, const bool (&wanted)[3],
             Measurement (&results)[3]) const {
    thread_local std::vector<Real> r(kChunk);
    thread_local std::vector<Wide> y(kChunk);
    thread_local std::vector<Sieved> sieved(kChunk);
    const auto wide = sieve_of(reference, Real{});
    if (wide)
      for (int i = 0; i < n; ++i) y[i] = wide(a[i], b[i]);
    for (int slot = 0; slot < 3; ++slot) {
      if (!wanted[slot]) continue;
      Measurement& m = results[slot];
      call(slot, n, a, b, r.data());
      m.count += static_cast<uint64_t>(n);
      // The largest of the chunk is known before any of them goes to MPFR: where errors grow along the line, as next to
      // 0, each is the largest so far.
      double largest = m.ulp.error;
      for (int i = 0; i < n; ++i) {
        sieved[i] = wide ? sieve(r[i], y[i], reference.slack, reach) : Sieved{0, 0, false};
        if (sieved[i].certain) largest = std::max(largest, sieved[i].ulp);
      }
      for (int i = 0; i < n; ++i) lane(a[i], b[i], r[i], sieved[i], wide != nullptr, largest, first + i, m);
    }
  }

  // A scalar second argument holds for a run of equal ones.
  void call(int slot, int n, const Real* a, const Real* b, Real* r) const {
    if (row.shape != Shape::kAXR) return call_unit<Real>(row, slot, n, {a, b, r, nullptr});
    for (int i = 0, end; i < n; i = end) {
      end = i + 1;
      while (end < n && to_bits(b[end]) == to_bits(b[i])) ++end;
      call_unit<Real>(row, slot, end - i, {a + i, b + i, r + i, nullptr});
    }
  }

  // `largest` is at most `reach` below an error that is among those measured, or about to be.
  void lane(Real a, Real b, Real r, Sieved s, bool has_sieve, double largest, uint64_t number, Measurement& m) const {
    const bool checked = has_sieve && (number * 0x9E3779B97F4A7C15u) >> 52 == 0;  // one in 4096, to prove the slack
    // Exact when it may be the largest, or when the sieve can't tell whether it is correctly rounded.
    const bool near_half = std::fabs(s.ulp - 0.5) <= reach;
    if (!s.certain || checked || near_half || (s.ulp >= largest - 2 * reach && s.ulp > reach)) {
      const ExactError e = exact_error(reference, a, b, r);
      if (s.certain && std::fabs(e.ulp - s.ulp) > std::max(2 * reach, s.ulp * 1e-6)) ++m.sieve_misses;
      s = {e.ulp, e.relative, true};
    }
    if (std::isinf(s.ulp)) {
      ++m.wrong_kind;
    } else if (std::isfinite(r) && r != 0) {
      ++m.ordinary;
      m.sum += s.ulp;
      m.correct += s.ulp <= 0.5;
    }
    if (s.ulp > m.ulp.error) m.ulp = {s.ulp, static_cast<double>(a), static_cast<double>(b), static_cast<double>(r)};
    if (s.relative > m.relative.error)
      m.relative = {s.relative, static_cast<double>(a), static_cast<double>(b), static_cast<double>(r)};
  }
};

void merge(Measurement& into, const Measurement& m) {
  into.count += m.count;
  into.ordinary += m.ordinary;
  into.sum += m.sum;
  into.correct += m.correct;
  into.wrong_kind += m.wrong_kind;
  into.sieve_misses += m.sieve_misses;
  // Equal errors: the lesser argument, so that the outcome doesn't depend on the threads.
  for (Worst Measurement::*w : {&Measurement::ulp, &Measurement::relative}) {
    const Worst& x = m.*w;
    Worst& best = into.*w;
    if (x.error > best.error || (x.error == best.error && x.error > 0 && x.a < best.a)) best = x;
  }
}

template <class Real>
void measure_typed(const KernelRow& row, const Reference& reference, const bool (&slots)[3],
                   const MeterOptions& options, Measurement (&results)[3]) {
  const Arguments<Real> arguments(reference, options.sample);
  Job<Real> job{row, reference, arguments, {}};
  for (int slot = 0; slot < 3; ++slot)
    if (slots[slot]) job.slots[row.first_slot(slot)] = true;

  const int threads = std::max(1, options.threads);
  struct Results {
    Measurement slot[3];
  };
  std::vector<Results> parts(threads);
  std::vector<std::thread> workers;
  for (int t = 0; t < threads; ++t)
    workers.emplace_back([&job, &part = parts[t]] {
      job.work(part.slot);
      mpfr_free_cache();
    });
  for (std::thread& worker : workers) worker.join();
  for (int slot = 0; slot < 3; ++slot) {
    results[slot] = {};
    if (!slots[slot]) continue;
    for (const Results& part : parts) merge(results[slot], part.slot[row.first_slot(slot)]);
  }
  // A sweep has been everywhere, or asks for --exhaustive.
  if (options.refine > 0 && (sizeof(Real) == 8 || reference.arguments == 2)) {
    for (int slot = 0; slot < 3; ++slot)
      if (slots[slot]) results[row.first_slot(slot)] = results[slot];
    const uint32_t mode = qlx_qvm_kernel_SetMode(QVM_ERRMODE_IGNORE);
    job.refine(options.refine, options.sample.seed, options.sample.low, options.sample.high, results);
    qlx_qvm_kernel_SetMode(mode);
    for (int slot = 0; slot < 3; ++slot)
      if (slots[slot]) results[slot] = results[row.first_slot(slot)];
  }
}

}  // namespace

double Measurement::relative_bits() const {
  return relative.error == 0 ? kInfinity : -std::log2(relative.error);
}

template <class Real>
ExactError exact_error(const Reference& reference, Real a, Real b, Real result) {
  using F = Format<Real>;
  Workspace& w = workspace();
  const mpfr_ptr exact = w.y, distance = w.d, other = w.r;
  mpfr_set_d(w.a, static_cast<double>(a), MPFR_RNDN);
  mpfr_set_d(w.b, static_cast<double>(b), MPFR_RNDN);
  reference.exact(exact, w.a, w.b);

  if (std::isnan(result) || mpfr_nan_p(exact)) {
    const bool same = std::isnan(result) && mpfr_nan_p(exact);
    return same ? ExactError{0, 0} : ExactError{kInfinity, kInfinity};
  }
  if (mpfr_inf_p(exact)) {
    const bool same = std::isinf(result) && (result > 0) == (mpfr_sgn(exact) > 0);
    return same ? ExactError{0, 0} : ExactError{kInfinity, kInfinity};
  }
  if (std::isinf(result)) {
    if (mpfr_zero_p(exact) || (result > 0) != (mpfr_sgn(exact) > 0)) return {kInfinity, kInfinity};
    // The greatest finite number and half a unit: from here on the infinity is the correct result.
    mpfr_set_d(distance, 1, MPFR_RNDN);
    mpfr_mul_2si(distance, distance, -(F::kPrecision + 1), MPFR_RNDN);
    mpfr_ui_sub(distance, 1, distance, MPFR_RNDN);
    mpfr_mul_2si(distance, distance, F::kMaxExponent + 1, MPFR_RNDN);
    if (mpfr_cmpabs(exact, distance) >= 0) return {0, 0};
    mpfr_set_si_2exp(other, result > 0 ? 1 : -1, F::kMaxExponent + 1, MPFR_RNDN);
    // A y this far below has no business with an infinity.
    if (mpfr_get_exp(exact) - 1 < F::kMaxExponent) return {kInfinity, kInfinity};
  } else {
    mpfr_set_d(other, static_cast<double>(result), MPFR_RNDN);
  }
  mpfr_sub(distance, other, exact, MPFR_RNDN);
  mpfr_abs(distance, distance, MPFR_RNDN);
  const int exponent = mpfr_zero_p(exact)
                           ? F::kMinExponent
                           : static_cast<int>(std::clamp<long>(mpfr_get_exp(exact) - 1, -100000, 100000));
  ExactError e;
  mpfr_mul_2si(other, distance, -ulp_exponent<Real>(exponent), MPFR_RNDN);
  e.ulp = mpfr_get_d(other, MPFR_RNDN);
  if (exponent < F::kMinExponent || mpfr_zero_p(exact)) {
    mpfr_mul_2si(distance, distance, -F::kMinExponent, MPFR_RNDN);
  } else {
    mpfr_div(distance, distance, exact, MPFR_RNDN);
  }
  e.relative = std::fabs(mpfr_get_d(distance, MPFR_RNDN));
  return e;
}

template ExactError exact_error(const Reference&, float, float, float);
template ExactError exact_error(const Reference&, double, double, double);

void measure(const KernelRow& row, const Reference& reference, const bool (&slots)[3], const MeterOptions& options,
             Measurement (&results)[3]) {
  if (row.type == 's') {
    measure_typed<float>(row, reference, slots, options, results);
  } else {
    measure_typed<double>(row, reference, slots, options, results);
  }
}

std::string hex_arguments(const Reference& reference, double a, double b) {
  char text[96];
  if (reference.arguments == 1) {
    std::snprintf(text, sizeof text, "%a", a);
  } else {
    std::snprintf(text, sizeof text, "%a %a", a, b);
  }
  return text;
}

}  // namespace qlx::tools
