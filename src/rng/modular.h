// Modular arithmetic that the congruential generators and their moves share. No division where a fold serves.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

namespace qlx::rng {

// ---- modulo 2^31 - 1 ----

inline constexpr uint32_t kMersenne31 = 0x7FFFFFFF;

// a * b mod 2^31 - 1 for a, b below 2^31, by 2^31 = 1: low 31 bits plus the rest is below 2^32, less the modulus once.
constexpr uint32_t multiply_mersenne31(uint32_t a, uint32_t b) {
  const uint64_t p = static_cast<uint64_t>(a) * b;
  const uint32_t t = static_cast<uint32_t>(p & kMersenne31) + static_cast<uint32_t>(p >> 31);
  return t >= kMersenne31 ? t - kMersenne31 : t;
}

// ---- modulo 2^59: the ring of 64-bit words, cut ----

inline constexpr uint64_t kMask59 = (uint64_t{1} << 59) - 1;

// ---- modulo m = 2^32 - gap ----

// The value's low word plus gap times the rest: the same residue, by 2^32 = gap.
template <uint32_t kGap>
constexpr uint64_t fold(uint64_t value) {
  return (value & 0xFFFFFFFFu) + (value >> 32) * kGap;
}

// value mod 2^32 - gap, for gap below 2^15 and any value. The first fold leaves less than 2^48, the second less than
// 2^32 + 2^31, which is below twice the modulus.
template <uint32_t kGap>
constexpr uint32_t reduce(uint64_t value) {
  static_assert(kGap < 1u << 15);
  constexpr uint64_t modulus = (uint64_t{1} << 32) - kGap;
  const uint64_t t = fold<kGap>(fold<kGap>(value));
  return static_cast<uint32_t>(t >= modulus ? t - modulus : t);
}

// ---- 3 by 3 matrices over the residues ----

using Vector3 = std::array<uint32_t, 3>;
using Matrix3 = std::array<uint32_t, 9>;  // row-major

// Transition of a recurrence of order three on (oldest, middle, newest), from its coefficients, newest first.
constexpr Matrix3 companion(uint32_t newest, uint32_t middle, uint32_t oldest) {
  return {0, 1, 0, 0, 0, 1, oldest, middle, newest};
}

// Left factor times right factor, mod m = 2^32 - gap. A product folded once is below 2^47, so three add up safely.
template <uint32_t kGap>
constexpr Matrix3 multiply(const Matrix3& left, const Matrix3& right) {
  Matrix3 result{};
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 3; ++j) {
      uint64_t sum = 0;
      for (int k = 0; k < 3; ++k) sum += fold<kGap>(static_cast<uint64_t>(left[3 * i + k]) * right[3 * k + j]);
      result[3 * i + j] = reduce<kGap>(sum);
    }
  return result;
}

template <uint32_t kGap>
constexpr Matrix3 power(Matrix3 base, uint64_t exponent) {
  Matrix3 result = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  for (; exponent != 0; exponent >>= 1) {
    if (exponent & 1) result = multiply<kGap>(base, result);
    base = multiply<kGap>(base, base);
  }
  return result;
}

// ---- MRG32K3A: its moduli and coefficients (L'Ecuyer, "Good parameters and implementations for combined multiple
// recursive random number generators", Operations Research 47, 1999) ----

struct Mrg32k3a {
  static constexpr uint32_t kGap1 = 209, kGap2 = 22853;
  static constexpr uint32_t kM1 = 0u - kGap1, kM2 = 0u - kGap2;  // 2^32 - gap
  // x(n) = kX1 x(n-2) - kX0 x(n-3) mod m1, y(n) = kY2 y(n-1) - kY0 y(n-3) mod m2
  static constexpr uint32_t kX1 = 1403580, kX0 = 810728, kY2 = 527612, kY0 = 1370589;
  static constexpr Matrix3 step1() { return companion(0, kX1, kM1 - kX0); }
  static constexpr Matrix3 step2() { return companion(kY2, 0, kM2 - kY0); }
};

// Rows of a table of powers A^(2^i), i = 0 to 192.
inline constexpr int kPowerRows = 193;
using PowerTable = std::array<Matrix3, kPowerRows>;
extern const PowerTable kMrg32k3aPowers1, kMrg32k3aPowers2;

}  // namespace qlx::rng
