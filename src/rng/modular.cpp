// Modular powers behind skip-ahead and leapfrog.
// SPDX-License-Identifier: Apache-2.0
#include "rng/modular.h"

#include "rng/qst_stream.h"

namespace qlx::rng {

// Row i: A^(2^i) mod m, row-major, A the transition of the component on (oldest, middle, newest).
const PowerTable kMrg32k3aPowers1 = {{
#include "rng/tables/mrg32k3a_powers_m1.inc"
}};
const PowerTable kMrg32k3aPowers2 = {{
#include "rng/tables/mrg32k3a_powers_m2.inc"
}};

namespace {

// Binary method from the low bit: the one loop behind all scalar powers.
template <class Word, class Multiply>
Word power_by(Word base, uint64_t exponent, Multiply multiply_mod) {
  Word result = 1;
  for (; exponent != 0; exponent >>= 1) {
    if (exponent & 1) result = multiply_mod(result, base);
    base = multiply_mod(base, base);
  }
  return result;
}

// m * v, entries below 2^32, `reduced` giving the residue of a 64-bit product.
template <class Reduce>
Vector3 apply(const Matrix3& matrix, const Vector3& v, uint32_t m, Reduce reduced) {
  Vector3 result{};
  for (int i = 0; i < 3; ++i) {
    uint64_t sum = 0;  // of three residues
    for (int k = 0; k < 3; ++k) sum += reduced(static_cast<uint64_t>(matrix[3 * i + k]) * v[k]);
    result[i] = static_cast<uint32_t>(sum % m);
  }
  return result;
}

// v := A^e v for any modulus, through the bits of e from the low end; the matrix goes from word to word.
void power_vector(uint32_t* v, const uint32_t* row, uint32_t m, int32_t n, const uint64_t* e) {
  const auto reduced = [m](uint64_t product) { return product % m; };
  Matrix3 matrix = companion(row[0], row[1], row[2]);
  Vector3 value = {v[0], v[1], v[2]};
  int32_t used = n;  // words up to the last that is not zero: no squaring beyond the last bit that is set
  while (used > 0 && e[used - 1] == 0) --used;
  for (int32_t word = 0; word < used; ++word)
    for (uint32_t bit = 0; bit < 64; ++bit) {
      if (e[word] >> bit & 1) value = apply(matrix, value, m, reduced);
      if (word == used - 1 && e[word] >> bit <= 1) break;
      Matrix3 square;  // column by column
      for (int j = 0; j < 3; ++j) {
        const Vector3 column = apply(matrix, {matrix[j], matrix[3 + j], matrix[6 + j]}, m, reduced);
        for (int i = 0; i < 3; ++i) square[3 * i + j] = column[i];
      }
      matrix = square;
    }
  for (int i = 0; i < 3; ++i) v[i] = value[i];
}

// v := row * v mod 2^32 - gap.
template <uint32_t kGap>
Vector3 apply_folded(const uint32_t* row, const Vector3& v) {
  Vector3 result;
  for (int i = 0; i < 3; ++i) {
    uint64_t sum = 0;
    for (int k = 0; k < 3; ++k) sum += fold<kGap>(static_cast<uint64_t>(row[3 * i + k]) * v[k]);
    result[i] = reduce<kGap>(sum);
  }
  return result;
}

// v := A^e v with the table's powers. The table ends at bit 192; from there on its last row is squared further, so that
// the result is exact for any exponent.
template <uint32_t kGap>
void power_vector_by_table(uint32_t* v, int32_t n, const uint64_t* e, const uint32_t* table) {
  Vector3 value = {v[0], v[1], v[2]};
  Matrix3 beyond{};
  int32_t reached = kPowerRows - 1;  // `beyond` is A^(2^reached) once that is past the table
  for (int32_t word = 0; word < n; ++word) {
    int32_t row = 64 * word;
    for (uint64_t bits = e[word]; bits != 0; bits >>= 1, ++row) {
      if ((bits & 1) == 0) continue;
      if (row < kPowerRows) {
        value = apply_folded<kGap>(table + ptrdiff_t{9} * row, value);
        continue;
      }
      if (reached == kPowerRows - 1)
        for (int i = 0; i < 9; ++i) beyond[i] = table[9 * reached + i];
      for (; reached < row; ++reached) beyond = multiply<kGap>(beyond, beyond);
      value = apply_folded<kGap>(beyond.data(), value);
    }
  }
  for (int i = 0; i < 3; ++i) v[i] = value[i];
}

}  // namespace
}  // namespace qlx::rng

uint32_t __qstiPowMod(uint32_t a, uint64_t e, uint32_t m) {
  return qlx::rng::power_by(
      a, e, [m](uint32_t x, uint32_t y) { return static_cast<uint32_t>(static_cast<uint64_t>(x) * y % m); });
}

uint32_t __qstiPowMod2P31M1(uint32_t a, uint64_t e) {
  // The fold takes factors below 2^31.
  return qlx::rng::power_by(a % qlx::rng::kMersenne31, e, qlx::rng::multiply_mersenne31);
}

uint64_t __qstiPowMod2P59(uint64_t a, uint64_t e) {
  return qlx::rng::power_by(a, e, [](uint64_t x, uint64_t y) { return x * y & qlx::rng::kMask59; });
}

void __qstiVect3PowMod(uint32_t* v, const uint32_t* row, uint32_t m, uint64_t e) {
  qlx::rng::power_vector(v, row, m, 1, &e);
}

void __qstiVect3PowArrayMod(uint32_t* v, const uint32_t* row, uint32_t m, int32_t n, const uint64_t* e) {
  qlx::rng::power_vector(v, row, m, n, e);
}

void __qstiVect3PowArrayMod_M1(uint32_t* v, int32_t n, const uint64_t* e, const uint32_t* table) {
  qlx::rng::power_vector_by_table<qlx::rng::Mrg32k3a::kGap1>(v, n, e, table);
}

void __qstiVect3PowArrayMod_M2(uint32_t* v, int32_t n, const uint64_t* e, const uint32_t* table) {
  qlx::rng::power_vector_by_table<qlx::rng::Mrg32k3a::kGap2>(v, n, e, table);
}
