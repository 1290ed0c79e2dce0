// MCG31M1: x(n+1) = 1132489760 x(n) mod 2^31 - 1. The multiplier is a primitive root, so the period is 2^31 - 2.
// SPDX-License-Identifier: Apache-2.0
#include "rng/congruential.h"
#include "rng/modular.h"
#include "rng/output.h"

namespace {

using namespace qlx::rng;

struct State {
  uint32_t x;  // next value to emit
  uint32_t a;  // multiplier: that of the generator, or a power of it on a leapfrogged stream
};
static_assert(kStreamSize<State> == 24);

constexpr uint32_t kMultiplier = 1132489760;

// ---- Recurrence ----

// Two residues in the low halves of 64-bit lanes times a multiplier, mod 2^31 - 1: fold once, then the smaller of t and
// t - modulus, which wraps to above t when t is already reduced.
__m128i multiply_pairs(__m128i x, __m128i a) {
  const __m128i modulus = _mm_set1_epi64x(kMersenne31);
  const __m128i p = _mm_mul_epu32(x, a);
  const __m128i t = _mm_add_epi32(_mm_and_si128(p, modulus), _mm_srli_epi64(p, 31));
  return _mm_min_epu32(t, _mm_sub_epi32(t, modulus));
}

class Mcg31m1 : public BlockOf<uint32_t> {
 public:
  struct Mapping : AffineMapping<Raw> {
    // c = 1 / (2^31 - 1)
    Mapping(const Mcg31m1&, double a, double b) : AffineMapping(a, b, 4.656612875245797e-10) {}
  };

  Mcg31m1(QstStream* stream, int32_t) : state_(state_of<State>(stream)) {}

  void fill(uint32_t* out, int32_t m) {
    constexpr int32_t kLanes = 16;
    uint32_t x = state_.x;
    if (m < 2 * kLanes) {
      for (int32_t i = 0; i < m; ++i) {
        out[i] = x;
        x = multiply_mersenne31(x, state_.a);
      }
      state_.x = x;
      return;
    }
    // Lanes side by side hold the next 16 values and advance by the multiplier's 16th power.
    alignas(16) uint32_t next[kLanes];
    for (uint32_t& value : next) {
      value = x;
      x = multiply_mersenne31(x, state_.a);
    }
    uint32_t jump = state_.a;
    for (int32_t step = 1; step < kLanes; step *= 2) jump = multiply_mersenne31(jump, jump);
    const __m128i factor = _mm_set1_epi64x(jump);
    __m128i even[kLanes / 4], odd[kLanes / 4];  // of each group of four
    for (int g = 0; g < kLanes / 4; ++g) {
      const __m128i four = _mm_load_si128(reinterpret_cast<const __m128i*>(next) + g);
      even[g] = _mm_and_si128(four, _mm_set1_epi64x(0xFFFFFFFF));
      odd[g] = _mm_srli_epi64(four, 32);
    }
    const auto emit = [&](uint32_t* to) {
      for (int g = 0; g < kLanes / 4; ++g)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to) + g, _mm_or_si128(even[g], _mm_slli_epi64(odd[g], 32)));
    };
    int32_t i = 0;
    for (; i <= m - kLanes; i += kLanes) {
      emit(out + i);
      for (int g = 0; g < kLanes / 4; ++g) {
        even[g] = multiply_pairs(even[g], factor);
        odd[g] = multiply_pairs(odd[g], factor);
      }
    }
    // The lanes are the values after the last group: the tail and the state.
    emit(next);
    std::memcpy(out + i, next, static_cast<size_t>(m - i) * sizeof(uint32_t));
    state_.x = next[m - i];
  }

 private:
  State& state_;
};

// ---- Seeding and moves ----

class Moves {
 public:
  explicit Moves(QstStream* stream) : state_(state_of<State>(stream)) {}

  void seed(int32_t n, const uint32_t* params) {
    const uint32_t seed = n > 0 ? params[0] % kMersenne31 : 1;
    state_ = {seed == 0 ? 1 : seed, kMultiplier};
  }
  void skip(uint64_t count) { state_.x = multiply_mersenne31(state_.x, __qstiPowMod2P31M1(state_.a, count)); }
  void raise(uint64_t exponent) { state_.a = __qstiPowMod2P31M1(state_.a, exponent); }

 private:
  State& state_;
};

// Reals write at least one element and take at least one step.
int32_t at_least_one(int32_t n) {
  return n > 0 ? n : 1;
}

}  // namespace

int32_t __qstBRngMCG31M1InitStream(int32_t method, QstStream* stream, int32_t n, const uint32_t* params) {
  return init_congruential<Moves>(method, stream, n, params);
}

int32_t __qstsBRngMCG31M1(QstStream* stream, int32_t n, float* r, float a, float b) {
  return generate<Mcg31m1>(stream, at_least_one(n), r, a, b);
}

int32_t __qstdBRngMCG31M1(QstStream* stream, int32_t n, double* r, double a, double b) {
  return generate<Mcg31m1>(stream, at_least_one(n), r, a, b);
}

int32_t __qstiBRngMCG31M1(QstStream* stream, int32_t n, uint32_t* r) {
  if (n > 0) Mcg31m1(stream, n).fill(r, n);
  return QST_STATUS_OK;
}
