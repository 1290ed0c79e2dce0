// Polynomials over GF(2): x^e mod P, by squaring and Barrett reduction a word at a time.
// SPDX-License-Identifier: Apache-2.0
#include "rng/gf2_poly.h"

#include <cpuid.h>
#include <immintrin.h>

#include <bit>
#include <cstring>

namespace qlx::rng {
namespace {

struct Product {
  uint64_t low, high;
};

// Carry-less product of two words, four bits of `b` at a time. A multiple of `a` by up to 15 has 67 bits; the three
// that do not fit the table's words come from a's top bits at the end.
class PortableFactor {
 public:
  explicit PortableFactor(uint64_t a) : a_(a) {
    table_[0] = 0;
    for (int i = 1; i < 16; ++i) table_[i] = i & 1 ? table_[i - 1] ^ a : table_[i / 2] << 1;
  }
  Product times(uint64_t b) const {
    uint64_t low = 0, high = 0;
    for (int position = 60; position >= 0; position -= 4) {
      high = high << 4 | low >> 60;
      low = low << 4 ^ table_[b >> position & 15];
    }
    // Bit k of a (k = 63, 62, 61) times the bits of b that stand at 64 - k or higher in their group of four.
    constexpr uint64_t kUpper[] = {0xEEEEEEEEEEEEEEEEu, 0xCCCCCCCCCCCCCCCCu, 0x8888888888888888u};
    for (int lost = 0; lost < 3; ++lost)
      if (a_ >> (63 - lost) & 1) high ^= (b & kUpper[lost]) >> (lost + 1);
    return {low, high};
  }

 private:
  uint64_t a_;
  uint64_t table_[16];
};

// target[0 .. count] ^= factor * words[0 .. count - 1].
void add_multiple_portable(uint64_t* target, const uint64_t* words, int64_t count, uint64_t factor) {
  const PortableFactor f(factor);
  uint64_t carry = 0;
  for (int64_t i = 0; i < count; ++i) {
    const Product p = f.times(words[i]);
    target[i] ^= p.low ^ carry;
    carry = p.high;
  }
  target[count] ^= carry;
}

__attribute__((target("pclmul"))) void add_multiple_pclmul(uint64_t* target, const uint64_t* words, int64_t count,
                                                           uint64_t factor) {
  const __m128i f = _mm_set_epi64x(0, static_cast<int64_t>(factor));
  __m128i carry = _mm_setzero_si128();  // low half
  int64_t i = 0;
  for (; i + 2 <= count; i += 2) {
    const __m128i w = _mm_loadu_si128(reinterpret_cast<const __m128i*>(words + i));
    const __m128i even = _mm_clmulepi64_si128(w, f, 0x00), odd = _mm_clmulepi64_si128(w, f, 0x01);
    const __m128i sum = _mm_xor_si128(_mm_xor_si128(even, carry), _mm_slli_si128(odd, 8));
    __m128i* to = reinterpret_cast<__m128i*>(target + i);
    _mm_storeu_si128(to, _mm_xor_si128(_mm_loadu_si128(to), sum));
    carry = _mm_srli_si128(odd, 8);
  }
  for (; i <= count; ++i) {
    const __m128i w = _mm_set_epi64x(0, i < count ? static_cast<int64_t>(words[i]) : 0);
    const __m128i product = _mm_xor_si128(_mm_clmulepi64_si128(w, f, 0x00), carry);
    uint64_t low;
    std::memcpy(&low, &product, sizeof low);
    target[i] ^= low;
    carry = _mm_srli_si128(product, 8);
  }
}

// The bits of a half-word moved to the even places of a word: the square of a polynomial.
constexpr uint64_t spread(uint32_t half) {
  uint64_t w = half;
  w = (w | w << 16) & 0x0000FFFF0000FFFFu;
  w = (w | w << 8) & 0x00FF00FF00FF00FFu;
  w = (w | w << 4) & 0x0F0F0F0F0F0F0F0Fu;
  w = (w | w << 2) & 0x3333333333333333u;
  return (w | w << 1) & 0x5555555555555555u;
}

}  // namespace

bool has_carryless_instruction() {
  unsigned a, b, c, d;
  return __get_cpuid(1, &a, &b, &c, &d) != 0 && (c & bit_PCLMUL) != 0;
}

PolyModulus::PolyModulus(uint64_t degree, int32_t term_count, const int32_t* terms, uint64_t* room, Carryless carryless)
    : degree_(degree),
      words_(words_for(degree)),
      shift_(static_cast<uint32_t>(64 * words_ - static_cast<int64_t>(degree))),
      modulus_(room),
      work_(room + words_),
      add_multiple_(carryless == Carryless::kInstruction ? add_multiple_pclmul : add_multiple_portable) {
  std::memset(modulus_, 0, static_cast<size_t>(words_) * sizeof(uint64_t));
  for (int32_t t = 0; t < term_count; ++t) {
    const uint64_t place = static_cast<uint64_t>(terms[t]) + shift_;
    if (place < 64 * static_cast<uint64_t>(words_)) modulus_[place / 64] ^= uint64_t{1} << place % 64;
  }
  // Long division of x^128 by x^64 + top, a bit of the quotient at a time; the leading bit of the quotient is x^64.
  const uint64_t top = modulus_[words_ - 1];
  uint64_t remainder = top;
  reciprocal_ = 0;
  for (int bit = 63; bit >= 0; --bit) {
    const bool carry = remainder >> 63 & 1;
    remainder <<= 1;
    if (!carry) continue;
    remainder ^= top;
    reciprocal_ |= uint64_t{1} << bit;
  }
}

void PolyModulus::square(uint64_t* g) const {
  // The square's terms lie below 2 D - 1; shifted up with the modulus they stay below 64 * 2 W.
  for (int64_t i = 0; i < words_; ++i) {
    work_[2 * i] = spread(static_cast<uint32_t>(g[i]));
    work_[2 * i + 1] = spread(static_cast<uint32_t>(g[i] >> 32));
  }
  if (shift_ != 0)
    for (int64_t i = 2 * words_ - 1; i >= 0; --i)
      work_[i] = work_[i] << shift_ | (i > 0 ? work_[i - 1] >> (64 - shift_) : 0);
  for (int64_t i = words_ - 1; i >= 0; --i) {
    // Quotient word for the dividend's word w: the high word of w (x^64 + reciprocal), exact over GF(2).
    const uint64_t w = work_[words_ + i];
    uint64_t estimate[2] = {0, 0};
    add_multiple_(estimate, &reciprocal_, 1, w);
    const uint64_t quotient = w ^ estimate[1];
    add_multiple_(work_ + i, modulus_, words_, quotient);
  }
  for (int64_t i = 0; i < words_; ++i)
    g[i] = shift_ == 0 ? work_[i] : work_[i] >> shift_ | (i + 1 < words_ ? work_[i + 1] << (64 - shift_) : 0);
}

void PolyModulus::times_x(uint64_t* g) const {
  // Shifted up as the modulus is, the term that leaves is bit 64 W.
  const bool leaves = g[(degree_ - 1) / 64] >> (degree_ - 1) % 64 & 1;
  for (int64_t i = words_ - 1; i >= 0; --i) g[i] = g[i] << 1 | (i > 0 ? g[i - 1] >> 63 : 0);
  if (!leaves) return;
  for (int64_t i = 0; i < words_; ++i) {
    const uint64_t upper = i + 1 < words_ && shift_ != 0 ? modulus_[i + 1] << (64 - shift_) : 0;
    g[i] ^= shift_ == 0 ? modulus_[i] : modulus_[i] >> shift_ | upper;
  }
  if (shift_ != 0) g[words_ - 1] &= ~uint64_t{0} >> shift_;  // x^D itself
}

void PolyModulus::power_of_x(uint64_t exponent, uint64_t* g) const {
  // The leading bits of the exponent that stay below the degree cost nothing: a single term.
  int bit = 64 - std::countl_zero(exponent);
  uint64_t head = 0;
  while (bit > 0 && (head << 1 | (exponent >> (bit - 1) & 1)) < degree_) head = head << 1 | (exponent >> --bit & 1);
  std::memset(g, 0, static_cast<size_t>(words_) * sizeof(uint64_t));
  g[head / 64] = uint64_t{1} << head % 64;
  while (--bit >= 0) {
    square(g);
    if (exponent >> bit & 1) times_x(g);
  }
}

}  // namespace qlx::rng
