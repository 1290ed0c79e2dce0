// MCG59: x(n+1) = 13^13 x(n) mod 2^59. 13^13 is 5 mod 8, so the period is 2^57 from an odd seed.
// SPDX-License-Identifier: Apache-2.0
#include "rng/congruential.h"
#include "rng/modular.h"
#include "rng/output.h"

namespace {

using namespace qlx::rng;

struct State {
  uint64_t x;  // next value to emit
  uint64_t a;  // multiplier: that of the generator, or a power of it on a leapfrogged stream
};
static_assert(kStreamSize<State> == 32);

constexpr uint64_t kMultiplier = 302875106592253;  // 13^13

// ---- Recurrence and mapping ----

// The block is short, so that the end of its multiplications and the start of its mapping overlap.
class Mcg59 : public BlockOf<uint64_t, 128> {
 public:
  // r = a + (low * f + high * (2^32 f)), f = (b - a) 2^-59, low the lower 32 bits and high the upper 27.
  class Mapping {
   public:
    Mapping(double a, double b) : a_(a), factor_((b - a) * 0x1p-59) {}
    Mapping(const Mcg59&, double a, double b) : Mapping(a, b) {}

    // Four numbers: the lower halves of the words stand in the even places of `low`, the upper ones, not yet cut to 27
    // bits, in those of `high`. They go behind the leading half of 2^52 and of 2^84; 2^84 leaves high * 2^32, still
    // exact.
    __m256d four(__m256 low, __m256 high) const {
      const __m256 upper52 = _mm256_castpd_ps(_mm256_set1_pd(kTwo52)),
                   upper84 = _mm256_castpd_ps(_mm256_set1_pd(kTwo84));
      const __m256 upper_bits = _mm256_castsi256_ps(_mm256_set1_epi32(kMask59 >> 32));
      const __m256d low52 = _mm256_castps_pd(_mm256_blend_ps(low, upper52, 0xAA));
      const __m256d high84 = _mm256_castps_pd(_mm256_blend_ps(_mm256_and_ps(high, upper_bits), upper84, 0xAA));
      const __m256d factor = _mm256_set1_pd(factor_);
      return _mm256_set1_pd(a_) +
             ((low52 - _mm256_set1_pd(kTwo52)) * factor + (high84 - _mm256_set1_pd(kTwo84)) * factor);
    }

    template <class Real>
    void operator()(const uint64_t* x, int32_t n, Real* r) const {
      const Mapping local = *this;  // that no store to r can change
      int32_t i = 0;
      for (; i + 4 <= n; i += 4) {
        const __m256 words = _mm256_loadu_ps(reinterpret_cast<const float*>(x + i));
        store(r + i, local.four(words, _mm256_movehdup_ps(words)));
      }
      for (; i < n; ++i) {
        const double low = static_cast<double>(static_cast<uint32_t>(x[i]));
        const double high = static_cast<double>(static_cast<uint32_t>((x[i] & kMask59) >> 32)) * 0x1p32;
        r[i] = static_cast<Real>(a_ + (low * factor_ + high * factor_));
      }
    }

   private:
    double a_, factor_;
  };

  Mcg59(QstStream* stream, int32_t)
      : state_(state_of<State>(stream)), a_(state_.a), a2_(a_ * a_), a3_(a2_ * a_), a4_(a2_ * a2_) {}

  // Four values side by side, by the multiplier's fourth power. Words are kept modulo 2^64, which 2^59 divides, and are
  // cut by who takes them.
  void fill(uint64_t* out, int32_t m) {
    const uint64_t a4 = a4_;
    uint64_t x0 = state_.x, x1 = x0 * a_, x2 = x0 * a2_, x3 = x0 * a3_;
    int32_t i = 0;
    for (; i + 4 <= m; i += 4) {
      out[i] = x0;
      out[i + 1] = x1;
      out[i + 2] = x2;
      out[i + 3] = x3;
      x0 *= a4;
      x1 *= a4;
      x2 *= a4;
      x3 *= a4;
    }
    for (; i < m; ++i) {
      out[i] = x0;
      x0 *= a_;
    }
    state_.x = x0 & kMask59;
  }

 private:
  State& state_;
  uint64_t a_, a2_, a3_, a4_;
};

// ---- Recurrence and mapping in vectors, where the processor has AVX2 ----

// Vectors of four words that the wide form keeps in flight: a step waits for its own result, three fill the wait.
constexpr int32_t kVectors = 3, kLanes = 4 * kVectors;
constexpr int32_t kLeastWide = 8 * kLanes;  // from here on the setting up is paid back

// The same integers as by fill and the same operations of the mapping. x a mod 2^64 of the halves: low a_low + 2^32
// (low a_high + high a_low). The halves are kept apart, each in the lower half of its own word, and what stands above
// them is not read: that saves taking the words apart for the mapping, and putting them together for the next step.
template <class Real>
__attribute__((target("avx2"))) void draw_wide(State& state, Mcg59::Mapping mapping, int32_t n, Real* r) {
  alignas(32) uint64_t words[kLanes];
  uint64_t x = state.x, jump = 1;
  for (uint64_t& word : words) {
    word = x;
    x *= state.a;
    jump *= state.a;
  }
  __m256i low[kVectors], high[kVectors];
  for (int v = 0; v < kVectors; ++v) {
    low[v] = _mm256_load_si256(reinterpret_cast<const __m256i*>(words) + v);
    high[v] = _mm256_srli_epi64(low[v], 32);
  }
  const __m256i jump_low = _mm256_set1_epi64x(static_cast<int64_t>(jump & 0xFFFFFFFF));
  const __m256i jump_high = _mm256_set1_epi64x(static_cast<int64_t>(jump >> 32));
  int32_t i = 0;
  for (; n - i >= kLanes; i += kLanes)
    for (int v = 0; v < kVectors; ++v) {
      store(r + i + 4 * v, mapping.four(_mm256_castsi256_ps(low[v]), _mm256_castsi256_ps(high[v])));
      const __m256i product = _mm256_mul_epu32(low[v], jump_low);
      const __m256i cross = _mm256_add_epi64(_mm256_mul_epu32(low[v], jump_high), _mm256_mul_epu32(high[v], jump_low));
      high[v] = _mm256_add_epi64(cross, _mm256_srli_epi64(product, 32));
      low[v] = product;
    }
  // The lanes are the elements after the last whole group: the tail and the state.
  alignas(32) uint64_t low_words[kLanes], high_words[kLanes];
  Real tail[kLanes];
  for (int v = 0; v < kVectors; ++v) {
    store(tail + 4 * v, mapping.four(_mm256_castsi256_ps(low[v]), _mm256_castsi256_ps(high[v])));
    _mm256_store_si256(reinterpret_cast<__m256i*>(low_words) + v, low[v]);
    _mm256_store_si256(reinterpret_cast<__m256i*>(high_words) + v, high[v]);
  }
  const int32_t rest = n - i;
  std::memcpy(r + i, tail, static_cast<size_t>(rest) * sizeof(Real));
  state.x = (static_cast<uint32_t>(low_words[rest]) | high_words[rest] << 32) & kMask59;
}

template <class Real>
int32_t draw(QstStream* stream, int32_t n, Real* r, Real a, Real b) {
  if (n < kLeastWide || !__builtin_cpu_supports("avx2")) return generate<Mcg59>(stream, n, r, a, b);
  draw_wide(state_of<State>(stream), {static_cast<double>(a), static_cast<double>(b)}, n, r);
  return QST_STATUS_OK;
}

// ---- Seeding and moves ----

class Moves {
 public:
  explicit Moves(QstStream* stream) : state_(state_of<State>(stream)) {}

  void seed(int32_t n, const uint32_t* params) {
    const uint64_t low = n > 0 ? params[0] : 1;
    const uint64_t high = n > 1 ? params[1] & (kMask59 >> 32) : 0;
    const uint64_t seed = low | high << 32;  // an even seed stays even, and its period short
    state_ = {seed == 0 ? 1 : seed, kMultiplier};
  }
  void skip(uint64_t count) { state_.x = state_.x * __qstiPowMod2P59(state_.a, count) & kMask59; }
  void raise(uint64_t exponent) { state_.a = __qstiPowMod2P59(state_.a, exponent); }

 private:
  State& state_;
};

}  // namespace

int32_t __qstBRngMCG59InitStream(int32_t method, QstStream* stream, int32_t n, const uint32_t* params) {
  return init_congruential<Moves>(method, stream, n, params);
}

int32_t __qstsBRngMCG59(QstStream* stream, int32_t n, float* r, float a, float b) {
  return draw(stream, n, r, a, b);
}

int32_t __qstdBRngMCG59(QstStream* stream, int32_t n, double* r, double a, double b) {
  return draw(stream, n, r, a, b);
}

// The caller's words are 32 bits wide and need not be aligned to 64.
int32_t __qstiBRngMCG59(QstStream* stream, int32_t n, uint32_t* r) {
  uint64_t block[Mcg59::kBlock];
  Mcg59 generator(stream, n);
  for (int32_t m; n > 0; n -= m, r += ptrdiff_t{2} * m) {
    m = n < Mcg59::kBlock ? n : Mcg59::kBlock;
    generator.fill(block, m);
    for (int32_t i = 0; i < m; ++i) block[i] &= kMask59;
    std::memcpy(r, block, static_cast<size_t>(m) * sizeof(uint64_t));
  }
  return QST_STATUS_OK;
}
