// Sweeps, samples and directed files.
// SPDX-License-Identifier: Apache-2.0
#include "accuracy/arguments.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "accuracy/draw.h"
#include "accuracy/real.h"

namespace qlx::tools {

namespace {

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
    period_stride_ = options.period_stride == 0 ? 0 : options.period_stride | 1;
    if (stride_ > period_stride_ && period_stride_ > 0 && reference.period > 1) {
      const uint64_t bits = to_bits(static_cast<float>(reference.period)) - to_bits(kPeriodStart);
      period_ = bits / period_stride_;
    }
  }
  draw(reference, random, sweep ? options.samples / kSweepShare : options.samples, a_, b_);
  if (!options.directed.empty())
    add_directed(read_directed(options.directed + "/" + std::string(reference.name) + ".txt", reference.arguments),
                 pairs, a_, b_);
  add_directed(options.also, pairs, a_, b_);
  keep_distinct(a_, b_);
  // Those that the sweeps visit already.
  if (sweep) std::erase_if(a_, [&](Real x) { return swept(x); });
}

template <class Real>
bool Arguments<Real>::swept(Real x) const {
  if (to_bits(x) % stride_ == 0) return true;
  const uint64_t place = uint64_t{to_bits(x)} - to_bits(kPeriodStart);  // huge before the start
  return period_ > 0 && place % period_stride_ == 0 && place / period_stride_ < period_;
}

template <class Real>
int Arguments<Real>::fill(uint64_t first, int count, Real* a, Real* b) const {
  using Bits = typename Format<Real>::Bits;
  int filled = 0;
  const uint64_t last = std::min(first + static_cast<uint64_t>(count), size());
  for (uint64_t i = first; i < last; ++i) {
    Real x;
    bool fresh = true;
    if (i < sweep_) {
      x = from_bits<Real>(static_cast<Bits>(i * stride_));
    } else if (i < sweep_ + period_) {
      const Bits bits = static_cast<Bits>(to_bits(kPeriodStart) + (i - sweep_) * period_stride_);
      x = from_bits<Real>(bits);
      fresh = bits % stride_ != 0;
    } else {
      const uint64_t k = i - sweep_ - period_;
      x = a_[k];
      if (!b_.empty()) b[filled] = b_[k];
    }
    a[filled] = x;
    filled += fresh && inside(x);
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
