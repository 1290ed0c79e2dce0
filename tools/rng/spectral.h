// Spectral test of a congruential generator of up to 96 bits, and the number theory of its search.
// SPDX-License-Identifier: Apache-2.0
//
// The combination u = sum of x_l / m_l mod 1 of multiplicative generators is one multiplicative generator with modulus
// M = prod m_l and the multiplier A that is a_l modulo each m_l. Its t-tuples lie in planes whose largest distance is
// 1 / nu, nu the shortest vector of the dual lattice {h : sum h_i A^i = 0 mod M} (Knuth, "The Art of Computer
// Programming", volume 2, 3.3.4). The merit is nu over the largest value that a lattice of that determinant allows.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

namespace spectral {

// Needs a compiler with 128-bit integers.
__extension__ typedef __int128 Wide;

inline uint64_t power_mod(uint64_t base, uint64_t exponent, uint64_t modulus) {
  uint64_t result = 1 % modulus;
  for (base %= modulus; exponent != 0; exponent >>= 1) {
    if (exponent & 1) result = static_cast<uint64_t>(static_cast<Wide>(result) * base % modulus);
    base = static_cast<uint64_t>(static_cast<Wide>(base) * base % modulus);
  }
  return result;
}

// Distinct prime factors, by trial division.
inline std::vector<uint64_t> prime_factors(uint64_t n) {
  std::vector<uint64_t> factors;
  for (uint64_t p = 2; p * p <= n; ++p) {
    if (n % p != 0) continue;
    factors.push_back(p);
    while (n % p == 0) n /= p;
  }
  if (n > 1) factors.push_back(n);
  return factors;
}

inline bool is_prime(uint64_t n) {
  return n > 1 && prime_factors(n).front() == n;
}

inline bool is_primitive_root(uint64_t a, uint64_t prime) {
  const std::vector<uint64_t> factors = prime_factors(prime - 1);
  return a % prime != 0 && std::all_of(factors.begin(), factors.end(),
                                       [&](uint64_t q) { return power_mod(a, (prime - 1) / q, prime) != 1; });
}

// a * b mod m for m below 2^126, by doubling.
inline Wide multiply_mod(Wide a, Wide b, Wide m) {
  Wide result = 0;
  for (a %= m; b != 0; b >>= 1) {
    if (b & 1) result = (result + a) % m;
    a = (a + a) % m;
  }
  return result;
}

constexpr int kMaxDimension = 6;

// A basis of the dual lattice, dimension by dimension.
class DualLattice {
 public:
  DualLattice(Wide modulus, Wide multiplier) : modulus_(modulus), multiplier_(multiplier), basis_{{modulus}} {}

  // Adds a dimension and returns the squared length of the shortest vector that is not zero.
  long double extend() {
    power_ = multiply_mod(power_, multiplier_, modulus_);
    Vector next{};
    next[0] = -power_;
    next[basis_.size()] = 1;
    basis_.push_back(next);
    reduce();
    return shortest();
  }

 private:
  using Vector = std::array<Wide, kMaxDimension>;

  // Orthogonalises vectors 0 to i; the inner product with what is left of the vector is the stable order.
  void orthogonalise(int i) {
    long double left[kMaxDimension];
    for (int k = 0; k < kMaxDimension; ++k) left[k] = static_cast<long double>(basis_[i][k]);
    for (int j = 0; j < i; ++j) {
      long double product = 0;
      for (int k = 0; k < kMaxDimension; ++k) product += left[k] * star_[j][k];
      mu_[i][j] = product / norm_[j];
      for (int k = 0; k < kMaxDimension; ++k) left[k] -= mu_[i][j] * star_[j][k];
    }
    norm_[i] = 0;
    for (int k = 0; k < kMaxDimension; ++k) norm_[i] += (star_[i][k] = left[k]) * left[k];
  }

  // Lenstra, Lenstra, Lovasz 1982. The vectors change by exact integers, whatever the rounding of a multiple; those
  // before i are reduced, so that their orthogonalisation is good to many digits.
  void reduce() {
    const int n = static_cast<int>(basis_.size());
    orthogonalise(0);
    for (int i = 1; i < n;) {
      bool changed = true;
      while (changed) {
        changed = false;
        orthogonalise(i);
        for (int j = i - 1; j >= 0; --j) {
          const long double multiple = std::nearbyint(mu_[i][j]);
          if (multiple == 0 || std::fabs(mu_[i][j]) < 0.501L) continue;
          for (int k = 0; k < kMaxDimension; ++k) basis_[i][k] -= static_cast<Wide>(multiple) * basis_[j][k];
          for (int k = 0; k < j; ++k) mu_[i][k] -= multiple * mu_[j][k];
          changed = true;
        }
      }
      if (norm_[i] >= (0.99L - mu_[i][i - 1] * mu_[i][i - 1]) * norm_[i - 1]) {
        ++i;
      } else {
        std::swap(basis_[i], basis_[i - 1]);
        i = std::max(i - 1, 1);
        orthogonalise(0);
      }
    }
  }

  // Enumeration of all combinations within the shortest length known (Fincke, Pohst 1985).
  long double shortest() const {
    const int n = static_cast<int>(basis_.size());
    long double best = 0, c[kMaxDimension] = {};
    for (const Wide entry : basis_[0]) best += static_cast<long double>(entry) * static_cast<long double>(entry);
    enumerate(n - 1, n, 0, c, mu_, norm_, &best);
    return best;
  }

  static void enumerate(int level, int n, long double length, long double* c, const long double (*mu)[kMaxDimension],
                        const long double* norm, long double* best) {
    if (level < 0) {
      if (length > 0.5L && length < *best) *best = length;  // squared lengths are integers; zero is none
      return;
    }
    long double centre = 0;
    for (int i = level + 1; i < n; ++i) centre -= c[i] * mu[i][level];
    const long double radius = std::sqrt((*best - length) / norm[level]);
    for (c[level] = std::ceil(centre - radius); c[level] <= centre + radius; c[level] += 1) {
      const long double more = (c[level] - centre) * (c[level] - centre) * norm[level];
      if (length + more <= *best * (1 + 1e-12L)) enumerate(level - 1, n, length + more, c, mu, norm, best);
    }
    c[level] = 0;
  }

  Wide modulus_, multiplier_, power_ = 1;
  std::vector<Vector> basis_;
  long double star_[kMaxDimension][kMaxDimension] = {}, norm_[kMaxDimension] = {},
              mu_[kMaxDimension][kMaxDimension] = {};
};

// Hermite's constants to the power t for t = 2 to 6.
inline constexpr double kHermite[] = {4.0 / 3, 2, 4, 8, 64.0 / 3};

// The least normalised merit in dimensions 2 to 6, 0 to 1, of the combination of generators (m_l, a_l).
inline double merit(const std::array<uint32_t, 4>& moduli, const std::array<uint8_t, 4>& multipliers) {
  Wide modulus = 1;
  for (const uint32_t m : moduli) modulus *= m;
  Wide multiplier = 0;  // Chinese remainders; the inverse by Fermat
  for (int l = 0; l < 4; ++l) {
    const Wide others = modulus / moduli[l];
    const uint64_t inverse = power_mod(static_cast<uint64_t>(others % moduli[l]), moduli[l] - 2, moduli[l]);
    multiplier = (multiplier + multiply_mod(others, static_cast<Wide>(inverse) * multipliers[l], modulus)) % modulus;
  }
  DualLattice lattice(modulus, multiplier);
  double least = 1;
  for (int t = 2; t <= kMaxDimension; ++t) {
    const long double squared = lattice.extend();
    const long double bound = std::pow(static_cast<long double>(kHermite[t - 2]), 1.0L / t) *
                              std::pow(static_cast<long double>(modulus), 2.0L / t);
    least = std::min(least, static_cast<double>(std::sqrt(squared / bound)));
  }
  return least;
}

}  // namespace spectral
