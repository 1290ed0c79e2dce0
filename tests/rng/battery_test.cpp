// A small statistical battery on the uniform output, with fixed seeds: equidistribution in one to four dimensions,
// serial correlation, gaps, Kolmogorov and Smirnov. The statistics are those of Knuth, "The Art of Computer
// Programming", volume 2, 3.3.1 and 3.3.2. Each is brought to a standard normal number, or to the limit distribution of
// Kolmogorov, and has to lie within 4.5 standard deviations: one good sequence in 10^5 fails by chance, and the seeds
// are fixed.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "qlx/qst.h"

namespace {

using Sample = std::vector<double>;

constexpr double kLimit = 4.5;

// Fisher's normal approximation; good for many degrees of freedom.
double normal_of_chi_square(double chi_square, double freedom) {
  return std::sqrt(2 * chi_square) - std::sqrt(2 * freedom - 1);
}

// 4096 cells of a cube of `dimensions`, 64 points expected in each.
double equidistribution(const Sample& u, int dimensions) {
  constexpr int kCells = 4096, kExpected = 64;
  const int side = static_cast<int>(std::lround(std::pow(kCells, 1.0 / dimensions)));
  std::vector<int> count(kCells);
  const double* next = u.data();
  for (int point = 0; point < kCells * kExpected; ++point) {
    int cell = 0;
    for (int d = 0; d < dimensions; ++d) cell = cell * side + std::min(static_cast<int>(*next++ * side), side - 1);
    ++count[cell];
  }
  double chi_square = 0;
  for (const int c : count) chi_square += (c - kExpected) * static_cast<double>(c - kExpected) / kExpected;
  return normal_of_chi_square(chi_square, kCells - 1);
}

double serial_correlation(const Sample& u, size_t lag) {
  const size_t n = u.size() - lag;
  double sum = 0;
  for (size_t i = 0; i < n; ++i) sum += (u[i] - 0.5) * (u[i + lag] - 0.5);
  return sum * 12 / std::sqrt(static_cast<double>(n));  // the variance of a factor is 1/12
}

// Lengths of the gaps between values in [low, low + 0.05).
double gaps(const Sample& u, double low) {
  constexpr double kHit = 0.05;
  constexpr int kLengths = 60;
  std::vector<double> count(kLengths + 1);
  double total = 0;
  int gap = -1;  // before the first value of the range
  for (const double value : u) {
    if (value < low || value >= low + kHit) {
      if (gap >= 0) ++gap;
      continue;
    }
    if (gap >= 0) {
      ++count[std::min(gap, kLengths)];
      ++total;
    }
    gap = 0;
  }
  double chi_square = 0;
  for (int length = 0; length <= kLengths; ++length) {
    const double rest = std::pow(1 - kHit, length), expected = total * (length < kLengths ? rest * kHit : rest);
    chi_square += (count[length] - expected) * (count[length] - expected) / expected;
  }
  return normal_of_chi_square(chi_square, kLengths);
}

// sqrt(n) sup |F_n - F|: below 0.32 or above 2.3 with probability 10^-5 each.
double kolmogorov_smirnov(Sample u) {
  std::sort(u.begin(), u.end());
  const double n = static_cast<double>(u.size());
  double distance = 0;
  for (size_t i = 0; i < u.size(); ++i) {
    const double rank = static_cast<double>(i);
    distance = std::max({distance, u[i] - rank / n, (rank + 1) / n - u[i]});
  }
  return distance * std::sqrt(n);
}

// The names of the statistics that reject the sample.
std::vector<std::string> rejections(const Sample& u) {
  std::vector<std::string> result;
  const auto judge = [&](const std::string& name, double z) {
    if (!(std::fabs(z) < kLimit)) result.push_back(name + " " + std::to_string(z));
  };
  for (int dimensions = 1; dimensions <= 4; ++dimensions)
    judge("equidistribution in " + std::to_string(dimensions), equidistribution(u, dimensions));
  for (size_t lag = 1; lag <= 10; ++lag) judge("serial correlation " + std::to_string(lag), serial_correlation(u, lag));
  for (const double low : {0.0, 0.475, 0.95}) judge("gaps " + std::to_string(low), gaps(u, low));
  const double k = kolmogorov_smirnov(u);
  if (!(k > 0.32 && k < 2.3)) result.push_back("Kolmogorov-Smirnov " + std::to_string(k));
  return result;
}

constexpr int kSampleSize = 4 * 4096 * 64;

Sample sample_of(int32_t brng, uint32_t seed) {
  QstStream* s = nullptr;
  EXPECT_EQ(__qstNewStreamEx(&s, brng, 1, &seed), 0);
  Sample u(kSampleSize);
  EXPECT_EQ(_qstdRngUniform(0, s, kSampleSize, u.data(), 0, 1), 0);
  __qstDeleteStream(&s);
  return u;
}

class Battery : public testing::TestWithParam<int32_t> {};
INSTANTIATE_TEST_SUITE_P(Rng, Battery,
                         testing::Values(QST_BRNG_MCG31M1, QST_BRNG_MCG59, QST_BRNG_MRG32K3A, QST_BRNG_R250,
                                         QST_BRNG_WH, QST_BRNG_WH + 1, QST_BRNG_WH + 100, QST_BRNG_WH + 271,
                                         QST_BRNG_WH + 272),
                         [](const auto& row) { return "brng_" + std::to_string(row.param); });

TEST_P(Battery, does_not_reject) {
  for (const uint32_t seed : {20260101u, 7u})
    EXPECT_EQ(rejections(sample_of(GetParam(), seed)), std::vector<std::string>{});
}

// It does reject what is known to be bad: RANDU, whose triples lie in 15 planes, and a good sample with a slight bias.
TEST(BatteryItself, rejects_known_faults) {
  Sample randu(kSampleSize);
  uint32_t x = 1;
  for (double& u : randu) u = (x = x * 65539 & 0x7FFFFFFF) * 0x1p-31;
  const std::vector<std::string> found = rejections(randu);
  EXPECT_TRUE(
      std::any_of(found.begin(), found.end(), [](const auto& f) { return f.starts_with("equidistribution in 3"); }));
  Sample biased = sample_of(QST_BRNG_MRG32K3A, 1);
  for (double& u : biased) u = std::pow(u, 1.01);
  EXPECT_FALSE(rejections(biased).empty());
}

}  // namespace
