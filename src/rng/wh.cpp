// WH: 273 generators, each the sum of four multiplicative congruential generators with moduli below 2^24 (of the kind
// of Wichmann, Hill, "Algorithm AS 183", Applied Statistics 31, 1982; many sets side by side: Maclaren, "The generation
// of multiple independent sequences of pseudorandom numbers", Applied Statistics 38, 1989).
// SPDX-License-Identifier: Apache-2.0
#include <array>

#include "rng/congruential.h"
#include "rng/output.h"

namespace {

using namespace qlx::rng;

constexpr int kParts = 4;

struct State {
  uint32_t x[kParts];  // next values to emit
  uint32_t a[kParts];  // multipliers: those of the set, or a power of them on a leapfrogged stream
};
static_assert(kStreamSize<State> == 48);

struct Set {
  std::array<uint32_t, kParts> moduli;
  std::array<uint8_t, kParts> multipliers;
};
constexpr std::array<Set, kWhSets> kTable = {{
#include "rng/tables/wh_sets.inc"
}};

constexpr std::array<std::array<double, kParts>, kWhSets> reciprocals() {
  std::array<std::array<double, kParts>, kWhSets> result{};
  for (int set = 0; set < kWhSets; ++set)
    for (int l = 0; l < kParts; ++l) result[set][l] = 1.0 / kTable[set].moduli[l];
  return result;
}
alignas(32) constexpr std::array<std::array<double, kParts>, kWhSets> kReciprocals = reciprocals();

int32_t set_of(const QstStream* stream) {
  return generator_of(stream).sub_stream;
}

// ---- Recurrence ----

// x a mod m, the parts side by side or one part at a time. The product is below 2^48 and exact. The quotient is below
// 2^24 with an error below 2^-27, and x a is no multiple of the prime m unless it is 0, so that its distance from the
// next integer is at least 1/m > 2^-24: truncation gives the exact quotient and no correction is needed.
inline __m256d multiply(__m256d x, __m256d a, __m256d modulus, __m256d reciprocal) {
  const __m256d p = x * a;
  const __m256d quotient = _mm256_round_pd(p * reciprocal, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
  return p - quotient * modulus;
}

// Numbers below 2^31 as exact doubles, and back.
inline __m256d widen(const uint32_t* v) {
  return _mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(v)));
}
inline void narrow(uint32_t* v, __m256d x) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(v), _mm256_cvttpd_epi32(x));
}

// A block holds the parts one after the other: element i of part l at l * kBlock + i.
class Wh : public BlockOf<double, 256, kParts> {
 public:
  // u = s - trunc(s), s = (x0/m0 + x2/m2) + (x1/m1 + x3/m3), quotients as products with reciprocals; r = u (b - a) + a.
  class Mapping {
   public:
    Mapping(const Wh& generator, double a, double b)
        : reciprocal_(kReciprocals[generator.set_].data()), a_(a), width_(b - a) {}

    template <class Real>
    void operator()(const double* x, int32_t n, Real* r) const {
      const __m256d a = _mm256_set1_pd(a_), width = _mm256_set1_pd(width_);
      const __m256d c0 = _mm256_set1_pd(reciprocal_[0]), c1 = _mm256_set1_pd(reciprocal_[1]);
      const __m256d c2 = _mm256_set1_pd(reciprocal_[2]), c3 = _mm256_set1_pd(reciprocal_[3]);
      const auto four = [&](int32_t i) {
        const auto part = [&](ptrdiff_t l) { return _mm256_load_pd(x + l * kBlock + i); };
        const __m256d s = (part(0) * c0 + part(2) * c2) + (part(1) * c1 + part(3) * c3);
        const __m256d whole = _mm256_round_pd(s, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC);
        return (s - whole) * width + a;
      };
      int32_t i = 0;
      for (; i + 4 <= n; i += 4) store(r + i, four(i));
      if (i == n) return;
      Real last[4];  // the block is full up to a multiple of four
      store(last, four(i));
      std::memcpy(r + i, last, static_cast<size_t>(n - i) * sizeof(Real));
    }

   private:
    const double* reciprocal_;
    double a_, width_;
  };

  Wh(QstStream* stream, int32_t)
      : state_(state_of<State>(stream)),
        set_(set_of(stream)),
        modulus_(widen(kTable[set_].moduli.data())),
        reciprocal_(_mm256_load_pd(kReciprocals[set_].data())),
        multiplier_(widen(state_.a)) {}

  // Writes whole groups of four: up to three more elements than m, which the block has room for.
  void fill(double* out, int32_t m) {
    constexpr int32_t kLanes = 8;
    // The first eight, all parts of an element in one vector.
    alignas(32) double first[kLanes + 1][kParts] = {};
    __m256d x = widen(state_.x);
    const int32_t ready = m < kLanes ? m : kLanes;
    for (int32_t k = 0; k < ready; ++k) {
      _mm256_store_pd(first[k], x);
      x = multiply(x, multiplier_, modulus_, reciprocal_);
    }
    // From here on a vector has four elements of one part.
    __m256d lanes[kParts][2];
    for (int half = 0; half < 2; ++half) {
      __m256d block[4];
      for (int k = 0; k < 4; ++k) block[k] = _mm256_load_pd(first[4 * half + k]);
      transpose(block);
      for (int l = 0; l < kParts; ++l) lanes[l][half] = block[l];
    }
    const auto emit = [&](double* to, ptrdiff_t stride) {
      for (int l = 0; l < kParts; ++l)
        for (ptrdiff_t half = 0; half < 2; ++half) _mm256_store_pd(to + l * stride + 4 * half, lanes[l][half]);
    };
    if (m < kLanes) {
      emit(out, kBlock);
      narrow(state_.x, x);
      return;
    }
    __m256d jump = multiplier_;
    for (int32_t step = 1; step < kLanes; step *= 2) jump = multiply(jump, jump, modulus_, reciprocal_);
    alignas(32) double factor[kParts], modulus[kParts], reciprocal[kParts];
    _mm256_store_pd(factor, jump);
    _mm256_store_pd(modulus, modulus_);
    _mm256_store_pd(reciprocal, reciprocal_);
    int32_t i = 0;
    for (; i + kLanes <= m; i += kLanes) {
      emit(out + i, kBlock);
      for (int l = 0; l < kParts; ++l)
        for (int half = 0; half < 2; ++half)
          lanes[l][half] = multiply(lanes[l][half], _mm256_set1_pd(factor[l]), _mm256_set1_pd(modulus[l]),
                                    _mm256_set1_pd(reciprocal[l]));
    }
    // The lanes are the elements after the last group: the tail and the state.
    if (i < m) emit(out + i, kBlock);
    alignas(32) double next[kParts][kLanes];
    emit(next[0], kLanes);
    for (int l = 0; l < kParts; ++l) state_.x[l] = static_cast<uint32_t>(next[l][m - i]);
  }

 private:
  State& state_;
  int32_t set_;
  __m256d modulus_, reciprocal_, multiplier_;
};

// ---- Seeding and moves ----

uint32_t multiply(uint32_t x, uint32_t a, uint32_t modulus) {
  return static_cast<uint32_t>(static_cast<uint64_t>(x) * a % modulus);
}

class Moves {
 public:
  explicit Moves(QstStream* stream) : state_(state_of<State>(stream)), set_(kTable[set_of(stream)]) {}

  // Words beyond the fourth are ignored; n below 0 counts as 0.
  void seed(int32_t n, const uint32_t* params) {
    for (int l = 0; l < kParts; ++l) {
      const uint32_t seed = l < n ? params[l] % set_.moduli[l] : 1;
      state_.x[l] = seed == 0 ? 1 : seed;
      state_.a[l] = set_.multipliers[l];
    }
  }
  void skip(uint64_t count) {
    for (int l = 0; l < kParts; ++l)
      state_.x[l] = multiply(state_.x[l], __qstiPowMod(state_.a[l], count, set_.moduli[l]), set_.moduli[l]);
  }
  void raise(uint64_t exponent) {
    for (int l = 0; l < kParts; ++l) state_.a[l] = __qstiPowMod(state_.a[l], exponent, set_.moduli[l]);
  }

 private:
  State& state_;
  const Set& set_;
};

}  // namespace

int32_t __qstBRngWHInitStream(int32_t method, QstStream* stream, int32_t n, const uint32_t* params) {
  return init_congruential<Moves>(method, stream, n, params);
}

int32_t __qstsBRngWH(QstStream* stream, int32_t n, float* r, float a, float b) {
  return generate<Wh>(stream, n, r, a, b);
}

int32_t __qstdBRngWH(QstStream* stream, int32_t n, double* r, double a, double b) {
  return generate<Wh>(stream, n, r, a, b);
}

// Four words an element, one of each part.
int32_t __qstiBRngWH(QstStream* stream, int32_t n, uint32_t* r) {
  alignas(64) double block[Wh::kBlock * kParts];
  Wh generator(stream, n);
  for (int32_t m; n > 0; n -= m) {
    m = n < Wh::kBlock ? n : Wh::kBlock;
    generator.fill(block, m);
    for (int32_t i = 0; i < m; i += 4) {
      __m256d four[4];
      for (ptrdiff_t l = 0; l < kParts; ++l) four[l] = _mm256_load_pd(block + l * Wh::kBlock + i);
      transpose(four);
      for (int32_t k = 0; k < 4 && i + k < m; ++k, r += kParts) narrow(r, four[k]);
    }
  }
  return QST_STATUS_OK;
}
