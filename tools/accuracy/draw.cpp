// Draws by plan: one argument, powers, hypotenuses.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/draw.h"

#include <algorithm>
#include <cmath>

#include "accuracy/real.h"

namespace qlx::tools {

namespace {

// A positive number of the biased exponent field given. One in four has a significand near an end of its binade or of
// few bits, where roundings change.
template <class Real>
Real with_exponent(Random& random, uint64_t field) {
  using F = Format<Real>;
  using Bits = typename F::Bits;
  const Bits mask = (Bits{1} << (F::kPrecision - 1)) - 1;
  Bits significand = static_cast<Bits>(random.bits()) & mask;
  switch (random.bits() % 16) {
    case 0:
      significand >>= random.bits() % F::kPrecision;
      break;
    case 1:
      significand = mask ^ significand >> random.bits() % F::kPrecision;
      break;
    case 2:
      significand &= ~(mask >> random.bits() % F::kPrecision);
      break;
    case 3:
      significand = mask >> 1 ^ significand >> random.bits() % F::kPrecision;
      break;
    default:
      break;
  }
  return from_bits<Real>(static_cast<Bits>(field) << (F::kPrecision - 1) | (significand & mask));
}

// Exponent fields, without and with that of the infinities.
template <class Real>
constexpr uint64_t kFields = Format<Real>::kExponentMask >> (Format<Real>::kPrecision - 1);

template <class Real>
Real any_finite(Random& random) {
  return with_exponent<Real>(random, random.bits() % kFields<Real>);
}

double random_sign(Random& random, double x) {
  return random.bits() % 2 == 0 ? x : -x;
}

// Of a random order of magnitude from 2^low to 2^high.
double of_any_size(Random& random, int low, int high) {
  return std::ldexp(random.between(1, 2), static_cast<int>(random.integer(low, high - 1)));
}

struct End {
  double at, width;  // width: the order of a row
};

End end_near(const Ends& rule, double x, Random& random) {
  const double n = rule.counts.empty() ? 1 : rule.counts[random.bits() % rule.counts.size()];
  int exponent;
  const double significand = 2 * std::frexp(std::fabs(x), &exponent);  // 1 to 2
  const auto scaled = [&](double y) { return std::copysign(std::ldexp(y, exponent - 1), x); };
  switch (rule.kind) {
    case Ends::kMultiples: {
      const double step = rule.unit / n;
      // Half of them next to a whole multiple, where the result starts a binade: its unit is largest there.
      if (random.bits() % 2 == 0) return {std::rint(x / rule.unit) * rule.unit + random_sign(random, step / 2), step};
      return {(std::floor(x / step) + 0.5) * step, step};
    }
    case Ends::kRows:
      return {scaled(std::rint(significand * 2 * n) / (2 * n)), scaled(1 / n)};
    case Ends::kReciprocals: {
      const double c = std::floor(2 * n / significand) + 0.5;
      return {scaled(2 * n / c), scaled(1 / n)};
    }
    case Ends::kBesideOne: {
      const double distance = random_sign(random, std::ldexp(1, -static_cast<int>(random.integer(1, 53))));
      return {1 + distance, distance};
    }
    case Ends::kPoints: {
      const double point = rule.points[random.bits() % rule.points.size()];
      return {std::copysign(point, x), point * 0x1p-4};
    }
  }
  return {x, x};
}

// Evenly over all exponents and both signs, over the dense intervals, and beside ends that are near such arguments.
template <class Real>
void draw_line(const Reference& reference, Random& random, uint64_t samples, std::vector<Real>& a) {
  for (uint64_t i = 0; i < samples; ++i) {
    const Interval& interval = reference.dense[i / 16 % reference.dense.size()];
    const Real any = with_exponent<Real>(random, i / 8 % (kFields<Real> + 1));
    const double ordinary = random.between(interval.low, interval.high);
    // Ends are mostly those of ordinary results; some are near another end, as the last rows of a range are.
    double start = i / 4 % 4 == 0 ? random_sign(random, static_cast<double>(any)) : ordinary;
    if (i / 4 % 4 == 1) start = beside_an_end(reference.ends, start, random, reference.origin);
    switch (i % 4) {
      case 0:
        a.push_back(i / 4 % 2 == 0 ? any : -any);
        break;
      case 1:
        a.push_back(static_cast<Real>(ordinary));
        break;
      default:
        a.push_back(static_cast<Real>(beside_an_end(reference.ends, start, random, reference.origin)));
        break;
    }
  }
}

struct Pair {
  double x, y;
};

// Pairs whose power is 2^t, t over the range of results and a little beyond, and other kinds that a power treats apart.
template <class Real>
class PowerDraw {
 public:
  PowerDraw(const Reference& reference, Random& random) : reference_(reference), random_(random) {}

  Pair pair() {
    const double x = base();
    const double y = exponent(t() / std::log2(x));
    // An integer may have a negative base.
    return {reference_.name != "Powr" && y == std::rint(y) && random_.bits() % 2 == 0 ? -x : x, y};
  }

  // A base for this exponent.
  double base_for(double y) {
    const double x = std::exp2(t() / y);
    if (random_.bits() % 4 == 0 || !std::isfinite(x) || x == 0) return base();
    const double end = beside_an_end(reference_.ends, x, random_);
    // The end is of use where it leaves the result in range.
    return std::fabs(std::log2(end) * y) < highest_ ? end : x;
  }

 private:
  using F = Format<Real>;

  double t() {
    static const std::vector<Ends> rows = {{Ends::kMultiples, {1, 64, 128, 1024, 2048}}};
    switch (random_.bits() % 8) {
      case 0: {  // the ends of normal and of denormal results
        const int ends[] = {F::kMaxExponent + 1, F::kMinExponent, F::kMinExponent - F::kPrecision + 1,
                            F::kMinExponent - F::kPrecision};
        const double t = ends[random_.bits() % 4] + random_sign(random_, of_any_size(random_, -40, 4));
        return random_.bits() % 2 == 0 ? t : beside_an_end(rows, t, random_);
      }
      case 1:  // next to 1
        return random_sign(random_, of_any_size(random_, -70, 8));
      case 2:
      case 3:  // where the exponential's row changes
        return beside_an_end(rows, random_.between(lowest_, highest_), random_);
      default:
        return random_.between(lowest_, highest_);
    }
  }

  double base() {
    switch (random_.bits() % 8) {
      case 0:
        return static_cast<double>(any_finite<Real>(random_));
      case 1:
        return static_cast<double>(with_exponent<Real>(random_, 0));
      case 2:
        return random_.between(0, 4);
      case 3:
        return beside_an_end(reference_.ends, static_cast<double>(any_finite<Real>(random_)), random_);
      case 4:  // next to 1, down to its neighbours
        return static_cast<double>(
            static_cast<Real>(1 + random_sign(random_, of_any_size(random_, -F::kPrecision, -1))));
      case 5:
        return beside_an_end(reference_.ends, random_.between(0.5, 2), random_);
      default:  // few rows, where the exponents are largest
        return beside_an_end(reference_.ends, random_.between(0.99, 1.01), random_);
    }
  }

  // `wanted` or what a power treats apart: integers of all sizes, halves, small ones, and those of any magnitude.
  double exponent(double wanted) {
    switch (random_.bits() % 8) {
      case 0:
        return std::rint(wanted);
      case 1:
        return static_cast<double>(random_.integer(-80, 80)) / 2;
      case 2:
        return random_sign(random_, of_any_size(random_, -80, 10));
      default:
        return wanted;
    }
  }

  const Reference& reference_;
  Random& random_;
  const double lowest_ = F::kMinExponent - F::kPrecision - 3, highest_ = F::kMaxExponent + 3;
};

// For Powx each exponent has a group of bases, as a call has one exponent.
template <class Real>
void draw_powers(const Reference& reference, Random& random, uint64_t samples, std::vector<Real>& a,
                 std::vector<Real>& b) {
  constexpr uint64_t kGroup = 64;
  PowerDraw<Real> power(reference, random);
  const bool grouped = reference.name == "Powx";
  Pair pair{};
  for (uint64_t i = 0; i < samples; ++i) {
    if (!grouped || i % kGroup == 0) {
      pair = power.pair();
    } else {
      pair.x = power.base_for(static_cast<double>(b.back()));
    }
    a.push_back(static_cast<Real>(pair.x));
    b.push_back(static_cast<Real>(pair.y));
  }
}

// Pairs whose exponents differ by little more than the precision at most, of both signs; integer pairs; and pairs with
// the sum of squares beside an end.
template <class Real>
void draw_hypot(const Reference& reference, Random& random, uint64_t samples, std::vector<Real>& a,
                std::vector<Real>& b) {
  using F = Format<Real>;
  const int64_t top = kFields<Real> - 1;
  const auto add = [&](double x, double y) {
    a.push_back(static_cast<Real>(random_sign(random, x)));
    b.push_back(static_cast<Real>(random_sign(random, y)));
  };
  for (uint64_t i = 0; i < samples; ++i) {
    if (i % 16 == 0) {
      add(static_cast<double>(random.integer(0, 4096)), static_cast<double>(random.integer(0, 4096)));
    } else if (i % 8 == 1) {
      const double hypotenuse = std::sqrt(beside_an_end(reference.ends, 1, random));
      const double tangent = of_any_size(random, -F::kPrecision, 0);
      const double longer = hypotenuse / std::sqrt(1 + tangent * tangent), shorter = longer * tangent;
      if (i % 32 == 1) {
        add(longer, shorter);
      } else {
        add(shorter, longer);
      }
    } else {
      const int64_t reach = i % 2 == 0 ? F::kPrecision + 4 : 2;
      const int64_t field = random.integer(0, top);
      const int64_t other = std::clamp(field + random.integer(-reach, reach), int64_t{0}, top);
      const Real x = with_exponent<Real>(random, static_cast<uint64_t>(field));
      add(static_cast<double>(x), static_cast<double>(with_exponent<Real>(random, static_cast<uint64_t>(other))));
    }
  }
}

}  // namespace

double beside_an_end(const std::vector<Ends>& ends, double x, Random& random, double origin) {
  const End end = end_near(ends[random.bits() % ends.size()], x - origin, random);
  // From half a row to far below the last place: some arguments are the end itself.
  const double distance = std::ldexp(random.between(-1, 1), -static_cast<int>(random.bits() % 56));
  // In a wider type: next to the origin the argument has more bits than the end.
  return static_cast<double>(static_cast<long double>(end.at) + origin + end.width * distance);
}

double in_another_period(const Reference& reference, double x, Random& random) {
  const double periods = std::rint(random_sign(random, of_any_size(random, 0, 11)));
  for (const Ends& rule : reference.ends)
    if (rule.kind == Ends::kMultiples) return x + periods * rule.unit;
  return std::ldexp(x - reference.origin, static_cast<int>(periods)) + reference.origin;
}

template <class Real>
void draw(const Reference& reference, Random& random, uint64_t samples, std::vector<Real>& a, std::vector<Real>& b) {
  switch (reference.plan) {
    case Plan::kSweep:
      return draw_line(reference, random, samples, a);
    case Plan::kPower:
      return draw_powers(reference, random, samples, a, b);
    case Plan::kHypot:
      return draw_hypot(reference, random, samples, a, b);
  }
}

template void draw(const Reference&, Random&, uint64_t, std::vector<float>&, std::vector<float>&);
template void draw(const Reference&, Random&, uint64_t, std::vector<double>&, std::vector<double>&);

}  // namespace qlx::tools
