// Uniform reals, integers and bits: what every other distribution draws from.
// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>
#include <cstring>

#include "rng/qst_stream.h"

namespace {

using namespace qlx::rng;

int32_t draw(QstStream* stream, int32_t n, double* r, double a, double b) {
  return generator_of(stream).properties->dBrng(stream, n, r, a, b);
}
int32_t draw(QstStream* stream, int32_t n, float* r, float a, float b) {
  return generator_of(stream).properties->sBrng(stream, n, r, a, b);
}

// The mapping of a generator may round up to b; the flag asks for the range to hold.
template <class Real>
int32_t uniform(int32_t method, QstStream* stream, int32_t n, Real* r, Real a, Real b) {
  const int32_t status = draw(stream, n, r, a, b);
  if (status < 0 || (method & QST_METHOD_ACCURACY_FLAG) == 0) return status;
  for (int32_t i = 0; i < n; ++i) {
    const Real not_below = r[i] > a ? r[i] : a;
    r[i] = not_below < b ? not_below : b;  // the upper bound comes last and wins over a crossed range
  }
  return status;
}

// One result of the bit functions: n elements to r, or a refusal.
using BitFunction = int32_t (*)(int32_t method, QstStream* stream, int32_t n, void* r);

int32_t no_bits(int32_t, QstStream*, int32_t, void*) {
  return QST_ERROR_BITS_UNSUPPORTED;
}

// Elements of kWords words each from a generator whose words are 32 uniform bits. The count of words is an int32 of
// the generator's: a longer request goes in parts.
template <int32_t kWords>
int32_t direct_bits(int32_t method, QstStream* stream, int32_t n, void* r) {
  constexpr int32_t kMost = INT32_MAX / kWords;
  auto* words = static_cast<uint32_t*>(r);
  int32_t status;
  do {
    const int32_t part = std::min(n, kMost);
    status = _qstiRngUniformBits(method, stream, kWords * part, words);
    words += static_cast<ptrdiff_t>(kWords) * part;
    n -= part;
  } while (n > 0 && status >= 0);
  return status;
}

// The same from MCG59: the low bits of a congruential generator modulo a power of two have short periods, so a word is
// the upper 32 of its 59 bits.
template <int32_t kWords>
int32_t mcg59_bits(int32_t method, QstStream* stream, int32_t n, void* r) {
  constexpr int32_t kBlock = 2048;
  constexpr int kDropped = 59 - 32;
  uint64_t block[kBlock];
  auto* out = static_cast<char*>(r);
  // The last call takes what is left of a block, possibly nothing.
  for (int64_t left = int64_t{kWords} * n;; left -= kBlock) {
    const int32_t m = static_cast<int32_t>(std::min<int64_t>(left, kBlock));
    const int32_t status = _qstiRngUniformBits(method, stream, m, reinterpret_cast<uint32_t*>(block));
    if (status < 0) return status;
    for (int32_t i = 0; i < m; ++i, out += sizeof(uint32_t)) {
      const uint32_t word = static_cast<uint32_t>(block[i] >> kDropped);
      std::memcpy(out, &word, sizeof word);
    }
    if (m < kBlock) return status;
  }
}

// One row a built-in generator; kWords 32-bit words an element.
template <int32_t kWords>
constexpr BitFunction kUniformBits[kBuiltInRows] = {
    no_bits,              // MCG31M1
    no_bits,              // R250
    no_bits,              // MRG32K3A
    mcg59_bits<kWords>,   // MCG59
    no_bits,              // WH
    no_bits,              // Sobol
    no_bits,              // Niederr
    direct_bits<kWords>,  // MT19937
    direct_bits<kWords>,  // MT2203
    no_bits,              // abstract streams
    no_bits,              //
    no_bits,              //
    direct_bits<kWords>,  // SFMT19937
    direct_bits<kWords>,  // TRNG
    direct_bits<kWords>,  // ARS5
    direct_bits<kWords>,  // PHILOX4X32X10
};
constexpr auto& UniformBits32Table = kUniformBits<1>;
constexpr auto& UniformBits64Table = kUniformBits<2>;

// The tables end with the built-in generators; a registered one has no such output. The first rows of the older
// numbering are those of the newer; its Sobol and Niederr rows lie past the tables.
int32_t bits(const BitFunction* table, int32_t method, QstStream* stream, int32_t n, void* r) {
  const int32_t row = generator_of(stream).row;
  return row < kBuiltInRows ? table[row](method, stream, n, r) : QST_ERROR_BITS_UNSUPPORTED;
}

}  // namespace

int32_t _qstdRngUniform(int32_t method, QstStream* stream, int32_t n, double* r, double a, double b) {
  return uniform(method, stream, n, r, a, b);
}

int32_t _qstsRngUniform(int32_t method, QstStream* stream, int32_t n, float* r, float a, float b) {
  return uniform(method, stream, n, r, a, b);
}

int32_t _qstiRngUniform(int32_t, QstStream* stream, int32_t n, int32_t* r, int32_t a, int32_t b) {
  constexpr int32_t kBlock = 1024;
  double block[kBlock];
  int32_t status = QST_STATUS_OK;
  for (; n > 0; n -= kBlock, r += kBlock) {
    const int32_t m = std::min(n, kBlock);
    status = _qstdRngUniform(0, stream, m, block, a, b);
    if (status < 0) return status;
    for (int32_t i = 0; i < m; ++i) r[i] = static_cast<int32_t>(std::floor(block[i]));
  }
  return status;
}

int32_t _qstiRngUniformBits(int32_t, QstStream* stream, int32_t n, uint32_t* r) {
  return generator_of(stream).properties->iBrng(stream, n, r);
}

int32_t _qstiRngUniformBits32(int32_t method, QstStream* stream, int32_t n, uint32_t* r) {
  return bits(UniformBits32Table, method, stream, n, r);
}

int32_t _qstiRngUniformBits64(int32_t method, QstStream* stream, int32_t n, uint64_t* r) {
  return bits(UniformBits64Table, method, stream, n, r);
}
