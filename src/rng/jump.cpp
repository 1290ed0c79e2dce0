// Jumps of generators that are linear over GF(2), whatever their state's layout: g(A) applied to the state, g = x^s mod
// P with P the characteristic polynomial (Haramoto, Matsumoto, Nishimura, Panneton, L'Ecuyer, "Efficient jump ahead for
// F2-linear random number generators", INFORMS Journal on Computing 20, 2008).
// SPDX-License-Identifier: Apache-2.0
#include <bit>
#include <cstring>

#include "rng/gf2_poly.h"
#include "rng/qst_stream.h"

namespace {

using namespace qlx::rng;

// Window of the sliding method: at a set bit this many steps and one addition from the table.
constexpr int kWindowBits = 7;
constexpr int kWindowRecords = 1 << kWindowBits;

bool bit_of(const uint64_t* g, int64_t i) {
  return g[i / 64] >> i % 64 & 1;
}

// Bits i down to i - count + 1 of g, the highest first.
int window_of(const uint64_t* g, int64_t i, int count) {
  int value = 0;
  for (int k = 0; k < count; ++k) value = value << 1 | bit_of(g, i - k);
  return value;
}

// Degree of g, which is below `degree`.
int64_t leading_bit(const uint64_t* g, uint64_t degree) {
  int64_t i = static_cast<int64_t>(degree) - 1;
  while (i > 0 && !bit_of(g, i)) --i;
  return i;
}

// The jump polynomial has room for one record too: it is what finishState gets as scratch when g has served.
int64_t jump_bytes(int32_t words, int32_t record_bytes) {
  const int64_t bytes = words * int64_t{sizeof(uint64_t)};
  return bytes > record_bytes ? bytes : record_bytes;
}

int32_t jump_polynomial(uint64_t skip, uint64_t degree, int32_t term_count, const int32_t* terms, int32_t words,
                        uint64_t* g) {
  return __qstPolyRem(static_cast<int64_t>(skip), degree, term_count, terms, words, reinterpret_cast<uint32_t*>(g));
}

}  // namespace

int32_t __qstPolyRem(int64_t e, uint64_t degree, int32_t termCount, const int32_t* terms, int32_t wordCount,
                     uint32_t* result) {
  const uint64_t exponent = static_cast<uint64_t>(e);
  const size_t room = static_cast<size_t>(wordCount), words = static_cast<size_t>(PolyModulus::words_for(degree));
  std::memset(result, 0, room * sizeof(uint64_t));
  if (exponent < degree) {
    const uint64_t word = uint64_t{1} << exponent % 64;
    if (exponent / 64 < room) std::memcpy(result + 2 * (exponent / 64), &word, sizeof word);
    return QST_STATUS_OK;
  }
  // The modulus, the work of double length and the power: 32 bytes for each 64 bits of the degree.
  const Scratch<uint64_t> scratch(static_cast<int64_t>(4 * words));
  if (!scratch) return QST_ERROR_MEMORY;
  uint64_t* power = scratch.get() + 3 * words;
  PolyModulus(degree, termCount, terms, scratch.get()).power_of_x(exponent, power);
  std::memcpy(result, power, (words < room ? words : room) * sizeof(uint64_t));
  return QST_STATUS_OK;
}

int32_t __qst_SkipAheadHorner(QstStream* stream, QstJumpClear clearState, QstJumpCombine addState,
                              QstJumpCombine copyState, QstJumpStep stepState, QstJumpFinish finishState,
                              QstJumpPrepare prepareSkip, uint64_t nskip, int32_t wordCount, int32_t degree,
                              int32_t recordBytes, int32_t termCount, const int32_t* terms) {
  static_cast<void>(clearState);  // the work record starts as a copy
  int32_t out = 0;
  if (nskip == 0 || prepareSkip(stream, &nskip, &out) == 0) return QST_STATUS_OK;
  const auto g = Scratch<uint64_t>::of_bytes(jump_bytes(wordCount, recordBytes));
  const auto work = Scratch<QstStream>::of_bytes(recordBytes);
  if (!g || !work) return QST_ERROR_MEMORY;
  const uint64_t bits = static_cast<uint64_t>(degree);
  const int32_t status = jump_polynomial(nskip, bits, termCount, terms, wordCount, g.get());
  if (status < 0) return status;
  // Horner's rule in A: the leading term is the state itself.
  copyState(work.get(), stream, 0);
  for (int64_t i = leading_bit(g.get(), bits) - 1; i >= 0; --i) {
    stepState(work.get());
    if (bit_of(g.get(), i)) addState(work.get(), stream, 0);
  }
  finishState(stream, work.get(), reinterpret_cast<QstStream*>(g.get()));
  return QST_STATUS_OK;
}

int32_t __qst_SkipAheadSWin(QstStream* stream, QstJumpClear clearState, QstJumpCombine addState,
                            QstJumpCombine copyState, QstJumpStep stepState, QstJumpFinish finishState,
                            QstJumpPrepare prepareSkip, uint64_t nskip, int32_t wordCount, int32_t degree,
                            int32_t recordBytes, int32_t termCount, const int32_t* terms) {
  int32_t out = 0;
  if (nskip == 0 || prepareSkip(stream, &nskip, &out) == 0) return QST_STATUS_OK;
  const size_t record = static_cast<size_t>(recordBytes);
  const auto g = Scratch<uint64_t>::of_bytes(jump_bytes(wordCount, recordBytes));
  const auto work = Scratch<QstStream>::of_bytes(recordBytes);
  const Scratch<char> table(int64_t{recordBytes} * kWindowRecords);
  const auto second = Scratch<QstStream>::of_bytes(recordBytes);
  if (!g || !work || !table || !second) return QST_ERROR_MEMORY;
  const uint64_t bits = static_cast<uint64_t>(degree);
  const int32_t status = jump_polynomial(nskip, bits, termCount, terms, wordCount, g.get());
  if (status < 0) return status;

  // Entry h: h(A) applied to the state, for the polynomial h whose coefficients are the bits of the index.
  const auto entry = [&](int h) {
    return reinterpret_cast<QstStream*>(table.get() + record * static_cast<unsigned>(h));
  };
  copyState(entry(1), stream, 0);
  for (int basis = 2; basis < kWindowRecords; basis *= 2) {
    copyState(entry(basis), entry(basis / 2), 0);
    stepState(entry(basis));
  }
  // The rest in Gray-code order: each differs from the one before by one of the basis.
  for (unsigned k = 1; k < kWindowRecords; ++k) {
    const unsigned h = k ^ k >> 1, before = (k - 1) ^ (k - 1) >> 1;
    if (std::has_single_bit(h)) continue;
    copyState(entry(static_cast<int>(h)), entry(static_cast<int>(before)), 0);
    addState(entry(static_cast<int>(h)), entry(static_cast<int>(h ^ before)), 0);
  }

  copyState(work.get(), stream, 0);
  clearState(work.get());
  for (int64_t i = leading_bit(g.get(), bits); i >= 0;) {
    if (!bit_of(g.get(), i)) {
      stepState(work.get());
      --i;
      continue;
    }
    const int count = i + 1 < kWindowBits ? static_cast<int>(i) + 1 : kWindowBits;
    for (int k = 0; k < count; ++k) stepState(work.get());
    addState(work.get(), entry(window_of(g.get(), i, count)), 0);
    i -= count;
  }
  finishState(stream, work.get(), second.get());
  return QST_STATUS_OK;
}
