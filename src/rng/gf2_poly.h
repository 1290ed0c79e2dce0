// Polynomials over GF(2) of any degree: reduction and powers of x modulo a fixed polynomial.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace qlx::rng {

// Carry-less multiplication: by instruction, where the processor has it, or by shifts and a table.
enum class Carryless { kInstruction, kPortable };
bool has_carryless_instruction();

// Modulus P of degree D >= 1 with the words that a reduction needs; coefficients are bits, word 0 holds x^0 to x^63.
// Reductions keep P shifted up so that its leading term is x^(64 W), W = ceil(D / 64): then a word of the quotient
// comes from one word of the dividend (Barrett, with a reciprocal of 64 bits).
class PolyModulus {
 public:
  static constexpr int64_t words_for(uint64_t degree) { return static_cast<int64_t>((degree + 63) / 64); }

  // `room` has 3 W words and outlives this object. `terms` are exponents; those named twice cancel.
  PolyModulus(uint64_t degree, int32_t term_count, const int32_t* terms, uint64_t* room,
              Carryless carryless = has_carryless_instruction() ? Carryless::kInstruction : Carryless::kPortable);

  // g := x^exponent mod P, W words; exponent >= D.
  void power_of_x(uint64_t exponent, uint64_t* g) const;

 private:
  void square(uint64_t* g) const;
  void times_x(uint64_t* g) const;

  uint64_t degree_;
  int64_t words_;        // W
  uint32_t shift_;       // 64 W - D
  uint64_t* modulus_;    // P less its leading term, shifted up: W words
  uint64_t* work_;       // 2 W words
  uint64_t reciprocal_;  // x^128 / (x^64 + modulus_[W - 1]), less its leading term
  void (*add_multiple_)(uint64_t* target, const uint64_t* words, int64_t count, uint64_t factor);
};

}  // namespace qlx::rng
