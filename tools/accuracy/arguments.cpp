// Sweeps, samples and directed files.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/arguments.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "accuracy/random.h"
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

template <class Real>
Real any_finite(Random& random) {
  const uint64_t fields = (Format<Real>::kExponentMask >> (Format<Real>::kPrecision - 1));
  return with_exponent<Real>(random, random.bits() % fields);
}

// Half evenly over all exponents and both signs, half over the dense intervals.
template <class Real>
void draw_sweep(const Reference& reference, Random& random, uint64_t samples, std::vector<Real>& a) {
  const uint64_t fields = (Format<Real>::kExponentMask >> (Format<Real>::kPrecision - 1)) + 1;
  for (uint64_t i = 0; i < samples; ++i) {
    if (i % 2 == 0) {
      const Real x = with_exponent<Real>(random, i / 4 % fields);
      a.push_back(i / 2 % 2 == 0 ? x : -x);
    } else {
      const Interval& interval = reference.dense[i / 2 % reference.dense.size()];
      a.push_back(static_cast<Real>(random.between(interval.low, interval.high)));
    }
  }
}

// Pairs whose power is 2^t, t over the range of results and a little beyond, and other kinds that a power treats
// apart. For Powx the exponents are a few, each with many bases.
template <class Real>
void draw_power(const Reference& reference, Random& random, uint64_t samples, std::vector<Real>& a,
                std::vector<Real>& b) {
  using F = Format<Real>;
  const double lowest = F::kMinExponent - F::kPrecision - 3, highest = F::kMaxExponent + 3;
  const double ends[] = {F::kMaxExponent + 1.0, F::kMinExponent + 0.0, F::kMinExponent - F::kPrecision + 1.0,
                         F::kMinExponent - F::kPrecision + 0.0};
  const bool negative_bases = reference.name != "Powr";
  const auto add = [&](double x, double y) {
    a.push_back(static_cast<Real>(x));
    b.push_back(static_cast<Real>(y));
  };
  const auto draw_t = [&](uint64_t i) {
    const double end = ends[i / 64 % 4];
    return i % 4 == 0 ? end + random.between(-1, 1) * std::ldexp(1, -static_cast<int>(random.bits() % 20))
                      : random.between(lowest, highest);
  };

  if (reference.name == "Powx") {
    const uint64_t groups = 256;
    for (uint64_t g = 0; g < groups; ++g) {
      double y;
      switch (g % 4) {
        case 0:
          y = static_cast<double>(g / 8) * (g / 4 % 2 == 0 ? 1 : -1);
          break;
        case 1:
          y = (static_cast<double>(g / 8) + 0.5) * (g / 4 % 2 == 0 ? 1 : -1);
          break;
        case 2:
          y = random.between(-20, 20);
          break;
        default:
          y = static_cast<double>(any_finite<Real>(random)) * (g / 4 % 2 == 0 ? 1 : -1);
          break;
      }
      y = static_cast<double>(static_cast<Real>(y));
      for (uint64_t i = 0; i < samples / groups; ++i) {
        const double x =
            i % 3 == 0 || y == 0 ? static_cast<double>(any_finite<Real>(random)) : std::exp2(draw_t(i) / y);
        add(g % 4 == 0 && i % 5 == 0 ? -x : x, y);
      }
    }
    return;
  }

  for (uint64_t i = 0; i < samples; ++i) {
    const double t = draw_t(i / 8);
    switch (i % 8) {
      case 0:
      case 1: {  // any base
        const double x = static_cast<double>(any_finite<Real>(random));
        add(x, t / std::log2(x));
        break;
      }
      case 2:
      case 3: {  // near 1, down to its neighbours
        const double d = std::ldexp(random.between(0.5, 1), -static_cast<int>(random.bits() % F::kPrecision));
        const Real x = static_cast<Real>(i % 16 < 8 ? 1 + d : 1 - d);
        add(static_cast<double>(x), t / std::log2(static_cast<double>(x)));
        break;
      }
      case 4:  // small integers and halves as exponents
        add(static_cast<double>(any_finite<Real>(random)), static_cast<double>(random.integer(-40, 40)) / 2);
        break;
      case 5: {  // negative bases with integer exponents
        const double y = static_cast<double>(random.integer(-200, 200));
        const double x = std::exp2(t / (y == 0 ? 1 : y));
        add(negative_bases ? -x : x, y);
        break;
      }
      case 6: {  // denormal bases
        const double x = static_cast<double>(with_exponent<Real>(random, 0));
        add(x, t / std::log2(x));
        break;
      }
      default:
        add(random.between(0, 4), random.between(-100, 100));
        break;
    }
  }
}

// Pairs whose exponents differ by little more than the precision at most, of both signs, and integer pairs.
template <class Real>
void draw_hypot(Random& random, uint64_t samples, std::vector<Real>& a, std::vector<Real>& b) {
  using F = Format<Real>;
  const int64_t top = static_cast<int64_t>(F::kExponentMask >> (F::kPrecision - 1)) - 1;
  for (uint64_t i = 0; i < samples; ++i) {
    if (i % 16 == 0) {
      a.push_back(static_cast<Real>(random.integer(-4096, 4096)));
      b.push_back(static_cast<Real>(random.integer(-4096, 4096)));
      continue;
    }
    const int64_t reach = i % 2 == 0 ? F::kPrecision + 4 : 2;
    const int64_t field = random.integer(0, top);
    const int64_t other = std::clamp(field + random.integer(-reach, reach), int64_t{0}, top);
    const Real x = with_exponent<Real>(random, static_cast<uint64_t>(field));
    const Real y = with_exponent<Real>(random, static_cast<uint64_t>(other));
    a.push_back(random.bits() % 2 ? x : -x);
    b.push_back(random.bits() % 2 ? y : -y);
  }
}

template <class Real>
void add_directed(const std::vector<DirectedLine>& lines, bool pairs, std::vector<Real>& a, std::vector<Real>& b) {
  for (const DirectedLine& line : lines) {
    if (line.type != '*' && line.type != Format<Real>::kType) continue;
    const Real x = static_cast<Real>(line.a), y = static_cast<Real>(line.b);
    for (int64_t k = -line.neighbours; k <= line.neighbours; ++k) {
      a.push_back(neighbour(x, k));
      if (!pairs) continue;
      b.push_back(y);
      a.push_back(x);
      b.push_back(neighbour(y, k));
    }
  }
}

// Keeps one of each argument or pair, ordered by the bits of b and then a.
template <class Real>
void keep_distinct(std::vector<Real>& a, std::vector<Real>& b) {
  using Bits = typename Format<Real>::Bits;
  std::vector<std::pair<Bits, Bits>> bits(a.size());
  for (size_t i = 0; i < a.size(); ++i) bits[i] = {b.empty() ? Bits{0} : to_bits(b[i]), to_bits(a[i])};
  std::sort(bits.begin(), bits.end());
  bits.erase(std::unique(bits.begin(), bits.end()), bits.end());
  const bool pairs = !b.empty();
  a.resize(bits.size());
  if (pairs) b.resize(bits.size());
  for (size_t i = 0; i < bits.size(); ++i) {
    a[i] = from_bits<Real>(bits[i].second);
    if (pairs) b[i] = from_bits<Real>(bits[i].first);
  }
}

}  // namespace

template <class Real>
Arguments<Real>::Arguments(const Reference& reference, const SampleOptions& options)
    : low_(options.low), high_(options.high) {
  Random random(options.seed);
  const bool pairs = reference.arguments == 2;
  const bool sweep = sizeof(Real) == 4 && !pairs;
  if (sweep) {
    stride_ = options.exhaustive ? 1 : options.stride | 1;
    sweep_ = ((uint64_t{1} << 32) + stride_ - 1) / stride_;
  } else {
    switch (reference.plan) {
      case Plan::kSweep:
        draw_sweep(reference, random, options.samples, a_);
        break;
      case Plan::kPower:
        draw_power(reference, random, options.samples, a_, b_);
        break;
      case Plan::kHypot:
        draw_hypot(random, options.samples, a_, b_);
        break;
    }
  }
  if (!options.directed.empty())
    add_directed(read_directed(options.directed + "/" + std::string(reference.name) + ".txt", reference.arguments),
                 pairs, a_, b_);
  keep_distinct(a_, b_);
  // Those that the sweep visits already.
  if (sweep) std::erase_if(a_, [&](Real x) { return to_bits(x) % stride_ == 0; });
}

template <class Real>
int Arguments<Real>::fill(uint64_t first, int count, Real* a, Real* b) const {
  int filled = 0;
  const uint64_t last = std::min(first + static_cast<uint64_t>(count), size());
  for (uint64_t i = first; i < last; ++i) {
    Real x;
    if (i < sweep_) {
      x = from_bits<Real>(static_cast<typename Format<Real>::Bits>(i * stride_));
    } else {
      x = a_[i - sweep_];
      if (!b_.empty()) b[filled] = b_[i - sweep_];
    }
    a[filled] = x;
    filled += inside(x);
  }
  return filled;
}

template class Arguments<float>;
template class Arguments<double>;

std::vector<DirectedLine> read_directed(const std::string& path, int arguments) {
  std::vector<DirectedLine> lines;
  std::ifstream file(path);
  std::string text;
  for (int number = 1; std::getline(file, text); ++number) {
    text.resize(std::min(text.find('#'), text.size()));
    std::istringstream words(text);
    std::vector<std::string> parts;
    for (std::string word; words >> word;) parts.push_back(word);
    if (parts.empty()) continue;
    DirectedLine line{'*', 0, 0, 0};
    if (parts[0] == "s:" || parts[0] == "d:") {
      line.type = parts[0][0];
      parts.erase(parts.begin());
    }
    if (!parts.empty() && parts.back()[0] == '~') {
      line.neighbours = std::atoi(parts.back().c_str() + 1);
      parts.pop_back();
    }
    bool good = parts.size() == static_cast<size_t>(arguments);
    double* const values[] = {&line.a, &line.b};
    for (size_t k = 0; good && k < parts.size(); ++k) {
      char* end;
      *values[k] = std::strtod(parts[k].c_str(), &end);
      good = *end == '\0';
    }
    if (!good) {
      std::fprintf(stderr, "%s:%d: not \"[s:|d:] a%s [~neighbours]\"\n", path.c_str(), number,
                   arguments == 2 ? " b" : "");
      std::exit(2);
    }
    lines.push_back(line);
  }
  return lines;
}

}  // namespace qlx::tools
